// Matrix copy: the check and the two forms of a member, each one call of the family's template.
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

enum class Form { fortran, c, core };

std::string scalar_type(const Precision& precision, Form form)
{
    const bool single = precision.real == 's';
    if (!precision.is_complex())
        return std::string(form == Form::fortran ? "const " : "") + (single ? "float" : "double") +
               (form == Form::fortran ? "*" : "");
    return form == Form::c ? (single ? "qnm_complex8" : "qnm_complex16") : "const void*";
}

std::string type(const Argument& a, const Precision& precision, Form form)
{
    if (a.array && a.type == "int")
        return form == Form::fortran ? "const int*" : "const core_int*";
    if (a.array)
        return a.type == "char" ? "const char*" : "const void*";
    if (a.type == "char")
        return form == Form::fortran ? "const char*" : "char";
    if (a.type == "int")
        return form == Form::fortran ? "const int*" : form == Form::c ? "size" : "core_int";
    return scalar_type(precision, form);
}

std::string parameters(const Entry& entry, Form form)
{
    Words list;
    for (const Argument& a : entry.row->arguments)
        list.push_back(type(a, entry.precision, form) + " " + a.name);
    return "(" + joined(list) + ")";
}

/// An argument as it is handed to the template: what is an array says so, and what comes by value has an
/// address.
std::string argument(const Argument& a, const Entry& entry, Form form)
{
    if (a.array && a.type == "char")
        return "Letters{" + a.name + "}";
    if (a.array && a.type == "int")
        return (form == Form::fortran ? "NarrowSizes{" : "Sizes{") + a.name + "}";
    if (a.name == "group_count" && form == Form::fortran)
        return "GroupCount{" + a.name + "}";
    if (form == Form::c && a.type == "T" && !a.array && entry.precision.is_complex())
        return "address(" + a.name + ")";
    return a.name;
}

std::string form_text(const Entry& entry, Form form)
{
    const bool fortran = form == Form::fortran;
    Words passed{quoted(entry.report_name()), quoted(fortran ? entry.format() : entry.c_format())};
    for (const Argument& a : entry.row->arguments)
        passed.push_back(argument(a, entry, form));
    return exported("void " + (fortran ? entry.name() : entry.c_form()) + parameters(entry, form),
                    "return entry<" + tests_name(*entry.row) + ", " + entry.core() + ">(" + joined(passed) +
                        ")");
}

} // namespace

std::string matcopy_text(const Entry& entry)
{
    Words passed{quoted(entry.report_name())};
    for (const Argument& a : entry.row->arguments)
        passed.push_back(a.name);
    return "extern \"C\" void " + entry.core() + parameters(entry, Form::core) + ";\n" +
           exported("int " + entry.check() + parameters(entry, Form::core),
                    "return verdict<" + tests_name(*entry.row) + ">(" + joined(passed) + ")") +
           form_text(entry, Form::fortran) + "QNM_SPELLINGS(" + joined(entry.spellings()) + ")\n" +
           form_text(entry, Form::c) + "\n";
}

} // namespace qnm::generate
