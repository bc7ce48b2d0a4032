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

Routine::Routine(CCall& call) : call_(call), before_(call.memory())
{
    core().answers(lapack_core(call.entry())).calling([this](Call& noted, recording::Answer& reply) {
        act(noted, reply);
    });
}

Routine::~Routine()
{
    core().answers(lapack_core(call_.entry())).calling([](Call&, recording::Answer&) {});
}

void Routine::act(Call& noted, recording::Answer& reply)
{
    EXPECT_TRUE(noted.aligned());
    const LapackePlan& plan = call_.plan();
    asked_ = std::ranges::any_of(plan.arguments, [&](const LapackeArgument& a) {
        return a.role == Role::size && noted.behind(call_.index(a)) == -1;
    });
    ++(asked_ ? queries : runs);
    for (const LapackeArgument& a : plan.arguments) {
        SCOPED_TRACE(a.argument->name);
        look_at(noted, a);
        const auto* const got = noted.pointer<const unsigned char>(call_.index(a));
        if (!asked_ && a.address && !call_.element(a).integer && got != nullptr && got != call_.place(a) &&
            std::any_of(got, got + 32, [](unsigned char byte) { return byte != recording::Core::poison; }))
            filled += a.argument->name + " ";
        write(noted, a);
    }
    if (plan.has_info)
        *noted.pointer<long>(plan.arguments.size()) = asked_ ? 0 : info;
    if (call_.member().has_value() && call_.entry().precision.real == 's')
        reply.returns(result);
    else if (call_.member().has_value())
        reply.returns(double{result});
}

/// In upper case. A routine that does the same to the transpose gets the other norm and the other triangle.
char Routine::expected_letter(const std::string& name) const
{
    const char letter = upper(call_.letter(name));
    if (call_.by_rows(LapackeShape::turned))
        return name == "norm" ? other(letter, "OI1I") : name == "uplo" ? other(letter, "ULU") : letter;
    if (call_.plan().c->shape == LapackeShape::options && name == "trans")
        return letter != 'T' && !call_.by_rows() ? 'N' : 'T';
    return letter;
}

long Routine::expected_integer(const LapackeArgument& a) const
{
    const LapackePlan& plan = call_.plan();
    const bool high = call_.member().high;
    if (high && a.role == Role::given)
        return call_.value(*a.facts.given);
    if (high && a.role == Role::size)
        return asked_ ? -1 : answer(call_.index(*workspace_of(plan, a.argument->name)));
    if (a.role == Role::leading && call_.by_rows(LapackeShape::split))
        return call_.ld(plan.arguments[static_cast<std::size_t>(a.matrix)], true);
    if (call_.by_rows(LapackeShape::turned))
        for (const auto& [one, two] : plan.c->exchanged)
            if (a.argument->name == one || a.argument->name == two)
                return call_.integer(a.argument->name == one ? two : one);
    return call_.integer(a.argument->name);
}

void Routine::look_at(const Call& noted, const LapackeArgument& a) const
{
    const Argument& argument = *a.argument;
    const std::size_t word = call_.index(a);
    const Element e = call_.element(a);
    const auto* const got = noted.pointer<unsigned char>(word);
    const bool high = call_.member().high, own = call_.by_rows(LapackeShape::turned);
    if (argument.type == "char") {
        EXPECT_EQ(upper(noted.letter(word)), expected_letter(argument.name));
    } else if (is_scalar(argument) && !a.address) {
        const long expected = expected_integer(a);
        if (!argument.query || !asked_ || expected == -1) { // who asks for one length asks for all
            EXPECT_EQ(noted.behind(word), expected);
        }
    } else if (!a.address) {
        EXPECT_EQ(std::memcmp(got, call_.place(a), e.size()), 0) << "by value";
    } else if (a.role == Role::workspace && (high || own)) {
        for (const Addition& add : call_.plan().c->additions)
            if (add.workspace == argument.name && add.first_goes_in && !asked_ && high) {
                EXPECT_EQ(std::memcmp(got, before_.at(add.name).data(), e.size()), 0);
            }
    } else if (call_.is_copied(a) && !asked_) {
        look_at_copy(got, a);
    } else if (!e.integer || !call_.narrow()) {
        const bool is_left_out = a.role == Role::matrix && call_.by_rows(LapackeShape::split) && !asked_;
        EXPECT_EQ(got, is_left_out ? nullptr : call_.place(a));
    }
}

void Routine::look_at_copy(const unsigned char* got, const LapackeArgument& a) const
{
    const Array& given = call_.memory().at(a.argument->name);
    const auto [lines, length] = call_.published(a);
    EXPECT_NE(got, given.data());
    EXPECT_TRUE(a.argument->extents.empty() || call_.copy_elements(a) >= lines * length)
        << "there is less room in the copy";
    Array expected(given.element, call_.copy_elements(a), 0);
    std::ranges::fill(expected.bytes, recording::Core::poison);
    for (const FormUse& use : a.in)
        for (const auto& [from, to] : call_.moves(a, use))
            expected.copy(to, given, from);
    EXPECT_EQ(expected.difference(got), -1) << "element of the copy";
}

/// The answers to a query; or numbers in all that the routine is lent.
void Routine::write(const Call& noted, const LapackeArgument& a) const
{
    const Argument& argument = *a.argument;
    const std::size_t word = call_.index(a);
    Element e = call_.element(a);
    if (e.integer)
        e.bytes = sizeof(std::int64_t); // the core's own
    const bool is_result = is_scalar(argument) &&
                           (argument.direction == Direction::out || argument.direction == Direction::inout);
    long count = 0;
    if (asked_) {
        count = a.role != Role::workspace || a.room ? 0 : CCall::is_table(a) ? 2 : 1;
    } else if (is_result) {
        count = 1;
    } else if (call_.is_copied(a)) {
        count = call_.copy_elements(a);
    } else if (a.role == Role::workspace && call_.member().high && call_.holds_if(a.facts.room_when) &&
               call_.plan().c->shape != LapackeShape::turned) {
        count = e.integer ? 0 : call_.room(a, answer(word));
        for (const Addition& add : call_.plan().c->additions)
            if (e.integer && add.workspace == argument.name) // the entry copies what the routine publishes
                count = add.offset + (add.count ? call_.value(*add.count) : 1);
    }
    for (long k = 0; k < count; ++k)
        e.store(noted.pointer<void>(word), k,
                asked_      ? static_cast<double>(answer(word) + k)
                : is_result ? static_cast<double>(call_.integer(argument))
                            : written(a, k));
}

void Routine::expect_matrices() const
{
    for (const LapackeArgument* a : call_.reals()) {
        if (a->role == Role::workspace)
            continue;
        Array expected = before_.at(a->argument->name);
        const auto use =
            std::ranges::find_if(a->out, [&](const FormUse& u) { return call_.holds_if(u.when); });
        if (runs > 0 && use != a->out.end())
            for (const auto& [to, from] : call_.moves(*a, *use))
                expected.set(to, written(*a, from));
        EXPECT_EQ(expected.difference(call_.memory().at(a->argument->name).data()), -1)
            << "first element of " << a->argument->name << " that differs";
    }
}

void Routine::expect_additions() const
{
    for (const Addition& add : call_.plan().c->additions) {
        const LapackeArgument& workspace = *call_.plan().find(add.workspace);
        Array expected = before_.at(add.name), now = call_.memory().at(add.name);
        // Of an array of integers a narrow entry brings back what the routine publishes; the rest means
        // nothing.
        const ExpressionPtr& published = workspace.argument->returned;
        const bool all = !expected.element.integer || !call_.narrow() || !published;
        for (long k = 0; k < (add.count ? call_.value(*add.count) : 1); ++k) {
            const bool known = all || k < call_.value(*published) - add.offset;
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
    core().answers("qnm_lapack_ilaenv").with(static_cast<int>(SampleCall::leaf_size));
    check_for_nan(true);
}

} // namespace qnm::tests
