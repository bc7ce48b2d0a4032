// The one template of all kernels: a kernel's object says what an element is, this says how vectors are gone
// through.
//
// An object has either
//   of(x...)      the element, never an error: a loop that the compiler vectorises; or
//   exact(x...)   the element for every argument, with the IEEE flags of its error; and, if it has them,
//   high(x...)    lanes of high accuracy, low(x...) lanes of low accuracy, either or both, of the same range,
//   told by holds(x...)   a mask, or holds_of(result, x...) where the result is easier to test.
// codes are the errors that it tells, all if it does not say. quiet(x...), beside high(x...), is a mask of
// lanes inside the range that raise no flag but that of an inexact result: engines compute more than the
// result is made of. Where it is said, short calls need no guard.
//
// An object without lanes may have quick(x...), an element of low accuracy where the
// result is usual.
//
// exact may be called twice for an element: an unusual result is looked at more closely.
#pragma once

#include "errors.hpp"
#include "groups.hpp"
#include "tables.hpp"

#include <cerrno>
#include <cfenv>
#include <limits>

namespace qnm::vml::QNM_NAMESPACE {

/// Elements of a block through which strided vectors go.
inline constexpr int block = 256;

/// Denormals as the mode wants them, no traps, and no flags or errno left behind: those of an error are the
/// threader's, but libraries set them, those of lanes too.
/// Reading the processor's word of control costs as much as a short call.
class Arithmetic {
public:
    explicit Arithmetic(Call* call) : before_(_mm_getcsr()), errno_(errno)
    {
        // To the compiler the C library's functions set no errno: it is read here, and written at the end.
        asm volatile("" : "+r"(errno_) : : "memory");
        constexpr unsigned no_traps = 0x1F80, off = 0x8040;
        const std::uint32_t denormals = call->mode & denormal_bits;
        const unsigned wanted = denormals == denormals_off  ? before_ | off
                                : denormals == denormals_on ? before_ & ~off
                                                            : before_;
        call->arithmetic = before_;
        if ((wanted | no_traps) != before_)
            _mm_setcsr(wanted | no_traps);
    }
    ~Arithmetic()
    {
        asm volatile("" ::: "memory"); // results are there
        _mm_setcsr(before_);
        errno = errno_;
    }
    Arithmetic(const Arithmetic&) = delete;
    Arithmetic& operator=(const Arithmetic&) = delete;

private:
    unsigned before_;
    int errno_;
};

/// Flags and traps of the older unit, for elements that compute there.
class OlderUnit {
public:
    OlderUnit()
    {
        asm volatile("fnstsw %0\n\tfnstcw %1" : "=a"(flags_), "=m"(control_) : : "memory");
        if ((control_ & all_flags) != all_flags)
            set_control(control_ | all_flags);
    }
    ~OlderUnit()
    {
        std::uint16_t now;
        asm volatile("fnstsw %0" : "=a"(now) : : "memory");
        if (((now ^ flags_) & told_flags) != 0) {
            std::fenv_t environment;
            asm volatile("fnstenv %0" : "=m"(environment));
            environment.__status_word = flags_;
            asm volatile("fldenv %0" : : "m"(environment));
        }
        if ((control_ & all_flags) != all_flags)
            set_control(control_);
    }
    OlderUnit(const OlderUnit&) = delete;
    OlderUnit& operator=(const OlderUnit&) = delete;

private:
    static constexpr unsigned all_flags = 0x3F,
                              told_flags = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW;

    static void set_control(unsigned word)
    {
        const auto control = static_cast<std::uint16_t>(word);
        asm volatile("fldcw %0" : : "m"(control));
    }

    std::uint16_t flags_, control_;
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

template <class T>
bool is_tiny(T x)
{
    return x > -std::numeric_limits<T>::min() && x < std::numeric_limits<T>::min();
}
template <class T>
bool is_tiny(std::complex<T> x)
{
    return is_tiny(x.real()) && is_tiny(x.imag());
}
template <class T>
T without_denormals(T x)
{
    return is_tiny(x) ? x * 0 : x;
}
template <class T>
std::complex<T> without_denormals(std::complex<T> x)
{
    return {without_denormals(x.real()), without_denormals(x.imag())};
}

/// Keeps what makes the value behind this place, or what uses it before it: to the compiler flags are no
/// effect.
template <class T>
[[gnu::always_inline]] inline void stay(T& value)
{
    asm volatile("" : "+m"(value));
}

/// The same for lanes, in their registers.
template <class T>
[[gnu::always_inline]] inline void stay_lanes(T& lanes)
{
    if constexpr (requires { lanes.re; }) {
        stay_lanes(lanes.re);
        stay_lanes(lanes.im);
    } else {
        asm volatile("" : "+x"(lanes));
    }
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
    return is_tiny(result) && (flags & FE_UNDERFLOW) != 0 ? underflow : ok;
}

/// A complex result has no value if a part has none; it is tiny if both parts are.
template <class T, class... A>
int code_of(int flags, std::complex<T> result, A... arguments)
{
    const int codes[] = {code_of(flags, result.real(), arguments...),
                         code_of(flags, result.imag(), arguments...)};
    for (const int code : codes)
        if (code != ok && code != underflow)
            return code;
    return !is_tiny(result) ? ok : codes[0] != ok ? codes[0] : codes[1];
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

template <class K, class Name, class In, class Inputs, class Scalars, class Out, class Outputs>
struct KernelOf;
template <class K, class Name, class In, std::size_t... i, std::size_t... s, class Out, std::size_t... o>
struct KernelOf<K, Name, In, std::index_sequence<i...>, std::index_sequence<s...>, Out,
                std::index_sequence<o...>> {
    using Inputs = Group<In>;
    using Outputs = Group<Out>;
    using Wide = typename Inputs::Type;

    static constexpr bool plain = requires(In x) { K::of(((void)i, x)..., ((void)s, x)...); };
    static constexpr bool has_low = requires(Wide x) { K::low(((void)i, x)..., ((void)s, x)...); };
    static constexpr bool has_quick = requires(In x) { K::quick(((void)i, x)..., ((void)s, x)...); };
    static constexpr bool has_high = requires(Wide x) { K::high(((void)i, x)..., ((void)s, x)...); };
    static constexpr bool has_quiet = requires(Wide x) { K::quiet(((void)i, x)..., ((void)s, x)...); };

    static void run(std::int64_t n, Repeated<Vector<const In>, i>... a, Repeated<In, s>... scalar,
                    Repeated<Vector<Out>, o>... y, Call* call)
    {
        if constexpr (plain || has_quiet)
            if ((call->mode & denormal_bits) == 0) [[likely]] {
                go(n, a..., scalar..., y..., call);
                return;
            }
        guarded(n, a..., scalar..., y..., call);
    }

private:
    [[gnu::noinline]] static void guarded(std::int64_t n, Repeated<Vector<const In>, i>... a,
                                          Repeated<In, s>... scalar, Repeated<Vector<Out>, o>... y,
                                          Call* call)
    {
        const Arithmetic arithmetic(call);
        go(n, a..., scalar..., y..., call);
    }

    static void go(std::int64_t n, Repeated<Vector<const In>, i>... a, Repeated<In, s>... scalar,
                   Repeated<Vector<Out>, o>... y, Call* call)
    {
        if (((a.step == 1) && ...) && ((y.step == 1) && ...))
            line(n, a.at..., scalar..., y.at..., call->first, call);
        else
            strided(n, a..., scalar..., y..., call);
    }

    [[gnu::noinline]] static void strided(std::int64_t n, Repeated<Vector<const In>, i>... a,
                                          Repeated<In, s>... scalar, Repeated<Vector<Out>, o>... y,
                                          Call* call)
    {
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

    [[gnu::noinline]] static void line(std::int64_t n, Repeated<const In*, i>... a, Repeated<In, s>... scalar,
                                       Repeated<Out*, o>... y, std::int64_t first, Call* call)
    {
        if constexpr (plain) {
            // An output is an input or lies apart from it.
#pragma GCC ivdep
            for (std::int64_t j = 0; j < n; ++j) {
                const auto result = K::of(a[j]..., scalar...);
                ((y[j] = part<o>(result)), ...);
            }
        } else {
            if constexpr (has_low) {
                const std::uint32_t level = call->mode & level_bits;
                if (level == low_accuracy || level == enhanced_speed) {
                    lanes<true>(n, a..., scalar..., y..., first, call);
                    return;
                }
            }
            if constexpr (has_high) {
                lanes<false>(n, a..., scalar..., y..., first, call);
            } else {
                const OlderUnit unit;
                if constexpr (has_quick) {
                    const std::uint32_t level = call->mode & level_bits;
                    if (level == low_accuracy || level == enhanced_speed) {
                        for (std::int64_t j = 0; j < n; ++j)
                            one<true>(a[j]..., scalar..., y + j..., first + j, call);
                        return;
                    }
                }
                for (std::int64_t j = 0; j < n; ++j)
                    one(a[j]..., scalar..., y + j..., first + j, call);
            }
        }
    }

    template <bool low>
    static void lanes(std::int64_t n, Repeated<const In*, i>... a, Repeated<In, s>... scalar,
                      Repeated<Out*, o>... y, std::int64_t first, Call* call)
    {
        constexpr int count = Inputs::count;
        static_assert(count == Outputs::count);
        std::int64_t j = 0;
        for (; j + count <= n; j += count)
            step<low>(Inputs::load(a + j)..., Inputs::same(scalar)..., y + j..., first + j, call);
        if (j == n)
            return;
        const int left = static_cast<int>(n - j);
        step<low>(Inputs::load(a + j, left)..., Inputs::same(scalar)..., y + j..., first + j, call, left);
    }

    /// All lanes, or as many as `part` says.
    template <bool low, class... Part>
    [[gnu::always_inline]] static void step(Repeated<Wide, i>... x, Repeated<Wide, s>... scalar,
                                            Repeated<Out*, o>... y, std::int64_t first, Call* call,
                                            Part... left)
    {
        if constexpr (has_quiet) {
            if ((wanted(left...) & ~bits(K::quiet(x..., scalar...))) != 0) [[unlikely]] {
                step_guarded<low>(x..., scalar..., y..., first, call, left...);
                return;
            }
            (stay_lanes(x), ...);
            keep<low>(x..., scalar..., y..., left...);
        } else {
            step_inside<low>(x..., scalar..., y..., first, call, left...);
        }
    }
    template <bool low, class... Part>
    [[gnu::cold, gnu::noinline]] static void step_guarded(Repeated<Wide, i>... x, Repeated<Wide, s>... scalar,
                                                          Repeated<Out*, o>... y, std::int64_t first,
                                                          Call* call, Part... left)
    {
        const Arithmetic arithmetic(call);
        (stay_lanes(x), ...);
        step_inside<low>(x..., scalar..., y..., first, call, left...);
    }
    template <bool low, class... Part>
    [[gnu::always_inline]] static void step_inside(Repeated<Wide, i>... x, Repeated<Wide, s>... scalar,
                                                   Repeated<Out*, o>... y, std::int64_t first, Call* call,
                                                   Part... left)
    {
        const auto result = keep<low>(x..., scalar..., y..., left...);
        unsigned held;
        if constexpr (requires { K::holds_of(result, x..., scalar...); })
            held = bits(K::holds_of(result, x..., scalar...));
        else
            held = bits(K::holds(x..., scalar...));
        if (const unsigned outside = wanted(left...) & ~held; outside != 0) [[unlikely]]
            mend(outside, x..., scalar..., y..., first, call);
    }
    static unsigned wanted()
    {
        return ~0U >> (32 - Inputs::count);
    }
    static unsigned wanted(int left)
    {
        return (1U << static_cast<unsigned>(left)) - 1U;
    }

    template <bool low, class... Part>
    [[gnu::always_inline]] static auto keep(Repeated<Wide, i>... x, Repeated<Wide, s>... scalar,
                                            Repeated<Out*, o>... y, Part... left)
    {
        const auto result = evaluate<low>(x..., scalar...);
        (Outputs::store(y, part<o>(result), left...), ...);
        return result;
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
        const OlderUnit unit;
        for (; which != 0; which &= which - 1) {
            const int lane = __builtin_ctz(which);
            one(Inputs::lane(x, lane)..., Inputs::lane(scalar, lane)..., y + lane..., first + lane, call);
        }
    }

    template <bool quick, class... X>
    [[gnu::always_inline]] static auto element_of(X... x)
    {
        if constexpr (quick)
            if (const auto result = K::quick(x...); is_finite(result) && !is_tiny(result)) [[likely]]
                return result;
        return K::exact(x...);
    }

    template <bool quick = false>
    static void one(Repeated<In, i>... x, Repeated<In, s>... scalar, Repeated<Out*, o>... y,
                    std::int64_t index, Call* call)
    {
        const bool flushed = (call->mode & denormal_bits) == denormals_off;
        if (flushed) [[unlikely]]
            ((x = without_denormals(x)), ...);
        const auto result = element_of<quick>(x..., scalar...);
        ((*y = part<o>(result)), ...);
        if ((is_unusual(part<o>(result)) || ...) && !(is_nan(x) || ...) && !(is_nan(scalar) || ... || false))
            [[unlikely]]
            examine(x..., scalar..., y..., index, call);
        if (flushed) [[unlikely]]
            ((*y = without_denormals(*y)), ...);
    }

    /// Whether a result may be that of an error.
    template <class T>
    static bool is_unusual(T result)
    {
        return !is_finite(result) || (tells<underflow>() && is_tiny(result));
    }
    template <int code>
    static consteval bool tells()
    {
        return (codes_of<K>() >> static_cast<unsigned>(code) & 1U) != 0;
    }

    // The flags of what was cleared before tell an error from an exact result.
    [[gnu::cold, gnu::noinline]] static void examine(Repeated<In, i>... x, Repeated<In, s>... scalar,
                                                     Repeated<Out*, o>... y, std::int64_t index, Call* call)
    {
        std::fenv_t before;
        std::feholdexcept(&before);
        (stay(x), ...);
        auto result = K::exact(x..., scalar...);
        stay(result);
        const int flags = std::fetestexcept(FE_ALL_EXCEPT);
        std::fesetenv(&before);
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
        if (tell(call, &record, Name::text))
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

// A root of one type: its object, inputs, scalars and outputs, and nanoseconds an element, as `accuracy cost`
// gives them for AVX2 and high accuracy.
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
