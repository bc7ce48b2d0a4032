// Calls by chance, each judged by the catalogue's own evaluation: refused with which code, or handed to the
// core with which arguments; what came back; and nothing held. Every call has a seed of its own, which a
// failure tells: QNM_SEED=1234 QNM_CALLS=1 makes that call alone. QNM_SECONDS goes on for so long.
#include "lapacke/c_call.hpp"
#include "suite/routine.hpp"
#include "support/guarded.hpp"
#include "support/published.hpp"

#include <chrono>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*told)());

namespace qnm::tests {
namespace {

/// The variable that holds a handle.
void** slot_of(const FunctionCall& call, std::size_t i)
{
    return reinterpret_cast<void**>(call.word(i).bits());
}

/// Whether an argument that no row has breaks what a test says of it: "b > a", "0 < p < 1", "p != null".
/// What is no number breaks nothing.
bool breaks(const FunctionCall& call, const catalogue::Test& test)
{
    const auto i = static_cast<std::size_t>(test.parameter);
    const std::vector<std::string> words = tests::words(test.text);
    const long double value = call.number(i);
    if (words[0] == "0")
        return words[1] == "<" ? value <= 0 || value >= 1 : value < 0 || value > 1;
    if (words[1] == "is")
        return (call.parameters()[i].travel == Travel::value ? reinterpret_cast<void*>(call.integer(i))
                                                             : *slot_of(call, i)) != good_stream;
    if (words[1] == "!=")
        return call.is_null(i);
    if (words[1] == "in")
        return value < 0 || value > std::stold(words.back());
    if (words[0] == "brng") // by its lower half
        return static_cast<int>(call.integer(i)) < 0;
    if (words[0] == "method" && words[1] == "<=")
        return (call.integer(i) & (words.back() == "not" ? ~0x4000'0000LL : ~0LL)) > std::stoll(words[2]);
    catalogue::Lexer lexer(test.text, 1);
    lexer.add_line(test.text.substr(test.text.find_first_of("<>=") + words[1].size()), 1);
    const ExpressionPtr e = catalogue::parse_expression(lexer);
    const long double bound = e->kind == Expression::Kind::name ? call.number(call.index(e->text))
                                                                : static_cast<long double>(call.value(*e));
    return words[1] == ">=" ? value < bound : words[1] == ">" ? value <= bound : value >= bound;
}

/// Whether a test refuses an argument, of one group.
bool refuses(const FunctionCall& call, const catalogue::Test& test, int group)
{
    const auto i = static_cast<std::size_t>(test.parameter);
    const Parameter& p = call.parameters()[i];
    const Argument* a = call.facts(i);
    if (call.is_exempt(p.name))
        return false;
    if (a == nullptr && p.travel != Travel::code)
        return breaks(call, test);
    if (a == nullptr) // the layout
        return call.integer(i) != row_major && call.integer(i) != column_major;
    if (!a->letters.empty()) {
        const auto value = p.travel == Travel::code || p.travel == Travel::codes
                               ? static_cast<int>(call.integer(i, group))
                               : static_cast<unsigned char>(call.letter(i, group));
        return std::ranges::none_of(a->letters,
                                    [&](char letter) { return call.accepted(i, letter).contains(value); }) ||
               (a->barred && call.holds(*a->barred, group));
    }
    if (!call.is_integer(i))
        return call.is_null(i);
    const std::int64_t value = call.integer(i, group);
    if (a->nonzero)
        return value == 0;
    return (value < call.bound(p.name, group) && !(a->query && value == -1)) ||
           (a->maximum && value > call.value(*a->maximum, group)) ||
           (a->barred && call.holds(*a->barred, group));
}

/// The integers and letters of a call, in words for people.
std::string words_of(const FunctionCall& call)
{
    std::string text = call.by_rows() ? "by rows" : "";
    for (std::size_t i = 0; i < call.parameters().size(); ++i)
        for (std::size_t k = 0; k < call.size(i) && k < 3 && !call.is_null(i); ++k)
            if (const Parameter& p = call.parameters()[i];
                call.is_integer(i) || p.travel == Travel::code || p.travel == Travel::codes)
                text += " " + p.name + "=" + std::to_string(call.integer(i, static_cast<int>(k)));
            else if (p.travel == Travel::letter || p.travel == Travel::letters)
                text += " " + p.name + "=" + call.letter(i, static_cast<int>(k));
    return text;
}

/// What a call has to report, and the place of the first test that refuses it.
struct Verdict {
    Reports reports;
    std::size_t first = 0;
};
Verdict judge(const FunctionCall& call)
{
    Verdict verdict;
    const Signature& s = call.signature();
    for (std::size_t k = 0; k < s.tests.size(); ++k) {
        const catalogue::Test& test = s.tests[k];
        if (!test.when.empty() && test.when != (call.by_rows() ? "row-major" : "column-major"))
            continue;
        if (test.text.ends_with("unless n is 0") && call.integer("n") == 0)
            break; // there is nothing to do, whatever else is bad
        const std::string& name = call.parameters()[static_cast<std::size_t>(test.parameter)].name;
        const int groups = call.is_of_groups(name) ? static_cast<int>(call.integer("group_count")) : 1;
        bool refused = false;
        for (int g = 0; g < groups && !refused; ++g)
            refused = refuses(call, test, g);
        if (!refused)
            continue;
        if (verdict.reports.empty())
            verdict.first = k;
        verdict.reports.emplace_back(test.name.empty() ? s.report_name : test.name, test.code);
        if (!test.goes_on)
            break;
    }
    return verdict;
}

class Random : public CoreTest {
protected:
    std::mt19937 chance;
    std::size_t refused = 0, passed = 0, failed = 0;

    int below(std::size_t bound) { return static_cast<int>(chance() % bound); }
    bool one_in(std::size_t n) { return below(n) == 0; }
    template <class T>
    T any_of(std::initializer_list<T> all)
    {
        return all.begin()[chance() % all.size()];
    }

    /// Letters, sizes, numbers by chance; most calls are good, some bad in one place, some in any.
    void shake(FunctionCall& call)
    {
        static constexpr int sizes[]{0, 1, 2, 15, 16, 17, -1, -2};
        const std::size_t known =
            call.signature().family == "trans" ? 6 : std::size(sizes); // those are unsigned
        for (const Parameter& p : call.parameters()) {
            const std::size_t i = call.index(p.name);
            if (p.argument != nullptr && !p.argument->letters.empty() && one_in(2))
                call.choose(p.name, p.argument->letters[chance() % p.argument->letters.size()]);
            else if (p.name == "group_count" || p.name == "batch_size")
                call.set(p.name,
                         below(call.integer(i) > 0 ? static_cast<std::size_t>(call.integer(i)) + 1 : 1));
            else if (call.is_integer(i) && one_in(2))
                for (std::size_t k = 0; k < call.size(i); ++k)
                    call.set(p.name, sizes[chance() % known], static_cast<int>(k));
            else if (call.is_real(i) && one_in(4))
                call.put(p.name, std::numeric_limits<float>::quiet_NaN(), chance() % call.size(i));
        }
        if (!one_in(4))
            call.make_valid();
        const auto steps = call.steps();
        if (steps.empty() || !one_in(3))
            return;
        const std::string& bad = steps[chance() % steps.size()].argument;
        if (call.signature().family != "trans" || !call.is_bounded(bad) || call.bound(bad) != 0)
            call.spoil(bad); // nothing unsigned is less than 0
    }

    /// Numbers and handles of a generator or a stream by chance, where a good call has others.
    void stir(FunctionCall& call)
    {
        static void* no_stream = nullptr;
        const auto is_tested = [&](std::size_t i, const char* text) {
            return std::ranges::any_of(call.signature().tests, [&](const catalogue::Test& test) {
                return test.parameter == static_cast<int>(i) && test.text.find(text) != std::string::npos;
            });
        };
        for (std::size_t i = 0; i < call.parameters().size(); ++i)
            if (const std::string& name = call.parameters()[i].name; !one_in(3))
                continue;
            else if (is_tested(i, "is a stream"))
                call.handle(name, any_of({&good_stream, &deleted_stream, &no_stream})[0]);
            else if (is_tested(i, "!= null"))
                call.point(name, nullptr);
            else if (call.is_real(i))
                call.put(name, any_of<double>({0, 1, -1, 0.5, 1e-30, INFINITY, NAN}));
            else if (name == "n")
                call.set(name, any_of({0, 0, 1, -1}));
            else if (call.is_integer(i))
                call.set(name, any_of({0, 1, 2, 3, -1, 0x4000'0000, 0x4000'0001, INT_MAX, INT_MIN}) +
                                   (call.narrow() ? 0 : any_of({0LL, 1LL << 40})));
    }

    /// One argument as large as its width has it, where no array is as long as it tells.
    void stretch(FunctionCall& call)
    {
        if (call.parameters().empty())
            return;
        const std::size_t i = chance() % call.parameters().size();
        const std::string& name = call.parameters()[i].name;
        if (!call.is_integer(i) || call.is_of_groups(name) || lists("group_count batch_size", name))
            return;
        const std::int64_t most = call.narrow() ? INT_MAX : std::int64_t{1} << 50;
        call.set(name, one_in(3) ? -most : most - below(3));
        // Bounds are computed in the caller's width, overflow and all, which an evaluation in 64 bits does
        // not tell.
        for (const FunctionCall::Step& step : call.steps())
            if (call.is_bounded(step.argument) && call.narrow() &&
                call.bound(step.argument) != static_cast<int>(call.bound(step.argument)))
                call.set(name, 17);
    }

    /// Nothing that stands behind the first bad argument is read, but by entries that look whether this is a
    /// query.
    void hide(FunctionCall& call, const Verdict& verdict)
    {
        const Signature& s = call.signature();
        if (s.family != "blas" || call.has_groups())
            return;
        const std::set<std::string> needed = needed_for(s, verdict.first);
        for (const Parameter& p : call.parameters())
            if (!needed.contains(p.name) && p.argument != nullptr && p.travel != Travel::letter &&
                p.travel != Travel::letters)
                call.point(p.name, nullptr);
    }

    static std::size_t allocations()
    {
        return core().calls("qnm_serv_allocate").size() + core().calls("qnm_serv_malloc").size();
    }

    /// What a call has reported itself, and whether the entry that it ends in did too, which has tests of its
    /// own.
    static std::pair<Reports, bool> own_reports(const FunctionCall& call)
    {
        const Signature& s = call.signature();
        Reports own;
        bool further = false;
        for (const auto& report : reports())
            if (std::ranges::any_of(s.tests, [&](const catalogue::Test& test) {
                    return report.first == (test.name.empty() ? s.report_name : test.name);
                }))
                own.push_back(report);
            else
                further = true;
        EXPECT_TRUE(!further || called(call) != call.callee().name) << "nobody is there to report besides";
        return {own, further};
    }

    /// Whether a good call has nothing to hand on.
    static bool is_empty(const FunctionCall& call)
    {
        const Signature& s = call.signature();
        if (s.form->convention == catalogue::Convention::codes)
            for (const char* size : {"m", "n", "k", "group_count", "batch_size"})
                if (call.has(size) && !call.is_of_groups(size) && call.integer(size) == 0)
                    return true;
        return (lists("vml vsl_generators", s.family) && call.integer("n") == 0) ||
               (s.result == "CBLAS_INDEX" && (call.integer("n") < 1 || call.integer("incx") < 1));
    }

    void run_refused(FunctionCall& call, const Verdict& verdict)
    {
        ++refused;
        if (one_in(2))
            hide(call, verdict);
        const FunctionCall before = call;
        const bool tells = call.has("info") && !call.is_null(call.index("info"));
        const support::Returned returned = call.run();
        EXPECT_EQ(own_reports(call).first, verdict.reports);
        if (call.signature().family.starts_with("vsl_")) {
            EXPECT_LT(returned.int32(), 0);
        }
        EXPECT_TRUE(core().calls(called(call)).empty());
        if (tells) {
            EXPECT_EQ(call.integer("info"), -verdict.reports.front().second);
            call.set("info", before.integer("info"));
        }
        const auto bad = static_cast<std::size_t>(call.signature().tests[verdict.first].parameter);
        if (!call.may_conjugate() || call.signature().root != "trsv" ||
            call.parameters()[bad].name != "diag") {
            EXPECT_TRUE(call == before) << "a refused call wrote"; // that one leaves its vector conjugated
        }
    }

    void run_entry(FortranCall& call)
    {
        ++passed;
        std::vector<std::pair<std::size_t, Guarded>> guards;
        for (const auto& [i, elements] : call.arrays())
            if (call.extent(i) > 0)
                guards.emplace_back(i, Guarded(elements.data(),
                                               static_cast<std::size_t>(call.extent(i)) * sizeof(int),
                                               one_in(2)));
        const std::size_t refusing =
            one_in(4) && !call.is_query() && call.blocks() > 0 ? 1 + chance() % call.blocks() : 0;
        core().fail_allocation(refusing);
        const FortranCall before = call;
        {
            const Routine routine(call);
            for (const auto& [i, guard] : guards)
                call.point(call.parameters()[i].name, guard.data());
            call.run();
            if (core().calls(call.callee().name).empty() && refusing != 0) {
                ++failed;
                EXPECT_EQ(core().calls("qnm_serv_xerbla").at(0).code(), 1102);
                EXPECT_EQ(allocations(), refusing);
                for (const auto& [i, guard] : guards)
                    call.take(i, static_cast<const int*>(guard.data()));
                EXPECT_EQ(call.arrays(), before.arrays());
            } else {
                EXPECT_EQ(refusing, 0U);
                EXPECT_THAT(reports(), ::testing::IsEmpty());
                const auto noted = core().calls(call.callee().name);
                ASSERT_EQ(noted.size(), 1U);
                routine.expect_arguments(noted[0]);
                for (const auto& [i, guard] : guards)
                    call.take(i, static_cast<const int*>(guard.data()));
                routine.expect_results();
            }
        }
        core().fail_allocation(0);
    }

    void run_other(FunctionCall& call)
    {
        ++passed;
        const std::size_t refusing = one_in(4) ? 1 + chance() % 2 : 0;
        core().fail_allocation(refusing);
        const FunctionCall before = call;
        call.run();
        EXPECT_TRUE(call == before);
        const auto noted = core().calls(called(call));
        if (refusing != 0 && allocations() >= refusing) {
            ++failed;
            EXPECT_TRUE(noted.empty());
            EXPECT_EQ(reports(), (Reports{{call.signature().report_name,
                                           call.signature().family == "trans" ? 1102 : 1000}}));
        } else {
            const auto [own, further] = own_reports(call);
            EXPECT_THAT(own, ::testing::IsEmpty());
            ASSERT_TRUE(noted.size() == 1 || (noted.empty() && (further || is_empty(call))))
                << ::testing::PrintToString(story());
            if (!noted.empty() &&
                !(call.has_groups() && call.integer("group_count") == 0)) // nothing is looked at
                call.expect_passed(noted[0], call.callee(),
                                   [&](std::size_t i, std::size_t) { return is_turned(call, i); });
        }
        core().fail_allocation(0);
    }

    template <class Call>
    void run(Call& call, void (Random::*good)(Call&))
    {
        SCOPED_TRACE(words_of(call));
        core().mode(below(2));
        core().clear();
        const Verdict verdict = judge(call);
        if (verdict.reports.empty())
            (this->*good)(call);
        else
            run_refused(call, verdict);
        EXPECT_EQ(core().live_blocks(), 0U);
    }

    /// What the entry refuses in which a member ends: of a query, or of the call behind it.
    static Verdict judge_routine(const CCall& call)
    {
        const Verdict verdict = judge(call.of_routine(true));
        return verdict.reports.empty() ? judge(call.of_routine(false)) : verdict;
    }

    /// A member of the C interface to LAPACK: letters, sizes, lines too short, NaNs; and answers of the
    /// routine.
    void call_member(const Member& m)
    {
        SCOPED_TRACE(m.plan->c->where() + " " + m.name);
        CCall call(m, any_of({row_major, row_major, row_major, column_major, column_major, below(200)}),
                   chance);
        // A check that begins so far behind an array's begin would go ahead of it.
        const int least =
            std::ranges::any_of(m.plan->arguments,
                                [](const LapackeArgument& a) {
                                    return std::ranges::any_of(a.checks, [](const StorageUse& use) {
                                        return use.offset != nullptr;
                                    });
                                })
                ? 0
                : -1;
        std::vector<std::string> sizes;
        for (const LapackeArgument& a : m.plan->arguments)
            if (const Argument& facts = *a.argument;
                a.role == Role::plain && !a.address && facts.is_integer() && !facts.query &&
                !facts.name.starts_with("ld") && !lists("incx itype k1 k2", facts.name))
                sizes.push_back(facts.name);
        for (const std::string& size : sizes)
            if (one_in(3))
                call.set(size, std::max(any_of({0, 1, 2, 15, 16, 17, -1}), least));
        for (const LapackeArgument& a : m.plan->arguments) // no more are found than there are
            if (a.address && is_single(*a.argument) && call.has("n"))
                call.set(a.argument->name, std::clamp<std::int64_t>(call.integer("n"), 0, 2));
        if (!one_in(4))
            call.make_valid();
        call.lay_out();
        bool is_short = false;
        for (const LapackeArgument& a : m.plan->arguments)
            if (a.role == Role::leading && one_in(12)) {
                call.set(a.argument->name, std::max<std::int64_t>(call.value(*a.bound) - 1, 0));
                is_short = true;
            }
        call.fill_arrays();
        bool asks = false;
        for (const LapackeArgument& a : m.plan->arguments)
            if (!m.high && a.role == Role::size && one_in(6)) {
                call.set(a.argument->name, -1);
                asks = true;
            }
        for (const LapackeArgument* a : call.reals())
            if (!is_short && one_in(8)) { // what a NaN check reads of such lines is told elsewhere
                const int element = below(24);
                call.memory().at(a->argument->name).spoil(element, chance());
            }
        const bool nan_checks = !one_in(4);
        support::call(layer()["LAPACKE_set_nancheck"], nan_checks ? 1 : 0);
        call.beside = any_of({CCall::Beside::ahead, CCall::Beside::behind});
        call.info = any_of({0, -1, 7});
        call.answer = [answer = below(300)](std::size_t i) { return answer + static_cast<long>(i); };
        core().mode(below(2));
        SCOPED_TRACE(words_of(call) + (nan_checks ? ", looks for NaN" : ""));
        transpose_in_core(true);
        if (const CCall::Refusal refusal = call.refusal(nan_checks); refusal.position != 0) {
            ++refused;
            call.expect_refused(refusal);
        } else if (const Verdict verdict = judge_routine(call); !verdict.reports.empty()) {
            ++refused; // by the entry that the member ends in
            EXPECT_EQ(call.run(), -verdict.reports.front().second - (m.plan->has_layout() ? 1 : 0));
            EXPECT_EQ(call.runs, 0);
            EXPECT_EQ(reports(), verdict.reports);
        } else if (const std::size_t blocks = asks ? 0 : call.blocks().size(); blocks > 0 && one_in(4)) {
            ++passed, ++failed;
            call.expect_failing(1 + chance() % blocks);
        } else {
            ++passed;
            EXPECT_EQ(call.run(), asks ? 0 : call.given_back());
            EXPECT_EQ(call.runs, asks ? 0 : 1);
            EXPECT_TRUE(printed().empty());
            EXPECT_EQ(allocated().size(), blocks);
            call.expect_results();
        }
        transpose_in_core(false);
        EXPECT_EQ(core().live_blocks(), 0U);
    }

    void call_one(unsigned seed)
    {
        chance.seed(seed);
        SCOPED_TRACE("QNM_SEED=" + std::to_string(seed) + " QNM_CALLS=1");
        static const std::vector<const Signature*> functions = all();
        static const std::vector<const Member*> c_interface = [] {
            std::vector<const Member*> each;
            for (const auto& [name, member] : members())
                each.push_back(&member);
            return each;
        }();
        const std::size_t chosen = chance() % (functions.size() + c_interface.size());
        if (chosen >= functions.size())
            return call_member(*c_interface[chosen - functions.size()]);
        const Signature& s = *functions[chosen];
        QNM_TRACE_SIGNATURE(s);
        const bool fortran = std::ranges::find(entries(), &s) != entries().end();
        if (fortran) {
            FortranCall call(s, chance);
            shake(call);
            if (call.copied().empty() && one_in(4))
                stretch(call);
            call.lay_out();
            return run(call, &Random::run_entry);
        }
        const FunctionCall one(s, one_in(2) ? row_major : column_major);
        if ((one.by_rows() && !one.has_layout()) || (one.may_conjugate() && one.has_groups()))
            return;
        FunctionCall call = one.may_conjugate()
                                ? one
                                : FunctionCall(s, one.by_rows() ? row_major : column_major, 1 + below(3));
        if (lists("vsl_generators vsl_streams", s.family)) {
            stir(call);
            return run(call, &Random::run_other);
        }
        shake(call);
        if (!call.may_conjugate() && !lists("trans vml", s.family) && one_in(4))
            stretch(call);
        run(call, &Random::run_other);
    }
};

char call_under_way[64];
struct sigaction usual_end;

void tell_call()
{
    static_cast<void>(write(STDERR_FILENO, call_under_way, std::strlen(call_under_way)) + 1);
}

unsigned long told(const char* variable, unsigned long otherwise)
{
    const char* text = std::getenv(variable);
    return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

TEST_F(Random, CallsAreJudgedAsTheTablesTell)
{
    const auto seed = static_cast<unsigned>(told("QNM_SEED", 20'261'122));
    const std::chrono::seconds time(told("QNM_SECONDS", 0));
    const unsigned long calls = told("QNM_CALLS", 20'000);
    std::printf("QNM_SEED=%u\n", seed);
    static_cast<void>(members().size() + all().size()); // which takes its time
    const auto end = std::chrono::steady_clock::now() + time;
    unsigned long made = 0;
    // Which call has touched a page that nobody may; what follows is as ever.
    struct sigaction end_of_call {};
    end_of_call.sa_handler = [](int signal) {
        tell_call();
        sigaction(signal, &usual_end, nullptr);
    };
    sigaction(SIGSEGV, &end_of_call, &usual_end);
    if (__sanitizer_set_death_callback != nullptr)
        __sanitizer_set_death_callback(tell_call);
    for (; (time.count() > 0 ? std::chrono::steady_clock::now() < end : made < calls) && !HasFailure();
         ++made) {
        const unsigned own = seed + static_cast<unsigned>(made);
        std::snprintf(call_under_way, sizeof call_under_way, "a fault in QNM_SEED=%u QNM_CALLS=1\n", own);
        call_one(own);
    }
    sigaction(SIGSEGV, &usual_end, nullptr);
    std::printf("%lu calls: %zu refused, %zu handed on, %zu of these without memory\n", made, refused, passed,
                failed);
    if (made > 1000) {
        EXPECT_GT(refused, made / 20);
        EXPECT_GT(passed, made / 4);
        EXPECT_GT(failed, 0U);
    }
}

} // namespace
} // namespace qnm::tests
