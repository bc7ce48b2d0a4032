// `generate --explain NAME`: from a name to its row, its template and what follows from them.
#include <algorithm>
#include <map>
#include <sstream>

#include "catalogue/cblas.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string class_text(const Entry& entry)
{
    static const std::map<Class, std::pair<const char*, const char*>> files{
        {Class::checked, {"checked", "checked"}},    {Class::registered, {"registered", "checked"}},
        {Class::unregistered, {"unregistered", ""}}, {Class::unchecked, {"unchecked", "unchecked"}},
        {Class::scratch, {"scratch", "scratch"}},    {Class::bare, {"bare", "bare"}},
        {Class::matcopy, {"matcopy", "entry"}}};
    const std::string& folder = entry.row->family->frame;
    if (entry.frame() == Class::helper)
        return "helper, src/lapacke/" + folder +
               (entry.row->result.kind == ResultKind::none ? "/trans.hpp" : "/nancheck.hpp");
    const auto& [name, file] = files.at(entry.frame());
    // The LAPACK classes differ in one step of one template.
    return std::string(name) + ", src/" + folder + "/" + (folder == "lapack" ? "entry" : file) + ".hpp";
}

std::string test_text(const Row& row, const Argument& a)
{
    std::ostringstream out;
    out << "    " << row.code(a) << ": " << a.name;
    if (!a.letters.empty())
        out << " in " << a.letters;
    else if (a.minimum)
        out << " >= " << to_text(*a.minimum);
    else
        out << " != 0";
    if (a.maximum)
        out << " and <= " << to_text(*a.maximum);
    if (a.barred)
        out << ", refused if " << to_text(*a.barred);
    if (a.unless)
        out << " unless " << to_text(*a.unless);
    return out.str() + "\n";
}

std::string entry_explanation(const Entry& entry)
{
    const Row& row = *entry.row;
    std::ostringstream out;
    out << entry.name() << "\n  row       " << row.where() << "\n  template  " << class_text(entry)
        << "\n  spelled  ";
    for (const std::string& spelling : entry.spellings())
        out << ' ' << spelling;
    if (!entry.c_form().empty())
        out << "\n  C form    " << entry.c_form() << "\n  its line  " << entry.c_format();
    if (!entry.core().empty())
        out << "\n  core      " << entry.core();
    if (!row.small_root.empty())
        out << ", or " << entry.small_core() << " when " << to_text(*row.small_condition);
    out << "\n  arguments\n";
    for (const Argument& a : row.arguments)
        out << "    " << row.position(a) << ": " << a.name << ", "
            << c_type(a.type, entry.precision, entry.width)
            << (a.kind == Kind::integer && entry.width == Width::narrow && !row.groups ? ", widened" : "")
            << "\n";
    if (entry.frame() != Class::bare && entry.frame() != Class::helper)
        out << "  line      " << entry.format() << "\n";
    if (entry.frame() != Class::bare && entry.frame() != Class::matcopy && entry.frame() != Class::helper)
        out << "  cell      " << entry.cell() << ".verbose_ptr\n";
    if (row.has_check()) {
        out << "  check     " << entry.check() << ", reports \"" << entry.report_name() << "\"\n";
        for (const Definition& d : row.definitions)
            out << "    " << d.name << " = " << to_text(*d.value) << "\n";
        for (const Argument* a : row.tests())
            out << test_text(row, *a);
    }
    return out.str();
}

/// Arguments of a Fortran routine as a row-major call fills their places.
std::string rewrite_text(const CRow& row)
{
    std::string text;
    for (const Argument& f : row.fortran.arguments) {
        const std::string& source = row.rows.source(f.name);
        const auto letters = row.rows.letters.find(source);
        text += (text.empty() ? "" : ", ") + source +
                (letters != row.rows.letters.end() ? " as " + letters->second : "") +
                (row.has(row.rows.conjugated, source) ? " conjugated" : "");
    }
    return text;
}

std::string c_entry_explanation(const CEntry& entry)
{
    const CRow& row = *entry.row;
    std::ostringstream out;
    out << entry.name() << "\n  row       " << row.where() << "\n  class     " << row.form
        << (row.conjugated.empty() ? "" : ", row-major conjugated: " + row.conjugated) << "\n  calls     "
        << entry.callee(row.columns)
        << (row.rows.callee.empty() ? "" : ", row-major " + entry.callee(row.rows)) << "\n  arguments\n";
    for (const CArgument& a : row.arguments)
        out << "    " << row.position(a.as.name) << ": " << a.as.name << "\n";
    if (!row.steps.empty())
        out << "  tests, in this order\n";
    for (const std::string& step : row.steps) {
        out << "    " << row.position(step) << ": " << step;
        for (const auto& [layout, rewrite] :
             {std::pair{"column-major", &row.columns}, std::pair{"row-major", &row.rows}})
            if (const auto code = rewrite->codes.find(step); code != rewrite->codes.end())
                out << ", " << layout << " reported as " << code->second;
        out << (row.has(row.goes_on, step) || row.has(row.rows.goes_on, step) ? ", goes on" : "") << "\n";
    }
    if (row.find("layout") != nullptr)
        out << "  row-major " << rewrite_text(row) << "\n";
    return out.str();
}

} // namespace

std::string explanation(const Catalogue& tables, const std::string& name)
{
    for (const Entry& entry : tables.entries()) {
        const std::vector<std::string> spellings = entry.spellings();
        if (std::find(spellings.begin(), spellings.end(), name) != spellings.end())
            return entry_explanation(entry);
    }
    for (const CRow& row : tables.c_rows())
        for (const CEntry& entry : c_entries(row))
            if (entry.name() == name)
                return c_entry_explanation(entry);
    for (const Service& s : tables.services())
        if (s.name == name || std::find(s.spellings.begin(), s.spellings.end(), name) != s.spellings.end())
            return name + "\n  row   " + s.where() + "\n  core  " + (s.name == name ? s.c_core : s.core) +
                   "\n";
    return lapacke_explanation(tables, name);
}

} // namespace qnm::generate
