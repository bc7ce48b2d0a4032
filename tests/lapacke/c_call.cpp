#include "c_call.hpp"

#include "support/tables.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace qnm::tests {

using catalogue::Expression;

namespace {

constexpr long least_room = 600;

/// Letters that make a difference to this plan, and one that makes none.
std::string telling_letters(const LapackePlan& plan, const Argument& option)
{
    static const std::map<std::string, std::string> usual{
        {"uplo", "UL"},    {"diag", "NU"},   {"side", "LR"},   {"trans", "NTC"},
        {"transr", "NTC"}, {"norm", "1OIM"}, {"direct", "FB"}, {"storev", "CR"}};
    std::vector<ExpressionPtr> expressions;
    for (const catalogue::Definition& d : plan.row->definitions)
        expressions.push_back(d.value);
    for (const Argument& a : plan.row->arguments)
        expressions.insert(expressions.end(), a.extents.begin(), a.extents.end());
    for (const LapackeArgument& a : plan.arguments) {
        expressions.push_back(a.facts.room_when);
        for (const auto* uses : {&a.out, &a.checks})
            for (const StorageUse& use : *uses)
                expressions.push_back(use.when);
    }
    if (!option.letters.empty())
        return option.letters;
    const auto found = usual.find(option.name);
    return (found != usual.end() ? found->second : "N") + letters_of(option, expressions);
}

/// The options of a form in their order, by the names that the helpers have for them.
std::string options_of(const std::string& form)
{
    if (form == "ge" || form == "gb" || form == "tz")
        return form == "ge" ? "m n" : form == "gb" ? "m n kl ku" : "direct uplo diag m n";
    return std::string(form[1] == 'f' ? "transr " : "") + (form == "hs" ? "" : "uplo ") +
           (form[0] == 't' ? "diag " : "") + (form[1] == 'b' ? "n kd" : "n");
}

} // namespace

const std::map<std::string, Member>& members()
{
    static const std::map<std::string, Member> all = [] {
        std::map<std::string, Member> found;
        for (const LapackePlan& plan : catalogue::lapacke_plans(support::tables()))
            for (const catalogue::Precision& letter : plan.precisions)
                for (const catalogue::Form* form : lapacke_forms(plan))
                    if (const auto* work = lapacke_form(plan, "work", form->width); work != nullptr) {
                        const std::string name = lapacke_name(plan, letter, *form);
                        found.emplace(name, Member{&plan, form->level == "high", name,
                                                   lapacke_name(plan, letter, *work)});
                    }
        return found;
    }();
    return all;
}

CCall::CCall(const Member& of, int layout, std::mt19937& chance, bool empty)
    : FunctionCall(tests::signature(of.work_name).callees.front().name, layout), member_(&of), layout_(layout)
{
    choose_letters(chance, [&](const Argument& option) { return telling_letters(plan(), option); });
    const auto some = [&] { return static_cast<long>(3 + chance() % 4); };
    const long m = some(), n = 3 + (m + static_cast<long>(chance() % 3) - 2) % 4; // never equal
    const std::map<std::string, long> related{
        {"m", m},   {"n", n},    {"ihi", n}, {"mm", n},    {"k", std::min(m, n) - 1}, {"p", 2},
        {"ilo", 1}, {"incx", 1}, {"k1", 1},  {"itype", 1}, {"wantq", some() % 2},     {"wantz", some() % 2}};
    for (const LapackeArgument& a : plan().arguments) {
        const std::string& name = a.argument->name;
        const auto found = related.find(name);
        if (!is_single(*a.argument))
            continue;
        if (name.starts_with("ld"))
            set(name, 12 + a.position);
        else if (a.role == Role::size || a.argument->query)
            set(name, least_room / 2);
        else if (a.address)
            set(name, 2); // how many were found, and the like
        else if (empty && !lists("incx itype k1", name))
            set(name, 0);
        else
            set(name, found != related.end() ? found->second : a.position);
    }
    make_valid();
    lay_out();
}

CCall& CCall::lay_out()
{
    for (const LapackeArgument& a : plan().arguments)
        if (a.role == Role::leading) {
            const StorageForm& form = plan().arguments[static_cast<std::size_t>(a.matrix)].form;
            const long least = value(by_rows() ? *a.bound : *form.rows());
            set(a.argument->name, std::max(least, 1L) + a.position); // no two alike
        }
    memory_.clear();
    for (const LapackeArgument& a : plan().arguments) {
        const Argument& argument = *a.argument;
        const Element e = element(a);
        if (argument.type == "procedure" || (e.integer && !a.address))
            continue;
        const auto [lines, length] = published(a);
        const long step = std::max(ld(a), length), count = lines * step + least_room;
        Array& array = memory_.emplace(argument.name, Array(e, count, nan)).first->second;
        for (long k = 0; k < count; ++k)
            if (e.integer)
                array.set(k, static_cast<double>(argument.type == "char"      ? letter(argument.name)
                                                 : is_single(argument)        ? integer(argument.name)
                                                 : argument.type == "logical" ? 1
                                                                              : k + 1));
            else if (k < lines * step && k % step < length)
                array.set(k, original(a, k));
    }
    for (const catalogue::Addition& add : plan().c->additions)
        memory_.emplace(add.name, Array(Element::of(add.type, signature()), least_room, 60));
    return *this;
}

std::int64_t CCall::named(const std::string& name, int group) const
{
    if (name == "row_major")
        return by_rows() ? 1 : 0;
    const LapackeArgument* a = plan().find(name);
    if (a != nullptr && a->role == Role::given && member_->high)
        return value(*a->facts.given);
    for (const catalogue::Definition& d : plan().c->definitions)
        if (d.name == name)
            return value(*d.value);
    // Of a real: that it is not zero. Of exchanges: none reaches below the rows that are told.
    if (a != nullptr && !is_single(*a->argument))
        return element(*a).integer ? 0 : 1;
    return FunctionCall::named(name, group);
}

const void* CCall::place(const LapackeArgument& a) const
{
    const auto found = memory_.find(a.argument->name);
    return found == memory_.end() ? untouchable_address(index(a)) : found->second.data();
}

std::vector<const LapackeArgument*> CCall::reals() const
{
    std::vector<const LapackeArgument*> found;
    for (const LapackeArgument& a : plan().arguments)
        if (memory_.contains(a.argument->name) && !element(a).integer)
            found.push_back(&a);
    return found;
}

double CCall::run()
{
    FunctionCall call(member_->name, layout_);
    for (const Parameter& p : call.parameters()) {
        const auto found = memory_.find(p.name);
        if (p.travel == Travel::code)
            call.set(p.name, layout_);
        else if (p.travel != Travel::value)
            call.point(p.name,
                       plan().find(p.name) != nullptr ? place(*plan().find(p.name)) : found->second.data());
        else if (found == memory_.end())
            call.set(p.name, p.argument->type == "char" ? letter(p.name) : integer(p.name));
        else
            for (std::size_t part = 0; part < found->second.element.parts; ++part)
                call.put(p.name, found->second.part(0, part), part);
    }
    const std::string routine = callee().name;
    core().clear();
    before_ = memory_;
    queries = runs = 0;
    core().answers(routine).calling([this](Call& noted, recording::Answer& reply) { act(noted, reply); });
    const support::Returned back = call.run();
    core().answers(routine).calling([](Call&, recording::Answer&) {});
    const Element e = Element::of(member_->has_value() ? plan().row->result.type : "int", signature());
    if (e.integer)
        return static_cast<double>(narrow() ? back.int32() : back.int64());
    return e.bytes == sizeof(float) ? static_cast<double>(back.float32()) : back.float64();
}

bool CCall::is_copied(const LapackeArgument& a) const
{
    return by_rows(LapackeShape::split) && a.role == Role::matrix && holds_if(a.facts.when);
}

long CCall::copy_elements(const LapackeArgument& a) const
{
    const long last =
        std::max<long>(value(a.form.is_packed() ? *a.form.options.back() : *a.form.columns()), 1);
    return a.form.is_packed() ? last * (last + 1) / 2 : last * ld(a, true);
}

bool CCall::lines_are_rows() const
{
    const bool by_option = plan().c->shape == LapackeShape::options; // as the routine's TRANS has it
    return by_rows() || (by_option && (letter("trans") & ~0x20) != 'N');
}

/// The caller's leading dimension stands behind its matrix, if there is one.
long CCall::ld(const LapackeArgument& a, bool copy) const
{
    const std::size_t next = index(a) + 1;
    if (!copy && next < plan().arguments.size())
        if (const Argument& b = *plan().arguments[next].argument; b.name.starts_with("ld") && is_single(b))
            return integer(b.name);
    if (a.form.is_vector() || a.form.is_packed())
        return 0;
    return std::max<long>(value(!copy && lines_are_rows() ? *a.form.columns() : *a.form.rows()), 1);
}

std::pair<long, long> CCall::published(const LapackeArgument& a) const
{
    const auto& extents = a.argument->extents;
    const auto size = [&](std::size_t i) {
        return i < extents.size() ? std::max<long>(value(*extents[i]), 0) : 1;
    };
    if (a.argument->array && extents.empty())
        return {1, least_room};
    return extents.size() == 2 && lines_are_rows() ? std::pair{size(0), size(1)}
                                                   : std::pair{size(1), size(0)};
}

/// The letter that an expression stands for: one of the call's, or itself.
char CCall::letter_of(const Expression& e) const
{
    if (e.kind == Expression::Kind::condition)
        return letter_of(*e.operands[holds(*e.operands[0]) ? 1 : 2]);
    const bool fixed = e.text.size() == 1 && e.text[0] >= 'A' && e.text[0] <= 'Z';
    return fixed ? e.text[0] : letter(e.text);
}

Storage CCall::storage(const LapackeArgument& a, const StorageForm& form, bool copy) const
{
    Storage s{form.name, {}, !copy && lines_are_rows(), ld(a, copy)};
    std::istringstream names(options_of(form.name));
    for (std::string name; names >> name;) {
        const Expression& e = *form.options.at(s.options.size());
        s.options.emplace(name, s.options.size() < form.letters() ? letter_of(e) : value(e));
    }
    return s;
}

std::vector<std::pair<long, long>> CCall::moves(const LapackeArgument& a, const StorageUse& use) const
{
    std::vector<std::pair<long, long>> all;
    if (!is_copied(a) || !holds_if(use.when))
        return all;
    const auto from = storage(a, use.form).moved().places(), to = storage(a, use.form, true).moved().places();
    for (std::size_t k = 0; k < from.size(); ++k)
        all.emplace_back(from[k], to[k]);
    return all;
}

std::vector<long> CCall::checked(const LapackeArgument& a, const StorageUse& use) const
{
    const bool vector = use.form.is_vector(); // as a matrix of one row
    const long step = use.increment ? std::abs(value(*use.increment)) : 1;
    std::vector<long> offsets =
        (vector ? Storage{"ge", {{"m", 1}, {"n", value(*use.form.options[0])}}, false, step}
                : storage(a, use.form))
            .places();
    for (long& offset : offsets)
        offset += use.offset ? value(*use.offset) : 0;
    return offsets;
}

long CCall::room(const LapackeArgument& a) const
{
    const bool table = a.argument->extents.empty() && a.facts.asked; // whose columns a query answers too
    const long asked = answer(index(a)), columns = table ? asked + 1 : 1;
    return a.room ? std::max<long>(value(*a.room), 1) : std::max(asked, 1L) * std::max(columns, 1L);
}

} // namespace qnm::tests
