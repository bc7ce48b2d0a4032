#include "c_call.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <sstream>
#include <stdexcept>

namespace qnm::tests {

using catalogue::Direction;
using catalogue::Expression;
using EKind = Expression::Kind;

namespace {

constexpr std::int64_t leaf_size = 5;
constexpr std::int64_t spare = 3; // how much longer a leading dimension is than need be
constexpr std::int64_t least_room = 600;

const catalogue::Catalogue& tables()
{
    static const auto read = [] {
        std::vector<std::string> paths;
        std::istringstream list(QNM_TABLES);
        for (std::string path; std::getline(list, path, ':');)
            paths.push_back(path);
        return catalogue::read_tables(paths);
    }();
    return read;
}

bool is_integer(const Argument& a)
{
    return a.type == "int" || a.type == "logical";
}

bool is_letter(const std::string& word)
{
    return word.size() == 1 && word[0] >= 'A' && word[0] <= 'Z';
}

/// All expressions that a plan and its rows hold.
void for_each_expression(const LapackePlan& plan, const std::function<void(const Expression&)>& visit)
{
    std::vector<ExpressionPtr> all{plan.c->stops, plan.c->refused, plan.c->asks};
    const auto take = [&](const std::vector<FormUse>& uses) {
        for (const FormUse& use : uses) {
            all.insert(all.end(), {use.when, use.offset, use.increment});
            all.insert(all.end(), use.form.options.begin(), use.form.options.end());
        }
    };
    for (const LapackeArgument& a : plan.arguments) {
        all.insert(all.end(), {a.bound, a.room, a.facts.when, a.facts.room_when, a.facts.given});
        all.insert(all.end(), a.argument->extents.begin(), a.argument->extents.end());
        all.insert(all.end(), a.form.options.begin(), a.form.options.end());
        take(a.in);
        take(a.out);
        take(a.checks);
    }
    for (const auto* definitions : {&plan.row->definitions, &plan.c->definitions})
        for (const catalogue::Definition& d : *definitions)
            all.push_back(d.value);
    for (const ExpressionPtr& e : all)
        if (e)
            walk(*e, visit);
}

/// Letters that make a difference to this plan, and one that makes none.
std::string letters_of(const LapackePlan& plan, const Argument& option)
{
    static const std::map<std::string, std::string> usual{
        {"uplo", "UL"},    {"diag", "NU"},  {"side", "LR"},   {"trans", "NTC"},
        {"transr", "NTC"}, {"norm", "1IM"}, {"direct", "FB"}, {"storev", "CR"}};
    if (!option.letters.empty())
        return option.letters;
    std::string letters;
    if (const auto found = usual.find(option.name); found != usual.end())
        letters = found->second;
    for_each_expression(plan, [&](const Expression& e) {
        if (e.kind == EKind::letter && e.text == option.name)
            letters += e.letters;
    });
    return usual.count(option.name) != 0 ? letters : letters + "N";
}

} // namespace

std::string Member::routine() const
{
    return "qnm_lapack_" + catalogue::to_lower(catalogue::Entry{plan->row, *precision, Width::narrow}.name());
}

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

const std::vector<Member>& members()
{
    static const std::vector<Member> all = [] {
        std::vector<Member> found;
        for (const LapackePlan& plan : tables().lapacke_plans())
            for (const Precision& precision : plan.precisions)
                for (const Width width : {Width::narrow, Width::wide})
                    for (const bool high : {true, false})
                        if (plan.c->shape != LapackeShape::one_level)
                            found.push_back({&plan, &precision, width, high});
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

CCall::CCall(const Member& m, int layout, std::mt19937& chance, Sizes sizes) : member_(&m), layout_(layout)
{
    choose_letters(chance);
    choose_sizes(chance, sizes);
    lay_out();
}

void CCall::choose_letters(std::mt19937& chance)
{
    for (const LapackeArgument& a : plan().arguments)
        if (a.argument->type == "char") {
            const std::string letters = letters_of(plan(), *a.argument);
            const char letter = letters[chance() % letters.size()];
            letters_[a.argument->name] = static_cast<char>(
                chance() % 2 == 0 ? letter : std::tolower(static_cast<unsigned char>(letter)));
        }
}

void CCall::choose_sizes(std::mt19937& chance, Sizes sizes)
{
    const auto n = static_cast<std::int64_t>(3 + chance() % 4),
               m = static_cast<std::int64_t>(3 + chance() % 4);
    const std::int64_t least = std::min(m, n);
    const std::map<std::string, std::int64_t> usual{
        {"m", m},          {"n", n},       {"k", least - 1}, {"l", 2},
        {"p", least - 1},  {"q", 2},       {"nrhs", 2},      {"kl", 1},
        {"ku", 2},         {"kd", 2},      {"ka", 2},        {"kb", 1},
        {"nb", 2},         {"mb", 5},      {"ilo", 1},       {"ihi", n},
        {"incx", 1},       {"k1", 1},      {"k2", least},    {"ncvt", 2},
        {"nru", 3},        {"ncc", 2},     {"itype", 1},     {"il", 1},
        {"iu", 2},         {"nparams", 2}, {"tsize", 60},    {"mm", n},
        {"i", 1},          {"j", 1},       {"rows", least},  {"cols", least - 1},
        {"n_err_bnds", 2}, {"i1", 1},      {"i2", 2},        {"mode", 1},
        {"wantq", 1},      {"wantz", 1},   {"nfxd", 0},      {"ldwork", 60},
        {"nzc", n}};
    for (const LapackeArgument& a : plan().arguments) {
        if (!is_integer(*a.argument) || a.argument->array)
            continue;
        const std::string& name = a.argument->name;
        const auto found = usual.find(name);
        std::int64_t value = found != usual.end() ? found->second : 2;
        if (a.address) // how many were found, and the like
            value = 2;
        if (sizes == Sizes::zero && !a.address && name != "incx" && name != "itype" && name != "k1")
            value = 0;
        if (a.role == Role::size || (a.argument->query && found == usual.end()))
            value = least_room / 2;
        else if (name.rfind("ld", 0) == 0)
            value = 12;
        integers_[name] = value;
    }
    if (integers_.count("wantq") != 0)
        integers_["wantq"] = static_cast<std::int64_t>(chance() % 2);
    keep_bounds();
}

/// Where the routine's own entry tests its arguments, these pass.
void CCall::keep_bounds()
{
    if (plan().row->entry_class != catalogue::Class::checked)
        return;
    for (const Argument* a : plan().row->tests()) {
        if (a->letters.empty() && a->minimum && integers_.count(a->name) != 0 &&
            a->name.rfind("ld", 0) != 0) {
            std::int64_t good = std::max(integer(a->name), value(*a->minimum));
            if (a->maximum)
                good = std::min(good, value(*a->maximum));
            set(a->name, good);
        } else if (!a->letters.empty() && a->barred && value(*a->barred) != 0) {
            choose(a->name, a->letters.back());
        }
    }
}

CCall& CCall::set(const std::string& name, std::int64_t number)
{
    integers_.at(name) = number;
    return *this;
}

CCall& CCall::choose(const std::string& name, char letter)
{
    letters_.at(name) = letter;
    return *this;
}

CCall& CCall::lay_out()
{
    for (const LapackeArgument& a : plan().arguments)
        if (a.role == Role::leading) {
            const LapackeArgument& matrix = plan().arguments[static_cast<std::size_t>(a.matrix)];
            const std::int64_t least = by_rows() ? value(*a.bound) : value(*matrix.form.rows());
            integers_[a.argument->name] = std::max<std::int64_t>(least, 1) + spare;
        }
    fill();
    return *this;
}

std::int64_t CCall::integer(const std::string& name) const
{
    return integers_.at(name);
}

catalogue::Values CCall::values() const
{
    catalogue::Values values;
    values.letter = [this](const std::string& name) { return letters_.at(name); };
    values.integer = [this](const std::string& name) -> std::int64_t {
        if (name == "row_major")
            return by_rows() ? 1 : 0;
        if (name == plan().row->leaf)
            return leaf_size;
        const LapackeArgument* a = plan().find(name);
        if (a != nullptr && a->role == Role::given && member_->high)
            return value(*a->facts.given);
        if (const auto found = integers_.find(name); found != integers_.end())
            return found->second;
        for (const auto* definitions : {&plan().c->definitions, &plan().row->definitions})
            for (const catalogue::Definition& d : *definitions)
                if (d.name == name)
                    return value(*d.value);
        if (a == nullptr)
            throw std::out_of_range(member_->name() + " has no " + name);
        // Of a real: that it is not zero. Of exchanges: none reaches below the rows that are told.
        return is_integer(*a->argument) ? 0 : 1;
    };
    return values;
}

std::int64_t CCall::value(const Expression& e) const
{
    return evaluate(e, values());
}

namespace {

char letter_of(const CCall& call, const Expression& e)
{
    if (e.kind == EKind::condition)
        return letter_of(call, *e.operands[call.value(*e.operands[0]) != 0 ? 1 : 2]);
    return is_letter(e.text) ? e.text[0] : call.letter(e.text);
}

} // namespace

Storage CCall::storage(const Form& form) const
{
    Storage s;
    s.form = form.name;
    for (std::size_t i = 0; i < form.letters(); ++i)
        s.letters += letter_of(*this, *form.options[i]);
    const auto size = [&](std::size_t i) { return value(*form.options[form.letters() + i]); };
    const bool two = form.name == "ge" || form.name == "gb" || form.name == "tz";
    s.m = size(0);
    s.n = two ? size(1) : s.m;
    if (form.name == "gb") {
        s.kl = size(2);
        s.ku = size(3);
    } else if (form.name[1] == 'b') {
        const bool upper = std::toupper(static_cast<unsigned char>(s.letters[0])) == 'U';
        (upper ? s.ku : s.kl) = size(1);
    }
    return s;
}

Element CCall::element(const std::string& type) const
{
    if (type == "int" || type == "logical")
        return {narrow() ? std::size_t{4} : std::size_t{8}, true, false, false};
    const std::string c = catalogue::c_type(type, *member_->precision, member_->width);
    const bool single = c == "float" || c == "qnm_complex8";
    const bool is_complex = c == "qnm_complex8" || c == "qnm_complex16";
    return {(single ? std::size_t{4} : std::size_t{8}) * (is_complex ? 2 : 1), false, is_complex, single};
}

bool CCall::is_copied(const LapackeArgument& a) const
{
    return by_rows() && plan().c->shape == LapackeShape::split && a.role == Role::matrix &&
           holds(a.facts.when);
}

std::int64_t CCall::copy_ld(const LapackeArgument& a) const
{
    return a.form.is_packed() ? 0 : std::max<std::int64_t>(value(*a.form.rows()), 1);
}

std::int64_t CCall::copy_elements(const LapackeArgument& a) const
{
    if (a.form.is_packed()) {
        const std::int64_t n = storage(a.form).n;
        return std::max<std::int64_t>(n, 1) * std::max<std::int64_t>(n + 1, 2) / 2;
    }
    return copy_ld(a) * std::max<std::int64_t>(value(*a.form.columns()), 1);
}

std::int64_t CCall::ld(const LapackeArgument& a) const
{
    for (const LapackeArgument& other : plan().arguments)
        if (other.role == Role::leading && &plan().arguments[static_cast<std::size_t>(other.matrix)] == &a)
            return integer(other.argument->name);
    return a.form.is_packed() ? 0 : std::max<std::int64_t>(value(*a.form.columns()), 0);
}

void CCall::for_each(const LapackeArgument& a, const Form& form,
                     const std::function<void(std::int64_t, std::int64_t)>& visit) const
{
    for_each_element(storage(form), ld(a), copy_ld(a), visit);
}

void CCall::for_each_returned(const LapackeArgument& a,
                              const std::function<void(std::int64_t, std::int64_t)>& visit) const
{
    if (!is_copied(a))
        return;
    for (const FormUse& use : a.out)
        if (holds(use.when)) {
            for_each(a, use.form, visit);
            return;
        }
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
    const LapackeArgument* next =
        &a + 1 < plan().arguments.data() + plan().arguments.size() ? &a + 1 : nullptr;
    const bool has_ld = next != nullptr && next->argument->name.rfind("ld", 0) == 0;
    const std::int64_t lead =
        has_ld ? integer(next->argument->name)
               : (use.form.is_packed() ? 0 : std::max<std::int64_t>(value(*use.form.columns()), 1));
    int layout = layout_;
    if (plan().c->shape == LapackeShape::options) // as the routine's TRANS has it
        layout = layout_ == column_major && (letters_.at("trans") == 'N' || letters_.at("trans") == 'n')
                     ? column_major
                     : row_major;
    Storage s = storage(use.form);
    for_each_element(s, lead, lead, [&](std::int64_t by_row, std::int64_t by_column) {
        offsets.push_back(first + (layout == row_major ? by_row : by_column));
    });
    return offsets;
}

std::vector<const LapackeArgument*> CCall::workspaces() const
{
    // What is known stands in front of what is asked for, each in the order of names.
    std::vector<const LapackeArgument*> all;
    for (const bool asked : {false, true}) {
        std::map<std::string, const LapackeArgument*> sorted;
        for (const LapackeArgument& a : plan().arguments)
            if (a.role == Role::workspace && asked == !a.room && holds(a.facts.room_when))
                sorted[a.argument->name] = &a;
        for (const auto& [name, a] : sorted)
            all.push_back(a);
    }
    return all;
}

std::int64_t CCall::room(const LapackeArgument& a, std::int64_t answer) const
{
    if (a.room)
        return std::max<std::int64_t>(value(*a.room), 1);
    const bool table = a.argument->extents.empty() && a.facts.asked;
    return std::max<std::int64_t>(answer, 1) * (table ? std::max<std::int64_t>(answer + 1, 1) : 1);
}

double original(std::size_t argument, std::int64_t k)
{
    return static_cast<double>(argument * 8192 + static_cast<std::size_t>(k) + 1);
}

double written(std::size_t argument, std::int64_t k)
{
    return original(argument, k) + 4'194'304;
}

void store(unsigned char* place, const Element& e, double number)
{
    const auto part = [&](unsigned char* to, double value) {
        const auto rounded = static_cast<float>(value);
        e.single ? std::memcpy(to, &rounded, sizeof rounded) : std::memcpy(to, &value, sizeof value);
    };
    if (e.integer) {
        const auto value = static_cast<std::int64_t>(number);
        std::memcpy(place, &value, e.size);
        return;
    }
    part(place, number);
    if (e.complex)
        part(place + e.size / 2, -number);
}

void CCall::fill()
{
    memory_.clear();
    for (std::size_t i = 0; i < plan().arguments.size(); ++i) {
        const LapackeArgument& a = plan().arguments[i];
        const Argument& argument = *a.argument;
        if (argument.type == "char" && a.address)
            memory_[argument.name].assign(8, static_cast<unsigned char>(letters_.at(argument.name)));
        if (argument.type == "char" || argument.type == "procedure" || (is_integer(argument) && !a.address))
            continue;
        const Element e = element(a);
        std::int64_t count = least_room;
        if (!a.form.is_vector() && !a.form.is_packed())
            count += ld(a) * (value(*a.form.rows()) + value(*a.form.columns()));
        std::vector<unsigned char>& memory = memory_[argument.name];
        memory.resize(static_cast<std::size_t>(count) * e.size);
        for (std::int64_t k = 0; k < count; ++k) {
            double number = e.integer ? static_cast<double>(k + 1) : original(i, k);
            if (argument.type == "logical")
                number = 1;
            else if (e.integer && !argument.array)
                number = static_cast<double>(integers_.at(argument.name));
            store(memory.data() + static_cast<std::size_t>(k) * e.size, e, number);
        }
    }
    if (member_->high)
        for (const catalogue::Addition& add : plan().c->additions)
            memory_[add.name].assign(least_room * element(add.type).size, 0x3C);
}

void CCall::put_nan(const LapackeArgument& a, std::int64_t k, bool second_part)
{
    const Element e = element(a);
    Element part = e;
    part.complex = false;
    store(memory_.at(a.argument->name).data() + static_cast<std::size_t>(k) * e.size +
              (e.complex && second_part ? e.size / 2 : 0),
          part, std::numeric_limits<double>::quiet_NaN());
}

CCall& CCall::untouchable()
{
    untouchable_ = true;
    return *this;
}

const void* CCall::place(const LapackeArgument& a) const
{
    const auto index = static_cast<std::uint64_t>(a.position);
    if (untouchable_ || a.argument->type == "procedure")
        return reinterpret_cast<const void*>(0xADD0'0000'0000'0000U + 0x1000 * index);
    return memory_.at(a.argument->name).data();
}

double CCall::run() const
{
    std::vector<support::Word> words;
    std::vector<support::Real> reals;
    const auto real = [&](const unsigned char* bytes, std::size_t size) {
        float single = 0;
        double number = 0;
        if (size == sizeof single) {
            std::memcpy(&single, bytes, sizeof single);
            reals.emplace_back(single);
        } else {
            std::memcpy(&number, bytes, sizeof number);
            reals.emplace_back(number);
        }
    };
    if (plan().has_layout())
        words.emplace_back(layout_);
    for (const LapackeArgument& a : plan().arguments) {
        if (member_->high && a.hidden)
            continue;
        const std::string& name = a.argument->name;
        if (a.address)
            words.emplace_back(place(a));
        else if (a.argument->type == "char")
            words.emplace_back(static_cast<int>(letters_.at(name)));
        else if (is_integer(*a.argument) && narrow())
            words.emplace_back(static_cast<int>(integers_.at(name)));
        else if (is_integer(*a.argument))
            words.emplace_back(integers_.at(name));
        else { // a complex of 16 bytes takes two registers, one of 8 bytes one
            const Element e = element(a);
            for (std::size_t at = 0; at < e.size; at += 8)
                real(memory_.at(name).data() + at, std::min<std::size_t>(e.size, 8));
        }
    }
    if (member_->high)
        for (const catalogue::Addition& add : plan().c->additions)
            words.emplace_back(untouchable_ ? reinterpret_cast<const void*>(0xADD0'0000'0000'0000U)
                                            : memory_.at(add.name).data());
    const support::Returned back = support::call_words(layer()[member_->name()], words, reals);
    if (!member_->has_value() || element(plan().row->result.type).integer)
        return static_cast<double>(narrow() ? back.int32() : back.int64());
    return element(plan().row->result.type).single ? static_cast<double>(back.float32()) : back.float64();
}

} // namespace qnm::tests
