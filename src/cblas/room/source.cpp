// The C interface: for each entry one call of its class's template.
#include "cblas/room/source.hpp"

#include <map>
#include <set>

#include "generate/entry.hpp"
#include "generate/output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

bool has_struct(const CRow& row)
{
    return has_layout(row) || row.form == "sized" || row.form == "regardless";
}

std::string c_result_type(const CEntry& entry)
{
    return entry.row->form == "index" ? "core_int"
                                      : result_type(Entry(entry.row->fortran, entry.precision, entry.width));
}

/// What the Fortran routine, or the core, takes: addresses all.
std::string callee_declaration(const CEntry& entry, const std::string& callee)
{
    const Row& fortran = entry.row->fortran;
    const std::size_t count = fortran.arguments.size() + (fortran.result.kind == ResultKind::hidden ? 1 : 0);
    return "extern \"C\" QNM_EXPORT " + (entry.row->form == "index" ? "int" : c_result_type(entry)) + " " +
           callee + "(" + joined(Words(count, "const void*")) + ");\n";
}

std::string row_instance(const CEntry& entry, const std::string& integer)
{
    Words names;
    for (const CArgument& a : entry.row->arguments)
        names.push_back(a.as.name);
    const std::string real = c_type("R", entry.precision, entry.width);
    return struct_name(*entry.row) + "<" + integer + ", " + (real.empty() ? "float" : real) + ">{" +
           joined(names) + "}";
}

std::string body(const CEntry& entry)
{
    static const std::map<std::string, std::string> conjugations{{"", "Told"},
                                                                 {"general", "General"},
                                                                 {"product", "Product"},
                                                                 {"copies", "Copied<false>"},
                                                                 {"copies_in_step", "Copied<true>"},
                                                                 {"triangle", "Triangle"},
                                                                 {"batch", "Batch"}};
    const CRow& row = *entry.row;
    const std::string integer = integer_type(entry.width);
    const std::string columns = entry.callee(row.columns);
    const std::string rows = entry.callee(row.rows);
    const std::string instance = has_struct(row) ? row_instance(entry, integer) : "";
    const std::string site = "(" + quoted(entry.name()) + ", " + instance + ")";
    const std::string groups = row.conjugated.empty() ? "ToldGroups" : "GeneralGroups";
    if (row.form == "level2" || row.form == "level3")
        return "by_layout<" + conjugations.at(row.conjugated) + ", " + columns + ", " + rows + ">" + site;
    if (row.form == "made") // reports carry the name of what is called
        return "made<" + columns + ">(" + quoted(columns) + ", " + instance + ")";
    if (row.form == "sized" || row.form == "regardless" || row.form == "blocks")
        return row.form + "<" + columns + ">" + site;
    if (row.form == "groups")
        return (row.allocated_first ? "allocated_first<" : "groups<") + groups + ", " + columns + ">" + site;
    Words passed;
    for (const CArgument& a : row.arguments)
        passed.push_back(
            (row.form == "forward" && (a.role == CRole::integer || a.role == CRole::scalar) ? "&" : "") +
            a.as.name);
    const std::string list = "(" + joined(passed) + ")";
    if (row.form == "forward")
        return columns + list;
    if (row.form == "index")
        return "zero_based<" + columns + ">" + list;
    if (row.form == "direct")
        return "dot_sub<" + columns + ">" + list;
    const std::string real = c_type("R", entry.precision, entry.width);
    return "sparse::" + row.fortran_root + "<" +
           (entry.precision.is_complex() ? "Complex<" + real + ">" : real) + ">" + list;
}

std::string c_entry_text(const CEntry& entry)
{
    if (entry.row->form == "jump")
        return "QNM_FORWARD(" + entry.name() + ", " + entry.callee(entry.row->columns) + ")\n\n";
    const std::string integer = integer_type(entry.width);
    Words parameters;
    for (const CArgument& a : entry.row->arguments)
        parameters.push_back(c_parameter_type(a, integer, scalar_type(a, entry.precision)) + " " + a.as.name);
    return exported(c_result_type(entry) + " " + entry.name() + "(" + joined(parameters) + ")",
                    "return " + body(entry)) +
           "\n";
}

} // namespace

std::string cblas_text(const Catalogue& tables, const std::string& file)
{
    std::string text = source_head(file, "cblas", "qnm::cblas");
    std::set<std::string> declared;
    for (const CRow& row : c_rows(tables)) {
        if (row.file != file)
            continue;
        if (has_struct(row))
            text += row_text(row);
        for (const CEntry& entry : c_entries(row)) {
            for (const Rewrite* rewrite : {&row.columns, &row.rows})
                if (const std::string callee = entry.callee(*rewrite);
                    row.form != "jump" && row.form != "here" && declared.insert(callee).second)
                    text += callee_declaration(entry, callee);
            text += c_entry_text(entry);
        }
    }
    return text + "} // namespace qnm::cblas\n";
}

} // namespace qnm::generate
