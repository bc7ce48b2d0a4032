// Entries and checks: each generated function is one call of its class's template.
#include <set>

#include "entry.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// A call of a template: `ahead`, and the arguments behind it.
std::string call(const std::string& callee, Words ahead, const Entry& entry)
{
    for (const std::string& argument : arguments(entry))
        ahead.push_back(argument);
    return callee + "(" + joined(ahead) + ")";
}

/// What a carried entry does of null addresses.
std::string nulls(const Row& row)
{
    const Family& family = *row.family;
    if (family.null_status)
        return "NullInteger<" + std::to_string(*family.null_status) + ">{}";
    if (!family.null_position)
        return "NeverNull{}";
    return row.find("info") == nullptr ? "NullEnds{}"
                                       : "NullPosition<" + std::to_string(*family.null_position) + ">{info}";
}

std::string body(const Entry& entry)
{
    const Row& row = *entry.row;
    const std::string core = entry.core();
    const std::string cell = "&" + entry.cell() + "_cell";
    const std::string format = quoted(entry.format());
    const std::string name = quoted(entry.report_name());
    const std::string length = std::to_string(entry.report_name().size());
    const std::string jump = core + "_jump";
    switch (entry.frame()) {
    case Class::checked:
    case Class::registered:
    case Class::unregistered: {
        Words types{integer_type(entry.width), tests_name(row), core};
        if (row.result.refusal != 0)
            types.push_back(std::to_string(row.result.refusal));
        const std::string callee = entry.frame() == Class::unregistered ? "unregistered" : "checked";
        return call(callee + "<" + joined(types) + ">",
                    {"Site{" + joined({cell, format, name, length}) + "}", jump}, entry);
    }
    case Class::unchecked:
        return call("unchecked<" + core + ">", {cell, format, jump}, entry);
    case Class::scratch: {
        std::string extent;
        for (const Argument& a : row.arguments)
            if (a.kind == Kind::integers)
                extent = test_text(*a.extents[0], row);
        return call("scratch<" + core + ">", {cell, format, name, length, jump, extent}, entry);
    }
    case Class::check: // has no entry
    case Class::relayed:
    case Class::handed:
    case Class::passed:
    case Class::chain:
    case Class::called:
    case Class::own:
        break;
    case Class::bare:
        if (row.small_root.empty())
            return call("bare<" + core + ">", {}, entry);
        return call("selected<" + core + ", " + entry.small_core() + ">",
                    {test_text(*row.small_condition, row)}, entry);
    case Class::carried:
        return call("carried<" + joined({result_type(entry), core}) + ">", {nulls(row)}, entry);
    }
    return {};
}

/// The size of a tree's leaves is asked for when the first array needs it.
std::string with_leaf(const Entry& entry, const std::string& call)
{
    const std::string& leaf = entry.row->leaf;
    if (leaf.empty() || !copies_arrays(entry))
        return call;
    return "[&](LeafSize " + leaf + ") QNM_INLINE_LAMBDA { return " + call + "; }(LeafSize{" +
           quoted(entry.report_name()) + "})";
}

std::string core_declaration(const Entry& entry, const std::string& name)
{
    return "extern \"C\" " + result_type(entry) + " " + name + "(" +
           joined(with_lengths(core_parameters(entry), entry)) + ");\n";
}

std::string check_text(const Entry& entry)
{
    return exported(
        "int " + entry.check() + "(" + joined(with_lengths(parameters(entry), entry)) + ")",
        "return " + call("verdict<" + integer_type(entry.width) + ", " + tests_name(*entry.row) + ">",
                         {quoted(entry.report_name()), std::to_string(entry.report_name().size())}, entry));
}

/// An entry and its check, which hand all words on as they came.
std::string relayed_text(const Entry& entry)
{
    Words types{tests_name(*entry.row)};
    for (const std::string& type : parameter_types(entry))
        types.push_back(type);
    const std::string name = entry.report_name();
    std::string text = "QNM_RELAYED(" +
                       joined({entry.name(), entry.check(), entry.core(),
                               "verdict<" + joined(types) + ">(" +
                                   joined({quoted(name), std::to_string(name.size()), "arguments"}) + ")"}) +
                       ")\n";
    for (const std::string& spelling : entry.spellings())
        if (spelling != entry.name())
            text += "QNM_SAME(" + spelling + ", " + entry.name() + ")\n";
    return text + "\n";
}

std::string entry_text(const Entry& entry)
{
    const Words spellings = entry.spellings();
    const bool traced = entry.frame() != Class::bare && entry.frame() != Class::carried;
    return (traced ? "QNM_CELL(" + entry.cell() + ")\n" : "") +
           exported(result_type(entry) + " " + spellings[0] + "(" + joined(parameters(entry)) + ")",
                    "return " + with_leaf(entry, body(entry))) +
           "QNM_SPELLINGS(" + joined(spellings) + ")\n\n";
}

} // namespace

std::string source_text(const Catalogue& tables, const std::string& table)
{
    tables.check_titles(table);
    return tables.source(table);
}

std::string framed_text(const Row& row, std::set<std::string>& declared)
{
    std::string text = row.has_check() ? tests_text(row) + "\n" : "";
    if (row.entry_class == Class::relayed) {
        for (const Entry& entry : Catalogue::entries(row))
            text += relayed_text(entry);
        return text;
    }
    for (const Entry& entry : Catalogue::checks(row))
        text += check_text(entry);
    for (const Entry& entry : Catalogue::entries(row)) {
        if (declared.insert(entry.core()).second)
            text += core_declaration(entry, entry.core()) + "QNM_JUMP(" + entry.core() + ")\n";
        if (!row.small_root.empty() && declared.insert(entry.small_core()).second)
            text += core_declaration(entry, entry.small_core());
        text += entry_text(entry);
    }
    return text;
}

} // namespace qnm::generate
