// Memory of a call: for each source its own, since some are compiled once for each instruction set and the
// linker must merge nothing of one set with that of another.
#pragma once

#include "plan.hpp"

#include "../guarded.hpp"
#include "../services.hpp"

#include <new>

namespace qnm::core::dft {
namespace {

template <class Work>
Status guarded(const Work& work) noexcept
{
    return core::guarded<no_memory, failed>(work);
}

/// Work that can be divided, of a function of the first item and the one behind the last.
template <class Work>
class Items final : public Divisible {
public:
    explicit Items(const Work& work) : work_(work) {}
    Status part(core_int first, core_int last) const noexcept override
    {
        return guarded([&] { return work_(first, last); });
    }

private:
    const Work& work_;
};

template <class R>
class Room {
public:
    explicit Room(core_int reals)
    {
        if (reals == 0)
            return;
        at_ = static_cast<R*>(qnm_serv_malloc(sizeof(R) * static_cast<std::size_t>(reals), 64));
        if (at_ == nullptr)
            throw std::bad_alloc();
    }
    ~Room() { qnm_serv_free(at_); }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;
    R* get() const { return at_; }

private:
    R* at_ = nullptr;
};

} // namespace
} // namespace qnm::core::dft
