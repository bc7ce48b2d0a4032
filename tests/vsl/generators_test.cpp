// Generators: what is published of each, by hand, against all forms.
#include "suite/line.hpp"
#include "unbound.hpp"

#include <climits>
#include <cmath>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double none = -0x1p60; // a null in place of an array

/// A parameter, by its place, with values that are refused and values that are just good enough.
struct Bound {
    int place;
    std::vector<double> bad, good;
};
struct Published {
    const char *name, *format;
    std::vector<int> methods;
    std::vector<Bound> bounds; // in the order of the tests
};

constexpr int accurate = 0x40000000;
constexpr double tiny = 1e-30;
const Bound positive6{6, {0, -1}, {tiny}}, positive5{5, {0, -1}, {tiny}}, positive7{7, {0, -1}, {tiny}},
    positive8{8, {0, -1}, {tiny}}, closed5{5, {-tiny, 1.5}, {0, 1}}, closed6{6, {-tiny, 1.5}, {0, 1}},
    open5{5, {0, 1, -1}, {tiny, 0.99}}, open6{6, {0, 1, -1}, {tiny, 0.99}}, count5{5, {0, -1}, {1}},
    natural5{5, {-1}, {0}};

// F stands for a real number.
const std::vector<Published> published{
    {"v?RngCauchy", "F,F", {0}, {positive6}},
    {"v?RngExponential", "F,F", {0, accurate}, {positive6}},
    {"v?RngGaussian", "F,F", {0, 1, 2}, {positive6}},
    {"v?RngGaussianMV", "%d,%d,%p,%p", {0, 1, 2}, {count5, {6, {-1, 3}, {0, 1, 2}}}},
    {"v?RngGumbel", "F,F", {0}, {positive6}},
    {"v?RngLaplace", "F,F", {0}, {positive6}},
    {"v?RngLognormal", "F,F,F,F", {0, 1, accurate, accurate + 1}, {positive6, positive8}},
    {"v?RngRayleigh", "F,F", {0, accurate}, {positive6}},
    {"v?RngUniform", "F,F", {0, accurate}, {{5, {0.5625, 1}, {0.5}}}}, // b is 0.5625
    {"v?RngWeibull", "F,F,F", {0, accurate}, {positive5, positive7}},
    {"v?RngBeta", "F,F,F,F", {0, accurate}, {positive5, positive6, positive8}},
    {"v?RngGamma", "F,F,F", {0, accurate}, {positive5, positive7}},
    {"v?RngChiSquare", "%d", {0}, {count5}},
    {"viRngBernoulli", "F", {0}, {closed5}},
    {"viRngBinomial", "%d,F", {0}, {count5, closed6}},
    {"viRngMultinomial", "%d,%d,%p", {0}, {natural5, {6, {0, -1}, {1}}, {7, {none}, {}}}},
    {"viRngGeometric", "F", {0}, {open5}},
    {"viRngHypergeometric",
     "%d,%d,%d",
     {0},
     {{6, {-1}, {0}}, {7, {-1}, {0}}, {5, {34, -1}, {35}}}}, // s is 35
    {"viRngNegbinomial", "F,F", {0}, {positive5, open6}},
    {"viRngPoisson", "F", {0, 1}, {positive5}},
    {"viRngPoissonV", "%p", {0}, {{5, {none}, {}}}},
    {"viRngUniform", "%d,%d", {0}, {{5, {60, 61}, {59}}}},
    {"viRngUniformBits", "", {0}, {}},
    {"viRngUniformBits32", "", {0}, {}},
    {"viRngUniformBits64", "", {0}, {}}};

class Generators : public Unbound {
protected:
    /// Visits each entry with what is published of it.
    template <class Visit>
    static void each(const Visit& visit)
    {
        std::size_t seen = 0;
        for (const Published& facts : published)
            for (const char letter : std::string(facts.name[1] == '?' ? "sd" : "i")) {
                std::string name = facts.name;
                name[1] = letter;
                for (const char* form : {"Name", "Name_64", "NAME_"}) {
                    const Signature& s = signature(catalogue::spell(form, name));
                    QNM_TRACE_SIGNATURE(s);
                    visit(facts, s, name);
                    ++seen;
                    if (::testing::Test::HasFailure())
                        return; // the others fail alike
                }
            }
        EXPECT_EQ(seen, 38U * 3);
    }
    static std::string kernel(const std::string& name) { return "_vsl" + name.substr(1); }
    static void spoil(FunctionCall& call, int place, double value)
    {
        const std::string& name = call.parameters()[static_cast<std::size_t>(place - 1)].name;
        value == none ? call.point(name, nullptr) : call.put(name, value);
    }
    static void expect_accepted(const FunctionCall& call, const std::string& name)
    {
        core().clear();
        call.run();
        EXPECT_EQ(core().calls(kernel(name)).size(), 1U);
        EXPECT_THAT(reports(), IsEmpty());
    }
};

TEST_F(Generators, FindTheKernelOnceAndHandOn)
{
    each([](const Published&, const Signature& s, const std::string& name) {
        EXPECT_EQ(s.callees.front().name, kernel(name));
        expect_handed_on(FunctionCall(s), s.form->name == "narrow");
    });
}

TEST_F(Generators, TestInOrderWithAllLaterArgumentsBadToo)
{
    each([](const Published& facts, const Signature& s, const std::string& name) {
        const auto spoilt_from = [&](std::size_t first) {
            FunctionCall call(s);
            for (std::size_t k = first; k < facts.bounds.size(); ++k)
                spoil(call, facts.bounds[k].place, facts.bounds[k].bad[0]);
            return call;
        };
        for (std::size_t k = 0; k < facts.bounds.size(); ++k)
            for (const double bad : facts.bounds[k].bad) {
                FunctionCall call = spoilt_from(k + 1);
                spoil(call, facts.bounds[k].place, bad);
                expect_refused(call, name, facts.bounds[k].place);
            }
        FunctionCall call = spoilt_from(0);
        expect_refused(call.set("method", 3), name, 1);
        expect_refused(call.point("r", nullptr), name, 4);
        core().clear();
        EXPECT_EQ(call.set("n", 0).run().int32(), 0);
        EXPECT_THAT(story(), IsEmpty());
        expect_refused(call.set("n", -1), name, 3);
        expect_refused(call.handle("stream", deleted_stream), name, 2, -1006);
        void* no_stream = nullptr;
        expect_refused(call.handle("stream", no_stream).set("n", 0), name, 2, -5);
        expect_refused(call.set("method", -1), name, 1);
    });
}

TEST_F(Generators, AcceptAllThatIsGoodEnough)
{
    each([](const Published& facts, const Signature& s, const std::string& name) {
        for (const int method : {0, 1, 2, 3, accurate, accurate + 1, accurate + 2}) {
            FunctionCall call(s);
            call.set("method", method);
            if (std::ranges::count(facts.methods, method) != 0)
                expect_accepted(call, name);
            else
                expect_refused(call, name, 1);
            if (!is_narrow(s)) // whose upper half counts too
                expect_refused(call.set("method", method + 0x100000000), name, 1);
        }
        for (const Bound& bound : facts.bounds)
            for (const double good : bound.good) {
                FunctionCall call(s);
                spoil(call, bound.place, good);
                expect_accepted(call, name);
            }
        for (std::size_t i = 4; i < s.parameters.size(); ++i)
            if (FunctionCall call(s); call.is_real(i))
                expect_accepted(call.put(s.parameters[i].name, std::nan("")), name);
    });
}

TEST_F(Generators, NumbersOfWideCallsHave64Bits)
{
    const Signature& s = signature("vdRngGaussianMV_64");
    FunctionCall call(s);
    expect_refused(call.set("mstorage", 0x100000001), "vdRngGaussianMV", 6);
    expect_refused(call.set("dimen", -0x100000000), "vdRngGaussianMV", 5);
    expect_refused(call.set("method", 0x100000000), "vdRngGaussianMV", 1);
    expect_refused(call.set("n", -0x100000000), "vdRngGaussianMV", 3);
    FunctionCall good(s);
    expect_accepted(good.set("dimen", 0x100000001), "vdRngGaussianMV"); // and the kernel gets what it can
    EXPECT_EQ(core().calls("_vsldRngGaussianMV")[0].int32(4), 1);
}

TEST_F(Generators, ManyNumbersGoByBlocks)
{
    each([](const Published&, const Signature& s, const std::string& name) {
        if (is_narrow(s))
            return;
        const bool doubles = name[1] == 'd' || name.ends_with("64");
        const std::uint64_t step = doubles ? 17179869176 : 8589934588;
        const auto blocks = [&](std::int64_t n, std::vector<int> statuses) {
            core().clear();
            core().answers(kernel(name)).calling([&, i = 0U](Call&, Answer& answer) mutable {
                answer.returns(statuses.at(i++));
            });
            FunctionCall call(s);
            const int status = call.set("n", n).run().int32();
            std::vector<int> counts;
            const auto calls = core().calls(kernel(name));
            for (std::size_t i = 0; i < calls.size(); ++i) {
                counts.push_back(calls[i].int32(2));
                EXPECT_EQ(calls[i].word(3), call.word("r").bits() + i * step);
                call.expect_passed(calls[i], call.callee(), [&](std::size_t argument, std::size_t) {
                    return argument == call.index("n") || argument == call.index("r");
                });
            }
            return std::pair(counts, status);
        };
        constexpr std::int64_t most = 2147483647;
        using Result = std::pair<std::vector<int>, int>;
        EXPECT_EQ(blocks(most, {5}), (Result{{INT_MAX}, 5}));
        EXPECT_EQ(blocks(most + 1, {5, 6}), (Result{{INT_MAX, 1}, 6}));
        EXPECT_EQ(blocks(2 * most, {5, 7}), (Result{{INT_MAX, INT_MAX}, 7}));
        EXPECT_EQ(blocks(2 * most + 3, {0, -9}), (Result{{INT_MAX, INT_MAX}, -9}));
        core().answers(kernel(name)).with(0);
    });
}

TEST_F(Generators, NarrowFormsPrintOneLineBehindTheKernel)
{
    each([](const Published& facts, const Signature& s, const std::string& name) {
        core().mode(1);
        FunctionCall(s).run();
        core().clear();
        core().clock({1.5, 4});
        const FunctionCall call(s);
        call.run();
        if (!is_narrow(s)) {
            EXPECT_THAT(lines(), IsEmpty());
            return;
        }
        EXPECT_THAT(story(),
                    ElementsAre("qnm_serv_verbose_mode", "qnm_serv_dsecnd", kernel(name), "qnm_serv_dsecnd",
                                "qnm_serv_sprintf_s", "qnm_serv_print_verbose_info"));
        std::string format =
            std::string("%s(%d,%p,%d,%p") + (*facts.format == '\0' ? "" : ",") + facts.format + ")";
        for (std::size_t at = 0; (at = format.find('F', at)) != std::string::npos;)
            format.replace(at, 1, name[1] == 's' ? "%f" : "%lf");
        expect_printed(name, format, line_of(call, call));
        call.expect_passed(core().calls(kernel(name)).at(0));
        core().mode(0);
    });
}

TEST_F(Generators, TheModeIsAskedBehindTheLookUpAndReadAgainBehindTheKernel)
{
    FunctionCall("vdRngUniform").run();
    EXPECT_THAT(story(),
                ElementsAre("qnm_serv_load_vml", "dlsym", "qnm_serv_verbose_mode", "_vsldRngUniform"));
    for (const int at_first : {0, 1}) {
        core().mode(at_first);
        core().answers("_vsldRngUniform").calling([&](Call&, Answer& answer) {
            core().mode(1 - at_first);
            answer.returns(3);
        });
        core().clear();
        core().clock({8});
        EXPECT_EQ(FunctionCall("vdRngUniform").run().int32(), 3);
        EXPECT_EQ(lines().size(), at_first == 0 ? 1U : 0U);
        EXPECT_EQ(core().calls("qnm_serv_dsecnd").size(), 1U);
        if (at_first == 0) {
            EXPECT_EQ(core().calls().back().real(0), 8); // nobody looked at the clock ahead of it
        }
    }
}

} // namespace
} // namespace qnm::tests
