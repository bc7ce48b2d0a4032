// Counted memory of the core's own.
#pragma once

#include "services.hpp"

#include <algorithm>
#include <new>

namespace qnm::core {

/// Room for so many elements; throws if there is none.
template <class X>
class Array {
public:
    Array() = default;
    explicit Array(core_int count)
    {
        std::size_t bytes = 0;
        if (!__builtin_mul_overflow(static_cast<std::size_t>(count), sizeof(X), &bytes))
            at_ = static_cast<X*>(qnm_serv_malloc(bytes, 64));
        if (at_ == nullptr)
            throw std::bad_alloc();
    }
    static Array zeros(core_int count)
    {
        Array made(count);
        std::fill_n(made.at_, count, X{});
        return made;
    }
    Array(Array&& other) noexcept : at_(std::exchange(other.at_, nullptr)) {}
    Array& operator=(Array&& other) noexcept
    {
        std::swap(at_, other.at_);
        return *this;
    }
    ~Array() { qnm_serv_free(at_); }
    X* get() const { return at_; }
    X& operator[](core_int i) const { return at_[i]; }

private:
    X* at_ = nullptr;
};

} // namespace qnm::core
