// An entry that fills an array with numbers of a distribution.
#pragma once

#include "frame/check.hpp"
#include "vsl/stream.hpp"

namespace qnm::vsl {

/// From 0 to the last one; `accurate` allows one bit more.
struct Methods {
    int last;
    bool accurate = false;

    template <class M>
    QNM_INLINE bool has(M method) const
    {
        using Unsigned = std::make_unsigned_t<M>;
        const auto bit = static_cast<Unsigned>(accurate ? 0x40000000 : 0);
        return (static_cast<Unsigned>(method) & ~bit) <= static_cast<Unsigned>(last);
    }
};

constexpr int go_on = 1;

/// What is tested of every generator, ahead of its parameters: a status, or `go_on`.
template <Methods methods, class M, class S, class N, class T>
QNM_INLINE int tested_generator(const Facts& facts, M method, S stream, N n, const void* r, T parameters)
{
    const auto refused = [&](int place) QNM_INLINE_LAMBDA { return refuse(facts.name, place, bad_argument); };
    if (unlikely(given(method) < 0))
        return refused(1);
    if (const int status = validity(given(stream)); unlikely(status != 0))
        return refuse(facts.name, 2, status);
    if (unlikely(given(n) <= 0))
        return given(n) == 0 ? 0 : refused(3);
    if (unlikely(r == nullptr))
        return refused(4);
    if (unlikely(!methods.has(given(method))))
        return refused(1);
    const int status = parameters(facts.name);
    return unlikely(status != 0) ? status : go_on;
}

/// What entries do that are traced, by the type of their kernel.
template <class Type>
struct Timed;
template <class... P>
struct Timed<int(P...)> {
    /// The line of a call that has ended.
    QNM_COLD static int ended(const char* name, const char* format, double start, int status, P... arguments)
    {
        const double elapsed = start + qnm_serv_dsecnd();
        char line[line_size];
        write_line(line, format, name, as<AsItIs>(arguments)...);
        qnm_serv_print_verbose_info(1, line, elapsed);
        return status;
    }

    /// A call that begins while tracing is on; it may be off when the kernel comes back.
    QNM_COLD static int generator(const char* name, const char* format, const int* mode, int (*kernel)(P...),
                                  P... arguments)
    {
        const double start = -qnm_serv_dsecnd();
        const int status = kernel(arguments...);
        return *mode == 0 ? status : ended(name, format, start, status, arguments...);
    }
};

/// Narrow forms.
template <class Kernel, Methods methods, class M, class S, class N, class E, class T, class... A>
QNM_INLINE int generator(const Facts& facts, M method, S stream, N n, E* r, T parameters, A... arguments)
{
    const int verdict = tested_generator<methods>(facts, method, stream, n, r, parameters);
    if (verdict <= 0)
        return verdict;
    // On the stack, where they cost less than in saved registers.
    park(method), park(stream), park(n), park(r), (park(arguments.value), ...);
    bind<Kernel>();
    const int* const mode = qnm_serv_verbose_mode();
    const auto with_values = [&]<class... P>(int (*)(P...), auto to, auto... ahead) QNM_INLINE_LAMBDA {
        return [&](auto... all) QNM_INLINE_LAMBDA {
            return to(ahead..., static_cast<P>(given(all))...);
        }(method, stream, n, as<AsItIs>(r), arguments...);
    };
    if (unlikely(*mode != 0))
        return with_values(Kernel::cell, Timed<typename Kernel::Type>::generator, facts.shown, facts.format,
                           mode, Kernel::cell);
    const int status = with_values(Kernel::cell, Kernel::cell);
    if (unlikely(*mode != 0))
        return with_values(Kernel::cell, Timed<typename Kernel::Type>::ended, facts.shown, facts.format, 0.0,
                           status);
    return status;
}

constexpr core_int block = 2147483647;

/// More numbers than a kernel takes at once. Arrays among the parameters stand still, and so much of the
/// result is skipped for a block as if each number had one element.
template <class Kernel, class Type = typename Kernel::Type>
struct Blocks;
template <class Kernel, class E, class... P>
struct Blocks<Kernel, int(int, void*, int, E*, P...)> {
    [[gnu::noinline]] static int call(int method, void* stream, core_int n, E* r, P... arguments)
    {
        bind<Kernel>();
        for (;; n -= block, r += block) {
            const int status =
                Kernel::cell(method, stream, static_cast<int>(n < block ? n : block), r, arguments...);
            if (status < 0 || n <= block)
                return status;
        }
    }
};

/// The wide form.
template <class Kernel, Methods methods, class E, class T, class... A>
QNM_INLINE int wide_generator(const Facts& facts, core_int method, void* stream, core_int n, E* r,
                              T parameters, A... arguments)
{
    const int verdict = tested_generator<methods>(facts, method, stream, n, r, parameters);
    if (verdict <= 0)
        return verdict;
    if (unlikely(n > block))
        return call(Blocks<Kernel>::call, method, stream, n, as<AsItIs>(r), arguments...);
    return call(kernel<Kernel>(), method, stream, n, as<AsItIs>(r), arguments...);
}

} // namespace qnm::vsl
