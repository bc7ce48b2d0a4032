// Rows without a frame: what only hands its arguments to the core, chains, and bodies by hand.
#include <algorithm>

#include "catalogue/row_signatures.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string jump_text(const std::string& name, const std::string& target, const Row& row)
{
    std::string ahead;
    for (const std::string& function : row.ahead)
        ahead += (ahead.empty() ? ", QNM_AHEAD(" : " QNM_AHEAD(") + function + ")";
    return "QNM_FORWARD(" + name + ", " + target + ahead + ")\n";
}

/// A public type inside the library, where all addresses are of one type.
std::string inside(const std::string& type)
{
    static const std::vector<std::string> numbers{"char", "int", "float", "double", "size_t"};
    if (std::find(numbers.begin(), numbers.end(), type) != numbers.end())
        return type == "size_t" ? "unsigned long" : type;
    return type == "qnm_int64" ? "core_int" : "const void*";
}

/// What stands at the address of a parameter that is read.
std::string pointee(const std::string& type)
{
    const std::string mutable_type = type.rfind("const ", 0) == 0 ? type.substr(6) : type;
    return inside(mutable_type.substr(0, mutable_type.find_last_of('*')));
}

/// An argument of the core's call with its type.
std::pair<std::string, std::string> handed_place(const Place& place, const Signature& s)
{
    if (place.fill == Fill::constant)
        return {"core_int", place.constant};
    const Parameter& p = s.parameters.at(static_cast<std::size_t>(place.parameter));
    const bool integer = p.argument->is_integer();
    switch (place.fill) {
    case Fill::read:
        return {integer ? "core_int" : pointee(p.type), "*" + p.name};
    case Fill::widened:
        return {"core_int", p.name};
    case Fill::addressed:
        return {"const void*", integer ? "address_of<core_int>(" + p.name + ")" : "&" + p.name};
    default:
        return {inside(p.type), p.name};
    }
}

/// A function that hands on values for addresses, addresses for values, or constants.
std::string handed_text(const Signature& s)
{
    Words parameters, types, passed;
    for (const Parameter& p : s.parameters) {
        const bool read =
            p.travel == Travel::number || p.travel == Travel::integer || p.travel == Travel::letter;
        parameters.push_back((read ? pointee(p.type) + " const*" : inside(p.type)) + " " + p.name);
    }
    for (const Place& place : s.callees.front().places) {
        const auto [type, value] = handed_place(place, s);
        types.push_back(type);
        passed.push_back(value);
    }
    const std::string core = s.callees.front().name,
                      result = s.result == "void" ? s.result : inside(s.result);
    // Elsewhere it may stand declared with the types that its callers know.
    const std::string called = core + "_handed";
    return "extern \"C\" " + result + " " + called + "(" + joined(types) + ") asm(\"" + core + "\");\n" +
           exported(result + " " + s.names.front() + "(" + joined(parameters) + ")",
                    "return " + called + "(" + joined(passed) + ")");
}

/// Whether the core gets just what the caller passed.
bool is_jump(const Signature& s)
{
    const std::vector<Place>& places = s.callees.front().places;
    int next = 0;
    return places.size() == s.parameters.size() &&
           std::all_of(places.begin(), places.end(), [&](const Place& place) {
               return place.fill == Fill::as_it_is && place.parameter == next++;
           });
}

std::string same_names(const Signature& s)
{
    std::string text;
    for (std::size_t i = 1; i < s.names.size(); ++i)
        text += "QNM_SAME(" + s.names[i] + ", " + s.names.front() + ")\n";
    return text;
}

/// A body that is a template by the name of its root: `?ge_trans` is `ge_trans<T, I>`.
std::string template_text(const Signature& s, const Row& row)
{
    std::string root = row.root;
    root.erase(std::remove(root.begin(), root.end(), '?'), root.end());
    Words parameters, passed;
    for (const Parameter& p : s.parameters) {
        parameters.push_back(p.type + " " + p.name);
        passed.push_back(p.name);
    }
    return exported(s.result + " " + s.names.front() + "(" + joined(parameters) + ")",
                    "return " + root.substr(root.find_first_not_of('_')) + "<" +
                        c_type("T", s.letter, s.form->width) + ", " + c_type("int", s.letter, s.form->width) +
                        ">(" + joined(passed) + ")") +
           same_names(s);
}

} // namespace

std::string jumps_text(const Row& row)
{
    std::string text;
    for (const Signature& s : row_signatures(row)) {
        if (!s.exported)
            continue;
        if (row.entry_class == Class::own)
            text += row.source.empty() ? template_text(s, row) : "";
        else
            text += (is_jump(s) ? jump_text(s.names.front(), s.callees.front().name, row) : handed_text(s)) +
                    same_names(s);
    }
    return text + "\n";
}

} // namespace qnm::generate
