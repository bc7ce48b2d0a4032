// An entry of streams; and what generators share with it.
#pragma once

#include "vsl/arguments.hpp"
#include "vsl/kernel.hpp"

namespace qnm::vsl {

// Types of the public header that nobody looks behind here.
struct qnm_vsl_brng_t;
using qnm_vsl_int_source_t = void (*)();
using qnm_vsl_float_source_t = void (*)();
using qnm_vsl_double_source_t = void (*)();

constexpr int bad_argument = -3, null_stream = -5, unknown_engine = -1000, no_stream = -1006;

/// The fixed texts of an entry.
struct Facts {
    const char* name; // as reported
    const char* shown;
    const char* format;
};

/// Of a stream the layer knows one byte.
QNM_INLINE int validity(const void* stream)
{
    if (unlikely(stream == nullptr))
        return null_stream;
    return unlikely(static_cast<const unsigned char*>(stream)[4] != 1) ? no_stream : 0;
}
QNM_INLINE int unless(bool bad, int status = bad_argument)
{
    return unlikely(bad) ? status : 0;
}

/// Reports the place of a bad argument, and gives back the status, which is below 0.
QNM_COLD int report_place(const char* name, int place, int status);
QNM_INLINE int refuse(const char* name, int place, int status)
{
    const int same = report_place(name, place, status);
    if (same >= 0)
        __builtin_unreachable(); // or the caller would ask
    return same;
}

/// A test of an argument, whose verdict is the call's status; 0 is good.
template <int place, class Verdict>
struct Test {
    Verdict verdict;
    QNM_INLINE int operator()(const char* name) const
    {
        const int status = verdict();
        return unlikely(status != 0) ? refuse(name, place, status) : 0;
    }
};
template <int place, class Verdict>
QNM_INLINE Test<place, Verdict> test(Verdict verdict)
{
    return {verdict};
}

/// In order, up to the first that fails.
template <class... T>
QNM_INLINE auto tests(T... all)
{
    return [=](const char* name) QNM_INLINE_LAMBDA {
        int status = 0;
        static_cast<void>(name);
        static_cast<void>((... && ((status = all(name)) == 0)));
        return status;
    };
}

constexpr int line_size = 256;

template <class... A>
void write_line(char (&line)[line_size], const char* format, const char* name, A... arguments)
{
    qnm_serv_sprintf_s(line, line_size, format, name, Shown<A>{arguments}.get()...);
}

/// A traced call, whose line is written before the kernel runs.
template <class Kernel, class... A>
QNM_COLD int timed(const char* name, const char* format, A... arguments)
{
    char line[line_size];
    write_line(line, format, name, arguments...);
    const double start = -qnm_serv_dsecnd();
    const int status = call(kernel<Kernel>(), arguments...);
    qnm_serv_print_verbose_info(1, line, start + qnm_serv_dsecnd());
    return status;
}

struct Steps {
    bool creates = false; // a stream
    bool traced = false;
};

/// The argument by itself, where it waited.
template <class A>
QNM_INLINE A taken(A argument)
{
    return argument;
}
template <class Kind, class V>
QNM_INLINE As<Kind, V> taken(As<Kind, const volatile V&> argument)
{
    return {argument.value};
}

template <class Kernel, Steps steps, class... A>
QNM_INLINE int run(const Facts& facts, A... arguments)
{
    if constexpr (steps.creates)
        qnm_serv_get_dynamic(); // what it tells is not asked for
    if constexpr (steps.traced)
        if (unlikely(*qnm_serv_verbose_mode() != 0))
            return timed<Kernel>(facts.shown, facts.format, taken(arguments)...);
    return call(kernel<Kernel>(), taken(arguments)...);
}

/// Arguments wait in volatile variables while functions are called: in saved registers each would cost two
/// instructions more, and other ways to keep them out of registers lose the jump at the end. Real numbers
/// have no saved registers. Each in turn comes from the front and goes to the end.
template <class Kernel, Steps steps, std::size_t left, class... A>
QNM_INLINE int keep(const Facts& facts, A... arguments)
{
    if constexpr (left == 0)
        return run<Kernel, steps>(facts, arguments...);
    else
        return [&]<class First, class... Rest>(First first, Rest... rest) QNM_INLINE_LAMBDA {
            if constexpr (requires { first.is_wide; })
                return [&]<class Kind, class V>(As<Kind, V> argument) QNM_INLINE_LAMBDA {
                    if constexpr (std::is_floating_point_v<V>) {
                        return keep<Kernel, steps, left - 1>(facts, rest..., argument);
                    } else {
                        const volatile V kept = argument.value;
                        return keep<Kernel, steps, left - 1>(facts, rest...,
                                                             As<Kind, const volatile V&>{kept});
                    }
                }(first);
            else
                return keep<Kernel, steps, left - 1>(facts, rest..., first);
        }(arguments...);
}

template <class Kernel, Steps steps, class T, class... A>
QNM_INLINE int stream_entry(const Facts& facts, T tested, A... arguments)
{
    if (const int status = tested(facts.name); unlikely(status != 0))
        return status;
    if constexpr (steps.creates || steps.traced)
        return keep<Kernel, steps, sizeof...(A)>(facts, arguments...);
    else
        return run<Kernel, steps>(facts, arguments...);
}

} // namespace qnm::vsl
