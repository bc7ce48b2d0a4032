// Letters and type words of the tables.
#include <algorithm>
#include <array>

#include "row.hpp"

namespace qnm::catalogue {

namespace {

struct NamedType {
    const char* word;
    const char* single; // by the letter's real type
    const char* dbl;
};
constexpr std::array<NamedType, 2> real_types{
    {{"R", "float", "double"}, {"C", "qnm_complex8", "qnm_complex16"}}};
constexpr std::array<std::array<const char*, 2>, 17> plain_types{{{"char", "char"},
                                                                  {"float", "float"},
                                                                  {"double", "double"},
                                                                  {"complex8", "qnm_complex8"},
                                                                  {"complex16", "qnm_complex16"},
                                                                  {"half", "qnm_f16"},
                                                                  {"f16", "qnm_f16"},
                                                                  {"bf16", "qnm_bf16"},
                                                                  {"f8", "qnm_f8"},
                                                                  {"i8", "qnm_int8"},
                                                                  {"u8", "qnm_uint8"},
                                                                  {"i16", "qnm_int16"},
                                                                  {"i32", "qnm_int32"},
                                                                  {"size", "size_t"},
                                                                  {"status", "int"},
                                                                  {"layout", "int"},
                                                                  {"void", "void"}}};

} // namespace

const Precision* find_precision(const std::string& prefix)
{
    static const std::vector<Precision> precisions{
        {"s", 's', 's'},  {"d", 'd', 'd'},  {"c", 'c', 's'},  {"z", 'z', 'd'},  {"sc", 'c', 's'},
        {"dz", 'z', 'd'}, {"cs", 'c', 's'}, {"zd", 'z', 'd'}, {"is", 's', 's'}, {"id", 'd', 'd'},
        {"ic", 'c', 's'}, {"iz", 'z', 'd'}, {"ds", 's', 'd'}, {"sds", 's', 's'}};
    const auto found = std::find_if(precisions.begin(), precisions.end(),
                                    [&](const Precision& p) { return p.prefix == prefix; });
    return found == precisions.end() ? nullptr : &*found;
}

bool is_type(const std::string& word)
{
    return word == "T" || word == "int" || word == "logical" || word == "procedure" || word == "kernel" ||
           std::any_of(real_types.begin(), real_types.end(), [&](const auto& t) { return word == t.word; }) ||
           std::any_of(plain_types.begin(), plain_types.end(), [&](const auto& t) { return word == t[0]; });
}

std::string c_type(const std::string& type, const Precision& precision, Width width)
{
    if (type == "int" || type == "logical")
        return width == Width::narrow ? "int" : "qnm_int64";
    if (type == "T") {
        if (precision.element == 's' || precision.element == 'd')
            return precision.element == 's' ? "float" : "double";
        return precision.element == 'c' ? "qnm_complex8" : "qnm_complex16";
    }
    if (type == "procedure")
        return "void";
    if (type == "kernel") // what a JIT lookup hands out
        return std::string("qnm_") + precision.element + "gemm_jit_kernel_t";
    for (const NamedType& t : real_types)
        if (type == t.word)
            return precision.real == 's' ? t.single : t.dbl;
    for (const auto& t : plain_types)
        if (type == t[0])
            return t[1];
    return {};
}

} // namespace qnm::catalogue
