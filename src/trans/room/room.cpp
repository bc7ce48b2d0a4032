// Matrix copy: the check and the two forms of a member, each one call of the family's template.
#include "generate/output.hpp"
#include "generate/rows_room.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string scalar_type(const Precision& precision, Width width)
{
    const bool single = precision.real == 's', reference = width == Width::narrow;
    if (!precision.is_complex())
        return std::string(reference ? "const " : "") + (single ? "float" : "double") +
               (reference ? "*" : "");
    return width == Width::size ? (single ? "qnm_complex8" : "qnm_complex16") : "const void*";
}

/// A parameter's type: in the form with addresses, in that with sizes, or in the core with 64 bits.
std::string type(const Argument& a, const Precision& precision, Width width)
{
    const bool reference = width == Width::narrow;
    if (a.array && a.type == "int")
        return reference ? "const int*" : "const core_int*";
    if (a.array)
        return a.type == "char" ? "const char*" : "const void*";
    if (a.type == "char")
        return reference ? "const char*" : "char";
    if (a.type == "int")
        return reference ? "const int*" : width == Width::size ? "size" : "core_int";
    return scalar_type(precision, width);
}

std::string parameters(const Entry& entry, Width width)
{
    Words list;
    for (const Argument& a : entry.row->arguments)
        list.push_back(type(a, entry.precision, width) + " " + a.name);
    return "(" + joined(list) + ")";
}

/// An argument as it is handed to the template: what is an array says so, and what comes by value has an
/// address.
std::string argument(const Argument& a, const Entry& entry)
{
    const bool reference = entry.width == Width::narrow;
    if (a.array && a.type == "char")
        return "Letters{" + a.name + "}";
    if (a.array && a.type == "int")
        return (reference ? "NarrowSizes{" : "Sizes{") + a.name + "}";
    if (a.name == "group_count" && reference)
        return "GroupCount{" + a.name + "}";
    if (!reference && a.type == "T" && !a.array && entry.precision.is_complex())
        return "address(" + a.name + ")";
    return a.name;
}

std::string check_text(const Entry& entry)
{
    Words passed{quoted(entry.report_name())};
    for (const Argument& a : entry.row->arguments)
        passed.push_back(a.name);
    return "extern \"C\" void " + entry.core() + parameters(entry, Width::wide) + ";\n" +
           exported("int " + entry.check() + parameters(entry, Width::wide),
                    "return verdict<" + tests_name(*entry.row) + ">(" + joined(passed) + ")");
}

class TransRoom final : public RowsRoom {
    std::string text(const Row& row, std::set<std::string>& declared) const override;
};

std::string TransRoom::text(const Row& row, std::set<std::string>& /*declared*/) const
{
    std::string text = tests_text(row) + "\n";
    for (const Entry& entry : Catalogue::entries(row)) {
        Words passed{quoted(entry.report_name()), quoted(entry.format())};
        for (const Argument& a : row.arguments)
            passed.push_back(argument(a, entry));
        text +=
            (entry.form->check.empty() ? "" : check_text(entry)) +
            exported("void " + entry.name() + parameters(entry, entry.width),
                     "return entry<" + tests_name(row) + ", " + entry.core() + ">(" + joined(passed) + ")") +
            (entry.spellings().size() > 1 ? "QNM_SPELLINGS(" + joined(entry.spellings()) + ")\n" : "");
    }
    return text + "\n";
}

} // namespace

} // namespace qnm::generate

namespace qnm::catalogue {

std::unique_ptr<Room> make_trans_room();
std::unique_ptr<Room> make_trans_room()
{
    return std::make_unique<generate::TransRoom>();
}

} // namespace qnm::catalogue
