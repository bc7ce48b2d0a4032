// The C interface of a routine of LAPACK, derived from its row and what a C table says of it.
#include "lapacke/room/plan.hpp"

#include <algorithm>

#include "lapacke/room/forms.hpp"

namespace qnm::catalogue {

namespace {

using EKind = Expression::Kind;
using Role = LapackeArgument::Role;

/// Whether a row's argument holds numbers that can be NaN.
bool is_number(const Argument& a)
{
    return !a.is_integer() && a.type != "char" && a.type != "procedure" && a.type != "void";
}

bool reads(const Argument& a)
{
    return a.direction == Direction::none || a.direction == Direction::in || a.direction == Direction::inout;
}

bool writes(const Argument& a)
{
    return a.direction == Direction::out || a.direction == Direction::inout;
}

/// Null if there are no factors.
ExpressionPtr product(const std::vector<ExpressionPtr>& factors)
{
    ExpressionPtr all;
    for (const ExpressionPtr& factor : factors)
        all = all ? make_expression(EKind::binary, "*", {all, factor}) : factor;
    return all;
}

/// One argument's plan, its neighbours in the row being known.
class Deriver {
public:
    Deriver(const Row& row, const LapackeRow& c) : row_(row), c_(c) {}

    LapackePlan plan()
    {
        LapackePlan plan;
        plan.row = &row_;
        plan.c = &c_;
        const int behind = c_.shape == LapackeShape::flat || c_.shape == LapackeShape::one_level ? 1 : 2;
        for (std::size_t i = 0; i < row_.arguments.size(); ++i) {
            const Argument& a = row_.arguments[i];
            if (a.name == "info" && i + 1 == row_.arguments.size() && writes(a)) {
                plan.has_info = true;
                continue;
            }
            LapackeArgument c;
            c.argument = &a;
            c.position = static_cast<int>(i) + behind;
            if (const auto facts = c_.facts.find(a.name); facts != c_.facts.end())
                c.facts = facts->second;
            c.address =
                (a.array || writes(a) || a.type == "procedure" || c.facts.by_address) && !c.facts.by_value;
            derive(c, plan);
            plan.arguments.push_back(std::move(c));
        }
        order_checks(plan);
        return plan;
    }

private:
    bool asked_size(const std::string& name) const
    {
        const Argument* a = row_.find(name);
        const auto facts = c_.facts.find(name);
        return a != nullptr && a->query && (facts == c_.facts.end() || !facts->second.kept);
    }

    void derive(LapackeArgument& c, const LapackePlan& plan)
    {
        const Argument& a = *c.argument;
        const LapackeFacts& f = c.facts;
        if (a.is_integer() && !a.array && (f.given || f.asked || (a.query && !f.kept))) {
            c.role = f.given ? Role::given : Role::size;
            c.hidden = true;
            return;
        }
        if (!f.kept && (a.direction == Direction::work || f.room || f.asked)) {
            derive_workspace(c);
            return;
        }
        if (a.is_integer() && !a.array && !plan.arguments.empty() && a.name.rfind("ld", 0) == 0 &&
            plan.arguments.back().role == Role::matrix && !plan.arguments.back().form.is_packed() &&
            (c_.shape == LapackeShape::split || c_.shape == LapackeShape::turned)) {
            c.role = Role::leading;
            c.matrix = static_cast<int>(plan.arguments.size()) - 1;
            c.bound = f.bound ? f.bound : plan.arguments.back().form.columns();
            return;
        }
        derive_matrix(c);
        derive_checks(c);
    }

    void derive_workspace(LapackeArgument& c)
    {
        const Argument& a = *c.argument;
        c.role = Role::workspace;
        c.hidden = true;
        bool asked = c.facts.asked;
        for (const ExpressionPtr& e : a.extents)
            walk(*e, [&](const Expression& node) {
                asked = asked || (node.kind == EKind::name && asked_size(node.text));
            });
        if (c.facts.room)
            c.room = c.facts.room;
        else if (!asked)
            c.room = a.extents.empty() ? make_number(1) : product(a.extents);
    }

    void derive_matrix(LapackeArgument& c)
    {
        const Argument& a = *c.argument;
        const LapackeFacts& f = c.facts;
        if (f.has_form)
            c.form = f.form;
        else if (is_number(a) && a.array && (a.extents.size() == 2 || packed_order(a)))
            c.form = derived_form(row_, a);
        if (c.form.is_vector() || (c_.shape != LapackeShape::split && c_.shape != LapackeShape::turned))
            return;
        c.role = Role::matrix;
        c.bound = c.form.columns();
        if (c_.shape == LapackeShape::turned)
            return;
        if ((reads(a) || f.also_in) && !f.no_in)
            c.in.push_back({c.form, f.in_when ? f.in_when : f.when, nullptr, nullptr});
        if ((writes(a) || f.also_out) && !f.no_out) {
            for (const StorageUse& out : f.outs)
                c.out.push_back({out.form.is_vector() ? c.form : out.form, out.when, nullptr, nullptr});
            if (f.outs.empty())
                c.out.push_back({c.form, f.when, nullptr, nullptr});
        }
    }

    void derive_checks(LapackeArgument& c)
    {
        const Argument& a = *c.argument;
        const LapackeFacts& f = c.facts;
        if (!is_number(a) || f.unchecked)
            return;
        if (!f.checks.empty()) {
            c.checks = f.checks;
            return;
        }
        if (!reads(a) && !f.checked_when)
            return;
        const ExpressionPtr when = f.checked_when ? f.checked_when : f.when ? f.when : f.in_when;
        StorageUse use;
        use.form = c.form;
        if (c.form.is_vector())
            use.form.options.push_back(a.extents.size() == 1 ? a.extents[0] : make_number(1));
        use.when = when;
        c.checks.push_back(std::move(use));
    }

    void order_checks(LapackePlan& plan) const
    {
        std::vector<int> rest;
        for (const std::string& name : c_.checked_in_order)
            for (std::size_t i = 0; i < plan.arguments.size(); ++i)
                if (plan.arguments[i].argument->name == name)
                    plan.checked.push_back(static_cast<int>(i));
        for (std::size_t i = 0; i < plan.arguments.size(); ++i)
            if (!plan.arguments[i].checks.empty() && std::find(plan.checked.begin(), plan.checked.end(),
                                                               static_cast<int>(i)) == plan.checked.end())
                rest.push_back(static_cast<int>(i));
        const auto name = [&](int i) { return plan.arguments[static_cast<std::size_t>(i)].argument->name; };
        std::stable_sort(rest.begin(), rest.end(), [&](int a, int b) { return name(a) < name(b); });
        plan.checked.insert(plan.checked.end(), rest.begin(), rest.end());
    }

    const Row& row_;
    const LapackeRow& c_;
};

} // namespace

LapackePlan derive_plan(const Row& row, const LapackeRow& c)
{
    return Deriver(row, c).plan();
}

bool LapackePlan::has_layout() const
{
    return c->shape != LapackeShape::flat && c->shape != LapackeShape::one_level;
}

const LapackeArgument* LapackePlan::find(const std::string& name) const
{
    const auto found = std::find_if(arguments.begin(), arguments.end(),
                                    [&](const LapackeArgument& a) { return a.argument->name == name; });
    return found == arguments.end() ? nullptr : &*found;
}

} // namespace qnm::catalogue
