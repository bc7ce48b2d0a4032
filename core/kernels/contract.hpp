// What the threaders of a core and the kernels of this library agree on.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace qnm::vml {

enum Mode : std::uint32_t {
    level_bits = 0x0000000F,
    low_accuracy = 1,
    high_accuracy = 2,
    enhanced_speed = 3, // as low accuracy
    errors_ignored = 0x00000100,
    errors_to_errno = 0x00000200,
    errors_to_stderr = 0x00000400,
    errors_to_flags = 0x00000800,
    errors_to_callback = 0x00001000,
    denormal_bits = 0x003C0000,
    denormals_off = 0x00280000,
    denormals_on = 0x00140000,
    default_mode = 0x00001A02,
};

enum Status : int { ok = 0, domain = 1, pole = 2, overflow = 3, underflow = 4, less_accurate = 1000 };

/// What a callback sees, and may change the results of.
struct ErrorRecord {
    int code;
    int index;
    double argument[2];
    double result[2];
    char name[64];
    int length; // of the name
    double imaginary_argument[2];
    double imaginary_result[2];
};
using Callback = int (*)(ErrorRecord*);

/// One part of a call: what the calling thread lends it, and what it brings back.
struct Call {
    std::uint32_t mode;
    int status;           // of the last error in index order
    std::uint32_t errors; // a bit for each code that occurred
    Callback callback;
    std::int64_t first;           // place of the part's first element in the whole
    std::uint32_t arithmetic = 0; // the program's control word, which its callback runs with

    /// Whether each error is told at once, in order: such a call is not divided.
    bool told_at_once() const
    {
        return (mode & errors_ignored) == 0 && (calls_back() || (mode & errors_to_stderr) != 0);
    }
    bool calls_back() const { return (mode & errors_to_callback) != 0 && callback != nullptr; }
    /// Takes in what a part behind this one brings.
    void append(const Call& part)
    {
        errors |= part.errors;
        if (part.status != ok)
            status = part.status;
    }
};

/// The data symbol qnm_vml_kernel_frame: what a threader does on the calling thread, ahead of the parts and,
/// if one had an error, behind them.
struct Frame {
    void (*begin)(Call*);
    void (*failed)(const Call*);
};

/// Element i is at[i * step].
template <class T>
struct Vector {
    T* at;
    std::int64_t step;
};

template <class T, std::size_t>
using Repeated = T;

/// Inputs, scalars of their type, outputs, in this order.
template <class In, class Inputs, class Scalars, class Out, class Outputs>
struct ShapeOf;
template <class In, std::size_t... i, std::size_t... s, class Out, std::size_t... o>
struct ShapeOf<In, std::index_sequence<i...>, std::index_sequence<s...>, Out, std::index_sequence<o...>> {
    using Kernel = void(std::int64_t n, Repeated<Vector<const In>, i>..., Repeated<In, s>...,
                        Repeated<Vector<Out>, o>..., Call*);
};
template <class In, std::size_t inputs, std::size_t scalars, class Out, std::size_t outputs>
using Shape = ShapeOf<In, std::make_index_sequence<inputs>, std::make_index_sequence<scalars>, Out,
                      std::make_index_sequence<outputs>>;

} // namespace qnm::vml
