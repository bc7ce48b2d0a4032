// What follows from a row: names, formats and positions.
#include <algorithm>
#include <map>

#include "row.hpp"

namespace qnm::catalogue {

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

std::vector<const Form*> Row::forms() const
{
    if (only != nullptr)
        return {only};
    std::vector<const Form*> all;
    const bool narrow = narrow_only || !small_root.empty();
    for (const Form& form : family->forms)
        if ((all.empty() || !is_one_body()) && !(narrow && form.width == Width::wide))
            all.push_back(&form);
    return all;
}

std::string routine_name(const Row& row, const Precision& precision)
{
    return to_lower(with_letter(row.root, precision));
}

Entry::Entry(const Row& of, const Precision& letter, const Form& as)
    : row(&of), precision(letter), form(&as), width(as.width)
{
}

Entry::Entry(const Row& of, const Precision& letter, Width integers)
    : Entry(of, letter, *std::find_if(of.family->forms.begin(), of.family->forms.end(), [&](const Form& as) {
                return as.width == integers;
            }))
{
}

std::string Entry::core() const
{
    const bool by_value = form->convention == Convention::value && !row->value_core_root.empty();
    const std::string& told = by_value ? row->value_core_root : row->core_root;
    const std::string name =
        row->core_without_letter ? told : with_letter(told.empty() ? row->root : told, precision);
    const Family& family = *row->family;
    return spell(width == Width::wide && family.core_has_widths() ? family.wide_core : family.core, name);
}

std::string Entry::small_core() const
{
    return spell(row->family->core, to_lower(with_letter(row->small_root, precision)));
}

std::string Entry::check() const
{
    // Forms without one of their own share that of another.
    std::string pattern = form->check;
    for (const Form& other : row->family->forms)
        pattern = pattern.empty() ? other.check : pattern;
    return spell(pattern, routine_name(*row, precision));
}

std::vector<std::string> Entry::spellings() const
{
    std::vector<std::string> all;
    const std::string routine = with_letter(row->root, precision);
    for (const Family* family : {row->family, row->also})
        if (family != nullptr)
            for (const Form& spelled : family->forms)
                if (spelled.name == form->name || row->is_one_body())
                    for (const std::string& pattern : spelled.spellings)
                        if (const std::string spelling = spell(pattern, routine);
                            std::find(all.begin(), all.end(), spelling) == all.end())
                            all.push_back(spelling);
    all.insert(all.end(), row->links.begin(), row->links.end());
    return all;
}

std::string Entry::report_name() const
{
    if (row->entry_class == Class::handed || row->entry_class == Class::relayed)
        return routine_name(*row, precision);
    std::string text = to_upper(routine_name(*row, precision));
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
    const bool handed = row->entry_class == Class::handed;
    static const std::map<Width, const char*> integers{
        {Width::narrow, "%d"}, {Width::wide, "%lli"}, {Width::size, "%zu"}};
    std::string text = to_upper(name()) + "(";
    const auto add = [&](const std::string& conversion) {
        if (text.back() != '(')
            text += handed ? ", " : ",";
        text += conversion;
    };
    if (row->result.kind == ResultKind::hidden)
        add("%p");
    for (const Argument& a : row->arguments) {
        if (a.kind == Kind::character || (a.kind == Kind::letters && !handed))
            add("%c");
        else if (a.kind == Kind::value || (a.kind == Kind::integer && (!row->groups || handed)))
            add(integers.at(width));
        else if (handed && !a.array && !(a.type == "T" && precision.is_complex()))
            add(find_type(a.type)->conversion);
        else
            add("%p");
    }
    return text + ")";
}

bool is_told(const std::string& word)
{
    return told_number(word, {}, Width::narrow) != nullptr;
}

const int* told_number(const std::string& word, const Precision& precision, Width width)
{
    static constexpr int numbers[]{0, 1, 2};
    if (word == "field")
        return &numbers[precision.is_complex() ? 2 : 1];
    if (word == "precision")
        return &numbers[precision.real == 'd' ? 2 : 1];
    return word == "wide" ? &numbers[width == Width::wide ? 1 : 0] : nullptr;
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

} // namespace qnm::catalogue
