// Telling entries of each class with good calls of theirs, and the order of what they do.
#pragma once

#include "layer.hpp"

#include <algorithm>

namespace qnm {

using Story = std::vector<std::string>;

inline Story joined(std::initializer_list<Story> parts)
{
    Story all;
    for (const Story& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline const Story registers{"qnm_serv_set_xerbla_interface"}, reports{"qnm_serv_xerbla"},
    asks{"qnm_serv_verbose_mode"}, clock{"qnm_serv_dsecnd"},
    prints{"qnm_serv_snprintf_s", "qnm_serv_print_verbose_info"}, allocates{"qnm_serv_allocate"};

/// A call of one entry, what it does ahead of the decision and at the core, and its line.
struct Telling {
    std::string name; // lower case, with _64 for a wide entry
    std::vector<Word> words;
    Story ahead, at_core;
    std::string line; // empty where it is not always the same

    Story untraced() const { return joined({ahead, at_core}); }
    Story traced() const { return joined({ahead, clock, at_core, clock, prints}); }
};

inline const int n3 = 3, n2 = 2, n4 = 4, one = 1, back = -1, bad = -7;
inline const wide_int w3 = 3, w2 = 2, w4 = 4, w1 = 1, wback = -1, huge = 4000000000;
inline const int indices[] = {9, 8, 7};

// Nobody reads what lies behind addresses of arrays and scalars; such as these keep the lines literal.
inline const std::vector<Telling> telling{
    {"dgemm",
     {"N", "t", &n2, &n3, &n4, 0xa0L, 0xa00L, &n2, 0xb00L, &n3, 0xc0L, 0xc00L, &n2},
     registers,
     {"qnm_blas_dgemm"},
     "DGEMM(N,t,2,3,4,0xa0,0xa00,2,0xb00,3,0xc0,0xc00,2)"},
    {"dgemm_64",
     {"N", "t", &w2, &w3, &w4, 0xa0L, 0xa00L, &huge, 0xb00L, &w3, 0xc0L, 0xc00L, &w2},
     registers,
     {"qnm_blas_dgemm"},
     "DGEMM_64(N,t,2,3,4,0xa0,0xa00,4000000000,0xb00,3,0xc0,0xc00,2)"},
    {"dgemm_pack_get_size",
     {"A", &n2, &n3, &n4},
     registers,
     {"qnm_blas_dgemm_pack_get_size"},
     "DGEMM_PACK_GET_SIZE(A,2,3,4)"},
    {"xerbla_array", {"D", &n3, &one}, registers, {"qnm_lapack_xerbla_array"}, "XERBLA_ARRAY(D,3,1)"},
    {"dscal", {&n3, 0xa0L, 0x100L, &back}, {}, {"qnm_blas_dscal"}, "DSCAL(3,0xa0,0x100,-1)"},
    {"dscal_64",
     {&huge, 0xa0L, 0x100L, &wback},
     {},
     {"qnm_blas_dscal"},
     "DSCAL_64(4000000000,0xa0,0x100,-1)"},
    {"zdotu",
     {0x500L, &n3, 0x100L, &one, 0x200L, &one},
     {},
     {"qnm_blas_zdotu"},
     "ZDOTU(0x500,3,0x100,1,0x200,1)"},
    {"idamax", {&n3, 0x100L, &one}, {}, {"qnm_blas_idamax"}, "IDAMAX(3,0x100,1)"},
    {"qnm_get_format_compact", {}, {}, {"qnm_blas_get_format_compact"}, "QNM_GET_FORMAT_COMPACT()"},
    {"daxpyi",
     {&n3, 0xa0L, 0x100L, indices, 0x200L},
     allocates,
     {"qnm_blas_daxpyi", "qnm_serv_deallocate"},
     ""},
    {"daxpyi_64",
     {&w3, 0xa0L, 0x100L, 0x300L, 0x200L},
     {},
     {"qnm_blas_daxpyi"},
     "DAXPYI_64(3,0xa0,0x100,0x300,0x200)"}};

/// Calls of DGEMM with a letter that is refused; what lies behind the sizes is not there.
inline const std::vector<Telling> refused = [] {
    const std::vector<Word> nothing(8, nullptr);
    const std::string shown = "(X,n,2,3,4,(nil),(nil),0,(nil),0,(nil),(nil),0)";
    std::vector<Telling> both{
        {"dgemm", {"X", "n", &n2, &n3, &n4}, joined({registers, reports}), {}, "DGEMM"},
        {"dgemm_64", {"X", "n", &w2, &w3, &w4}, joined({registers, reports}), {}, "DGEMM_64"}};
    for (Telling& call : both) {
        call.words.insert(call.words.end(), nothing.begin(), nothing.end());
        call.line += shown;
    }
    return both;
}();

inline const std::vector<Telling> all_calls = [] {
    std::vector<Telling> all = telling;
    all.insert(all.end(), refused.begin(), refused.end());
    return all;
}();

inline const Telling& good_call(const std::string& name)
{
    const auto found =
        std::find_if(telling.begin(), telling.end(), [&](const Telling& t) { return t.name == name; });
    return found == telling.end() ? throw std::out_of_range(name) : *found;
}

/// The words of a good call, with one of them changed.
inline std::vector<Word> good(const std::string& name, std::size_t place = 0, std::optional<Word> other = {})
{
    std::vector<Word> words = good_call(name).words;
    if (other)
        words.at(place) = *other;
    return words;
}

/// What a call does.
inline Story story(const std::string& name, const std::vector<Word>& words)
{
    core().clear();
    call_entry(name, words);
    Story all;
    for (const recording::Call& call : core().calls())
        all.push_back(call.name);
    return all;
}

/// The line that a call printed, and its seconds; nothing if it did not.
inline std::optional<recording::Call> printed(const std::string& name, const std::vector<Word>& words)
{
    const Story all = story(name, words);
    return !all.empty() && all.back() == prints.back() ? std::optional(core().calls().back()) : std::nullopt;
}

} // namespace qnm
