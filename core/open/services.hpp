// Services of the core: those that the layer asks for, and what its own numerics make of them.
#pragma once

#include "core.hpp"

#include <clocale>
#include <qnm/core/services.h>
#include <string_view>
#include <utility>

namespace qnm::core {

inline constexpr int memory_failure = 1000;
inline constexpr int index_scratch_failure = 1102;
inline constexpr core_int not_carried_info = -1001; // of routines that this core does not carry

/// How many threads Fourier transforms may take.
int transform_threads();
/// And vector mathematics, statistics and data fitting.
int vector_threads();
/// Whether a call keeps to the thread that makes it: inside of a parallel region, and in a child of a fork.
bool keeps_to_one_thread();

/// Tells the application how far a solution has come, and asks whether to go on.
bool goes_on(std::string_view stage, int step);

inline void report(std::string_view routine, int info)
{
    qnm_serv_xerbla(routine.data(), &info, static_cast<int>(routine.size()));
}

// One message, one write: lines of several threads never mix.
[[gnu::format(printf, 2, 3)]] void print_to(int fd, const char* format, ...);

// What the calling thread formats meanwhile has the numbers of C, whatever the program's locale: they are
// read by others.
class NumbersOfC {
public:
    NumbersOfC()
    {
        static const locale_t c =
            newlocale(LC_ALL_MASK, "C", nullptr); // if there is none, all stays as it is
        before_ = uselocale(c);
    }
    ~NumbersOfC() { uselocale(before_); }
    NumbersOfC(const NumbersOfC&) = delete;
    NumbersOfC& operator=(const NumbersOfC&) = delete;

private:
    locale_t before_;
};

// Room for `count` elements, released on every path. A failed one is reported under the routine's name.
template <class T>
class Scratch {
public:
    Scratch(std::string_view routine, core_int count)
    {
        std::size_t bytes = 0;
        const auto wanted = static_cast<std::size_t>(std::max<core_int>(count, 1));
        if (!__builtin_mul_overflow(wanted, sizeof(T), &bytes))
            data_ = static_cast<T*>(qnm_serv_allocate(bytes, 128));
        if (data_ == nullptr)
            report(routine, memory_failure);
    }
    Scratch() = default;
    Scratch(Scratch&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
    Scratch& operator=(Scratch&& other) noexcept
    {
        std::swap(data_, other.data_);
        return *this;
    }
    ~Scratch() { qnm_serv_deallocate(data_); }

    explicit operator bool() const { return data_ != nullptr; }
    T* get() const { return data_; }
    T& operator[](core_int i) const { return data_[i]; }

private:
    T* data_ = nullptr;
};

} // namespace qnm::core
