// Telling entries of each class with good calls of theirs, and the order of what they do.
#pragma once

#include "layer.hpp"

#include <algorithm>

namespace qnm {

using Story = std::vector<std::string>;

inline Story story()
{
    Story all;
    for (const recording::Call& call : core().calls())
        all.push_back(call.name);
    return all;
}

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

/// A good call of one entry: what it does ahead of the decision, at the core, and its line.
struct Telling {
    std::string name; // lower case, with _64 for a wide entry
    std::vector<Word> words;
    Story ahead;
    Story at_core;
    std::string line;
};

inline const int n3 = 3, n2 = 2, n4 = 4, one = 1, back = -1, bad = -7;
inline const wide_int w3 = 3, w2 = 2, w4 = 4, w1 = 1, wback = -1, huge = 4000000000;
inline const int indices[] = {9, 8, 7};

inline const std::vector<Telling>& telling()
{
    static const std::vector<Telling> all{
        {"dgemm",
         {"N", "t", &n2, &n3, &n4, address(0xa0), address(0xa00), &n2, address(0xb00), &n3, address(0xc0),
          address(0xc00), &n2},
         registers,
         {"qnm_blas_dgemm"},
         "DGEMM(N,t,2,3,4,0xa0,0xa00,2,0xb00,3,0xc0,0xc00,2)"},
        {"dgemm_64",
         {"N", "t", &w2, &w3, &w4, address(0xa0), address(0xa00), &huge, address(0xb00), &w3, address(0xc0),
          address(0xc00), &w2},
         registers,
         {"qnm_blas_dgemm"},
         "DGEMM_64(N,t,2,3,4,0xa0,0xa00,4000000000,0xb00,3,0xc0,0xc00,2)"},
        {"dgemm_pack_get_size",
         {"A", &n2, &n3, &n4},
         registers,
         {"qnm_blas_dgemm_pack_get_size"},
         "DGEMM_PACK_GET_SIZE(A,2,3,4)"},
        {"xerbla_array", {"D", &n3, &one}, registers, {"qnm_lapack_xerbla_array"}, "XERBLA_ARRAY(D,3,1)"},
        {"dscal",
         {&n3, address(0xa0), address(0x100), &back},
         {},
         {"qnm_blas_dscal"},
         "DSCAL(3,0xa0,0x100,-1)"},
        {"dscal_64",
         {&huge, address(0xa0), address(0x100), &wback},
         {},
         {"qnm_blas_dscal"},
         "DSCAL_64(4000000000,0xa0,0x100,-1)"},
        {"zdotu",
         {address(0x500), &n3, address(0x100), &one, address(0x200), &one},
         {},
         {"qnm_blas_zdotu"},
         "ZDOTU(0x500,3,0x100,1,0x200,1)"},
        {"idamax", {&n3, address(0x100), &one}, {}, {"qnm_blas_idamax"}, "IDAMAX(3,0x100,1)"},
        {"dcabs1", {address(0x100)}, {}, {"qnm_blas_dcabs1"}, "DCABS1(0x100)"},
        {"qnm_get_format_compact", {}, {}, {"qnm_blas_get_format_compact"}, "QNM_GET_FORMAT_COMPACT()"},
        {"qnm_jit_destroy", {address(0x700)}, {}, {"qnm_blas_qnm_jit_destroy"}, "QNM_JIT_DESTROY(0x700)"},
        {"daxpyi",
         {&n3, address(0xa0), address(0x100), indices, address(0x200)},
         allocates,
         {"qnm_blas_daxpyi", "qnm_serv_deallocate"},
         ""},
        {"daxpyi_64",
         {&w3, address(0xa0), address(0x100), address(0x300), address(0x200)},
         {},
         {"qnm_blas_daxpyi"},
         "DAXPYI_64(3,0xa0,0x100,0x300,0x200)"}};
    return all;
}

/// A call of DGEMM with a letter that is refused; what lies behind the sizes is not there.
inline const std::vector<Word> refused{"X",     "n",     &n2,     &n3,     &n4,     nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
inline const std::vector<Word> wide_refused{"X",     "n",     &w2,     &w3,     &w4,     nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

/// The words of the good call of one entry.
inline const std::vector<Word>& good(const std::string& name)
{
    const auto& all = telling();
    return std::find_if(all.begin(), all.end(), [&](const Telling& entry) { return entry.name == name; })
        ->words;
}

/// Begins with cells as they stand after first calls, and with the mode off.
class BoundTest : public LayerTest {
protected:
    BoundTest()
    {
        for (const Telling& entry : telling())
            bind(entry.name);
    }
    static bool printed() { return !core().calls("qnm_serv_print_verbose_info").empty(); }
};

} // namespace qnm
