// What follows from a row: names, formats and positions.
#include <algorithm>
#include <cctype>

#include "cblas.hpp"

namespace qnm::catalogue {

namespace {

std::string replace_all(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string with_prefix(const std::string& root, const std::string& prefix)
{
    return root.find('?') == std::string::npos ? prefix + root : replace_all(root, "?", prefix);
}

std::string spell(const std::string& pattern, const std::string& lower)
{
    return replace_all(replace_all(pattern, "NAME", to_upper(lower)), "name", lower);
}

} // namespace

std::string to_upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
    return text;
}

std::string to_lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    return text;
}

const Argument* Row::find(const std::string& name) const
{
    const auto found =
        std::find_if(arguments.begin(), arguments.end(), [&](const Argument& a) { return a.name == name; });
    return found == arguments.end() ? nullptr : &*found;
}

bool Row::has_letter(const Precision& letter) const
{
    return std::any_of(precisions.begin(), precisions.end(),
                       [&](const Precision& p) { return p.prefix == letter.prefix; });
}

int Row::position(const Argument& argument) const
{
    return static_cast<int>(&argument - arguments.data()) + 1;
}

int Row::code(const Argument& argument) const
{
    return argument.code_override.value_or(position(argument));
}

std::vector<const Argument*> Row::tests() const
{
    std::vector<const Argument*> order;
    const auto postponed = [&](const Argument& a) {
        return std::find(tested_last.begin(), tested_last.end(), a.name) != tested_last.end();
    };
    // Arrays cannot be walked before the number of groups is known to be sound.
    for (const bool scalars : groups ? std::vector{true, false} : std::vector{false})
        for (const Argument& a : arguments)
            if (a.tested() && !postponed(a) && (!groups || a.array != scalars))
                order.push_back(&a);
    for (const std::string& name : tested_last)
        order.push_back(find(name));
    return order;
}

std::string Entry::name() const
{
    return to_upper(cell());
}

std::string Entry::cell() const
{
    return to_lower(with_prefix(row->root, precision.prefix)) + (width == Width::wide ? "_64" : "");
}

std::string Entry::core() const
{
    return spell(row->family->core, to_lower(with_prefix(row->core_root.empty() ? row->root : row->core_root,
                                                         precision.prefix)));
}

std::string Entry::small_core() const
{
    return spell(row->family->core, to_lower(with_prefix(row->small_root, precision.prefix)));
}

std::string Entry::check() const
{
    return spell(row->family->check, to_lower(with_prefix(row->root, precision.prefix))) +
           (width == Width::wide && !row->family->one_check ? "_ilp64" : "");
}

std::vector<std::string> Entry::spellings() const
{
    const std::string lower = to_lower(with_prefix(row->root, precision.prefix));
    std::vector<std::string> all;
    for (const Family* family : {row->family, row->also})
        if (family != nullptr)
            for (const std::string& pattern : family->spellings.at(width))
                if (const std::string spelling = spell(pattern, lower);
                    std::find(all.begin(), all.end(), spelling) == all.end())
                    all.push_back(spelling);
    return all;
}

std::string Entry::report_name() const
{
    std::string text = to_upper(with_prefix(row->root, precision.prefix));
    if (row->entry_class == Class::matcopy)
        return to_lower(text);
    if (row->entry_class != Class::checked && row->entry_class != Class::check)
        return text;
    if (text.size() < 6)
        text.resize(6, ' ');
    else if (text.size() > 6 && !row->unpadded)
        text += ' ';
    return text;
}

std::string Entry::format() const
{
    if (row->entry_class == Class::matcopy)
        return matcopy_format(*this, "%d");
    const bool narrow = width == Width::narrow;
    std::string text = name() + "(";
    const auto add = [&](const char* conversion) {
        if (text.back() != '(')
            text += ',';
        text += conversion;
    };
    if (row->result.kind == ResultKind::hidden)
        add("%p");
    for (const Argument& a : row->arguments) {
        if (a.kind == Kind::character || a.kind == Kind::letters)
            add("%c");
        else if (a.kind == Kind::value || (a.kind == Kind::integer && !row->groups))
            add(narrow ? "%d" : "%lli");
        else
            add("%p");
    }
    return text + ")";
}

Class Entry::frame() const
{
    return row->entry_class == Class::scratch && width == Width::wide ? Class::unchecked : row->entry_class;
}

int Entry::hidden_lengths() const
{
    return static_cast<int>(
        std::count_if(row->arguments.begin(), row->arguments.end(), [](const Argument& a) {
            return a.kind == Kind::character || a.kind == Kind::letters;
        }));
}

std::string CEntry::name() const
{
    return spell(row->family->spellings.at(width).front(), with_prefix(row->root, precision.prefix));
}

std::string CEntry::callee(const Rewrite& rewrite) const
{
    Row fortran = row->fortran;
    fortran.root = rewrite.callee.empty() ? row->fortran_root : rewrite.callee;
    const Entry entry{&fortran, precision, width};
    if (row->form == "direct")
        return entry.core();
    const std::vector<std::string> all = entry.spellings();
    const auto hidden = std::find_if(all.begin(), all.end(), [](const std::string& spelling) {
        return spelling.find("__") != std::string::npos;
    });
    return row->plain || hidden == all.end() || width == Width::wide ? all.at(1) : *hidden;
}

} // namespace qnm::catalogue
