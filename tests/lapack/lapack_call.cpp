#include "lapack_call.hpp"

#include <algorithm>
#include <cmath>

namespace qnm::tests {

using catalogue::Direction;
using catalogue::Expression;

namespace {

constexpr std::size_t guard_elements = 8;
constexpr std::int64_t upper_junk = std::int64_t{0x5A5A'5A5A} << 32;

bool is_integer(const Argument& a)
{
    return a.kind == Kind::integer || a.kind == Kind::value;
}

bool is_filled(const Argument& a)
{
    return a.direction == Direction::in || a.direction == Direction::inout;
}

} // namespace

LapackCall::LapackCall(const Entry& e, std::int64_t size, const std::string& given) : SampleCall(e)
{
    for (const Argument& a : row().arguments)
        if (is_integer(a) && !row().groups)
            set(a.name, size);
    give(given).make_valid();
    lay_out();
}

LapackCall::LapackCall(const Entry& e, std::mt19937& chance) : SampleCall(e)
{
    const auto below = [&](int bound) { return static_cast<int>(chance() % static_cast<unsigned>(bound)); };
    const std::int64_t large = narrow() || e.frame() == Class::checked ? 0 : 3'000'000'000'000;
    for (const Argument& a : row().arguments)
        if (is_integer(a) && !row().groups)
            set(a.name, below(8) == 0 && !a.query ? -2 - below(3) : large + below(30));
    choose_letters(chance, [&](const Argument& a) { return letters_of(a, expressions_of(row())) + "Q"; });
    make_valid();
    lay_out();
}

LapackCall& LapackCall::lay_out()
{
    arrays_.clear();
    for (const Argument& a : row().arguments) {
        if (!is_copied(a))
            continue; // no business of the entry's
        std::vector<int>& array = arrays_[&a];
        array.resize(static_cast<std::size_t>(std::max<std::int64_t>(extent(a), 0)) + guard_elements);
        for (std::size_t i = 0; i < array.size(); ++i) // of either sign
            array[i] = (i % 2 == 0 ? -1 : 1) * static_cast<int>(7'000'000 + i);
        point(a.name, array.data());
    }
    return *this;
}

std::int64_t LapackCall::named(const std::string& name, int group) const
{
    leaf_seen_ = leaf_seen_ || name == row().leaf;
    return SampleCall::named(name, group);
}

bool LapackCall::needs_leaf() const
{
    leaf_seen_ = false;
    for (const Argument* a : copied())
        for (const ExpressionPtr& extent : a->extents)
            value(*extent);
    return leaf_seen_;
}

/// The real length of an array that is as long as n times the natural logarithm of n; less than 0 for others.
double LapackCall::real_length(const Argument& argument) const
{
    for (const ExpressionPtr& extent : argument.extents)
        if (extent->kind == Expression::Kind::call && extent->text == "nlogn") {
            const auto n = static_cast<double>(value(*extent->operands[0]));
            return n < 1 ? 0 : n * std::log(n);
        }
    return -1;
}

std::int64_t LapackCall::extent(const Argument& argument) const
{
    // As many as begin before the real length on the stack, as many as fit in a block.
    if (const double length = real_length(argument); length >= 0)
        return static_cast<std::int64_t>(length > on_stack ? std::floor(length) : std::ceil(length));
    std::int64_t product = argument.extents.empty() ? 0 : 1;
    for (const ExpressionPtr& extent : argument.extents)
        product *= value(*extent);
    return product;
}

std::int64_t LapackCall::block(const Argument& argument) const
{
    if (const double length = real_length(argument); length > on_stack)
        return static_cast<std::int64_t>(length * 8);
    const std::int64_t elements = extent(argument);
    return elements > on_stack ? elements * 8 : 0;
}

std::vector<const Argument*> LapackCall::copied() const
{
    std::vector<const Argument*> found;
    for (const Argument& a : row().arguments)
        if (is_copied(a))
            found.push_back(&a);
    return found;
}

std::size_t LapackCall::blocks() const
{
    const auto arrays = copied();
    return static_cast<std::size_t>(
        std::count_if(arrays.begin(), arrays.end(), [&](const Argument* a) { return block(*a) != 0; }));
}

bool LapackCall::is_query() const
{
    return std::any_of(row().arguments.begin(), row().arguments.end(),
                       [&](const Argument& a) { return asks(a) && integer(a) == -1; });
}

bool registers(const Entry& entry)
{
    return entry.frame() != Class::unregistered && entry.frame() != Class::unchecked;
}

std::vector<std::string> beginning(const LapackCall& call)
{
    std::vector<std::string> names(registers(call.entry()) ? 1 : 0, "qnm_serv_set_xerbla_interface");
    if (!call.is_query() && call.needs_leaf())
        names.insert(names.end(), {"qnm_serv_set_xerbla_interface", "qnm_lapack_ilaenv"});
    return names;
}

Routine::Routine(LapackCall& call) : call_(call), before_(call), query_(call.is_query())
{
    if (call.row().root != "ilaenv") // it answers the entries that ask it, and writes nothing
        core().answers(lapack_core(call.entry())).calling([this](Call& noted, recording::Answer&) {
            act(noted);
        });
}

Routine::~Routine()
{
    if (call_.row().root != "ilaenv")
        core().answers(lapack_core(call_.entry())).calling([](Call&, recording::Answer&) {});
}

std::vector<std::string> Routine::story(const LapackCall& call)
{
    std::vector<std::string> names = beginning(call);
    const std::size_t blocks = call.is_query() ? 0 : call.blocks();
    names.insert(names.end(), blocks, "qnm_serv_allocate");
    names.push_back(lapack_core(call.entry()));
    names.insert(names.end(), blocks, "qnm_serv_deallocate");
    return names;
}

std::int64_t Routine::written(std::size_t argument, std::int64_t element)
{
    const auto low = static_cast<std::int64_t>(1'000'000 * (argument + 1)) + element;
    return upper_junk | (element % 2 == 0 ? low : 0x8000'0000 + low);
}

std::int64_t Routine::written(std::size_t argument)
{
    return upper_junk + static_cast<std::int64_t>(2 + argument % 3);
}

void Routine::act(Call& noted)
{
    std::size_t word = call_.words_of_result();
    for (const Argument& a : call_.row().arguments) {
        const std::size_t i = word++;
        auto* const place = noted.pointer<std::int64_t>(i);
        if (comes_back(a) && !call_.row().groups)
            *place = written(i);
        if (!call_.is_copied(a) || place == nullptr)
            continue;
        const std::int64_t count = query_ ? 1 : call_.extent(a);
        if (!query_)
            seen_[&a].assign(place, place + std::max<std::int64_t>(count, 0));
        for (std::int64_t k = 0; k < count; ++k)
            place[k] = written(i, k);
    }
}

void Routine::expect_arguments(const Call& noted) const
{
    const auto blocks = core().calls("qnm_serv_allocate"), freed = core().calls("qnm_serv_deallocate");
    std::size_t taken = 0;
    expect_core_call(noted, call_, lapack_core(call_.entry()), [&](const Argument& a, std::size_t i) {
        if (!call_.narrow() && is_scalar(a))
            return false;
        if (is_scalar(a) && !call_.row().groups) {
            if (a.name != "info" || a.direction != Direction::out) {
                EXPECT_EQ(noted.behind(i), query_ && asks(a) && !a.alone ? -1 : before_.integer(a)) << a.name;
            }
            return true;
        }
        if (!call_.is_copied(a))
            return false;
        const std::int64_t bytes = query_ ? 0 : call_.block(a);
        if (query_ && a.null_at_query) {
            EXPECT_EQ(noted.word(i), 0U) << a.name;
        } else if (bytes == 0) {
            expect_local(noted, i, a.name);
        } else if (taken < blocks.size() && taken < freed.size()) {
            EXPECT_THAT(blocks[taken], recording::Allocated(static_cast<std::size_t>(bytes), 128)) << a.name;
            EXPECT_EQ(freed[taken++].word(0), noted.word(i)) << a.name;
        }
        expect_array(a);
        return true;
    });
}

/// What the routine has seen in an array that was copied for it.
void Routine::expect_array(const Argument& a) const
{
    const auto seen = seen_.find(&a);
    if (seen == seen_.end() || (!is_filled(a) && !a.cleared && call_.block(a) == 0))
        return;
    constexpr std::int64_t poison = -0x5A5A'5A5A'5A5A'5A5B;
    for (std::size_t k = 0; k < seen->second.size(); ++k)
        ASSERT_EQ(seen->second[k], is_filled(a) ? before_.elements(a)[k]
                                   : a.cleared  ? 0
                                                : poison)
            << a.name << '[' << k << ']';
}

std::int64_t Routine::coming_back(const Argument& a) const
{
    const bool counted = a.returned != nullptr;
    if (a.direction == Direction::in || (a.direction == Direction::work && !counted))
        return 0;
    if (query_) // the first element, of an array whose length is asked for
        return call_.row().root == "gesvdq" || (counted && a.returned->kind == Expression::Kind::number) ? 1
                                                                                                         : 0;
    const std::int64_t all = std::max<std::int64_t>(call_.extent(a), 0);
    return counted ? std::clamp<std::int64_t>(call_.value(*a.returned), 0, all) : all;
}

void Routine::expect_results() const
{
    std::size_t word = call_.words_of_result();
    for (const Argument& a : call_.row().arguments) {
        const std::size_t i = word++;
        if (is_scalar(a) && !call_.row().groups) {
            const std::int64_t left = call_.narrow() ? static_cast<int>(written(i)) : written(i);
            const bool written_back =
                comes_back(a) && (!a.query || !call_.narrow() || before_.integer(a) == -1);
            EXPECT_EQ(call_.integer(a), written_back ? left : before_.integer(a)) << a.name;
        }
        if (!call_.is_copied(a))
            continue;
        std::vector<int> expected = before_.elements(a);
        for (std::int64_t k = 0; k < coming_back(a); ++k)
            expected[static_cast<std::size_t>(k)] = static_cast<int>(written(i, k));
        EXPECT_EQ(call_.elements(a), expected) << a.name;
    }
}

} // namespace qnm::tests
