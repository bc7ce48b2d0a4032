// `generate --explain NAME`: from a name to its row, its template and what follows from them.
#include <algorithm>
#include <sstream>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string class_text(const Entry& entry)
{
    switch (entry.frame()) {
    case Class::checked:
        return "checked, src/blas/checked.hpp";
    case Class::registered:
    case Class::unregistered:
        return "registered (checked without tests), src/blas/checked.hpp";
    case Class::unchecked:
        return "unchecked, src/blas/unchecked.hpp";
    case Class::scratch:
        return "scratch, src/blas/scratch.hpp";
    case Class::bare:
        return "bare, src/blas/bare.hpp";
    }
    return {};
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
    out << "\n  core      " << entry.core();
    if (!row.small_root.empty())
        out << ", or " << entry.small_core() << " when " << to_text(*row.small_condition);
    out << "\n  arguments\n";
    for (const Argument& a : row.arguments)
        out << "    " << row.position(a) << ": " << a.name << ", "
            << c_type(a.type, entry.precision, entry.width)
            << (a.kind == Kind::integer && entry.width == Width::narrow && !row.groups ? ", widened" : "")
            << "\n";
    if (entry.frame() != Class::bare)
        out << "  line      " << entry.format() << "\n  cell      " << entry.cell() << ".verbose_ptr\n";
    if (row.entry_class == Class::checked) {
        out << "  check     " << entry.check() << ", reports \"" << entry.report_name() << "\"\n";
        for (const Definition& d : row.definitions)
            out << "    " << d.name << " = " << to_text(*d.value) << "\n";
        for (const Argument* a : row.tests())
            out << test_text(row, *a);
    }
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
    for (const Service& s : tables.services())
        if (s.name == name || std::find(s.spellings.begin(), s.spellings.end(), name) != s.spellings.end())
            return name + "\n  row   " + s.where() + "\n  core  " + (s.name == name ? s.c_core : s.core) +
                   "\n";
    return {};
}

} // namespace qnm::generate
