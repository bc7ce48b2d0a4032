// Headers for those who write a core: prototypes of the functions that entries end in.
#include <algorithm>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <utility>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// A type with another integer in the place of its own.
std::string with_integer(const std::string& type, const std::string& integer)
{
    const std::size_t stars = type.find('*');
    return (type.rfind("const ", 0) == 0 ? "const " : "") + integer +
           (stars == std::string::npos ? "" : type.substr(stars));
}

std::string addressed_type(const std::string& type)
{
    return "const " + type + "*";
}

/// What stands at an address, which is a copy.
std::string pointee(const std::string& type)
{
    static const std::regex constant("^const (?=[^*]*$)| const$");
    return std::regex_replace(type.substr(0, type.find_last_of('*')), constant, "");
}

/// A function as one of the entries that end in it calls it.
struct Called {
    const Signature* from;
    const Callee* callee;
    std::string result;
    std::vector<Parameter> parameters;

    bool has_width_flag() const
    {
        return std::any_of(callee->places.begin(), callee->places.end(),
                           [](const Place& place) { return place.name == width_flag; });
    }
    /// Whether the published prototype tells all of it, in the core's own width.
    bool is_told() const
    {
        return from->form->width == Width::wide && from->form->convention == Convention::reference &&
               std::all_of(callee->places.begin(), callee->places.end(), [](const Place& place) {
                   return place.fill == Fill::as_it_is || place.fill == Fill::constant;
               });
    }
};

Parameter place_parameter(const Place& place, const Signature& s, const Family& family)
{
    if (place.parameter < 0)
        return {place.name, place.type, Travel::value, nullptr, ""};
    Parameter p = s.parameters.at(static_cast<std::size_t>(place.parameter));
    const bool integer = p.argument != nullptr && p.argument->is_integer();
    switch (place.fill) {
    case Fill::widened:
    case Fill::copied:
        p.type = with_integer(p.type, "qnm_int64");
        break;
    case Fill::addressed: // of what was read, too
        p.type = addressed_type(integer                      ? "qnm_int64"
                                : p.travel == Travel::number ? pointee(p.type)
                                                             : p.type);
        break;
    case Fill::read:
        p.type = integer && !family.core_has_widths() ? "qnm_int64" : pointee(p.type);
        break;
    case Fill::low:
        p.type = "int";
        break;
    default:
        break;
    }
    return p;
}

Called called(const Signature& s, const Callee& callee, const Family& family)
{
    Called made{&s, &callee, s.result, {}};
    for (const Place& place : callee.places) {
        made.parameters.push_back(place_parameter(place, s, family));
        Parameter& p = made.parameters.back();
        if (made.has_width_flag() && (p.travel == Travel::integer || p.travel == Travel::integers))
            p.type = "const void*"; // of either width
    }
    return made;
}

bool is_constant(const Parameter& p)
{
    return p.argument == nullptr && p.type == "qnm_int64";
}

/// What one parameter is that two entries tell; empty: they do not agree.
std::optional<Parameter> agreed(const Parameter& x, const Parameter& y, bool letters_differ)
{
    const bool addresses = is_address_type(x.type) && is_address_type(y.type);
    const auto is_untyped = [](const Parameter& p) { return p.type == "void*" || p.type == "const void*"; };
    if (x.type == y.type || is_constant(y))
        return x;
    if (is_constant(x))
        return y;
    if (addresses && letters_differ) { // by one name: codes or a handle tell what stands there
        Parameter either = x;
        either.type = x.type.rfind("const ", 0) == 0 ? "const void*" : "void*";
        return either;
    }
    if (addresses && (is_untyped(x) || is_untyped(y))) // C takes any address for that of a complex number
        return is_untyped(x) ? y : x;
    const bool sizes = x.type.find("size_t") != std::string::npos; // integers that are not negative
    const std::string size = sizes ? x.type : y.type, integer = sizes ? y.type : x.type;
    if (size == with_integer(integer, "size_t") && integer == with_integer(size, "qnm_int64"))
        return sizes ? x : y;
    return {};
}

std::string text_of(const Called& made, const std::string& name)
{
    Signature s = *made.from;
    s.data = false;
    s.result = made.result;
    s.parameters = made.parameters;
    return prototype(s, name);
}

/// Takes in what another entry tells of the function.
void join(const std::string& name, Called& all, const Called& other)
{
    // A name of Fortran hands on hidden lengths that no prototype has.
    const auto is_length = [](const Parameter& p) { return p.type == "size_t"; };
    std::vector<Parameter>& ours = all.parameters;
    const std::vector<Parameter>& theirs = other.parameters;
    const std::size_t shorter = std::min(ours.size(), theirs.size());
    const auto end = [&](const std::vector<Parameter>& list) {
        return list.begin() + static_cast<std::ptrdiff_t>(shorter);
    };
    bool agree = std::all_of(end(ours), ours.cend(), is_length) &&
                 std::all_of(end(theirs), theirs.end(), is_length) &&
                 all.from->variadic == other.from->variadic;
    for (std::size_t i = 0; i < shorter && agree; ++i) {
        const auto one = agreed(ours[i], theirs[i], all.from->letter.element != other.from->letter.element);
        agree = one.has_value();
        if (agree)
            ours[i] = *one;
    }
    ours.insert(ours.end(), end(theirs), theirs.end());
    // Of a result a narrow entry hands on the lower half.
    const auto integer = [](const std::string& type) { return type == "int" || type == "qnm_int64"; };
    const bool halves =
        all.from->form->width != other.from->form->width && integer(all.result) && integer(other.result);
    if (!agree || (all.result != other.result && !halves))
        throw TableError(other.from->where() + ": '" + name + "': expected what " + all.from->where() +
                         " calls, " + text_of(all, name));
}

std::string folder_of(const Signature& s)
{
    return s.table.substr(0, s.table.find('/'));
}

} // namespace

std::string core_prototypes(const Catalogue& tables, const std::string& folder, const std::string& macro)
{
    const std::vector<Signature> all = tables.signatures();
    std::set<std::string> exported;
    for (const Signature& s : all)
        if (s.exported)
            exported.insert(s.names.begin(), s.names.end());
    std::vector<std::string> order; // those whose first entry is of this folder
    std::map<std::string, Called> told;
    for (const Signature& s : all) {
        const Family& family = tables.families().at(s.family);
        for (const Callee& callee : s.callees) {
            if (family.kernels || exported.count(callee.name) != 0)
                continue; // found by name in a library beside the core; another entry
            const Called now = called(s, callee, family);
            const auto [at, fresh] = told.try_emplace(callee.name, now);
            if (fresh && folder_of(s) == folder)
                order.push_back(callee.name);
            Called other = now;
            if (now.is_told() && !at->second.is_told())
                std::swap(at->second, other);
            join(callee.name, at->second, other);
        }
    }
    if (order.empty())
        throw TableError(folder + ":0: expected tables whose entries call the core");
    std::string text, table;
    for (const std::string& name : order) {
        const Called& made = told.at(name);
        if (!macro.empty()) {
            text += macro + "(" + made.from->table + ", " + name + ")\n";
            continue;
        }
        if (made.from->table != table)
            text += "\n/* Of " + made.from->table + ". */\n";
        table = made.from->table;
        text += text_of(made, name);
    }
    return text;
}

} // namespace qnm::generate
