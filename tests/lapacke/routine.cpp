#include "c_call.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <tuple>

namespace qnm::tests {

using catalogue::Addition;
using catalogue::Direction;

namespace {

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

LapackeTest::LapackeTest()
{
    // The core's transposition of a general matrix, as the helpers ask for it.
    for (const auto& [letter, size, first] :
         {std::tuple{'s', 4L, 4U}, {'d', 8L, 4U}, {'c', 8L, 5U}, {'z', 16L, 5U}})
        core()
            .answers(std::string("qnm_trans_qnm_") + letter + "omatcopy")
            .calling([size = size, first = first](Call& call, recording::Answer&) {
                const std::size_t line = static_cast<char>(call.word(0)) == 'c' ? 3 : 2, within = 5 - line;
                for (long i = 0; i < call.int64(line); ++i)
                    for (long j = 0; j < call.int64(within); ++j)
                        std::memcpy(call.pointer<char>(first + 2) + (j * call.int64(first + 3) + i) * size,
                                    call.pointer<char>(first) + (i * call.int64(first + 1) + j) * size,
                                    static_cast<std::size_t>(size));
            });
    check_for_nan(true);
}

} // namespace qnm::tests
