// Prototypes with published types.
#include "prototypes.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// Names with `__` are for the library's other interfaces, and the heads of chains for the library alone.
bool is_public(const std::string& spelling)
{
    return spelling.find("__") == std::string::npos && spelling.rfind("cdecl_", 0) != 0;
}

bool written(const Argument& a)
{
    return a.direction == Direction::out || a.direction == Direction::inout || a.direction == Direction::work;
}

std::string parameter(const Argument& a, const Entry& entry)
{
    const std::string type = c_type(a.type, entry.precision, entry.width);
    if (a.kind == Kind::value || (entry.frame() == Class::helper && !a.array))
        return type + " " + a.name;
    if (a.type == "procedure")
        return "qnm_procedure_t " + a.name;
    if (a.kind == Kind::handle)
        return "void* " + a.name;
    if (a.pointers && a.type == "void") // handles: the addresses themselves are what is written
        return (written(a) ? "void** " : "void* const* ") + a.name;
    const std::string pointee = (written(a) ? "" : "const ") + type + "*";
    return pointee + (a.pointers ? " const* " : " ") + a.name;
}

/// The same in the C form of a matrix copy: scalars by value, and sizes as such.
std::string value_parameter(const Argument& a, const Entry& entry)
{
    if (a.type == "int")
        return (a.array ? "const size_t* " : "size_t ") + a.name;
    return a.array ? parameter(a, entry) : c_type(a.type, entry.precision, entry.width) + " " + a.name;
}

std::string result(const Entry& entry)
{
    const Result& r = entry.row->result;
    if (r.kind != ResultKind::value)
        return "void";
    return r.type == "index" ? "int" : c_type(r.type, entry.precision, entry.width);
}

Words parameters(const Entry& entry)
{
    Words list;
    const Result& r = entry.row->result;
    if (r.kind == ResultKind::hidden)
        list.push_back(c_type(r.type, entry.precision, entry.width) + "* result");
    if (r.kind == ResultKind::hidden && r.type == "char")
        list.emplace_back("size_t result_length");
    for (const Argument& a : entry.row->arguments)
        list.push_back(parameter(a, entry));
    return list;
}

Words parameters(const Service& s, bool by_reference)
{
    Words list;
    for (const ServiceArgument& a : s.arguments) {
        if (a.type == "more") {
            list.emplace_back("...");
            continue;
        }
        const std::string type = service_type(a.type);
        const bool pointer = type.back() == '*';
        const std::string reference = pointer ? type + " const*" : "const " + type + "*";
        list.push_back((by_reference && !a.untouched ? reference : type) + " " + a.name);
    }
    return list;
}

/// The C interface's types are the published ones: enumerations, `void` for complex numbers, and also for
/// arrays whose type depends on the layout.
std::string parameter(const CArgument& a, const CEntry& entry)
{
    const CRow& row = *entry.row;
    const std::string integer = entry.width == Width::narrow ? "int" : "qnm_int64";
    const auto enumeration = [&] {
        return a.as.letters.find('P') != std::string::npos ? "int" : code_group(a.as.letters).type;
    };
    const auto element = [&] {
        const CArgument* other = row.find(row.rows.source(a.as.name));
        return a.as.type == "C" || (entry.precision.is_complex() && a.as.type == "T") ||
                       other->as.type != a.as.type
                   ? "void"
                   : c_type(a.as.type, entry.precision, entry.width);
    };
    const std::string constant = written(a.as) ? "" : "const ";
    switch (a.role) {
    case CRole::layout:
        return "CBLAS_LAYOUT layout";
    case CRole::option:
        return std::string(enumeration()) + " " + a.as.name;
    case CRole::options:
        return std::string("const ") + enumeration() + "* " + a.as.name;
    case CRole::integer:
        return integer + " " + a.as.name;
    case CRole::integers:
        return "const " + integer + "* " + a.as.name;
    case CRole::scalar:
        return c_type(a.as.type, entry.precision, entry.width) + " " + a.as.name;
    case CRole::address:
        break;
    }
    if (a.as.pointers && a.as.type == "void")
        return "void** " + a.as.name;
    return constant + element() + "*" + (a.as.pointers ? " const* " : " ") + a.as.name;
}

} // namespace

std::string prototype(const std::string& type, const std::string& name, const Words& parameters)
{
    constexpr std::size_t widest = 110;
    std::string text;
    std::string line = type + " " + name + "(" + (parameters.empty() ? "void" : "");
    for (const std::string& item : parameters) {
        const bool last = &item == &parameters.back();
        const std::string between = &item == &parameters.front() ? "" : " ";
        if (line.size() + between.size() + item.size() + 2 > widest) {
            text += line + "\n";
            line = "    " + item;
        } else {
            line += between + item;
        }
        line += last ? "" : ",";
    }
    return text + line + ");\n";
}

std::string prototypes(const Row& row)
{
    std::string text;
    for (const Entry& entry : Catalogue::entries(row)) {
        for (const std::string& spelling : entry.spellings())
            if (is_public(spelling))
                text += prototype(result(entry), spelling, parameters(entry));
        if (entry.c_form().empty())
            continue;
        Words values;
        for (const Argument& a : row.arguments)
            values.push_back(value_parameter(a, entry));
        text += prototype(result(entry), entry.c_form(), values);
    }
    return text;
}

std::string prototypes(const Service& s)
{
    std::string text;
    const bool two_forms = s.kind == ServiceKind::service;
    for (const std::string& spelling : s.spellings)
        if (is_public(spelling))
            text += prototype(service_type(s.result), spelling, parameters(s, two_forms));
    if (two_forms)
        text += prototype(service_type(s.result), s.name, parameters(s, false));
    if (s.kind == ServiceKind::internal || s.kind == ServiceKind::core)
        text += prototype(service_type(s.result), s.core, parameters(s, false));
    return text;
}

std::string prototypes(const CRow& row)
{
    std::string text;
    for (const CEntry& entry : c_entries(row)) {
        Words list;
        for (const CArgument& a : row.arguments)
            list.push_back(parameter(a, entry));
        const Result& r = row.fortran.result;
        text += prototype(r.kind != ResultKind::value ? "void"
                          : row.form == "index"       ? "CBLAS_INDEX"
                                                      : c_type(r.type, entry.precision, entry.width),
                          entry.name(), list);
    }
    return text;
}

} // namespace qnm::generate
