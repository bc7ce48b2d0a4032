// The C interface: the tests of a row in its layouts.
#include <algorithm>

#include "cblas/room/source.hpp"
#include "generate/expression.hpp"

namespace qnm::generate {

using namespace catalogue;

bool is_array(const CArgument& a)
{
    return a.role == CRole::options || a.role == CRole::integers;
}

std::string letters_of(const CArgument& a, const Rewrite& rewrite)
{
    const auto told = rewrite.letters.find(a.as.name);
    return told != rewrite.letters.end() ? told->second : code_group(a.as.letters).letters;
}

namespace {

using EKind = Expression::Kind;

/// Expressions and tests of a row in one of its layouts.
class LayoutTests final : public TestText {
public:
    LayoutTests(const CRow& row, bool row_major)
        : TestText(row.fortran), row_(row), rewrite_(row.rewrite(row_major))
    {
    }

    /// The test of a C argument: where it fails.
    std::string failing(const std::string& name) const
    {
        const CArgument& c = *row_.find(name);
        const std::string array = is_array(c) || (row_.fortran.groups && c.as.array)
                                      ? "unlikely(" + name + " == nullptr)"
                                      : std::string{};
        const Argument& a = row_.find(rewrite_.source(name))->as; // whose place it takes
        const std::string test = c.role == CRole::option || c.role == CRole::options ? codes(c)
                                 : a.tested()                                        ? values(name, a)
                                                                                     : std::string{};
        if (array.empty() || test.empty())
            return array + test;
        return "(" + array + " || any_group<I>(&group_count, [&](I g) { return " + test + "; }))";
    }

private:
    std::string value_of(const std::string& name) const
    {
        return is_array(*row_.find(name)) ? name + "[g]" : name;
    }

    /// Codes that are none of the option's.
    std::string codes(const CArgument& c) const
    {
        std::vector<int> good;
        for (const char letter : c.as.letters)
            good.push_back(option_code(code_group(c.as.letters), letter));
        std::sort(good.begin(), good.end());
        const std::string name = value_of(c.as.name);
        Words any;
        for (std::size_t i = 0; i < good.size();) {
            std::size_t last = i;
            while (last + 1 < good.size() && good[last + 1] == good[last] + 1)
                ++last;
            any.push_back(last == i ? "(" + name + " == " + std::to_string(good[i]) + ")"
                                    : "within(" + name + ", " + std::to_string(good[i]) + ", " +
                                          std::to_string(good[last]) + ")");
            i = last + 1;
        }
        return "refused(" + joined(any, " || ") + ")";
    }

    std::string values(const std::string& name, const Argument& a) const
    {
        const auto told = [&](const Expression& e) { return text(*in_layout(e, row_, rewrite_)); };
        std::string test;
        if (a.nonzero)
            test = "unlikely(" + value_of(name) + " == 0)";
        else if (const Expression& e = *a.minimum; e.kind == EKind::binary && e.text == "+" &&
                                                   e.operands[1]->kind == EKind::number &&
                                                   e.operands[1]->value == 1)
            test = "at_most<I>(" + value_of(name) + ", " + told(*e.operands[0]) + ")";
        else
            test = "below<I>(" + value_of(name) + ", " + told(e) + ")";
        return a.unless ? "(!" + told(*a.unless) + " && " + test + ")" : test;
    }

    /// `trans is N`: its codes.
    std::string letter(const Expression& e) const override
    {
        const CArgument& c = *row_.find(e.text);
        const CodeGroup& group = code_group(c.as.letters);
        Words in;
        Words out;
        for (const char letter : c.as.letters) {
            const std::string code = std::to_string(option_code(group, letter));
            (e.letters.find(letter) != std::string::npos ? in : out).push_back(code);
        }
        const bool few = in.size() <= out.size();
        Words any;
        for (const std::string& code : few ? in : out)
            any.push_back(value_of(c.as.name) + (few ? " == " : " != ") + code);
        return "(" + joined(any, few ? " || " : " && ") + ")";
    }

    std::string name(const std::string& name) const override { return value_of(name); }

    const CRow& row_;
    const Rewrite& rewrite_;
};

} // namespace

std::string test_chain(const CRow& row, const Words& steps, bool row_major, const std::string& behind_trans)
{
    const LayoutTests tests(row, row_major);
    const Rewrite& rewrite = row.rewrite(row_major);
    const std::string next = "\n             : ";
    std::string text;
    for (const std::string& step : steps) {
        const CArgument& a = *row.find(step);
        const auto told = rewrite.codes.find(step);
        const std::string code =
            std::to_string(told != rewrite.codes.end() ? told->second : row.position(step));
        const std::string failing = tests.failing(step);
        if (row.has(row.goes_on, step) && a.role == CRole::option) {
            const CodeGroup& group = code_group(a.as.letters);
            const int behind = group.first + static_cast<int>(std::string(group.letters).size());
            text +=
                "goes_on(" + joined({failing, "name", code, step, std::to_string(behind)}) + ") ? 0" + next;
        } else if (row.has(row.goes_on, step) || row.has(rewrite.goes_on, step)) {
            text += "goes_on(" + joined({failing, "name", code}) + ") ? 0" + next;
        } else {
            text += failing + " ? " + code + next;
        }
        if (!behind_trans.empty() && step == "trans")
            text += behind_trans + " ? 0" + next;
    }
    return text + "0";
}

} // namespace qnm::generate
