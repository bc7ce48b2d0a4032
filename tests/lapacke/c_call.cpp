#include "c_call.hpp"

#include "support/guarded.hpp"
#include "support/tables.hpp"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace qnm::tests {

using catalogue::Addition;

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

/// LWORK is the size of WORK, LDSWORK that of SWORK.
const LapackeArgument* workspace_of(const LapackePlan& plan, const std::string& size)
{
    const LapackeArgument* workspace = plan.find(size.substr(1));
    return workspace != nullptr ? workspace : plan.find(size.substr(2));
}

char upper(char letter)
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
}

char other(char letter, std::string_view pairs)
{
    const auto at = pairs.find(letter);
    return at == std::string_view::npos ? letter : pairs[at + 1];
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
    return fill_arrays();
}

CCall& CCall::fill_arrays()
{
    memory_.clear();
    for (const LapackeArgument& a : plan().arguments) {
        const Argument& argument = *a.argument;
        const Element e = element(a);
        if (argument.type == "procedure" || (e.integer && !a.address))
            continue;
        const auto [lines, length] = published(a);
        const long step = std::max(ld(a), length), count = lines * step + least_room;
        extents_[argument.name] = std::max(lines * length == 0 ? 0 : (lines - 1) * step + length,
                                           a.role == Role::workspace ? 2L : 0L); // of a query's answers
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
    for (const catalogue::Addition& add : plan().c->additions)
        extents_[add.name] = add.count ? std::max<long>(value(*add.count), 0) : 1;
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
    if (const auto guarded = guarded_.find(a.argument->name); guarded != guarded_.end())
        return guarded->second;
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
    std::map<std::string, Guarded> guards;
    if (beside != Beside::nothing)
        for (const auto& [name, array] : memory_) {
            const auto bytes = static_cast<std::size_t>(extents_.at(name) * array.size());
            const auto& made = guards.emplace(name, Guarded(array.data(), bytes, beside == Beside::behind));
            guarded_[name] = made.first->second.data();
        }
    FunctionCall call(member_->name, layout_);
    for (const Parameter& p : call.parameters()) {
        const auto found = memory_.find(p.name);
        if (p.travel == Travel::code)
            call.set(p.name, layout_);
        else if (p.travel != Travel::value)
            call.point(p.name, plan().find(p.name) != nullptr ? place(*plan().find(p.name))
                               : guarded_.contains(p.name)    ? guarded_.at(p.name)
                                                              : found->second.data());
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
    for (const auto& [name, memory] : guarded_)
        std::memcpy(memory_.at(name).data(), memory,
                    static_cast<std::size_t>(extents_.at(name) * memory_.at(name).size()));
    guarded_.clear();
    const Element e = Element::of(member_->has_value() ? plan().row->result.type : "int", signature());
    if (e.integer)
        return static_cast<double>(narrow() ? back.int32() : back.int64());
    return e.bytes == sizeof(float) ? static_cast<double>(back.float32()) : back.float64();
}

CCall::Refusal CCall::refusal(bool nan_checks) const
{
    const auto& arguments = plan().arguments;
    const catalogue::LapackeRow& c = *plan().c;
    const bool refused = c.refused && holds(*c.refused);
    const auto position = [&] { return plan().find(c.refused_as)->position; };
    if (plan().has_layout() && layout_ != row_major && layout_ != column_major)
        return {1, member_->name};
    if (member_->high && nan_checks && refused && c.refused_with_nan)
        return {position(), member_->name};
    for (const int i : plan().checked)
        if (const LapackeArgument& a = arguments[static_cast<std::size_t>(i)]; member_->high && nan_checks)
            for (const StorageUse& use : a.checks)
                if (holds_if(use.when) && std::ranges::any_of(checked(a, use), [&](long k) {
                        const Array& array = memory_.at(a.argument->name);
                        return std::isnan(array.part(k, 0)) ||
                               std::isnan(array.part(k, array.element.parts - 1));
                    }))
                    return {a.position};
    if (!by_rows(LapackeShape::split) && !by_rows(LapackeShape::turned))
        return {};
    for (const LapackeArgument& a : arguments)
        if (a.role == Role::leading && integer(a.argument->name) < value(*a.bound))
            return {a.position, member_->work_name};
    return refused && by_rows(LapackeShape::split) ? Refusal{position(), member_->work_name} : Refusal{};
}

FunctionCall CCall::of_routine(bool query) const
{
    FunctionCall call = *this;
    for (const LapackeArgument& a : plan().arguments)
        if (is_single(*a.argument) && !a.address)
            call.set(a.argument->name,
                     member_->high && a.role == Role::size && query ? -1 : expected_integer(a));
        else if (a.argument->type == "char")
            call.set(a.argument->name, expected_letter(a.argument->name));
    return call;
}

std::vector<CCall::Block> CCall::blocks() const
{
    std::map<std::pair<bool, std::string>, Block> workspaces;
    std::vector<Block> all;
    for (const LapackeArgument& a : plan().arguments) {
        const long size = static_cast<long>(element(a).size());
        // The work level of a turned routine sums rows, which takes room that nobody has provided.
        const bool sums = a.role == Role::workspace && by_rows(LapackeShape::turned) &&
                          std::string("1Oo").find(letter("norm")) != std::string::npos;
        if (a.role == Role::workspace && member_->high && holds_if(a.facts.room_when))
            workspaces[{!a.room, a.argument->name}] = {room(a) * size, true, true};
        if (is_copied(a))
            all.push_back({copy_elements(a) * size, false, false});
        if (sums)
            all.push_back({std::max<long>(value(*a.facts.turned), 1) * size, true, false});
    }
    for (auto taken = workspaces.rbegin(); taken != workspaces.rend(); ++taken)
        all.insert(all.begin(), taken->second);
    return all;
}

double CCall::given_back() const
{
    if (member_->has_value())
        return result;
    const bool shifted = plan().has_layout() && info < 0;
    return static_cast<double>(!plan().has_info ? 0 : shifted ? info - 1 : info);
}

void CCall::expect_refused(const Refusal& refusal)
{
    EXPECT_EQ(run(), -refusal.position);
    std::vector<std::string> expected;
    if (!refusal.printed_as.empty())
        expected = {"Wrong parameter " + std::to_string(refusal.position) + " in " + refusal.printed_as +
                    "\n"};
    EXPECT_EQ(printed(), expected);
    EXPECT_EQ(runs + queries, 0);
    expect_results();
}

void CCall::expect_failing(std::size_t n)
{
    const Block block = blocks().at(n - 1);
    core().fail_allocation(n);
    EXPECT_EQ(run(), member_->has_value() ? 0 : block.is_workspace ? -1010 : -1011);
    core().fail_allocation(0);
    EXPECT_EQ(printed(),
              std::vector{std::string("Not enough memory to ") +
                          (block.is_workspace ? "allocate work array" : "transpose matrix") + " in " +
                          (block.of_high_level ? member_->name : member_->work_name) + "\n"});
    EXPECT_EQ(runs, 0);
    expect_results();
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
    for (const std::string& name : words(options_of(form.name))) {
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

void CCall::act(Call& noted, recording::Answer& reply)
{
    EXPECT_TRUE(noted.aligned());
    asked_ = std::ranges::any_of(plan().arguments, [&](const LapackeArgument& a) {
        return a.role == Role::size && noted.behind(index(a)) == -1;
    });
    ++(asked_ ? queries : runs);
    for (const LapackeArgument& a : plan().arguments) {
        SCOPED_TRACE(a.argument->name);
        look_at(noted, a);
        const auto* const got = noted.pointer<const unsigned char>(index(a));
        if (!asked_ && a.address && !element(a).integer && got != nullptr && got != place(a) &&
            std::any_of(got, got + 32, [](unsigned char byte) { return byte != recording::Core::poison; }))
            filled += a.argument->name + " ";
        write(noted, a);
    }
    if (plan().has_info)
        *noted.pointer<long>(plan().arguments.size()) = asked_ ? 0 : info;
    if (member_->has_value() && signature().letter.real == 's')
        reply.returns(result);
    else if (member_->has_value())
        reply.returns(double{result});
}

/// In upper case. A routine that does the same to the transpose gets the other norm and the other triangle.
char CCall::expected_letter(const std::string& name) const
{
    const char given = upper(letter(name));
    if (by_rows(LapackeShape::turned))
        return name == "norm" ? other(given, "OI1I") : name == "uplo" ? other(given, "ULU") : given;
    if (plan().c->shape == LapackeShape::options && name == "trans")
        return given != 'T' && !by_rows() ? 'N' : 'T';
    return given;
}

long CCall::expected_integer(const LapackeArgument& a) const
{
    const bool high = member_->high;
    if (high && a.role == Role::given)
        return value(*a.facts.given);
    if (high && a.role == Role::size)
        return asked_ ? -1 : answer(index(*workspace_of(plan(), a.argument->name)));
    if (a.role == Role::leading && by_rows(LapackeShape::split))
        return ld(plan().arguments[static_cast<std::size_t>(a.matrix)], true);
    if (by_rows(LapackeShape::turned))
        for (const auto& [one, two] : plan().c->exchanged)
            if (a.argument->name == one || a.argument->name == two)
                return integer(a.argument->name == one ? two : one);
    return integer(a.argument->name);
}

void CCall::look_at(const Call& noted, const LapackeArgument& a) const
{
    const Argument& argument = *a.argument;
    const std::size_t word = index(a);
    const Element e = element(a);
    const auto* const got = noted.pointer<unsigned char>(word);
    const bool high = member_->high, own = by_rows(LapackeShape::turned);
    if (argument.type == "char") {
        EXPECT_EQ(upper(noted.letter(word)), expected_letter(argument.name));
    } else if (is_single(argument) && !a.address) {
        const long expected = expected_integer(a);
        if (!argument.query || !asked_ || expected == -1) { // who asks for one length asks for all
            EXPECT_EQ(noted.behind(word), expected);
        }
    } else if (!a.address) {
        EXPECT_EQ(std::memcmp(got, place(a), e.size()), 0) << "by value";
    } else if (a.role == Role::workspace && (high || own)) {
        for (const Addition& add : plan().c->additions)
            if (add.workspace == argument.name && add.first_goes_in && !asked_ && high) {
                EXPECT_EQ(std::memcmp(got, before_.at(add.name).data(), e.size()), 0);
            }
    } else if (is_copied(a) && !asked_) {
        look_at_copy(got, a);
    } else if (!e.integer || !narrow()) {
        const bool is_left_out = a.role == Role::matrix && by_rows(LapackeShape::split) && !asked_;
        EXPECT_EQ(got, is_left_out ? nullptr : place(a));
    }
}

void CCall::look_at_copy(const unsigned char* got, const LapackeArgument& a) const
{
    const Array& given = memory_.at(a.argument->name);
    const auto [lines, length] = published(a);
    EXPECT_NE(got, given.data());
    EXPECT_TRUE(a.argument->extents.empty() || copy_elements(a) >= lines * length)
        << "there is less room in the copy";
    Array expected(given.element, copy_elements(a), 0);
    std::ranges::fill(expected.bytes, recording::Core::poison);
    for (const StorageUse& use : a.in)
        for (const auto& [from, to] : moves(a, use))
            expected.copy(to, given, from);
    EXPECT_EQ(expected.difference(got), -1) << "element of the copy";
}

/// The answers to a query; or numbers in all that the routine is lent.
void CCall::write(const Call& noted, const LapackeArgument& a) const
{
    const Argument& argument = *a.argument;
    const std::size_t word = index(a);
    Element e = element(a);
    if (e.integer)
        e.bytes = sizeof(std::int64_t); // the core's own
    const bool is_result = is_single(argument) &&
                           (argument.direction == Direction::out || argument.direction == Direction::inout);
    long count = 0;
    if (asked_) {
        count = a.role != Role::workspace || a.room ? 0 : a.facts.asked && argument.extents.empty() ? 2 : 1;
    } else if (is_result) {
        count = 1;
    } else if (is_copied(a)) {
        count = copy_elements(a);
    } else if (a.role == Role::workspace && member_->high && holds_if(a.facts.room_when) &&
               plan().c->shape != LapackeShape::turned) {
        count = e.integer ? 0 : room(a);
        for (const Addition& add : plan().c->additions)
            if (e.integer && add.workspace == argument.name) // the entry copies what the routine publishes
                count = add.offset + (add.count ? value(*add.count) : 1);
    }
    for (long k = 0; k < count; ++k)
        e.store(noted.pointer<void>(word), k,
                asked_      ? static_cast<double>(answer(word) + k)
                : is_result ? static_cast<double>(integer(argument.name))
                            : written(a, k));
}

void CCall::expect_results() const
{
    for (const LapackeArgument* a : reals()) {
        if (a->role == Role::workspace)
            continue;
        Array expected = before_.at(a->argument->name);
        const auto use = std::ranges::find_if(a->out, [&](const StorageUse& u) { return holds_if(u.when); });
        if (runs > 0 && use != a->out.end())
            for (const auto& [to, from] : moves(*a, *use))
                expected.set(to, written(*a, from));
        EXPECT_EQ(expected.difference(memory_.at(a->argument->name).data()), -1)
            << "first element of " << a->argument->name << " that differs";
    }
    for (const Addition& add : plan().c->additions) {
        if (!member_->high || runs == 0)
            break;
        const LapackeArgument& workspace = *plan().find(add.workspace);
        Array expected = before_.at(add.name), now = memory_.at(add.name);
        // Of an array of integers a narrow entry brings back what the routine publishes; the rest means
        // nothing.
        const ExpressionPtr& published = workspace.argument->returned;
        const bool all = !expected.element.integer || !narrow() || !published;
        for (long k = 0; k < (add.count ? value(*add.count) : 1); ++k) {
            const bool known = all || k < value(*published) - add.offset;
            expected.set(k, known ? written(workspace, add.offset + k) : 0);
            if (!known)
                now.set(k, 0);
        }
        EXPECT_EQ(now.difference(expected.data()), -1) << add.name;
    }
}

std::vector<std::string> printed()
{
    std::vector<std::string> lines;
    for (const Call& call : core().calls("qnm_serv_printf_s")) {
        char text[200];
        std::snprintf(text, sizeof text, call.pointer<const char>(0), call.word(1), call.word(2));
        lines.emplace_back(text);
    }
    return lines;
}

std::vector<long> allocated()
{
    std::vector<long> sizes;
    for (const Call& call : core().calls("qnm_serv_malloc")) {
        EXPECT_EQ(call.int32(1), 128);
        sizes.push_back(call.int64(0));
    }
    return sizes;
}

void transpose_in_core(bool does)
{
    for (const auto& [letter, size, first] :
         {std::tuple{'s', 4L, 4U}, {'d', 8L, 4U}, {'c', 8L, 5U}, {'z', 16L, 5U}})
        core()
            .answers(std::string("qnm_trans_qnm_") + letter + "omatcopy")
            .calling([does, size = size, first = first](Call& call, recording::Answer&) {
                const std::size_t line = static_cast<char>(call.word(0)) == 'c' ? 3 : 2, within = 5 - line;
                for (long i = 0; does && i < call.int64(line); ++i)
                    for (long j = 0; j < call.int64(within); ++j)
                        std::memcpy(call.pointer<char>(first + 2) + (j * call.int64(first + 3) + i) * size,
                                    call.pointer<char>(first) + (i * call.int64(first + 1) + j) * size,
                                    static_cast<std::size_t>(size));
            });
}

LapackeTest::LapackeTest()
{
    transpose_in_core(true);
    check_for_nan(true);
}

} // namespace qnm::tests
