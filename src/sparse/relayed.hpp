// Entries of the classic sparse BLAS: register, check, and jump to the core, which gets every word as it
// came.
#pragma once

#include "frame/check.hpp"
#include "frame/relay.hpp"
#include "frame/report.hpp"

#include <utility>

/// An entry and its exported check, which share the row's verdict.
#define QNM_RELAYED(ENTRY, CHECK, CORE, ...)                                                                 \
    static int ENTRY##_verdict(Word* arguments) asm(#ENTRY ".verdict");                                      \
    [[gnu::used]] static int ENTRY##_verdict(Word* arguments)                                                \
    {                                                                                                        \
        return __VA_ARGS__;                                                                                  \
    }                                                                                                        \
    QNM_RELAY(ENTRY, CHECK, ENTRY.verdict, CORE)

namespace qnm::sparse {

template <class Tests, class... P, std::size_t... i>
QNM_INLINE int position(Word* arguments, std::index_sequence<i...> /*places*/)
{
    return Tests::template code<int>(In<P>{saved<P, i>(arguments)}...);
}

/// 0 if all is well, else 1 after the report, which goes to the head of the chain itself. Arguments are read
/// in their place, as far as the tests get.
template <class Tests, class... P>
QNM_INLINE int verdict(const char* name, int length, Word* arguments)
{
    const int bad = position<Tests, P...>(arguments, std::index_sequence_for<P...>{});
    return unlikely(bad != 0) ? report_argument<int, cdecl_xerbla>(name, length, bad) : 0;
}

} // namespace qnm::sparse
