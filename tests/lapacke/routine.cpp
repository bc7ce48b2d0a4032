#include "c_call.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <tuple>

namespace qnm::tests {

using catalogue::Direction;

namespace {

/// The workspace that a size is the length of.
const LapackeArgument& workspace_of(const LapackePlan& plan, const LapackeArgument& size)
{
    const std::string& name = size.argument->name;
    return *std::find_if(plan.arguments.begin(), plan.arguments.end(), [&](const LapackeArgument& a) {
        bool mentioned = name == "l" + a.argument->name || name == "ld" + a.argument->name;
        for (const ExpressionPtr& e : a.argument->extents)
            walk(*e, [&](const catalogue::Expression& node) { mentioned = mentioned || node.text == name; });
        return mentioned && a.role == Role::workspace;
    });
}

char other(char letter, std::string_view pairs)
{
    const auto at = pairs.find(static_cast<char>(std::toupper(static_cast<unsigned char>(letter))));
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
    asked_ = false;
    for (const LapackeArgument& a : plan.arguments)
        asked_ = asked_ || (a.role == Role::size && noted.behind(index_of(plan, a)) == -1);
    ++(asked_ ? queries : runs);
    for (const LapackeArgument& a : plan.arguments) {
        look_at(noted, a, index_of(plan, a));
        if (!asked_)
            write(noted, a, index_of(plan, a));
    }
    if (asked_)
        tell_sizes(noted);
    if (plan.has_info)
        *noted.pointer<std::int64_t>(plan.arguments.size()) = asked_ ? 0 : info;
    if (!call_.member().has_value())
        return;
    if (call_.element(plan.row->result.type).single)
        reply.returns(static_cast<float>(result));
    else
        reply.returns(result);
}

void Routine::tell_sizes(const Call& noted) const
{
    for (const LapackeArgument& a : call_.plan().arguments) {
        if (a.role != Role::workspace || a.room)
            continue;
        const std::size_t i = index_of(call_.plan(), a);
        Element e = call_.element(a);
        if (e.integer)
            e.size = sizeof(std::int64_t); // the core's own
        for (int k = 0; k < (a.argument->extents.empty() && a.facts.asked ? 2 : 1); ++k)
            e.store(noted.pointer<unsigned char>(i), k, static_cast<double>(answer(i) + k));
    }
}

/// In upper case. A routine that does the same to the transpose gets the other norm and the other triangle.
char Routine::expected_letter(const std::string& name) const
{
    char letter = call_.letter(name);
    if (call_.by_rows(LapackeShape::turned))
        letter = name == "norm" ? other(letter, "OI1I") : name == "uplo" ? other(letter, "ULU") : letter;
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    if (call_.plan().c->shape == LapackeShape::options && name == "trans")
        letter = letter != 'T' && !call_.by_rows() ? 'N' : 'T';
    return letter;
}

std::int64_t Routine::expected_integer(const LapackeArgument& a) const
{
    const LapackePlan& plan = call_.plan();
    const bool high = call_.member().high;
    if (high && a.role == Role::given)
        return call_.value(*a.facts.given);
    if (high && a.role == Role::size)
        return asked_ ? -1 : answer(index_of(plan, workspace_of(plan, a)));
    if (a.role == Role::leading && call_.by_rows(LapackeShape::split))
        return call_.copy_ld(plan.arguments[static_cast<std::size_t>(a.matrix)]);
    if (call_.by_rows(LapackeShape::turned))
        for (const auto& [one, two] : plan.c->exchanged)
            if (a.argument->name == one || a.argument->name == two)
                return call_.integer(a.argument->name == one ? two : one);
    return call_.integer(a.argument->name);
}

void Routine::look_at(const Call& noted, const LapackeArgument& a, std::size_t word) const
{
    const Argument& argument = *a.argument;
    const std::string& name = argument.name;
    if (argument.type == "char") {
        EXPECT_EQ(std::toupper(static_cast<unsigned char>(noted.letter(word))), expected_letter(name))
            << name;
    } else if (is_scalar(argument) && !a.address) {
        const std::int64_t expected = expected_integer(a);
        if (!argument.query || !asked_ || expected == -1) { // who asks for one length asks for all
            EXPECT_EQ(noted.behind(word), expected) << name;
        }
    } else if (argument.type == "procedure") {
        EXPECT_EQ(noted.pointer<void>(word), untouchable_address(word)) << name;
    } else if (!a.address) {
        EXPECT_EQ(std::memcmp(noted.pointer<void>(word), call_.memory(name).data(), call_.element(a).size), 0)
            << name << " by value";
    } else if (!call_.element(a).integer || !call_.narrow()) {
        look_at_memory(noted, a, word);
    }
}

void Routine::look_at_memory(const Call& noted, const LapackeArgument& a, std::size_t word) const
{
    const std::string& name = a.argument->name;
    const auto* const got = noted.pointer<unsigned char>(word);
    const std::size_t size = call_.element(a).size;
    if (a.role == Role::workspace && (call_.member().high || call_.by_rows(LapackeShape::turned))) {
        for (const catalogue::Addition& add : call_.plan().c->additions)
            if (add.workspace == name && add.first_goes_in && !asked_ && call_.member().high) {
                EXPECT_EQ(std::memcmp(got, before_.at(add.name).data(), size), 0);
            }
    } else if (!call_.is_copied(a) || asked_) {
        const bool uncopied = a.role == Role::matrix && call_.by_rows(LapackeShape::split) && !asked_;
        EXPECT_EQ(got, uncopied ? nullptr : call_.memory(name).data()) << name;
    } else {
        EXPECT_NE(got, call_.memory(name).data()) << name;
        const Element e = call_.element(a);
        const auto [lines, length] = call_.published(a);
        EXPECT_TRUE(a.argument->extents.empty() || call_.copy_elements(a) >= lines * length)
            << name << " has less room in its copy";
        const bool clean = !e.is_nan(call_.memory(name).data(), 0);
        for (std::int64_t k = 0; clean && k < call_.copy_elements(a); ++k)
            EXPECT_FALSE(e.is_nan(got, k))
                << name << " beside the caller's matrix, at " << k << " of the copy";
        for (const FormUse& use : a.in)
            if (call_.holds_if(use.when))
                call_.for_each(a, use.form, [&](std::int64_t from, std::int64_t to) {
                    EXPECT_EQ(std::memcmp(got + static_cast<std::size_t>(to) * size,
                                          call_.memory(name).data() + static_cast<std::size_t>(from) * size,
                                          size),
                              0)
                        << name << " element " << from << " of the caller's, " << to << " of the copy";
                });
    }
}

void Routine::write(const Call& noted, const LapackeArgument& a, std::size_t word) const
{
    const Argument& argument = *a.argument;
    Element e = call_.element(a);
    std::int64_t count = 0;
    if (is_scalar(argument) &&
        (argument.direction == Direction::out || argument.direction == Direction::inout)) {
        *noted.pointer<std::int64_t>(word) = call_.integer(argument);
    } else if (call_.is_copied(a)) {
        count = call_.copy_elements(a);
    } else if (a.role == Role::workspace && call_.member().high && call_.holds_if(a.facts.room_when) &&
               call_.plan().c->shape != LapackeShape::turned) {
        count = e.integer ? 0 : call_.room(a, answer(word));
        for (const catalogue::Addition& add : call_.plan().c->additions)
            if (e.integer && add.workspace == argument.name) // the entry copies what the routine publishes
                count = add.offset + (add.count ? call_.value(*add.count) : 1);
        if (e.integer)
            e.size = sizeof(std::int64_t);
    }
    for (std::int64_t k = 0; k < count; ++k)
        e.store(noted.pointer<unsigned char>(word), k, written(word, k));
}

void Routine::expect_matrices() const
{
    for (const LapackeArgument* a : call_.reals()) {
        if (a->role == Role::workspace)
            continue;
        const std::string& name = a->argument->name;
        std::vector<unsigned char> expected = before_.at(name);
        const Element e = call_.element(*a);
        if (runs > 0)
            call_.for_each_returned(*a, [&](std::int64_t to, std::int64_t from) {
                e.store(expected.data(), to, written(index_of(call_.plan(), *a), from));
            });
        const auto& now = call_.memory(name);
        const auto differs = std::mismatch(now.begin(), now.end(), expected.begin()).first;
        EXPECT_TRUE(differs == now.end())
            << name << " differs at element " << static_cast<std::size_t>(differs - now.begin()) / e.size;
    }
}

void Routine::expect_additions() const
{
    for (const catalogue::Addition& add : call_.plan().c->additions) {
        const Element e = call_.element(add.type);
        const LapackeArgument& workspace = *call_.plan().find(add.workspace);
        std::vector<unsigned char> expected = before_.at(add.name), now = call_.memory(add.name);
        // Of an array of integers a narrow entry brings back what the routine publishes; the rest means
        // nothing.
        const ExpressionPtr& published = workspace.argument->returned;
        const bool all = !e.integer || !call_.narrow() || !published;
        for (std::int64_t k = 0; k < (add.count ? call_.value(*add.count) : 1); ++k) {
            const bool known = all || k < call_.value(*published) - add.offset;
            e.store(expected.data(), k,
                    known ? written(index_of(call_.plan(), workspace), add.offset + k) : 0);
            if (!known)
                e.store(now.data(), k, 0);
        }
        EXPECT_EQ(now, expected) << add.name;
    }
}

std::vector<std::string> printed()
{
    std::vector<std::string> lines;
    for (const Call& call : core().calls("qnm_serv_printf_s")) {
        const std::string format = call.pointer<const char>(0);
        const bool wrong = format == "Wrong parameter %d in %s\n";
        EXPECT_TRUE(wrong || format == "Not enough memory to transpose matrix in %s\n" ||
                    format == "Not enough memory to allocate work array in %s\n");
        lines.push_back(wrong ? "Wrong parameter " + std::to_string(call.int32(1)) + " in " +
                                    call.pointer<const char>(2)
                              : format.substr(0, format.find('%')) + call.pointer<const char>(1));
    }
    return lines;
}

std::vector<std::int64_t> allocated()
{
    std::vector<std::int64_t> sizes;
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
         {std::tuple{'s', 4U, 4U}, {'d', 8U, 4U}, {'c', 8U, 5U}, {'z', 16U, 5U}})
        core()
            .answers(std::string("qnm_trans_qnm_") + letter + "omatcopy")
            .calling([size = size, first = first](Call& call, recording::Answer&) {
                const bool by_columns = static_cast<char>(call.word(0)) == 'c';
                const std::int64_t lines = call.int64(by_columns ? 3 : 2);
                const std::int64_t length = call.int64(by_columns ? 2 : 3);
                const auto* const in = call.pointer<const unsigned char>(first);
                auto* const out = call.pointer<unsigned char>(first + 2);
                for (std::int64_t i = 0; i < lines; ++i)
                    for (std::int64_t j = 0; j < length; ++j)
                        std::memcpy(out + static_cast<std::size_t>(j * call.int64(first + 3) + i) * size,
                                    in + static_cast<std::size_t>(i * call.int64(first + 1) + j) * size,
                                    size);
            });
    core().answers("qnm_lapack_ilaenv").with(static_cast<int>(SampleCall::leaf_size));
    check_for_nan(true);
}

void LapackeTest::check_for_nan(bool on)
{
    support::call(layer()["LAPACKE_set_nancheck"], on ? 1 : 0);
    core().clear();
}

} // namespace qnm::tests
