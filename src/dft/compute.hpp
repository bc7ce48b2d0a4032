// Computing: tests, one question for the mode of tracing, and one jump to the descriptor's function.
#pragma once

#include "dft/descriptor.hpp"

namespace qnm::dft {

enum class Direction { forward, backward };

template <Direction way>
QNM_INLINE dft_compute* function_of(const dft_descriptor* d)
{
    return way == Direction::forward ? d->forward : d->backward;
}

/// The call of a program that is traced: timed and reported.
template <Direction way>
QNM_COLD Status traced(dft_descriptor* d, void* a, void* b, void* c, void* e);
extern template Status traced<Direction::forward>(dft_descriptor*, void*, void*, void*, void*);
extern template Status traced<Direction::backward>(dft_descriptor*, void*, void*, void*, void*);

/// The descriptor's function, with null for arrays that there are not. The mode is asked for at each call.
template <Direction way, class... Arrays>
QNM_INLINE Status run(dft_descriptor* d, Arrays... arrays)
{
    park(d);
    (park(arrays), ...);
    const bool on = *qnm_serv_verbose_mode() != 0;
    const auto in_full = [&](void* a, void* b = nullptr, void* c = nullptr,
                             void* e = nullptr) QNM_INLINE_LAMBDA {
        return unlikely(on) ? traced<way>(d, a, b, c, e) : function_of<way>(d)(d, a, b, c, e, nullptr);
    };
    return in_full(arrays...);
}

/// An array's address as it came, or as it stands at a place.
QNM_INLINE void* array_of(void* array)
{
    return array;
}
QNM_INLINE void* array_of(void* const* place)
{
    return *place;
}

/// An entry by a tag, which says how many arrays there are. The arrays are not looked at.
template <Direction way, class... Arrays>
QNM_INLINE int tagged(const dft_handle* handle, Arrays... arrays)
{
    if (handle == nullptr || *handle == nullptr)
        return bad_descriptor;
    dft_descriptor* const d = *handle;
    if (d->array_count != static_cast<int>(sizeof...(Arrays)))
        return inconsistent_configuration;
    if (function_of<way>(d) == nullptr)
        return invalid_configuration;
    return static_cast<int>(run<way>(d, array_of(arrays)...));
}

} // namespace qnm::dft
