#include "suite/routine.hpp"

#include "support/published.hpp"

#include <algorithm>
#include <cmath>

namespace qnm::tests {

namespace {

constexpr std::size_t guard_elements = 8;
constexpr std::int64_t upper_junk = std::int64_t{0x5A5A'5A5A} << 32;

bool is_filled(const Argument& a)
{
    return a.direction == Direction::in || a.direction == Direction::inout;
}

/// What the routine leaves in an element of an array, and in an integer; the latter counts elements, so it is
/// small. Its upper half is lost on the way back to a narrow caller.
std::int64_t written(std::size_t argument, std::int64_t element)
{
    const auto low = static_cast<std::int64_t>(1'000'000 * (argument + 1)) + element;
    return upper_junk | (element % 2 == 0 ? low : 0x8000'0000 + low);
}

std::int64_t written(std::size_t argument)
{
    return upper_junk + static_cast<std::int64_t>(2 + argument % 3);
}

} // namespace

const std::vector<const Signature*>& entries()
{
    static const auto all = signatures([](const Signature& s) {
        return !s.callees.empty() && s.exported &&
               lists("blas lapack lapack_extra trigonometric poisson", s.family);
    });
    return all;
}

const std::vector<const Signature*>& others()
{
    static const auto all = signatures([](const Signature& s) {
        return !s.callees.empty() && s.exported &&
               !lists("blas lapack lapack_extra trigonometric poisson lapacke helper helper_services "
                      "services published_letters road callbacks dfti_fortran fftw fftw_fortran sparse "
                      "spblas iss trs feast",
                      s.family);
    });
    return all;
}

std::vector<const Signature*> all()
{
    std::vector<const Signature*> both = entries();
    both.insert(both.end(), others().begin(), others().end());
    return both;
}

void each_call(const std::vector<const Signature*>& functions,
               const std::function<void(const FunctionCall&)>& visit, int groups)
{
    for (const Signature* s : functions)
        for (const int layout : {column_major, row_major}) {
            QNM_TRACE_SIGNATURE(*s);
            SCOPED_TRACE(layout);
            const FunctionCall call(*s, layout);
            if ((layout == row_major && !call.has_layout()) || (call.may_conjugate() && call.has_groups()))
                continue;
            visit(call.may_conjugate() ? call : FunctionCall(*s, layout, groups));
            if (::testing::Test::HasFatalFailure())
                return;
        }
}

std::set<std::string> needed_for(const Signature& s, std::size_t test)
{
    std::set<std::string> needed;
    const auto add = [&](const ExpressionPtr& e) {
        if (e)
            walk(*e, [&](const Expression& node) { needed.insert(node.text); });
    };
    const bool groups =
        std::ranges::any_of(s.parameters, [](const Parameter& p) { return p.name == "group_count"; });
    if (!groups) // whose definitions are computed as they are needed
        for (const catalogue::Definition& d : s.definitions)
            add(d.value);
    for (std::size_t k = 0; k <= test; ++k) {
        const Parameter& p = s.parameters[static_cast<std::size_t>(s.tests[k].parameter)];
        needed.insert(p.name);
        if (p.argument != nullptr)
            add(p.argument->minimum);
    }
    return needed;
}

bool is_turned(const FunctionCall& call, std::size_t i)
{
    static const std::set<std::string> all{"alpha", "x", "incx", "stridex", "beta", "y", "incy"};
    return call.may_conjugate() && all.contains(call.parameters()[i].name);
}

std::string called(const FunctionCall& call)
{
    const std::string& name = call.callee().name;
    static const auto exported = [] {
        std::map<std::string, std::string> cores;
        for (const Signature& s : signatures())
            for (const std::string& each : s.names)
                if (s.exported && !s.callees.empty())
                    cores.emplace(each, s.callees.front().name);
        return cores;
    }();
    const auto found = exported.find(name);
    return found == exported.end() ? name : found->second;
}

FortranCall::FortranCall(const Signature& s) : FunctionCall(s)
{
    for (const catalogue::Place& place : s.callees.front().places)
        if (place.fill == Fill::copied)
            copied_.push_back(static_cast<std::size_t>(place.parameter));
    lay_out();
}

FortranCall::FortranCall(const Signature& s, std::int64_t size, const std::string& given) : FortranCall(s)
{
    for (std::size_t i = 0; i < parameters().size(); ++i)
        if (facts(i) != nullptr && facts(i)->is_integer() && !facts(i)->array && !has_groups())
            set(parameters()[i].name, size);
    give(given).make_valid();
    lay_out();
}

FortranCall::FortranCall(const Signature& s, std::mt19937& chance) : FortranCall(s)
{
    const auto below = [&](int bound) { return static_cast<int>(chance() % static_cast<unsigned>(bound)); };
    const std::int64_t large = narrow() || frame(s) == "checked" ? 0 : 3'000'000'000'000;
    std::vector<ExpressionPtr> expressions;
    for (const catalogue::Definition& d : s.definitions)
        expressions.push_back(d.value);
    for (const Parameter& p : s.parameters)
        if (p.argument != nullptr) {
            expressions.insert(expressions.end(), p.argument->extents.begin(), p.argument->extents.end());
            expressions.push_back(p.argument->returned);
            if (p.argument->is_integer() && !p.argument->array && !has_groups())
                set(p.name, below(8) == 0 && !p.argument->query ? -2 - below(3) : large + below(30));
        }
    choose_letters(chance, [&](const Argument& a) { return letters_of(a, expressions) + "Q"; });
    make_valid();
    lay_out();
}

FortranCall& FortranCall::lay_out()
{
    arrays_.clear();
    for (const std::size_t i : copied_) {
        std::vector<int>& array = arrays_[i];
        array.resize(static_cast<std::size_t>(std::max<std::int64_t>(extent(i), 0)) + guard_elements);
        for (std::size_t k = 0; k < array.size(); ++k) // of either sign
            array[k] = (k % 2 == 0 ? -1 : 1) * static_cast<int>(7'000'000 + k);
        point(parameters()[i].name, array.data());
    }
    return *this;
}

std::int64_t FortranCall::named(const std::string& name, int group) const
{
    leaf_seen_ =
        leaf_seen_ || (!has(name) && std::ranges::none_of(signature().definitions,
                                                          [&](const auto& d) { return d.name == name; }));
    return FunctionCall::named(name, group);
}

bool FortranCall::needs_leaf() const
{
    leaf_seen_ = false;
    for (const std::size_t i : copied_)
        extent(i);
    return leaf_seen_;
}

bool FortranCall::is_seeded(std::size_t i) const
{
    return facts(i)->direction == Direction::inout ||
           (parameters()[i].name != "info" && frame(signature()) != "carried");
}

bool FortranCall::is_copied(std::size_t i) const
{
    return std::find(copied_.begin(), copied_.end(), i) != copied_.end();
}

/// The real length of an array that is as long as n times the natural logarithm of n; less than 0 for others.
double FortranCall::real_length(std::size_t i) const
{
    for (const ExpressionPtr& extent : facts(i)->extents)
        if (extent->kind == Expression::Kind::call && extent->text == "nlogn") {
            const auto n = static_cast<double>(value(*extent->operands[0]));
            return n < 1 ? 0 : n * std::log(n);
        }
    return -1;
}

std::int64_t FortranCall::extent(std::size_t i) const
{
    // As many as begin before the real length on the stack, as many as fit in a block.
    if (const double length = real_length(i); length >= 0)
        return static_cast<std::int64_t>(length > on_stack ? std::floor(length) : std::ceil(length));
    std::int64_t product = facts(i)->extents.empty() ? 0 : 1;
    for (const ExpressionPtr& extent : facts(i)->extents)
        product *= value(*extent);
    return product;
}

std::int64_t FortranCall::block(std::size_t i) const
{
    if (const double length = real_length(i); length > on_stack)
        return static_cast<std::int64_t>(length * 8);
    const std::int64_t elements = extent(i);
    if (frame(signature()) == "scratch") // of the sparse vectors, never on the stack
        return std::max<std::int64_t>(elements, 1) * 8;
    if (frame(signature()) == "carried") // always
        return 0;
    return elements > on_stack ? elements * 8 : 0;
}

std::size_t FortranCall::blocks() const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(copied_, [&](std::size_t i) { return block(i) != 0; }));
}

bool FortranCall::is_query() const
{
    for (std::size_t i = 0; i < parameters().size(); ++i)
        if (asks(i) && integer(i) == -1)
            return true;
    return false;
}

std::vector<std::string> FortranCall::beginning() const
{
    const std::string steps = frame(signature());
    std::vector<std::string> names(steps == "checked" || steps == "registered" ? 1 : 0,
                                   "qnm_serv_set_xerbla_interface");
    if (!is_query() && needs_leaf())
        names.insert(names.end(), {"qnm_serv_set_xerbla_interface", "qnm_lapack_ilaenv"});
    return names;
}

std::vector<std::string> FortranCall::story() const
{
    std::vector<std::string> names = beginning();
    const std::size_t taken = is_query() ? 0 : blocks();
    names.insert(names.end(), taken, "qnm_serv_allocate");
    names.push_back(callee().name);
    names.insert(names.end(), taken, "qnm_serv_deallocate");
    return names;
}

Routine::Routine(FortranCall& call) : call_(call), before_(call), query_(call.is_query())
{
    if (bare_name(call.signature()) != "ilaenv") // it answers the entries that ask it, and writes nothing
        core().answers(call.callee().name).calling([this](Call& noted, Answer&) { act(noted); });
}

Routine::~Routine()
{
    if (bare_name(call_.signature()) != "ilaenv")
        core().answers(before_.callee().name).calling([](Call&, Answer&) {});
}

void Routine::act(Call& noted)
{
    std::size_t at = 0;
    for (const catalogue::Place& place : call_.callee().places) {
        auto* const memory = noted.pointer<std::int64_t>(at++);
        if (place.parameter < 0)
            continue;
        const auto i = static_cast<std::size_t>(place.parameter);
        if (call_.comes_back(i) ||
            (place.fill == Fill::widened && call_.is_scalar(i) && call_.signature().family == "blas"))
            *memory = written(i);
        if (!call_.is_copied(i) || memory == nullptr)
            continue;
        const std::int64_t count = query_ ? 1 : call_.extent(i);
        if (!query_)
            seen_[i].assign(memory, memory + std::max<std::int64_t>(count, 0));
        for (std::int64_t k = 0; k < count; ++k)
            memory[k] = written(i, k);
    }
}

void Routine::expect_arguments(const Call& noted) const
{
    const auto blocks = core().calls("qnm_serv_allocate"), freed = core().calls("qnm_serv_deallocate");
    std::size_t taken = 0;
    call_.expect_passed(noted, call_.callee(), [&](std::size_t i, std::size_t word) {
        if (call_.facts(i) == nullptr)
            return false;
        const Argument& a = *call_.facts(i);
        if (call_.is_scalar(i) && call_.narrow() && (call_.comes_back(i) || a.query)) {
            if (a.query || call_.is_seeded(i)) {
                EXPECT_EQ(noted.behind(word), query_ && a.query && !a.alone ? -1 : before_.integer(i))
                    << a.name;
            }
            return true;
        }
        if (!call_.is_copied(i))
            return false;
        const std::int64_t bytes = query_ ? 0 : call_.block(i);
        if (query_ && a.null_at_query) {
            EXPECT_EQ(noted.word(word), 0U) << a.name;
        } else if (bytes == 0) {
            expect_local(noted, word, a.name);
        } else if (taken < blocks.size() && taken < freed.size()) {
            EXPECT_THAT(blocks[taken], recording::Allocated(static_cast<std::size_t>(bytes), 128)) << a.name;
            EXPECT_EQ(freed[taken++].word(0), noted.word(word)) << a.name;
        }
        expect_array(i);
        return true;
    });
}

/// What the routine has seen in an array that was copied for it.
void Routine::expect_array(std::size_t i) const
{
    const Argument& a = *call_.facts(i);
    const auto seen = seen_.find(i);
    if (seen == seen_.end() || (!is_filled(a) && !a.cleared && call_.block(i) == 0))
        return;
    constexpr std::int64_t poison = -0x5A5A'5A5A'5A5A'5A5B;
    for (std::size_t k = 0; k < seen->second.size(); ++k)
        ASSERT_EQ(seen->second[k], is_filled(a) ? before_.arrays().at(i)[k]
                                   : a.cleared  ? 0
                                                : poison)
            << a.name << '[' << k << ']';
}

std::int64_t Routine::coming_back(std::size_t i) const
{
    const Argument& a = *call_.facts(i);
    const bool counted = a.returned != nullptr;
    if (a.direction == Direction::in || (a.direction == Direction::work && !counted))
        return 0;
    if (query_) // the first element, of an array whose length is asked for
        return bare_name(call_.signature()).ends_with("gesvdq") ||
                       (counted && a.returned->kind == Expression::Kind::number)
                   ? 1
                   : 0;
    const std::int64_t all = std::max<std::int64_t>(call_.extent(i), 0);
    return counted ? std::clamp<std::int64_t>(call_.value(*a.returned), 0, all) : all;
}

void Routine::expect_results() const
{
    for (std::size_t i = 0; i < call_.parameters().size(); ++i) {
        const std::string& name = call_.parameters()[i].name;
        if (call_.is_scalar(i) && !call_.has_groups()) {
            const std::int64_t left = call_.narrow() ? static_cast<int>(written(i)) : written(i);
            const bool back =
                call_.comes_back(i) && (!call_.asks(i) || !call_.narrow() || before_.integer(i) == -1);
            EXPECT_EQ(call_.integer(i), back ? left : before_.integer(i)) << name;
        }
        if (!call_.is_copied(i))
            continue;
        std::vector<int> expected = before_.arrays().at(i);
        for (std::int64_t k = 0; k < coming_back(i); ++k)
            expected[static_cast<std::size_t>(k)] = static_cast<int>(written(i, k));
        EXPECT_EQ(call_.arrays().at(i), expected) << name;
    }
}

} // namespace qnm::tests
