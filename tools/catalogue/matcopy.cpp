// What follows from a row of matrix copy: two forms, lines of their own kind.
#include "row.hpp"

namespace qnm::catalogue {

std::string Entry::c_form() const
{
    if (row->entry_class != Class::matcopy)
        return {};
    const std::size_t letter = row->root.find('?');
    return to_upper(row->root.substr(0, letter) + precision.prefix) + row->root.substr(letter + 1);
}

std::string Entry::c_format() const
{
    return matcopy_format(*this, "%zu");
}

std::string matcopy_format(const Entry& entry, const char* integer)
{
    std::string text;
    for (const Argument& a : entry.row->arguments) {
        text += text.empty() ? entry.name() + "(" : ", ";
        if (a.array)
            text += "%p";
        else if (a.kind == Kind::character)
            text += "%c";
        else if (a.kind == Kind::integer)
            text += integer;
        else
            text += entry.precision.is_complex() ? "%p" : "%f";
    }
    return text + ")";
}

} // namespace qnm::catalogue
