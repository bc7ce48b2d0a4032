// Names in the rows of the C interface to LAPACK.
#include <set>

#include "catalogue/reader.hpp"
#include "lapacke/room/plan.hpp"

namespace qnm::catalogue {

namespace {

using EKind = Expression::Kind;

/// The expressions of a row; some may be null.
std::vector<ExpressionPtr> expressions(const LapackeRow& c)
{
    std::vector<ExpressionPtr> all{c.stops, c.refused, c.asks};
    const auto add = [&](const std::vector<ExpressionPtr>& more) {
        all.insert(all.end(), more.begin(), more.end());
    };
    for (const auto& [name, f] : c.facts) {
        add({f.when, f.bound, f.in_when, f.checked_when, f.room, f.room_when, f.turned, f.given});
        add(f.form.options);
        for (const auto* uses : {&f.outs, &f.checks})
            for (const StorageUse& use : *uses) {
                add(use.form.options);
                add({use.when, use.offset, use.increment});
            }
    }
    for (const Definition& d : c.definitions)
        all.push_back(d.value);
    for (const Addition& addition : c.additions)
        all.push_back(addition.count);
    return all;
}

/// The arguments that a row names outside of expressions.
std::vector<std::string> arguments(const LapackeRow& c)
{
    std::vector<std::string> all;
    for (const auto& [name, f] : c.facts)
        all.push_back(name);
    all.insert(all.end(), c.checked_in_order.begin(), c.checked_in_order.end());
    if (c.refused)
        all.push_back(c.refused_as);
    for (const Addition& add : c.additions)
        all.push_back(add.workspace);
    for (const auto& [one, other] : c.exchanged)
        all.insert(all.end(), {one, other});
    return all;
}

} // namespace

void check_lapacke_names(const Lexer& lexer, const LapackeRow& c, const Row& row)
{
    for (const std::string& name : arguments(c))
        if (row.find(name) == nullptr)
            lexer.fail_at(c.line, "'" + name + "'", "an argument of " + row.root);
    for (const Argument& a : row.arguments) {
        const auto f = c.facts.find(a.name);
        const bool told = f != c.facts.end() && f->second.turned;
        if (told != (c.shape == LapackeShape::turned && a.direction == Direction::work))
            lexer.fail_at(c.line, "'" + a.name + "'",
                          told ? "'turned' for workspaces of turned routines alone"
                               : "'turned' and the size that the turned routine needs");
    }
    std::set<std::string> known{"row_major"};
    for (const auto* definitions : {&row.definitions, &c.definitions})
        for (const Definition& d : *definitions)
            known.insert(d.name);
    const auto check = [&](const Expression& e) {
        if ((e.kind != EKind::name && e.kind != EKind::letter) || row.find(e.text) != nullptr)
            return;
        const std::string found = "'" + e.text + "'", argument = "an argument of " + row.root;
        const bool letter = e.text.size() == 1 && e.text[0] >= 'A' && e.text[0] <= 'Z';
        if (e.kind == EKind::letter)
            lexer.fail_at(c.line, found, argument);
        if (known.count(e.text) == 0 && !letter)
            lexer.fail_at(c.line, found, argument + ", a name of 'where', row_major or one letter");
    };
    for (const ExpressionPtr& e : expressions(c))
        if (e)
            walk(*e, check);
}

} // namespace qnm::catalogue
