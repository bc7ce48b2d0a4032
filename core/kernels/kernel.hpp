// The one template of all kernels: a kernel's object says what an element is, this says how vectors are gone
// through.
//
// An object has either
//   of(x...)      the element, never an error: a loop that the compiler vectorises; or
//   exact(x...)   the element for every argument, with the IEEE flags of its error; and, if it has them,
//   high(x...)    lanes of high accuracy, low(x...) lanes of low accuracy, either or both, of the same range,
//   told by holds(x...)   a mask, or holds_of(result, x...) where the result is easier to test. codes the
//   errors that it tells, all if it does not say.
#pragma once

#include "errors.hpp"
#include "lanes.hpp"
#include "tables.hpp"

#include <cfenv>
#include <cmath>
#include <limits>

namespace qnm::vml::QNM_NAMESPACE {

/// Elements of a block through which strided vectors go.
inline constexpr int block = 256;

/// Denormals as the mode wants them, no traps, and no flags left behind: an error's flags are the threader's.
class Arithmetic {
public:
    explicit Arithmetic(std::uint32_t mode) : before_(_mm_getcsr())
    {
        constexpr unsigned no_traps = 0x1F80, off = 0x8040;
        const std::uint32_t denormals = mode & denormal_bits;
        const unsigned wanted = denormals == denormals_off  ? before_ | off
                                : denormals == denormals_on ? before_ & ~off
                                                            : before_;
        _mm_setcsr(wanted | no_traps);
    }
    ~Arithmetic() { _mm_setcsr(before_); }
    Arithmetic(const Arithmetic&) = delete;
    Arithmetic& operator=(const Arithmetic&) = delete;

private:
    unsigned before_;
};

template <class T>
bool is_nan(T x)
{
    return x != x;
}
template <class T>
bool is_finite(T x)
{
    return x - x == T();
}

/// Keeps what makes the value behind this place, or what uses it before it: to the compiler flags are no
/// effect.
template <class T>
[[gnu::always_inline]] inline void stay(T& value)
{
    asm volatile("" : "+m"(value));
}

/// The code of a result, by the flags that its element raised.
template <class T, class... A>
int code_of(int flags, T result, A... arguments)
{
    if ((is_nan(arguments) || ...))
        return ok;
    if (is_nan(result))
        return domain;
    if (!is_finite(result))
        return (flags & FE_DIVBYZERO) != 0                                   ? pole
               : (flags & FE_OVERFLOW) != 0 && (is_finite(arguments) && ...) ? overflow
                                                                             : ok;
    const bool tiny = result > -std::numeric_limits<T>::min() && result < std::numeric_limits<T>::min();
    return tiny && (flags & FE_UNDERFLOW) != 0 ? underflow : ok;
}

template <class T, class... A>
int code_of(int flags, std::complex<T> result, A... arguments)
{
    const int code = code_of(flags, result.real(), arguments...);
    return code != ok ? code : code_of(flags, result.imag(), arguments...);
}

/// Values of a record, whose imaginary parts lie apart.
template <class T>
void put(T value, double* real, double*)
{
    *real = static_cast<double>(value);
}
template <class T>
void put(std::complex<T> value, double* real, double* imaginary)
{
    *real = static_cast<double>(value.real());
    *imaginary = static_cast<double>(value.imag());
}
template <class T>
void take(T* value, double real, double)
{
    *value = static_cast<T>(real);
}
template <class T>
void take(std::complex<T>* value, double real, double imaginary)
{
    *value = {static_cast<T>(real), static_cast<T>(imaginary)};
}

template <class K>
consteval unsigned codes_of()
{
    if constexpr (requires { K::codes; })
        return K::codes;
    else
        return ~0U;
}

/// Results of two outputs.
template <class T>
struct Two {
    T x, y;
};

template <std::size_t which, class R>
auto part(R result)
{
    if constexpr (!requires { result.x; })
        return result;
    else if constexpr (which == 0)
        return result.x;
    else
        return result.y;
}

template <class T>
struct AnyOf {
    using Type = Lanes<T>;
};
template <class T>
struct AnyOf<std::complex<T>> {
    using Type = std::complex<T>;
};

template <class K, class Name, class In, class Inputs, class Scalars, class Out, class Outputs>
struct KernelOf;
template <class K, class Name, class In, std::size_t... i, std::size_t... s, class Out, std::size_t... o>
struct KernelOf<K, Name, In, std::index_sequence<i...>, std::index_sequence<s...>, Out,
                std::index_sequence<o...>> {
    using Wide = typename AnyOf<In>::Type;

    static void run(std::int64_t n, Repeated<Vector<const In>, i>... a, Repeated<In, s>... scalar,
                    Repeated<Vector<Out>, o>... y, Call* call)
    {
        const Arithmetic arithmetic(call->mode);
        if (((a.step == 1) && ...) && ((y.step == 1) && ...)) {
            line(n, a.at..., scalar..., y.at..., call->first, call);
            return;
        }
        In in[sizeof...(i)][block];
        Out out[sizeof...(o)][block];
        for (std::int64_t begin = 0; begin < n; begin += block) {
            const std::int64_t count = n - begin < block ? n - begin : block;
            for (std::int64_t j = 0; j < count; ++j)
                ((in[i][j] = a.at[(begin + j) * a.step]), ...);
            line(count, in[i]..., scalar..., out[o]..., call->first + begin, call);
            for (std::int64_t j = 0; j < count; ++j)
                ((y.at[(begin + j) * y.step] = out[o][j]), ...);
        }
    }

private:
    static void line(std::int64_t n, Repeated<const In*, i>... a, Repeated<In, s>... scalar,
                     Repeated<Out*, o>... y, std::int64_t first, Call* call)
    {
        if constexpr (requires { K::of(*a..., scalar...); }) {
            // An output is an input or lies apart from it.
#pragma GCC ivdep
            for (std::int64_t j = 0; j < n; ++j) {
                const auto result = K::of(a[j]..., scalar...);
                ((y[j] = part<o>(result)), ...);
            }
        } else {
            constexpr bool has_low = requires(Wide x)
            {
                K::low(((void)i, x)..., ((void)s, x)...);
            };
            constexpr bool has_high = requires(Wide x)
            {
                K::high(((void)i, x)..., ((void)s, x)...);
            };
            if constexpr (has_low) {
                const std::uint32_t level = call->mode & level_bits;
                if (level == low_accuracy || level == enhanced_speed) {
                    lanes<true>(n, a..., scalar..., y..., first, call);
                    return;
                }
            }
            if constexpr (has_high)
                lanes<false>(n, a..., scalar..., y..., first, call);
            else
                for (std::int64_t j = 0; j < n; ++j)
                    one(a[j]..., scalar..., y + j..., first + j, call);
        }
    }

    template <bool low>
    static void lanes(std::int64_t n, Repeated<const In*, i>... a, Repeated<In, s>... scalar,
                      Repeated<Out*, o>... y, std::int64_t first, Call* call)
    {
        constexpr int count = LanesOf<In>::count;
        std::int64_t j = 0;
        for (; j + count <= n; j += count)
            step<low>(load(a + j)..., all(scalar)..., y + j..., ~0U >> (32 - count), first + j, call);
        if (j == n)
            return;
        const int left = static_cast<int>(n - j);
        In in[sizeof...(i)][count];
        Out out[sizeof...(o)][count];
        for (int k = 0; k < count; ++k)
            ((in[i][k] = a[j + (k < left ? k : 0)]), ...);
        step<low>(load(in[i])..., all(scalar)..., out[o]..., (1U << left) - 1U, first + j, call);
        for (int k = 0; k < left; ++k)
            ((y[j + k] = out[o][k]), ...);
    }

    template <bool low>
    [[gnu::always_inline]] static void step(Repeated<Wide, i>... x, Repeated<Wide, s>... scalar,
                                            Repeated<Out*, o>... y, unsigned wanted, std::int64_t first,
                                            Call* call)
    {
        const auto result = evaluate<low>(x..., scalar...);
        (store<Out>(y, part<o>(result)), ...);
        unsigned held;
        if constexpr (requires { K::holds_of(result, x..., scalar...); })
            held = bits(K::holds_of(result, x..., scalar...));
        else
            held = bits(K::holds(x..., scalar...));
        if ((~held & wanted) != 0) [[unlikely]]
            mend(~held & wanted, x..., scalar..., y..., first, call);
    }

    template <bool low, class... X>
    [[gnu::always_inline]] static auto evaluate(X... x)
    {
        if constexpr (low)
            return K::low(x...);
        else
            return K::high(x...);
    }

    // Lanes outside the range, one by one. The outputs may be the inputs, which are read no more.
    [[gnu::cold, gnu::noinline]] static void mend(unsigned which, Repeated<Wide, i>... x,
                                                  Repeated<Wide, s>... scalar, Repeated<Out*, o>... y,
                                                  std::int64_t first, Call* call)
    {
        for (; which != 0; which &= which - 1) {
            const int lane = __builtin_ctz(which);
            one(x[lane]..., scalar[lane]..., y + lane..., first + lane, call);
        }
    }

    static void one(Repeated<In, i>... x, Repeated<In, s>... scalar, Repeated<Out*, o>... y,
                    std::int64_t index, Call* call)
    {
        std::fenv_t before;
        std::feholdexcept(&before);
        (stay(x), ...);
        auto result = K::exact(x..., scalar...);
        stay(result);
        const int flags = std::fetestexcept(FE_ALL_EXCEPT);
        std::fesetenv(&before);
        ((*y = part<o>(result)), ...);
        int code = ok;
        ((code = code != ok ? code : code_of(flags, part<o>(result), x..., scalar...)), ...);
        if (code != ok && (codes_of<K>() >> static_cast<unsigned>(code) & 1U) != 0)
            failed(code, x..., scalar..., y..., index, call);
    }

    [[gnu::cold, gnu::noinline]] static void failed(int code, Repeated<In, i>... x, Repeated<In, s>... scalar,
                                                    Repeated<Out*, o>... y, std::int64_t index, Call* call)
    {
        ErrorRecord record{};
        record.code = code;
        record.index = static_cast<int>(index);
        int place = 0;
        const auto argument = [&](In value) {
            if (place < 2) {
                put(value, record.argument + place, record.imaginary_argument + place);
                ++place;
            }
        };
        (argument(x), ...);
        (argument(scalar), ...);
        (put(*y, record.result + o, record.imaginary_result + o), ...);
        tell(call, &record, Name::text);
        (take(y, record.result[o], record.imaginary_result[o]), ...);
    }
};

template <class K, class Name, class In, std::size_t inputs, std::size_t scalars, class Out,
          std::size_t outputs>
using Kernel = KernelOf<K, Name, In, std::make_index_sequence<inputs>, std::make_index_sequence<scalars>, Out,
                        std::make_index_sequence<outputs>>;

} // namespace qnm::vml::QNM_NAMESPACE

#define QNM_JOIN_(a, b, c, d) a##b##c##_##d
#define QNM_JOIN(a, b, c, d) QNM_JOIN_(a, b, c, d)

// A root of one type: its object, inputs, scalars and outputs, and nanoseconds an element.
#define QNM_KERNEL(t, root, object, In, inputs, scalars, Out, outputs, cost)                                 \
    namespace qnm::vml::QNM_NAMESPACE {                                                                      \
    struct t##root##_name {                                                                                  \
        static constexpr const char* text = "v" #t #root;                                                    \
    };                                                                                                       \
    using t##root##_kernel = Kernel<object, t##root##_name, In, inputs, scalars, Out, outputs>;              \
    }                                                                                                        \
    extern "C" const qnm::vml::Compiled QNM_JOIN(qnm_, t, root, QNM_NAMESPACE);                              \
    const qnm::vml::Compiled QNM_JOIN(qnm_, t, root, QNM_NAMESPACE) = {                                      \
        reinterpret_cast<qnm::vml::AnyKernel>(qnm::vml::QNM_NAMESPACE::t##root##_kernel::run), cost};

#define QNM_REAL(root, object, inputs, scalars, outputs, cost)                                               \
    QNM_KERNEL(s, root, object, float, inputs, scalars, float, outputs, (cost) / 2)                          \
    QNM_KERNEL(d, root, object, double, inputs, scalars, double, outputs, cost)
#define QNM_COMPLEX(root, object, inputs, scalars, outputs, cost)                                            \
    QNM_KERNEL(c, root, object, std::complex<float>, inputs, scalars, std::complex<float>, outputs, cost)    \
    QNM_KERNEL(z, root, object, std::complex<double>, inputs, scalars, std::complex<double>, outputs, cost)
