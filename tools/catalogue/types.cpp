#include "types.hpp"

#include <algorithm>
#include <deque>

namespace qnm::catalogue {

namespace {

/// Integers and T depend on more than the letter's real type; c_type() knows them.
std::deque<Type>& types()
{
    static std::deque<Type> all{
        {"char", "char", "char", "%c"},
        {"int", "", "", "%d"},
        {"logical", "", "", "%d"},
        {"T", "", "", "%f"},
        {"R", "float", "double", "%f"},
        {"C", "qnm_complex8", "qnm_complex16", "%p"},
        {"kernel", "", "", "%p"},
        {"procedure", "void", "void", "%p"},
        {"void", "void", "void", "%p"},
        {"float", "float", "float", "%f"},
        {"double", "double", "double", "%f"},
        {"complex8", "qnm_complex8", "qnm_complex8", "%p"},
        {"complex16", "qnm_complex16", "qnm_complex16", "%p"},
        {"half", "qnm_f16", "qnm_f16", "%p"},
        {"f16", "qnm_f16", "qnm_f16", "%p"},
        {"bf16", "qnm_bf16", "qnm_bf16", "%p"},
        {"f8", "qnm_f8", "qnm_f8", "%p"},
        {"i8", "qnm_int8", "qnm_int8", "%d"},
        {"u8", "qnm_uint8", "qnm_uint8", "%d"},
        {"i16", "qnm_int16", "qnm_int16", "%d"},
        {"i32", "qnm_int32", "qnm_int32", "%d"},
        {"int64", "qnm_int64", "qnm_int64", "%lli"},
        {"size", "size_t", "size_t", "%zu"},
        {"status", "int", "int", "%d"},
        {"layout", "int", "int", "%d"},
    };
    return all;
}

} // namespace

const Type* find_type(const std::string& word)
{
    const auto found =
        std::find_if(types().begin(), types().end(), [&](const Type& t) { return t.word == word; });
    return found == types().end() ? nullptr : &*found;
}

void read_type_statement(Lexer& lexer)
{
    Type type;
    type.word = lexer.identifier("the word for a type");
    type.address = lexer.accept("address");
    for (; !lexer.at_end(); lexer.next()) {
        const std::string& part = lexer.peek().text;
        if (!type.single.empty() && part != "*")
            type.single += ' ';
        type.single += part;
    }
    if (type.single.empty())
        lexer.fail("the C type");
    type.dbl = type.single;
    type.conversion = type.address ? "%p" : "%d";
    const Type* known = find_type(type.word);
    if (known == nullptr)
        types().push_back(type);
    else if (known->single != type.single || known->dbl != type.dbl || known->address != type.address)
        lexer.fail_at(lexer.first_line(), "'" + type.word + "'", "a word that means no other type");
}

bool is_address_type(const std::string& c_type)
{
    return c_type.find('*') != std::string::npos ||
           std::any_of(types().begin(), types().end(),
                       [&](const Type& t) { return t.address && t.single == c_type; });
}

std::string c_type(const std::string& type, const Precision& precision, Width width)
{
    if (type == "int" || type == "logical")
        return width == Width::narrow ? "int" : width == Width::wide ? "qnm_int64" : "size_t";
    if (type == "T") {
        if (precision.element == 's' || precision.element == 'd')
            return precision.element == 's' ? "float" : "double";
        return precision.element == 'c' ? "qnm_complex8" : "qnm_complex16";
    }
    if (type == "kernel") // what a JIT lookup hands out
        return std::string("qnm_") + precision.element + "gemm_jit_kernel_t";
    const Type* found = find_type(type);
    if (found == nullptr)
        return {};
    return precision.real == 's' ? found->single : found->dbl;
}

} // namespace qnm::catalogue
