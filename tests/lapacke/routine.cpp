#include "c_call.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <tuple>

namespace qnm::tests {

namespace {

bool is_integer(const Argument& a)
{
    return a.type == "int" || a.type == "logical";
}

bool comes_out(const Argument& a)
{
    return a.direction == catalogue::Direction::out || a.direction == catalogue::Direction::inout;
}

/// The workspace that a size is the length of.
const LapackeArgument* workspace_of(const LapackePlan& plan, const LapackeArgument& size)
{
    const std::string& name = size.argument->name;
    for (const LapackeArgument& a : plan.arguments)
        if (a.role == Role::workspace) {
            bool mentioned = name == "l" + a.argument->name || name == "ld" + a.argument->name;
            for (const ExpressionPtr& e : a.argument->extents)
                walk(*e,
                     [&](const catalogue::Expression& node) { mentioned = mentioned || node.text == name; });
            if (mentioned)
                return &a;
        }
    return nullptr;
}

std::size_t index_of(const LapackePlan& plan, const LapackeArgument& a)
{
    return static_cast<std::size_t>(&a - plan.arguments.data());
}

char other(char letter, std::string_view pairs)
{
    const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2)
        if (pairs[i] == upper)
            return pairs[i + 1];
    return letter;
}

/// The same letter, whatever its case.
void expect_letter(char got, char expected, const std::string& name)
{
    EXPECT_EQ(std::toupper(static_cast<unsigned char>(got)),
              std::toupper(static_cast<unsigned char>(expected)))
        << name;
}

} // namespace

Routine::Routine(CCall& call) : call_(call), before_(call.memory())
{
    core().answers(call.member().routine()).calling([this](Call& noted, recording::Answer& reply) {
        act(noted, reply);
    });
}

Routine::~Routine()
{
    core().answers(call_.member().routine()).calling([](Call&, recording::Answer&) {});
}

bool Routine::is_query(const Call& noted) const
{
    const LapackePlan& plan = call_.plan();
    for (std::size_t i = 0; i < plan.arguments.size(); ++i)
        if (plan.arguments[i].role == Role::size && noted.behind(i) == -1)
            return true;
    return false;
}

void Routine::act(Call& noted, recording::Answer& reply)
{
    EXPECT_TRUE(noted.aligned());
    const LapackePlan& plan = call_.plan();
    const bool asked = is_query(noted);
    ++(asked ? queries : runs);
    for (std::size_t i = 0; i < plan.arguments.size(); ++i) {
        const LapackeArgument& a = plan.arguments[i];
        if (plan.c->shape == LapackeShape::turned && call_.by_rows())
            look_at_turned(noted, a, i);
        else
            look_at(noted, a, i);
        if (!asked)
            write(noted, a, i);
    }
    if (asked)
        query(noted);
    if (plan.has_info)
        *noted.pointer<std::int64_t>(plan.arguments.size()) = asked ? 0 : info;
    if (call_.member().has_value()) {
        if (call_.element(plan.row->result.type).single)
            reply.returns(static_cast<float>(result));
        else
            reply.returns(result);
    }
}

void Routine::query(const Call& noted)
{
    const LapackePlan& plan = call_.plan();
    for (std::size_t i = 0; i < plan.arguments.size(); ++i) {
        const LapackeArgument& a = plan.arguments[i];
        if (a.role != Role::workspace || a.room)
            continue;
        auto* const place = noted.pointer<unsigned char>(i);
        Element e = call_.element(a);
        if (e.integer)
            e.size = sizeof(std::int64_t); // the core's own
        store(place, e, static_cast<double>(answer(i)));
        if (a.argument->extents.empty() && a.facts.asked)
            store(place + e.size, e, static_cast<double>(answer(i) + 1));
    }
}

void Routine::look_at(const Call& noted, const LapackeArgument& a, std::size_t word)
{
    const Argument& argument = *a.argument;
    const std::string& name = argument.name;
    const bool high = call_.member().high;
    if (argument.type == "char") {
        char expected = call_.letter(name);
        if (call_.plan().c->shape == LapackeShape::options && name == "trans")
            expected =
                std::toupper(static_cast<unsigned char>(expected)) != 'T' && !call_.by_rows() ? 'N' : 'T';
        expect_letter(noted.letter(word), expected, name);
    } else if (is_integer(argument) && !argument.array && !a.address) {
        std::int64_t expected =
            high && a.role == Role::given ? call_.value(*a.facts.given) : call_.integer(name);
        if (a.role == Role::leading && call_.by_rows())
            expected = call_.copy_ld(call_.plan().arguments[static_cast<std::size_t>(a.matrix)]);
        if (high && a.role == Role::size)
            expected = is_query(noted) ? -1 : answer(index_of(call_.plan(), *workspace_of(call_.plan(), a)));
        if (!argument.query || !is_query(noted) || expected == -1) { // who asks for one length asks for all
            EXPECT_EQ(noted.behind(word), expected) << name;
        }
    } else if (argument.type == "procedure") {
        EXPECT_EQ(noted.word(word), 0xADD0'0000'0000'0000U + 0x1000 * static_cast<std::uint64_t>(a.position))
            << name;
    } else if (!a.address) {
        EXPECT_EQ(std::memcmp(noted.pointer<void>(word), call_.memory(name).data(), call_.element(a).size), 0)
            << name << " by value";
    } else if (is_integer(argument) && call_.narrow()) {
        if (a.role != Role::workspace && argument.direction == catalogue::Direction::none && argument.array) {
            EXPECT_EQ(noted.behind(word), argument.type == "logical" ? 1 : 1) << name;
        }
    } else if (call_.is_copied(a) && !is_query(noted)) {
        const auto* const copy = noted.pointer<unsigned char>(word);
        const std::size_t size = call_.element(a).size;
        EXPECT_NE(copy, call_.memory(name).data()) << name;
        for (const FormUse& use : a.in)
            if (call_.holds(use.when))
                call_.for_each(a, use.form, [&](std::int64_t from, std::int64_t to) {
                    EXPECT_EQ(std::memcmp(copy + static_cast<std::size_t>(to) * size,
                                          call_.memory(name).data() + static_cast<std::size_t>(from) * size,
                                          size),
                              0)
                        << name << " element " << from << " of the caller's, " << to << " of the copy";
                });
    } else if (a.role == Role::workspace && high) {
        for (const catalogue::Addition& add : call_.plan().c->additions)
            if (add.workspace == name && add.first_goes_in && !is_query(noted)) {
                EXPECT_EQ(std::memcmp(noted.pointer<void>(word), before_.at(add.name).data(),
                                      call_.element(a).size),
                          0);
            }
    } else if (a.role != Role::matrix || !call_.by_rows() || is_query(noted)) {
        EXPECT_EQ(noted.pointer<unsigned char>(word), call_.memory(name).data()) << name;
    }
}

/// The same memory, read as the transpose: sizes have changed places, the norm and the triangle are the
/// others.
void Routine::look_at_turned(const Call& noted, const LapackeArgument& a, std::size_t word)
{
    const std::string& name = a.argument->name;
    if (a.argument->type == "char") {
        char expected = call_.letter(name);
        if (name == "norm")
            expected = other(expected, "1IOII1");
        if (name == "uplo")
            expected = other(expected, "ULLU");
        expect_letter(noted.letter(word), expected, name);
        return;
    }
    std::string partner = name;
    for (const auto& [one, two] : call_.plan().c->exchanged)
        partner = name == one ? two : name == two ? one : partner;
    if (is_integer(*a.argument) && !a.address) {
        EXPECT_EQ(noted.behind(word), call_.integer(partner)) << name;
    } else if (a.role != Role::workspace) {
        EXPECT_EQ(noted.pointer<unsigned char>(word), call_.memory(name).data()) << name;
    }
}

void Routine::write(const Call& noted, const LapackeArgument& a, std::size_t word)
{
    const Argument& argument = *a.argument;
    auto* const place = noted.pointer<unsigned char>(word);
    Element e = call_.element(a);
    std::int64_t count = 0;
    if (is_integer(argument) && !argument.array && comes_out(argument)) {
        *noted.pointer<std::int64_t>(word) = call_.integer(argument.name);
        return;
    }
    if (call_.is_copied(a)) {
        count = call_.copy_elements(a);
    } else if (a.role == Role::workspace && call_.member().high && call_.holds(a.facts.room_when) &&
               call_.plan().c->shape != LapackeShape::turned) {
        count = call_.room(a, answer(word));
        if (e.integer) { // the entry copies as many as the routine publishes
            e.size = sizeof(std::int64_t);
            count = 0;
            for (const catalogue::Addition& add : call_.plan().c->additions)
                if (add.workspace == argument.name)
                    count = add.offset + (add.count ? call_.value(*add.count) : 1);
        }
    }
    for (std::int64_t k = 0; k < count; ++k)
        store(place + static_cast<std::size_t>(k) * e.size, e, written(word, k));
}

void Routine::expect_matrices() const
{
    for (const LapackeArgument& a : call_.plan().arguments) {
        const std::string& name = a.argument->name;
        if (is_integer(*a.argument) || a.argument->type == "char" || before_.count(name) == 0 ||
            a.role == Role::workspace)
            continue;
        std::vector<unsigned char> expected = before_.at(name);
        const Element e = call_.element(a);
        if (runs > 0)
            call_.for_each_returned(a, [&](std::int64_t to, std::int64_t from) {
                store(expected.data() + static_cast<std::size_t>(to) * e.size, e,
                      written(index_of(call_.plan(), a), from));
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
        const LapackeArgument& workspace = call_.argument(add.workspace);
        std::vector<unsigned char> expected = before_.at(add.name);
        const std::int64_t count = add.count ? call_.value(*add.count) : 1;
        std::vector<unsigned char> now = call_.memory(add.name);
        for (std::int64_t k = 0; k < count; ++k)
            store(expected.data() + static_cast<std::size_t>(k) * e.size, e,
                  written(index_of(call_.plan(), workspace), add.offset + k));
        // Of an array of integers a narrow entry brings back what the routine publishes; the rest means
        // nothing.
        const ExpressionPtr& published = workspace.argument->returned;
        if (e.integer && call_.narrow() && published)
            for (std::int64_t k = std::max<std::int64_t>(call_.value(*published) - add.offset, 0); k < count;
                 ++k)
                for (auto* bytes : {&now, &expected})
                    std::memset(bytes->data() + static_cast<std::size_t>(k) * e.size, 0, e.size);
        EXPECT_EQ(now, expected) << add.name;
    }
}

std::vector<std::string> printed()
{
    std::vector<std::string> lines;
    for (const Call& call : core().calls("qnm_serv_printf_s")) {
        const std::string format = call.pointer<const char>(0);
        char line[200];
        if (format.find("%d") != std::string::npos)
            std::snprintf(line, sizeof line, "Wrong parameter %d in %s\n", call.int32(1),
                          call.pointer<const char>(2));
        else
            std::snprintf(line, sizeof line, "%s(%s)", format.c_str(), call.pointer<const char>(1));
        EXPECT_TRUE(format == "Wrong parameter %d in %s\n" ||
                    format == "Not enough memory to transpose matrix in %s\n" ||
                    format == "Not enough memory to allocate work array in %s\n");
        lines.emplace_back(line);
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

std::size_t calls_of(const Member& member)
{
    return core().calls(member.routine()).size();
}

namespace {

/// The core's transposition of a general matrix, as the helpers ask for it.
void transpose(const Call& call, std::size_t size, std::size_t first)
{
    const bool by_columns = static_cast<char>(call.word(0)) == 'c';
    const std::int64_t lines = call.int64(by_columns ? 3 : 2), length = call.int64(by_columns ? 2 : 3);
    const auto* const in = call.pointer<const unsigned char>(first);
    auto* const out = call.pointer<unsigned char>(first + 2);
    for (std::int64_t i = 0; i < lines; ++i)
        for (std::int64_t j = 0; j < length; ++j)
            std::memcpy(out + static_cast<std::size_t>(j * call.int64(first + 3) + i) * size,
                        in + static_cast<std::size_t>(i * call.int64(first + 1) + j) * size, size);
}

} // namespace

LapackeTest::LapackeTest()
{
    for (const auto& [letter, size, first] :
         {std::tuple{'s', 4U, 4U}, {'d', 8U, 4U}, {'c', 8U, 5U}, {'z', 16U, 5U}})
        core()
            .answers(std::string("qnm_trans_qnm_") + letter + "omatcopy")
            .calling([size = size, first = first](Call& call, recording::Answer&) {
                transpose(call, size, first);
            });
    core().ignore("qnm_serv_verbose_mode");
    core().answers("qnm_lapack_ilaenv").with(5);
    check_for_nan(true);
}

void LapackeTest::check_for_nan(bool on)
{
    support::call(layer()["LAPACKE_set_nancheck"], on ? 1 : 0);
    core().clear();
}

} // namespace qnm::tests
