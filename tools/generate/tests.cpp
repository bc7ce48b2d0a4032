// The struct of a row's tests, and its expressions as C++.
#include <algorithm>
#include <set>

#include "expression.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

using EKind = Expression::Kind;
using Letter = std::pair<std::string, char>; // an option and one letter that it may be

/// The expressions of an argument's test.
std::vector<ExpressionPtr> conditions(const Argument& a)
{
    std::vector<ExpressionPtr> all;
    for (const ExpressionPtr& e : {a.unless, a.minimum, a.above, a.maximum, a.barred})
        if (e)
            all.push_back(e);
    return all;
}

/// Calls `visit` for each node of the definitions and tests of a row.
void walk_tests(const Row& row, const std::function<void(const Expression&)>& visit)
{
    for (const Definition& d : row.definitions)
        walk(*d.value, visit);
    for (const Argument* a : row.tests())
        for (const ExpressionPtr& e : conditions(*a))
            walk(*e, visit);
}

/// The letters that later tests ask for, in the order in which they are first needed.
std::vector<Letter> facts(const Row& row)
{
    std::vector<Letter> found;
    walk_tests(row, [&](const Expression& e) {
        if (e.kind == EKind::letter)
            for (const char letter : e.letters)
                if (std::find(found.begin(), found.end(), Letter{e.text, letter}) == found.end())
                    found.emplace_back(e.text, letter);
    });
    return found;
}

/// Expressions and tests of a row; those of a batch are for its group `g`.
class Tests final : public TestText {
public:
    explicit Tests(const Row& row)
        : TestText(row), row_(row), facts_(row.groups ? std::vector<Letter>{} : facts(row))
    {
    }

    /// What the tests need ahead of all of them.
    std::string locals() const
    {
        std::string lines;
        for (const auto& [argument, letter] : facts_)
            lines += "        const bool " + fact(argument, letter) + " = " + asked(argument, letter) + ";\n";
        for (const Definition& d : row_.definitions)
            lines += row_.groups ? "        const auto " + d.name + " = [&](I g) -> I { return " +
                                       text(*d.value) + "; };\n"
                                 : "        const I " + d.name + " = " + text(*d.value) + ";\n";
        return lines;
    }

    /// The tests, as a chain of conditions that ends in 0.
    std::string chain() const
    {
        const std::string next = "\n               : ";
        std::string tests;
        for (const Argument* a : row_.tests()) {
            const std::string code = std::to_string(row_.code(*a));
            if (row_.groups && a->name == "group_count")
                tests += "below<I>(*integers<I>(group_count), 0) ? " + code + next +
                         "*integers<I>(group_count) == 0 ? 0" + next;
            else if (row_.groups && a->array)
                tests +=
                    "any_group<I>(group_count, [&](I g) { return " + failing(*a) + "; }) ? " + code + next;
            else
                tests += failing(*a) + " ? " + code + next;
        }
        return tests + "0";
    }

private:
    static std::string fact(const std::string& argument, char letter) { return argument + "_is_" + letter; }

    std::string asked(const std::string& argument, char letter) const
    {
        const bool each = row_.groups && row_.find(argument)->array;
        return "is(" + (each ? "&" + argument + "[g]" : argument) + ", \"" + letter + "\")";
    }

    std::string value(const Argument& a) const
    {
        return row_.groups && a.array ? "integers<I>(" + a.name + ")[g]" : "*" + a.name;
    }

    std::string name(const std::string& name) const override
    {
        if (const Argument* a = row_.find(name))
            return value(*a);
        return row_.groups ? name + "(g)" : name;
    }

    std::string letter(const Expression& e) const override
    {
        Words any;
        for (const char letter : e.letters)
            any.push_back(row_.groups ? asked(e.text, letter) : fact(e.text, letter));
        return any_of(any);
    }

    std::string failing(const Argument& a) const
    {
        std::string test;
        if (!a.letters.empty()) {
            Words good;
            for (const char letter : a.letters)
                good.push_back(std::find(facts_.begin(), facts_.end(), Letter{a.name, letter}) != facts_.end()
                                   ? fact(a.name, letter)
                                   : asked(a.name, letter));
            test = "refused(" + joined(good, " || ") + ")";
        } else if (a.minimum) {
            test = "below<I>(" + value(a) + ", " + text(*a.minimum) + ")";
        } else if (a.above) { // a NaN compares with nothing, and passes
            test = "unlikely(" + value(a) + " <= " + text(*a.above) + ")";
        } else {
            test = "unlikely(" + value(a) + " == 0)";
        }
        if (a.maximum)
            test = "(" + test + " || below<I>(" + text(*a.maximum) + ", " + value(a) + "))";
        if (a.barred)
            test = "(" + test + " || unlikely(" + text(*a.barred) + "))";
        return a.unless ? "(!" + text(*a.unless) + " && " + test + ")" : test;
    }

    const Row& row_;
    std::vector<Letter> facts_;
};

/// The parameters of a row's tests. Arguments that no test touches stay without a name.
std::string test_parameters(const Row& row)
{
    std::set<std::string> used;
    walk_tests(row, [&](const Expression& e) {
        if (e.kind == EKind::name || e.kind == EKind::letter)
            used.insert(e.text);
    });
    for (const Argument* a : row.tests())
        used.insert(a->name);
    if (row.groups)
        used.insert("group_count");
    Words parameters;
    for (const Argument& a : row.arguments)
        parameters.push_back(used.count(a.name) != 0 ? "auto " + a.name : "auto");
    if (row.groups && row.entry_class != Class::handed)
        parameters.emplace_back("auto"); // the width flag
    return joined(parameters);
}

} // namespace

std::string test_text(const Expression& e, const Row& row)
{
    return Tests(row).text(e);
}

std::string tests_name(const Row& row)
{
    // A root may have several rows, each with letters of its own; a row's line would make a comment change
    // all.
    return row.has_check() ? stem(row.root) + "_tests_" + row.precisions.front().prefix : "NoTests";
}

std::string tests_text(const Row& row)
{
    const Tests tests(row);
    return "struct " + tests_name(row) + " {\n    template <class I>\n    QNM_INLINE static int code(" +
           test_parameters(row) + ")\n    {\n" + tests.locals() + "        return " + tests.chain() +
           ";\n    }\n};\n";
}

} // namespace qnm::generate
