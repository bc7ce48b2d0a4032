#include "c_call.hpp"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace qnm::tests {

using catalogue::Expression;

namespace {

constexpr long least_room = 600;

bool is(char letter, char upper)
{
    return (letter & ~0x20) == upper;
}

/// All expressions that a plan and its row hold.
std::vector<ExpressionPtr> expressions_of(const LapackePlan& plan)
{
    std::vector<ExpressionPtr> all = tests::expressions_of(*plan.row);
    const auto add = [&](const auto&... more) { (all.push_back(more), ...); };
    add(plan.c->stops, plan.c->refused, plan.c->asks);
    for (const LapackeArgument& a : plan.arguments) {
        add(a.bound, a.room, a.facts.when, a.facts.room_when, a.facts.given);
        for (const auto* uses : {&a.in, &a.out, &a.checks})
            for (const FormUse& use : *uses) {
                add(use.when, use.offset, use.increment);
                all.insert(all.end(), use.form.options.begin(), use.form.options.end());
            }
    }
    for (const catalogue::Definition& d : plan.c->definitions)
        add(d.value);
    return all;
}

/// Letters that make a difference to this plan, and one that makes none.
std::string telling_letters(const std::vector<ExpressionPtr>& expressions, const Argument& option)
{
    static const std::map<std::string, std::string> usual{
        {"uplo", "UL"},    {"diag", "NU"},   {"side", "LR"},   {"trans", "NTC"},
        {"transr", "NTC"}, {"norm", "1OIM"}, {"direct", "FB"}, {"storev", "CR"}};
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

const std::vector<Member>& members()
{
    static const std::vector<Member> all = [] {
        std::vector<Member> found;
        for (const LapackePlan& plan : catalogue::lapacke_plans(tables()))
            for (const catalogue::Precision& precision : plan.precisions)
                for (const Width width : {Width::narrow, Width::wide})
                    for (const bool high : {true, false})
                        if (plan.c->shape != LapackeShape::one_level)
                            found.push_back({&plan, Entry(*plan.row, precision, width), high});
        return found;
    }();
    return all;
}

const Member& member(std::string_view name)
{
    for (const Member& m : members())
        if (m.name() == name)
            return m;
    throw std::out_of_range("no member " + std::string(name));
}

double original(std::size_t argument, long k)
{
    return static_cast<double>(argument * 8192 + static_cast<std::size_t>(k) + 1);
}

double written(std::size_t argument, long k)
{
    return original(argument, k) + 4'194'304;
}

CCall::CCall(const Member& m, int layout, std::mt19937& chance, bool empty)
    : SampleCall(m.entry), member_(&m), layout_(layout)
{
    const auto expressions = expressions_of(plan());
    choose_letters(chance, [&](const Argument& option) { return telling_letters(expressions, option); });
    choose_sizes(chance, empty);
    make_valid();
    lay_out();
}

void CCall::choose_sizes(std::mt19937& chance, bool empty)
{
    const auto some = [&] { return static_cast<long>(3 + chance() % 4); };
    const long m = some(), n = 3 + (m + static_cast<long>(chance() % 3) - 2) % 4; // never equal
    const long least = std::min(m, n);
    const std::pair<long, const char*> usual[] = {{m, "m"},
                                                  {n, "n ihi mm nzc"},
                                                  {least, "rows k2"},
                                                  {least - 1, "k cols"},
                                                  {m + 2, "p"},
                                                  {5, "mb"},
                                                  {7, "nrhs"},
                                                  {8, "nru"},
                                                  {9, "ncvt"},
                                                  {10, "ncc"},
                                                  {6, "ltb"},
                                                  {60, "tsize ldwork"},
                                                  {0, "nfxd"},
                                                  {some() % 2, "wantq"},
                                                  {1, "kl kb ilo incx k1 itype il i j i1 mode wantz"}};
    for (const LapackeArgument& a : plan().arguments) {
        const std::string& name = a.argument->name;
        if (!is_scalar(*a.argument))
            continue;
        const auto* const found =
            std::ranges::find_if(usual, [&](const auto& u) { return lists(u.second, name); });
        const bool known = found != std::end(usual);
        long value = 2; // of those by address: how many were found, and the like
        if (a.role == Role::size || (a.argument->query && !known))
            value = least_room / 2;
        else if (name.starts_with("ld"))
            value = 12 + a.position;
        else if (empty && !a.address && !lists("incx itype k1", name))
            value = 0;
        else if (!a.address && known)
            value = found->first;
        set(name, value);
    }
    const auto negative = [&](const ExpressionPtr& extent) { return value(*extent) < 0; };
    for (const LapackeArgument& a : plan().arguments)
        if (a.argument->extents.size() == 2 && std::ranges::any_of(a.argument->extents, negative))
            set("p", least - 1); // where it is a part of m
}

CCall& CCall::lay_out()
{
    for (const LapackeArgument& a : plan().arguments)
        if (a.role == Role::leading) {
            const Form& form = plan().arguments[static_cast<std::size_t>(a.matrix)].form;
            const long least = value(by_rows() ? *a.bound : *form.rows());
            set(a.argument->name, std::max(least, 1L) + a.position); // no two alike
        }
    fill();
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
    if (a != nullptr && !is_scalar(*a->argument))
        return element(*a).integer ? 0 : 1;
    return SampleCall::named(name, group);
}

void CCall::fill()
{
    memory_.clear();
    for (const LapackeArgument& a : plan().arguments) {
        const Argument& argument = *a.argument;
        const Element e = element(a);
        if (argument.type == "procedure" || (e.integer && !a.address))
            continue;
        const auto [lines, length] = published(a);
        const long step = std::max(ld(a, false), length), count = lines * step + least_room;
        Array& array = memory_.emplace(argument.name, Array(e, count, nan)).first->second;
        const double alike = argument.type == "char"      ? letter(argument)
                             : argument.type == "logical" ? 1
                             : is_scalar(argument)        ? static_cast<double>(integer(argument))
                                                          : 0;
        for (long k = 0; k < count; ++k)
            if (e.integer)
                array.set(k, alike != 0 ? alike : static_cast<double>(k + 1));
            else if (k < lines * step && k % step < length)
                array.set(k, original(index(a), k));
    }
    if (member_->high)
        for (const catalogue::Addition& add : plan().c->additions)
            memory_.emplace(add.name, Array(element(add.type), least_room, 60));
}

const void* CCall::place(const std::string& name, std::size_t i) const
{
    const auto found = memory_.find(name);
    return found == memory_.end() ? untouchable_address(i) : found->second.data();
}

std::vector<const LapackeArgument*> CCall::reals() const
{
    std::vector<const LapackeArgument*> found;
    for (const LapackeArgument& a : plan().arguments)
        if (memory_.contains(a.argument->name) && !element(a).integer)
            found.push_back(&a);
    return found;
}

double CCall::run() const
{
    std::vector<support::Word> words;
    std::vector<support::Real> reals;
    const auto add_real = [&]<class R>(const unsigned char* bytes, R number) {
        std::memcpy(&number, bytes, sizeof number);
        reals.emplace_back(number);
    };
    if (plan().has_layout())
        words.emplace_back(layout_);
    for (const LapackeArgument& a : plan().arguments) {
        const Argument& argument = *a.argument;
        const Element e = element(a);
        if (member_->high && a.hidden)
            continue;
        if (a.address)
            words.emplace_back(place(a));
        else if (argument.type == "char")
            words.emplace_back(static_cast<int>(letter(argument)));
        else if (e.integer && narrow())
            words.emplace_back(static_cast<int>(integer(argument)));
        else if (e.integer)
            words.emplace_back(integer(argument));
        else if (const Array& array = memory_.at(argument.name); e.size() == sizeof(float))
            add_real(array.data(), 0.0F);
        else // a complex of 16 bytes takes two registers, one of 8 bytes one
            for (std::size_t at = 0; at < e.size(); at += sizeof(double))
                add_real(array.data() + at, 0.0);
    }
    if (member_->high)
        for (const catalogue::Addition& add : plan().c->additions)
            words.emplace_back(place(add.name, words.size()));
    const support::Returned back = support::call_words(layer()[member_->name()], words, reals);
    const Element e = element(member_->has_value() ? plan().row->result.type : "int");
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
    if (!a.form.is_packed())
        return ld(a, true) * std::max<long>(value(*a.form.columns()), 1);
    const long n = storage(a, a.form).options["n"];
    return std::max(n, 1L) * std::max(n + 1, 2L) / 2;
}

bool CCall::lines_are_rows() const
{
    if (plan().c->shape == LapackeShape::options) // or as the routine's TRANS has it
        return by_rows() || !is(letter("trans"), 'N');
    return by_rows();
}

/// The caller's leading dimension stands behind its matrix, if there is one.
long CCall::ld(const LapackeArgument& a, bool copy) const
{
    const std::size_t next = index(a) + 1;
    if (!copy && next < plan().arguments.size())
        if (const Argument& b = *plan().arguments[next].argument; b.name.starts_with("ld") && is_scalar(b))
            return integer(b);
    if (a.form.is_vector() || a.form.is_packed())
        return 0;
    return std::max<long>(value(!copy && lines_are_rows() ? *a.form.columns() : *a.form.rows()), 1);
}

std::pair<long, long> CCall::published(const LapackeArgument& a) const
{
    std::vector<long> sizes;
    for (const ExpressionPtr& extent : a.argument->extents)
        sizes.push_back(std::max<long>(value(*extent), 0));
    if (!a.argument->array || sizes.empty())
        return {1, a.argument->array ? least_room : 1};
    if (sizes.size() == 1)
        return {1, sizes[0]};
    return lines_are_rows() ? std::pair{sizes[0], sizes[1]} : std::pair{sizes[1], sizes[0]};
}

/// The letter that an expression stands for: one of the call's, or itself.
char CCall::letter_of(const Expression& e) const
{
    if (e.kind == Expression::Kind::condition)
        return letter_of(*e.operands[holds(*e.operands[0]) ? 1 : 2]);
    const bool fixed = e.text.size() == 1 && e.text[0] >= 'A' && e.text[0] <= 'Z';
    return fixed ? e.text[0] : letter(e.text);
}

Storage CCall::storage(const LapackeArgument& a, const Form& form, bool copy) const
{
    Storage s{form.name, {}, !copy && lines_are_rows(), ld(a, copy)};
    std::istringstream names(options_of(form.name));
    for (std::string name; names >> name;) {
        const Expression& e = *form.options.at(s.options.size());
        s.options.emplace(name, s.options.size() < form.letters() ? letter_of(e) : value(e));
    }
    return s;
}

std::vector<std::pair<long, long>> CCall::moves(const LapackeArgument& a, const FormUse& use) const
{
    std::vector<std::pair<long, long>> all;
    if (!is_copied(a) || !holds_if(use.when))
        return all;
    const auto from = storage(a, use.form).moved().places(), to = storage(a, use.form, true).moved().places();
    for (std::size_t k = 0; k < from.size(); ++k)
        all.emplace_back(from[k], to[k]);
    return all;
}

std::vector<long> CCall::checked(const LapackeArgument& a, const FormUse& use) const
{
    std::vector<long> offsets;
    if (!use.form.is_vector())
        offsets = storage(a, use.form).places();
    else
        for (long i = 0; i < value(*use.form.options[0]); ++i)
            offsets.push_back(i * (use.increment ? std::abs(value(*use.increment)) : 1));
    for (long& offset : offsets)
        offset += use.offset ? value(*use.offset) : 0;
    return offsets;
}

long CCall::room(const LapackeArgument& a, long answer) const
{
    if (a.room)
        return std::max<long>(value(*a.room), 1);
    return std::max(answer, 1L) * (is_table(a) ? std::max(answer + 1, 1L) : 1);
}

} // namespace qnm::tests
