#include "c_call.hpp"

#include <algorithm>

namespace qnm::tests {

using support::Type;

bool is_small(const std::string& name)
{
    return name == "ao" || name == "bo" || name == "halpha" || name == "hbeta";
}

bool is_scalar(const std::string& name)
{
    return name.ends_with("alpha") || name.ends_with("beta") || name.ends_with("cos") ||
           name.ends_with("sin");
}

bool is_matrix(const std::string& name)
{
    return name.size() == 1 && std::string("abcxy").find(name) != std::string::npos;
}

CCall::CCall(const Member& member, int layout, int groups) : member_(member), layout_(layout)
{
    static const std::map<std::string, int> sizes{{"m", 3},  {"n", 4},    {"k", 5},    {"kl", 1},
                                                  {"ku", 2}, {"incx", 2}, {"incy", 3}, {"batch_size", 2}};
    int next = 40; // leading dimensions and strides, each its own
    double number = 1.5;
    const Type integer = member.wide ? Type::int64 : Type::int32;
    const bool batch = groups > 0;
    const auto each = static_cast<std::size_t>(batch ? groups : 1);
    for (const Parameter& p : parameters(member.arguments)) {
        const bool single = member.single() || p.name[0] == 'f';
        const Type real = single ? Type::float32 : Type::float64;
        if (p.name == "layout") {
            add(p.name, Type::int32, 1, true, layout);
        } else if (const Option* option = option_of(p.name)) {
            add(p.name, Type::int32, each, !batch, option->first);
        } else if (p.name == "group_count") {
            add(p.name, integer, 1, true, groups);
        } else if (p.name == "group_size") {
            add(p.name, integer, each, false);
            for (std::size_t group = 0; group < each; ++group)
                put(p.name, group % 2 + 1, group);
        } else if (is_integer(p.name)) {
            const auto found = sizes.find(p.name);
            add(p.name, integer, each, !batch, found != sizes.end() ? found->second : ++next);
        } else if (is_small(p.name)) {
            add(p.name, Type::byte, 1, true, ++next);
        } else if (is_scalar(p.name)) {
            const bool by_value = p.name[0] == 'r' || p.name[0] == 'f' || !member.complex();
            const std::size_t parts = batch ? (member.complex() ? 2 : 1) * each : by_value ? 1 : 2;
            add(p.name, real, parts, by_value && !batch, ++number, 10);
        } else if (batch) { // addresses, two problems in each group and one more
            add(p.name, Type::int64, 2 * each + 1, false, 0x1000, 0x1000);
        } else {
            add(p.name, real, 1024, false, number += 0.125, 1);
        }
    }
    settle();
}

int CCall::position(const std::string& argument) const
{
    return static_cast<int>(std::find(names().begin(), names().end(), argument) - names().begin()) + 1;
}

CCall& CCall::set(const std::string& argument, std::int64_t value, std::size_t group)
{
    put(argument, static_cast<long double>(value), group);
    return *this;
}

CCall& CCall::scalar(const std::string& argument, double re, double im)
{
    put(argument, re, 0);
    if (size(argument) > 1)
        put(argument, im, 1);
    return *this;
}

std::int64_t CCall::bound(const std::string& argument) const
{
    const auto source = [&](const std::string& name) {
        return layout_ == row_major ? member_.partner(name) : name;
    };
    const std::int64_t found = least(
        member_.bounds, source(argument), [&](const std::string& name) { return get(source(name)); },
        [&](const std::string& option) {
            return std::string("N*LA").find(expected_letter(source(option))) != std::string::npos;
        });
    return found == 0 && argument.starts_with("inc") ? 1 : found;
}

CCall& CCall::settle()
{
    std::int64_t more = 7;
    for (const std::string& name : names())
        if (member_.bounds.find(name) != std::string::npos && bound(name) != 0) {
            const std::int64_t value = bound(name) + more++ + (name.starts_with("stride") ? 400 : 0);
            for (std::size_t group = 0; group < size(name); ++group)
                set(name, value, group);
        }
    return *this;
}

CCall& CCall::spoil(const std::string& argument, std::size_t group)
{
    const Option* option = option_of(argument);
    return set(argument,
               argument == "layout"        ? 103
               : argument == "group_count" ? -1
               : option != nullptr         ? option->first - 1
                                           : bound(argument) - 1,
               group);
}

std::string CCall::accepted(const std::string& option) const
{
    std::string letters;
    for (const Parameter& p : parameters(member_.arguments))
        for (const char letter : option_of(option)->letters)
            if (p.name == option && p.letters.find(letter) != std::string::npos)
                letters += letter;
    return letters;
}

std::vector<Step> CCall::steps() const
{
    std::vector<Step> all = tests::steps(member_, layout_);
    for (Step& step : all)
        if (step.code == 0)
            step.code = position(step.argument);
    return all;
}

std::vector<std::string> CCall::places() const
{
    std::vector<std::string> all;
    for (const std::string& name : names())
        if (name != "layout")
            all.push_back(layout_ == row_major ? member_.partner(name) : name);
    if (all.back() == "result")
        std::rotate(all.begin(), all.end() - 1, all.end());
    return all;
}

std::size_t CCall::place(const std::string& argument) const
{
    const auto all = places();
    return static_cast<std::size_t>(std::find(all.begin(), all.end(), argument) - all.begin());
}

char CCall::expected_letter(const std::string& option, std::size_t group) const
{
    const auto index = static_cast<std::size_t>(get(option, group) - option_of(option)->first);
    std::string letters = layout_ == row_major ? member_.row_letters(option) : "";
    if (letters.empty())
        letters = option_of(option)->letters;
    const char letter = index < letters.size() ? letters[index] : ' ';
    return letter == '*' && !member_.complex() ? 'N' : letter;
}

} // namespace qnm::tests
