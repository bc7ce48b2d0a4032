#include "c_call.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace qnm::tests {

using catalogue::Expression;

namespace {

constexpr std::int64_t least_room = 600;

bool is_integer(const Argument& a)
{
    return a.type == "int" || a.type == "logical";
}

bool is(char letter, char upper)
{
    return std::toupper(static_cast<unsigned char>(letter)) == upper;
}

/// All expressions that a plan and its row hold.
std::vector<ExpressionPtr> expressions_of(const LapackePlan& plan)
{
    std::vector<ExpressionPtr> all = tests::expressions_of(*plan.row);
    all.insert(all.end(), {plan.c->stops, plan.c->refused, plan.c->asks});
    for (const LapackeArgument& a : plan.arguments) {
        all.insert(all.end(), {a.bound, a.room, a.facts.when, a.facts.room_when, a.facts.given});
        all.insert(all.end(), a.form.options.begin(), a.form.options.end());
        for (const auto* uses : {&a.in, &a.out, &a.checks})
            for (const FormUse& use : *uses) {
                all.insert(all.end(), {use.when, use.offset, use.increment});
                all.insert(all.end(), use.form.options.begin(), use.form.options.end());
            }
    }
    for (const catalogue::Definition& d : plan.c->definitions)
        all.push_back(d.value);
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

/// A form with its options as numbers and letters, for instance tr(U,N,n) or gb(m,n,kl,ku).
struct Storage {
    std::string form;
    std::int64_t m, n; // of square forms the same
    std::int64_t kl = 0, ku = 0;
    char uplo = ' ', diag = ' ', transr = ' ', direct = ' ';

    bool holds(std::int64_t i, std::int64_t j) const
    {
        const std::int64_t diagonal = is(direct, 'B') ? n - m : 0; // j - i on it, of a trapezoid
        if (form[0] == 't' && is(diag, 'U') && j - i == diagonal)
            return false;
        if (form[1] == 'b')
            return j - i <= ku && i - j <= kl;
        if (form == "ge")
            return true;
        if (form == "hs")
            return i <= j + 1;
        return is(uplo, 'U') ? j - i >= diagonal : j - i <= diagonal;
    }

    void for_each(std::int64_t row_ld, std::int64_t column_ld, const CCall::Visit& visit) const
    {
        if (form[1] == 'f') { // a rectangle, whatever it holds
            const bool plain = is(transr, 'N');
            const std::int64_t rows = plain ? n | 1 : (n + 1) / 2, columns = plain ? (n + 1) / 2 : n | 1;
            Storage{"ge", n == 0 ? 0 : rows, columns}.for_each(columns, rows, visit);
            return;
        }
        const auto triangle = [this](bool upper, std::int64_t i, std::int64_t j) {
            return upper ? i + j * (j + 1) / 2 : i - j + j * (2 * n - j + 1) / 2;
        };
        for (std::int64_t i = 0; i < m; ++i)
            for (std::int64_t j = 0; j < n; ++j) {
                const std::int64_t line = form[1] == 'b' ? ku + i - j : i;
                if (!holds(i, j))
                    continue;
                if (form[1] == 'p') // by rows, the upper triangle is the lower one of the transpose
                    visit(triangle(!is(uplo, 'U'), j, i), triangle(is(uplo, 'U'), i, j));
                else
                    visit(line * row_ld + j, line + j * column_ld);
            }
    }
};

char letter_of(const CCall& call, const Expression& e)
{
    if (e.kind == Expression::Kind::condition)
        return letter_of(call, *e.operands[call.holds(*e.operands[0]) ? 1 : 2]);
    const bool fixed = e.text.size() == 1 && e.text[0] >= 'A' && e.text[0] <= 'Z';
    return fixed ? e.text[0] : call.letter(e.text);
}

Storage storage(const CCall& call, const Form& form)
{
    const auto size = [&](std::size_t i) { return call.value(*form.options[form.letters() + i]); };
    const bool two = form.name == "ge" || form.name == "gb" || form.name == "tz";
    Storage s{form.name, size(0), size(two ? 1 : 0)};
    std::vector<char*> letters{&s.uplo, &s.diag};
    if (form.name == "tz")
        letters.insert(letters.begin(), &s.direct);
    if (form.name[1] == 'f')
        letters.insert(letters.begin(), &s.transr);
    for (std::size_t i = 0; i < form.letters(); ++i)
        *letters.at(i) = letter_of(call, *form.options[i]);
    if (form.name == "gb") {
        s.kl = size(2);
        s.ku = size(3);
    } else if (form.name[1] == 'b') {
        (is(s.uplo, 'U') ? s.ku : s.kl) = size(1);
    }
    return s;
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

void Element::store(unsigned char* memory, std::int64_t k, double number) const
{
    unsigned char* place = memory + static_cast<std::size_t>(k) * size;
    const auto whole = static_cast<std::int64_t>(number);
    if (integer)
        std::memcpy(place, &whole, size);
    for (int part = 0; part < (integer ? 0 : complex ? 2 : 1); ++part, place += size / 2) {
        const double real = part == 0 ? number : -number;
        const auto rounded = static_cast<float>(real);
        single ? std::memcpy(place, &rounded, sizeof rounded) : std::memcpy(place, &real, sizeof real);
    }
}

bool Element::is_nan(const unsigned char* memory, std::int64_t k) const
{
    float narrow[2] = {};
    double wide[2] = {};
    std::memcpy(single ? static_cast<void*>(narrow) : wide, memory + static_cast<std::size_t>(k) * size,
                size);
    return std::isnan(narrow[0] + narrow[1]) || std::isnan(wide[0] + wide[1]);
}

double original(std::size_t argument, std::int64_t k)
{
    return static_cast<double>(argument * 8192 + static_cast<std::size_t>(k) + 1);
}

double written(std::size_t argument, std::int64_t k)
{
    return original(argument, k) + 4'194'304;
}

std::size_t index_of(const LapackePlan& plan, const LapackeArgument& a)
{
    return static_cast<std::size_t>(&a - plan.arguments.data());
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
    const auto some = [&] { return static_cast<std::int64_t>(3 + chance() % 4); };
    const std::int64_t m = some(), n = 3 + (m + chance() % 3 - 2) % 4, least = std::min(m, n); // never equal
    const std::pair<std::int64_t, const char*> usual[] = {
        {m, "m"},
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
        const auto* const found = std::find_if(std::begin(usual), std::end(usual),
                                               [&](const auto& u) { return lists(u.second, name); });
        const bool known = found != std::end(usual);
        std::int64_t value = 2; // of those by address: how many were found, and the like
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
            const LapackeArgument& matrix = plan().arguments[static_cast<std::size_t>(a.matrix)];
            const std::int64_t least = value(by_rows() ? *a.bound : *matrix.form.rows());
            set(a.argument->name, std::max<std::int64_t>(least, 1) + a.position); // no two alike
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
        return is_integer(*a->argument) ? 0 : 1;
    return SampleCall::named(name, group);
}

Element CCall::element(const std::string& type) const
{
    if (type == "int" || type == "logical")
        return {narrow() ? std::size_t{4} : std::size_t{8}, true, false, false};
    const std::string c = catalogue::c_type(type, entry().precision, entry().width);
    const bool single = c == "float" || c == "qnm_complex8";
    const bool is_complex = c == "qnm_complex8" || c == "qnm_complex16";
    return {(single ? std::size_t{4} : std::size_t{8}) * (is_complex ? 2 : 1), false, is_complex, single};
}

bool CCall::is_copied(const LapackeArgument& a) const
{
    return by_rows(LapackeShape::split) && a.role == Role::matrix && holds_if(a.facts.when);
}

std::int64_t CCall::copy_ld(const LapackeArgument& a) const
{
    return a.form.is_packed() ? 0 : std::max<std::int64_t>(value(*a.form.rows()), 1);
}

std::int64_t CCall::copy_elements(const LapackeArgument& a) const
{
    if (a.form.is_packed()) {
        const std::int64_t n = storage(*this, a.form).n;
        return std::max<std::int64_t>(n, 1) * std::max<std::int64_t>(n + 1, 2) / 2;
    }
    return copy_ld(a) * std::max<std::int64_t>(value(*a.form.columns()), 1);
}

bool CCall::lines_are_rows() const
{
    if (plan().c->shape == LapackeShape::options) // or as the routine's TRANS has it
        return by_rows() || !is(letter("trans"), 'N');
    return by_rows();
}

/// The caller's leading dimension, which stands behind its matrix if there is one.
std::int64_t CCall::ld(const LapackeArgument& a) const
{
    const std::size_t next = index_of(plan(), a) + 1;
    if (next < plan().arguments.size())
        if (const Argument& b = *plan().arguments[next].argument; b.name.starts_with("ld") && is_scalar(b))
            return integer(b);
    if (a.form.is_packed() || a.form.is_vector())
        return 0;
    return std::max<std::int64_t>(value(lines_are_rows() ? *a.form.columns() : *a.form.rows()), 1);
}

std::pair<std::int64_t, std::int64_t> CCall::published(const LapackeArgument& a) const
{
    const auto& extents = a.argument->extents;
    if (!a.argument->array || extents.empty())
        return {1, a.argument->array ? least_room : 1};
    const std::int64_t first = std::max<std::int64_t>(value(*extents[0]), 0);
    if (extents.size() == 1)
        return {1, first};
    const std::int64_t second = std::max<std::int64_t>(value(*extents[1]), 0);
    return lines_are_rows() ? std::pair{first, second} : std::pair{second, first};
}

void CCall::for_each(const LapackeArgument& a, const Form& form, const Visit& visit) const
{
    storage(*this, form).for_each(ld(a), copy_ld(a), visit);
}

void CCall::for_each_returned(const LapackeArgument& a, const Visit& visit) const
{
    const auto use =
        std::find_if(a.out.begin(), a.out.end(), [&](const FormUse& u) { return holds_if(u.when); });
    if (is_copied(a) && use != a.out.end())
        for_each(a, use->form, visit);
}

std::vector<std::int64_t> CCall::checked(const LapackeArgument& a, const FormUse& use) const
{
    std::vector<std::int64_t> offsets;
    const std::int64_t first = use.offset ? value(*use.offset) : 0;
    if (use.form.is_vector()) {
        const std::int64_t step = use.increment ? std::abs(value(*use.increment)) : 1;
        for (std::int64_t i = 0; i < value(*use.form.options[0]); ++i)
            offsets.push_back(first + i * step);
        return offsets;
    }
    const bool in_rows = lines_are_rows();
    storage(*this, use.form).for_each(ld(a), ld(a), [&](std::int64_t by_row, std::int64_t by_column) {
        offsets.push_back(first + (in_rows ? by_row : by_column));
    });
    return offsets;
}

std::vector<const LapackeArgument*> CCall::workspaces() const
{
    // What is known stands in front of what is asked for, each in the order of names.
    std::map<std::pair<bool, std::string>, const LapackeArgument*> sorted;
    for (const LapackeArgument& a : plan().arguments)
        if (a.role == Role::workspace && holds_if(a.facts.room_when))
            sorted[{!a.room, a.argument->name}] = &a;
    std::vector<const LapackeArgument*> all;
    for (const auto& [key, a] : sorted)
        all.push_back(a);
    return all;
}

std::int64_t CCall::room(const LapackeArgument& a, std::int64_t answer) const
{
    if (a.room)
        return std::max<std::int64_t>(value(*a.room), 1);
    const bool table = a.argument->extents.empty() && a.facts.asked;
    return std::max<std::int64_t>(answer, 1) * (table ? std::max<std::int64_t>(answer + 1, 1) : 1);
}

void CCall::fill()
{
    memory_.clear();
    for (const LapackeArgument& a : plan().arguments) {
        const Argument& argument = *a.argument;
        if (argument.type == "char" && a.address)
            memory_[argument.name].assign(8, static_cast<unsigned char>(letter(argument)));
        if (argument.type == "char" || argument.type == "procedure" || (is_integer(argument) && !a.address))
            continue;
        const Element e = element(a);
        const auto [lines, length] = published(a);
        const std::int64_t step = std::max<std::int64_t>(ld(a), length), count = lines * step + least_room;
        std::vector<unsigned char>& memory = memory_[argument.name];
        memory.resize(static_cast<std::size_t>(count) * e.size);
        for (std::int64_t k = 0; k < count; ++k)
            e.store(memory.data(), k,
                    argument.type == "logical"              ? 1
                    : is_scalar(argument)                   ? static_cast<double>(integer(argument))
                    : e.integer                             ? static_cast<double>(k + 1)
                    : k < lines * step && k % step < length ? original(index_of(plan(), a), k)
                                                            : std::numeric_limits<double>::quiet_NaN());
    }
    if (member_->high)
        for (const catalogue::Addition& add : plan().c->additions)
            memory_[add.name].assign(least_room * element(add.type).size, 0x3C);
}

std::vector<const LapackeArgument*> CCall::reals() const
{
    std::vector<const LapackeArgument*> found;
    for (const LapackeArgument& a : plan().arguments)
        if (memory_.contains(a.argument->name) && a.argument->type != "char" && !is_integer(*a.argument))
            found.push_back(&a);
    return found;
}

void CCall::put_nans(const LapackeArgument& a, std::int64_t first, std::int64_t count, bool second_part)
{
    const Element e = element(a);
    const Element part{e.size / (e.complex ? 2 : 1), false, false, e.single};
    for (std::int64_t k = first; k < first + count; ++k)
        part.store(memory_.at(a.argument->name).data() + static_cast<std::size_t>(k) * e.size,
                   e.complex && second_part == (k % 2 == first % 2) ? 1 : 0,
                   std::numeric_limits<double>::quiet_NaN());
}

CCall& CCall::untouchable()
{
    untouchable_ = true;
    return *this;
}

const void* CCall::place(const LapackeArgument& a) const
{
    return untouchable_ || a.argument->type == "procedure" ? untouchable_address(index_of(plan(), a))
                                                           : memory_.at(a.argument->name).data();
}

double CCall::run() const
{
    std::vector<support::Word> words;
    std::vector<support::Real> reals;
    const auto real = [&]<class R>(const unsigned char* bytes, R number) {
        std::memcpy(&number, bytes, sizeof number);
        reals.emplace_back(number);
    };
    if (plan().has_layout())
        words.emplace_back(layout_);
    for (const LapackeArgument& a : plan().arguments) {
        if (member_->high && a.hidden)
            continue;
        const Argument& argument = *a.argument;
        if (a.address)
            words.emplace_back(place(a));
        else if (argument.type == "char")
            words.emplace_back(static_cast<int>(letter(argument)));
        else if (is_integer(argument) && narrow())
            words.emplace_back(static_cast<int>(integer(argument)));
        else if (is_integer(argument))
            words.emplace_back(integer(argument));
        else if (const Element e = element(a); e.size == sizeof(float))
            real(memory(argument.name).data(), 0.0F);
        else // a complex of 16 bytes takes two registers, one of 8 bytes one
            for (std::size_t at = 0; at < e.size; at += sizeof(double))
                real(memory(argument.name).data() + at, 0.0);
    }
    if (member_->high)
        for (const catalogue::Addition& add : plan().c->additions)
            words.emplace_back(untouchable_ ? untouchable_address(words.size()) : memory(add.name).data());
    const support::Returned back = support::call_words(layer()[member_->name()], words, reals);
    if (!member_->has_value() || element(plan().row->result.type).integer)
        return static_cast<double>(narrow() ? back.int32() : back.int64());
    return element(plan().row->result.type).single ? static_cast<double>(back.float32()) : back.float64();
}

} // namespace qnm::tests
