// Rows without a frame: what only hands its arguments to the core, chains, and bodies by hand.
#include <algorithm>
#include <iterator>

#include "catalogue/row_signatures.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string registration(const Family& family)
{
    return family.name + ".registration";
}

std::string jump_text(const std::string& name, const std::string& target, const Row& row)
{
    if (!row.family->registers.empty())
        return "QNM_REGISTERED(" + joined({name, target, registration(*row.family)}) + ")\n";
    std::string ahead;
    for (const std::string& function : row.ahead)
        ahead += (ahead.empty() ? ", QNM_AHEAD(" : " QNM_AHEAD(") + function + ")";
    return "QNM_FORWARD(" + name + ", " + target + ahead + ")\n";
}

/// A public type inside the library, where all addresses are of one type.
std::string inside(const std::string& type)
{
    if (type == "size_t" || type == "qnm_int64")
        return type == "size_t" ? "unsigned long" : "core_int";
    return is_address_type(type) ? "const void*" : type;
}

/// What stands at the address of a parameter that is read.
std::string pointee(const std::string& type)
{
    const std::string mutable_type = type.rfind("const ", 0) == 0 ? type.substr(6) : type;
    return inside(mutable_type.substr(0, mutable_type.find_last_of('*')));
}

/// An argument of the core's call with its type.
std::pair<std::string, std::string> handed_place(const Place& place, const Signature& s, const Family& family)
{
    if (place.fill == Fill::constant)
        return {"core_int", place.constant};
    const Parameter& p = s.parameters.at(static_cast<std::size_t>(place.parameter));
    const bool integer = p.argument->is_integer();
    switch (place.fill) {
    case Fill::read:
        return {integer && !family.core_has_widths() ? "core_int" : pointee(p.type),
                (family.kernels && integer ? "or_zero(" + p.name + ")" : "*" + p.name)};
    case Fill::widened:
        return {"core_int", p.name};
    case Fill::addressed:
        if (p.travel == Travel::number)
            return {"const void*", "address_of<" + pointee(p.type) + ">(+*" + p.name + ")"};
        return {"const void*", integer ? "address_of<core_int>(" + p.name + ")" : "&" + p.name};
    default:
        return {inside(p.type), p.name};
    }
}

/// A kernel with its cell: of a function, or of a row.
std::string kernel_cell(const std::string& name, const std::string& kernel, const std::string& result,
                        const Words& types)
{
    Words all{name, quoted(kernel), result};
    all.insert(all.end(), types.begin(), types.end());
    return "QNM_KERNEL(" + joined(all) + ")\n";
}

/// A function that hands on values for addresses, addresses for values, or constants. `cell` is that of the
/// kernel that it calls, and empty where it calls the core.
std::string handed_text(const Signature& s, const Family& family, const std::string& cell, bool fresh)
{
    Words parameters, types, passed;
    for (const Parameter& p : s.parameters) {
        const bool read =
            p.travel == Travel::number || p.travel == Travel::integer || p.travel == Travel::letter;
        parameters.push_back((read ? pointee(p.type) + " const*" : inside(p.type)) + " " + p.name);
    }
    for (const Place& place : s.callees.front().places) {
        const auto [type, value] = handed_place(place, s, family);
        types.push_back(type);
        passed.push_back(value);
    }
    const std::string core = s.callees.front().name,
                      result = s.result == "void" ? s.result : inside(s.result);
    if (!cell.empty()) {
        return (fresh ? kernel_cell(cell, core, result, types) : "") +
               exported(result + " " + s.names.front() + "(" + joined(parameters) + ")",
                        "return hand_on<" + cell + "_kernel>(" + joined(passed) + ")");
    }
    // Elsewhere it may stand declared with the types that its callers know, or of another entry.
    const std::string called = s.names.front() + "_core";
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

/// The same for a kernel that an entry finds: what its register has the address of may be read. Empty: it is
/// none.
std::string bound_jump_text(const Signature& s)
{
    static constexpr const char* registers[][2]{{"rdi", "edi"}, {"rsi", "esi"}, {"rdx", "edx"},
                                                {"rcx", "ecx"}, {"r8", "r8d"},  {"r9", "r9d"}};
    const Callee& kernel = s.callees.front();
    Words parts{s.names.front(), quoted(kernel.name)};
    std::string ahead;
    for (std::size_t i = 0; i < kernel.places.size(); ++i) {
        const Place& place = kernel.places[i];
        const bool read = place.fill == Fill::read && i < std::size(registers);
        if (place.parameter != static_cast<int>(i) || (place.fill != Fill::as_it_is && !read))
            return {};
        const std::string type = read ? pointee(s.parameters[i].type) : "";
        if (type == "int")
            ahead += std::string(" QNM_TAKEN_32(") + registers[i][0] + ", " + registers[i][1] + ")";
        else if (read && type == "const void*")
            ahead += std::string(" QNM_TAKEN(") + registers[i][0] + ")";
        else if (read)
            return {};
    }
    if (!ahead.empty())
        parts.push_back(ahead.substr(1));
    return "QNM_BOUND(" + joined(parts) + ")\n";
}

std::string same_names(const Signature& s)
{
    std::string text;
    for (std::size_t i = 1; i < s.names.size(); ++i)
        text += "QNM_SAME(" + s.names[i] + ", " + s.names.front() + ")\n";
    return text;
}

std::string entry_text(const Signature& s, const Row& row, const std::string& cell, bool fresh)
{
    const bool alone = row.family->kernel_each; // no other form needs the cell
    const std::string jump = cell.empty()
                                 ? is_jump(s) ? jump_text(s.names.front(), s.callees.front().name, row) : ""
                             : alone ? bound_jump_text(s)
                                     : "";
    return jump.empty() ? handed_text(s, *row.family, cell, fresh) : jump;
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

std::string jumps_text(const Row& row, std::set<std::string>& declared)
{
    std::string text;
    const Words& callbacks = row.family->registers;
    if (!callbacks.empty() && declared.insert(registration(*row.family)).second) {
        for (const std::string& callback : callbacks)
            text += " QNM_REGISTER_" + callback;
        text = "QNM_REGISTRATION(" + registration(*row.family) + "," + text + ")\n\n";
    }
    for (const Signature& s : row_signatures(row)) {
        if (!s.exported)
            continue;
        const Family& family = *row.family;
        const bool fresh = family.kernel_each || s.form == &family.forms.front();
        const std::string cell = !family.kernels ? ""
                                 : fresh         ? s.names.front()
                                                 : Entry(row, s.letter, family.forms.front()).name();
        if (row.entry_class == Class::own)
            text += row.source.empty() ? template_text(s, row) : "";
        else
            text += entry_text(s, row, cell, fresh) + same_names(s);
    }
    return text + "\n";
}

} // namespace qnm::generate
