#include "c_call.hpp"

#include <algorithm>
#include <cctype>

namespace qnm::tests {

namespace {

constexpr std::size_t array_length = 1024;

/// `trans(NT)`: the name and, if told, the letters.
std::pair<std::string, std::string> split_option(const std::string& word)
{
    const std::size_t open = word.find('(');
    return open == std::string::npos
               ? std::pair{word, std::string{}}
               : std::pair{word.substr(0, open), word.substr(open + 1, word.size() - open - 2)};
}

} // namespace

bool is_integer(const std::string& name)
{
    static const std::vector<std::string> names{
        "m",    "n",    "k",       "kl",      "ku",      "lda",     "ld",      "ldb",        "ldc",
        "incx", "incy", "stridea", "strideb", "stridec", "stridex", "stridey", "batch_size", "group_count"};
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool is_scalar(const std::string& name)
{
    return name.ends_with("alpha") || name.ends_with("beta") || name.ends_with("cos") ||
           name.ends_with("sin");
}

/// Numbers of 8 or 16 bits.
bool is_small(const std::string& name)
{
    return name == "ao" || name == "bo" || name == "halpha" || name == "hbeta";
}

bool is_real_scalar(const std::string& name, const Member& member)
{
    return is_scalar(name) && (name[0] == 'r' || name[0] == 'f' || !member.complex());
}

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

std::vector<Member> members_in(const std::vector<Family>& families)
{
    std::vector<Member> found;
    for (const Family& family : families) {
        const std::vector<std::string> told = words(family.members);
        for (std::size_t i = 0; i < told.size(); i += 2)
            for (const char letter : told[i + 1])
                for (const bool wide : {false, true})
                    if (!wide || !family.narrow_only)
                        found.push_back({&family, letter + told[i], letter, wide});
    }
    return found;
}

const std::vector<Member>& members()
{
    static const std::vector<Member> all = members_in(families());
    return all;
}

std::vector<Member> members_of(const std::string& root)
{
    std::vector<Member> found;
    for (const Member& member : members())
        if (member.routine.substr(1) == root)
            found.push_back(member);
    return found;
}

const Option* option_of(const std::string& argument)
{
    static const std::map<std::string, Option> sets{{"trans", {111, "NTC"}},     {"transa", {111, "NTC"}},
                                                    {"transb", {111, "NTC"}},    {"uplo", {121, "UL"}},
                                                    {"identifier", {161, "AB"}}, {"offsetc", {171, "RCF"}},
                                                    {"diag", {131, "NU"}},       {"side", {141, "LR"}}};
    const auto found = sets.find(argument);
    return found == sets.end() ? nullptr : &found->second;
}

CCall::CCall(const Member& member, int layout) : member_(member), layout_(layout)
{
    static const std::map<std::string, std::int64_t> sizes{
        {"m", 3},    {"n", 4},    {"k", 5},          {"kl", 1},         {"ku", 2},
        {"incx", 2}, {"incy", 3}, {"batch_size", 2}, {"group_count", 3}};
    std::int64_t next = 40; // leading dimensions and strides, each its own
    double number = 1.5;
    if (member.has_layout())
        values_["layout"] = layout;
    for (const std::string& word : words(member.family->arguments)) {
        const auto [name, letters] = split_option(word);
        names_.push_back(name);
        if (!letters.empty())
            sets_[name] = letters;
        if (const Option* option = option_of(name)) {
            values_[name] = option->first;
        } else if (is_integer(name)) {
            const auto size = sizes.find(name);
            values_[name] = size != sizes.end() ? size->second : ++next;
        } else if (is_small(name)) {
            values_[name] = ++next;
        } else if (is_scalar(name)) {
            scalar(name, number, number + 10);
            number += 1;
        } else {
            const auto fill = [&](auto& array) {
                array.resize(array_length);
                for (std::size_t i = 0; i < array_length; ++i)
                    array[i] =
                        static_cast<std::remove_cvref_t<decltype(array[0])>>(number + static_cast<double>(i));
            };
            if (member.single())
                fill(singles_[name]);
            else
                fill(doubles_[name]);
            number += 0.125;
        }
    }
    settle();
}

int CCall::position(const std::string& argument) const
{
    return argument == "layout"
               ? 1
               : static_cast<int>(std::find(names_.begin(), names_.end(), argument) - names_.begin()) +
                     (member_.has_layout() ? 2 : 1);
}

CCall& CCall::set(const std::string& argument, std::int64_t value)
{
    values_.at(argument) = value;
    return *this;
}

CCall& CCall::scalar(const std::string& argument, double re, double im)
{
    scalars_[argument] = {re, im};
    singles_[argument] = {static_cast<float>(re), static_cast<float>(im)};
    doubles_[argument] = {re, im};
    return *this;
}

const void* CCall::address(const std::string& argument) const
{
    if (const auto pointed = pointed_.find(argument); pointed != pointed_.end())
        return pointed->second;
    return member_.single() ? static_cast<const void*>(singles_.at(argument).data())
                            : doubles_.at(argument).data();
}

CCall& CCall::point(const std::string& argument, const void* address)
{
    pointed_[argument] = address;
    return *this;
}

std::string CCall::bounds() const
{
    return layout_ == row_major ? member_.family->row_bounds : member_.family->column_bounds;
}

/// Sums of products, from the left; `option?a:b` asks whether the option has its first code.
std::int64_t CCall::evaluate(const std::string& expression) const
{
    if (const std::size_t mark = expression.find('?'); mark != std::string::npos) {
        const std::string option = expression.substr(0, mark);
        std::size_t colon = mark + 1;
        for (int open = 1; (open += expression[colon] == '?' ? 1 : expression[colon] == ':' ? -1 : 0) > 0;)
            ++colon;
        return values_.at(option) == option_of(option)->first
                   ? evaluate(expression.substr(mark + 1, colon - mark - 1))
                   : evaluate(expression.substr(colon + 1));
    }
    if (const std::size_t sign = expression.find_last_of("+-"); sign != std::string::npos) {
        const std::int64_t left = evaluate(expression.substr(0, sign)),
                           right = evaluate(expression.substr(sign + 1));
        return expression[sign] == '+' ? left + right : left - right;
    }
    if (const std::size_t times = expression.find('*'); times != std::string::npos)
        return evaluate(expression.substr(0, times)) * evaluate(expression.substr(times + 1));
    return std::isdigit(static_cast<unsigned char>(expression[0])) != 0 ? std::stoll(expression)
                                                                        : values_.at(expression);
}

std::int64_t CCall::bound(const std::string& argument) const
{
    for (const std::string& word : words(bounds())) {
        const std::size_t mark = word.find_first_of("=>!");
        if (word.substr(0, mark) != argument)
            continue;
        const std::int64_t value = evaluate(word.substr(mark + 1));
        return word[mark] == '>' ? value + 1 : word[mark] == '!' ? value : std::max<std::int64_t>(1, value);
    }
    return argument.starts_with("inc") ? 1 : 0;
}

CCall& CCall::settle()
{
    std::int64_t more = 7;
    for (const std::string& word : words(bounds())) {
        const std::string name = word.substr(0, word.find_first_of("=>!"));
        values_.at(name) = bound(name) + more++ + (name.starts_with("stride") ? 400 : 0);
    }
    return *this;
}

CCall& CCall::spoil(const std::string& argument)
{
    if (argument == "layout")
        return set(argument, 103);
    if (const Option* option = option_of(argument))
        return set(argument, option->first - 1);
    return set(argument, bound(argument) - 1);
}

bool CCall::accepts(const std::string& argument, int index) const
{
    const auto told = sets_.find(argument);
    return told == sets_.end() ||
           told->second.find(option_of(argument)->letters[static_cast<std::size_t>(index)]) !=
               std::string::npos;
}

std::vector<Step> CCall::steps() const
{
    std::vector<Step> all;
    for (std::string word :
         words(layout_ == row_major ? member_.family->row_order : member_.family->column_order)) {
        Step step;
        step.goes_on = word.back() == '+';
        if (step.goes_on)
            word.pop_back();
        const std::size_t at = word.find('@');
        step.argument = word.substr(0, at);
        step.code = at == std::string::npos ? position(step.argument) : std::stoi(word.substr(at + 1));
        all.push_back(step);
    }
    return all;
}

support::Returned CCall::run() const
{
    std::vector<support::Word> list;
    if (member_.has_layout())
        list.emplace_back(static_cast<std::int32_t>(values_.at("layout")));
    std::vector<support::Real> reals;
    for (const std::string& name : names_) {
        if (option_of(name) != nullptr || is_small(name) || (is_integer(name) && !member_.wide))
            list.emplace_back(static_cast<std::int32_t>(values_.at(name)));
        else if (is_integer(name))
            list.emplace_back(values_.at(name));
        else if (!is_real_scalar(name, member_))
            list.emplace_back(address(name));
        else if (member_.single() || name[0] == 'f')
            reals.emplace_back(static_cast<float>(scalars_.at(name).first));
        else
            reals.emplace_back(scalars_.at(name).first);
    }
    return support::call_words(layer()[member_.name()], list, reals);
}

char CCall::expected_letter(const std::string& argument) const
{
    const Option& option = *option_of(argument);
    const auto index = static_cast<std::size_t>(values_.at(argument) - option.first);
    if (layout_ == row_major)
        for (const std::string& word : words(member_.family->rows))
            if (const std::size_t colon = word.find(':');
                colon != std::string::npos && word.substr(0, colon) == argument) {
                const char letter = word.substr(colon + 1).at(index);
                return letter == '*' && !member_.complex() ? 'N' : letter;
            }
    return option.letters.at(index);
}

} // namespace qnm::tests
