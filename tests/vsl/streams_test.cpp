// Entries of streams: what is published of each, by hand, against all forms.
#include "suite/line.hpp"
#include "unbound.hpp"

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#else
#define VALGRIND_CHECK_MEM_IS_DEFINED(address, size) 0
#endif

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A bad argument, by its place, and the status that it is refused with: -5 stands for a stream.
struct Refusal {
    int place, status;
};
struct Published {
    std::string name, format;
    bool has_wide, creates;
    std::vector<Refusal> tests;

    bool makes_stream() const { return name.starts_with("NewStream"); }
    std::string kernel() const { return "__vsl" + (makes_stream() ? "NewStreamEx" : name); }
    std::string shown() const { return (name == "GetStreamSize" ? "" : "vsl") + name; }
};

const std::vector<Published> published{{"NewStream", "%s(%p,%s,%d)", true, true, {{2, -1000}}},
                                       {"NewStreamEx", "%s(%p,%s,%d,%p)", true, true, {{2, -1000}}},
                                       {"DeleteStream", "%s(%p)", true, false, {{1, -5}}},
                                       {"CopyStream", "%s(%p,%p)", true, false, {{2, -5}}},
                                       {"CopyStreamState", "%s(%p,%p)", true, false, {{1, -5}, {2, -5}}},
                                       {"LeapfrogStream", "%s(%p,%d,%d)", true, false, {{1, -5}}},
                                       {"SkipAheadStream", "%s(%p,%lli)", true, false, {{1, -5}}},
                                       {"SkipAheadStreamEx", "%s(%p,%d,%p)", true, false, {{1, -5}}},
                                       {"SaveStreamF", "%s(%p,%s,%d)", true, false, {{1, -5}, {2, -3}}},
                                       {"LoadStreamF", "%s(%p,%s,%d)", true, true, {{2, -3}}},
                                       {"SaveStreamM", "%s(%p,%p)", true, false, {{1, -5}, {2, -3}}},
                                       {"LoadStreamM", "%s(%p,%p)", true, true, {{2, -3}}},
                                       {"GetStreamSize", "%s(%p)", true, false, {{1, -5}}},
                                       {"GetStreamStateBrng", "%s(%p)", false, false, {{1, -5}}},
                                       {"GetNumRegBrngs", "%s", false, false, {}},
                                       {"RegisterBrng", "%s", false, false, {}},
                                       {"GetBrngProperties", "%s(%d,%p)", false, false, {}},
                                       {"iNewAbstractStream", "%s(%p,%d,%p,%p)", false, true, {}},
                                       {"sNewAbstractStream", "%s(%p,%d,%p,%f,%f,%p)", false, true, {}},
                                       {"dNewAbstractStream", "%s(%p,%d,%p,%lf,%lf,%p)", false, true, {}}};

class Streams : public Unbound {
protected:
    /// Visits each entry with what is published of it, and its kernel.
    template <class Visit>
    static void each(const Visit& visit)
    {
        std::size_t seen = 0;
        for (const Published& facts : published)
            for (const char* form : {"vslName", "vslName_64", "VSLNAME_"}) {
                if (!facts.has_wide && std::string(form).ends_with("_64"))
                    continue;
                const Signature& s = signature(catalogue::spell(form, facts.name));
                QNM_TRACE_SIGNATURE(s);
                core().clear();
                EXPECT_EQ(s.callees.front().name, facts.kernel());
                visit(facts, call_of(s));
                ++seen;
                if (::testing::Test::HasFailure())
                    return; // the others fail alike
            }
        EXPECT_EQ(seen, 13U * 3 + 7 * 2);
    }
    /// Numbers of wide calls that count by their lower half have junk above it.
    static FunctionCall call_of(const Signature& s)
    {
        FunctionCall call(s);
        for (const catalogue::Place& place : s.callees.front().places)
            if (!is_narrow(s) && (place.fill == Fill::low || place.fill == Fill::addressed))
                call.set(s.parameters[static_cast<std::size_t>(place.parameter)].name,
                         0x5A5A'0000'0000 + call.integer(static_cast<std::size_t>(place.parameter)));
        return s.root == "SkipAheadStream" ? call.set("nskip", -0x7'0000'0005) : call;
    }
    static std::string argument(const FunctionCall& call, const Refusal& refusal)
    {
        return call.parameters()[static_cast<std::size_t>(refusal.place - 1)].name;
    }
    static void spoil(FunctionCall& call, const Refusal& refusal)
    {
        static void* no_stream = nullptr;
        if (refusal.status == -5)
            call.handle(argument(call, refusal), no_stream);
        else if (refusal.status == -3)
            call.point(argument(call, refusal), nullptr);
        else
            call.set(argument(call, refusal), -1);
    }
};

TEST_F(Streams, FindTheKernelOnceAndHandOn)
{
    each([](const Published& facts, const FunctionCall& call) {
        expect_handed_on(call, call.signature().form->name == "narrow",
                         std::vector<std::string>(facts.creates ? 1 : 0, "qnm_serv_get_dynamic"));
    });
}

TEST_F(Streams, RefuseWithAllLaterArgumentsBadToo)
{
    each([](const Published& facts, const FunctionCall& good) {
        for (std::size_t k = 0; k < facts.tests.size(); ++k) {
            FunctionCall call = good;
            for (std::size_t later = k; later < facts.tests.size(); ++later)
                spoil(call, facts.tests[later]);
            const std::string name = "vsl" + facts.name;
            expect_refused(call, name, facts.tests[k].place, facts.tests[k].status);
            if (facts.tests[k].status == -5) {
                call.handle(argument(call, facts.tests[k]), deleted_stream);
                expect_refused(call, name, facts.tests[k].place, -1006);
            }
        }
    });
}

TEST_F(Streams, NarrowFormsPrintOneLineThatIsMadeAheadOfTheKernel)
{
    core().mode(1);
    each([](const Published& facts, const FunctionCall& call) {
        if (!call.narrow())
            return;
        core().clock({1.5, 4});
        call.run();
        std::vector<std::string> expected{"qnm_serv_verbose_mode"}, told = story();
        if (facts.makes_stream()) // a generator is named ahead of the line
            expected.emplace_back("qnm_serv_sprintf_s");
        expected.insert(expected.end(), {"qnm_serv_sprintf_s", "qnm_serv_dsecnd"});
        if (call.signature().form->name == "narrow") // the time of finding the kernel counts
            expected.emplace_back("dlsym");
        expected.insert(expected.end(), {facts.kernel(), "qnm_serv_dsecnd", "qnm_serv_print_verbose_info"});
        std::erase(told, "qnm_serv_load_vml");
        std::erase(told, "qnm_serv_get_dynamic");
        EXPECT_EQ(told, expected);
        call.expect_passed(core().calls(facts.kernel()).at(0));
        const bool texts = facts.format.find("%s", 1) != std::string::npos; // told by hand below
        expect_printed(facts.shown(), facts.format, texts ? lines().at(0) : line_of(call, call));
    });
}

TEST_F(Streams, ValidityIsAskedByItself)
{
    void* const ask = layer()["qnm_vml_service_IsStreamValid"];
    EXPECT_EQ(support::call_words(ask, {good_stream}).int32(), 0);
    EXPECT_EQ(support::call_words(ask, {nullptr}).int32(), -5);
    EXPECT_EQ(support::call_words(ask, {deleted_stream}).int32(), -1006);
    unsigned char other[16]{0, 0, 0, 0, 2};
    EXPECT_EQ(support::call_words(ask, {other}).int32(), -1006);
}

// A seed of the wide form whose 32nd bit is set counts as two words, of which the second may be anything:
// that is known to a checker of memory, if one looks on.
TEST_F(Streams, ASeedIsAnArrayOfOneWordOrTwo)
{
    void* slot = nullptr;
    core().answers("__vslNewStreamEx").calling([](Call& made, Answer&) {
        EXPECT_EQ(VALGRIND_CHECK_MEM_IS_DEFINED(made.word(3), 4U * static_cast<unsigned>(made.int32(2))), 0U);
    });
    const auto words = [&](const char* name, support::Word seed) {
        core().clear();
        support::call_words(layer()[name], {&slot, 0x800000, seed});
        const Call made = core().calls("__vslNewStreamEx").at(0);
        return std::pair(made.int32(2), made.behind<std::uint32_t>(3).value_or(0));
    };
    using Words = std::pair<int, std::uint32_t>;
    EXPECT_EQ(words("vslNewStream", 0x80000005U), (Words{1, 0x80000005}));
    EXPECT_EQ(words("vslNewStream_64", 0x180000005), (Words{2, 0x80000005}));
    EXPECT_EQ(words("vslNewStream_64", 0x17fffffff), (Words{1, 0x7fffffff}));
}

TEST_F(Streams, GeneratorsHaveNames)
{
    core().mode(1);
    std::vector<std::pair<int, std::string>> names{{0x500110, "WH_substream272"},
                                                   {0x500111, "-"},
                                                   {0x901787, "MT2203_substream6023"},
                                                   {0x901788, "-"},
                                                   {0x800001, "-"},
                                                   {0, "-"}};
    for (const char* family :
         {"MCG31", "R250", "MRG32K3A", "MCG59", "WH_substream0", "SOBOL", "NIEDERR", "MT19937",
          "MT2203_substream0", "-", "-", "-", "SFMT19937", "NONDETERM", "ARS5", "PHILOX4X32X10", "-"})
        names.emplace_back((static_cast<int>(names.size()) - 5) << 20, family);
    for (const auto& [id, name] : names) {
        core().clear();
        support::call_words(layer()["vslNewStream"], {nullptr, id, 777});
        const std::string shown = name == "-" ? "Unknown engine" : "VSL_BRNG_" + name;
        EXPECT_THAT(lines(), ElementsAre("vslNewStream((nil)," + shown + ",777)"));
    }
}

// A text of Fortran has no end but its length.
TEST_F(Streams, NamesOfFilesEndAtTheirLength)
{
    core().mode(1);
    std::string text(300, 'x');
    text[150] = '\0';
    for (const auto& [length, shown] :
         {std::pair{3, 3}, {0, 0}, {149, 149}, {151, 150}, {-1, 150}, {290, 150}}) {
        core().clear();
        support::call_words(layer()["vslsavestreamf_"], {&good_stream, text.data(), length});
        EXPECT_EQ(core().calls("__vslSaveStreamF").at(0).int32(2), length);
        const std::string line = lines().at(0);
        EXPECT_EQ(std::ranges::count(line.substr(line.find(',')), 'x'), shown) << length;
    }
    const char unended[3]{'a', 'b', 'c'};
    core().clear();
    support::call_words(layer()["VSLLOADSTREAMF_"], {nullptr, unended, 3});
    support::call_words(layer()["vslLoadStreamF"], {nullptr, "abc"});
    EXPECT_THAT(lines(), ElementsAre("vslLoadStreamF((nil),abc,3)", "vslLoadStreamF((nil),abc,-1)"));
}

} // namespace
} // namespace qnm::tests
