// Entries of streams: what is published of each, by hand, against all forms.
#include "entry.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A bad argument, by its place, and the status that it is refused with.
struct Refusal {
    int place, status;
};
struct Published {
    const char *name, *kernel, *format, *shown;
    bool has_wide, creates;
    std::vector<Refusal> tests; // -5 stands for a stream
};

const std::vector<Published> published{
    {"NewStream", "NewStreamEx", "(%p,%s,%d)", "vslNewStream", true, true, {{2, -1000}}},
    {"NewStreamEx", "NewStreamEx", "(%p,%s,%d,%p)", "vslNewStreamEx", true, true, {{2, -1000}}},
    {"DeleteStream", "DeleteStream", "(%p)", "vslDeleteStream", true, false, {{1, -5}}},
    {"CopyStream", "CopyStream", "(%p,%p)", "vslCopyStream", true, false, {{2, -5}}},
    {"CopyStreamState", "CopyStreamState", "(%p,%p)", "vslCopyStreamState", true, false, {{1, -5}, {2, -5}}},
    {"LeapfrogStream", "LeapfrogStream", "(%p,%d,%d)", "vslLeapfrogStream", true, false, {{1, -5}}},
    {"SkipAheadStream", "SkipAheadStream", "(%p,%lli)", "vslSkipAheadStream", true, false, {{1, -5}}},
    {"SkipAheadStreamEx", "SkipAheadStreamEx", "(%p,%d,%p)", "vslSkipAheadStreamEx", true, false, {{1, -5}}},
    {"SaveStreamF", "SaveStreamF", "(%p,%s,%d)", "vslSaveStreamF", true, false, {{1, -5}, {2, -3}}},
    {"LoadStreamF", "LoadStreamF", "(%p,%s,%d)", "vslLoadStreamF", true, true, {{2, -3}}},
    {"SaveStreamM", "SaveStreamM", "(%p,%p)", "vslSaveStreamM", true, false, {{1, -5}, {2, -3}}},
    {"LoadStreamM", "LoadStreamM", "(%p,%p)", "vslLoadStreamM", true, true, {{2, -3}}},
    {"GetStreamSize", "GetStreamSize", "(%p)", "GetStreamSize", true, false, {{1, -5}}},
    {"GetStreamStateBrng", "GetStreamStateBrng", "(%p)", "vslGetStreamStateBrng", false, false, {{1, -5}}},
    {"GetNumRegBrngs", "GetNumRegBrngs", "", "vslGetNumRegBrngs", false, false, {}},
    {"RegisterBrng", "RegisterBrng", "", "vslRegisterBrng", false, false, {}},
    {"GetBrngProperties", "GetBrngProperties", "(%d,%p)", "vslGetBrngProperties", false, false, {}},
    {"iNewAbstractStream", "iNewAbstractStream", "(%p,%d,%p,%p)", "vsliNewAbstractStream", false, true, {}},
    {"sNewAbstractStream",
     "sNewAbstractStream",
     "(%p,%d,%p,%f,%f,%p)",
     "vslsNewAbstractStream",
     false,
     true,
     {}},
    {"dNewAbstractStream",
     "dNewAbstractStream",
     "(%p,%d,%p,%lf,%lf,%p)",
     "vsldNewAbstractStream",
     false,
     true,
     {}}};

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
                visit(facts, s, "__vsl" + std::string(facts.kernel));
                ++seen;
                if (::testing::Test::HasFailure())
                    return; // the others fail alike
            }
        EXPECT_EQ(seen, 13U * 3 + 7 * 2);
    }
    static void spoil(EntryCall& call, const Signature& s, const Refusal& refusal)
    {
        const auto i = static_cast<std::size_t>(refusal.place - 1);
        if (refusal.status == -5)
            call.stream(s.parameters[i].name, nullptr);
        else if (refusal.status == -3)
            call.point(i, nullptr);
        else
            call.set(i, -1);
    }
};

TEST_F(Streams, FindTheKernelOnceAndHandOn)
{
    std::string before;
    each([&](const Published& facts, const Signature& s, const std::string& kernel) {
        core().answers(kernel).with(-77);
        const EntryCall call(s);
        EXPECT_EQ(call.run(), -77);
        EXPECT_EQ(looked_up(), before == facts.name ? std::vector<std::string>{} : std::vector{kernel});
        before = facts.name;
        core().clear();
        EXPECT_EQ(call.run(), -77);
        std::vector<std::string> expected;
        if (facts.creates)
            expected.emplace_back("qnm_serv_get_dynamic");
        if (is_narrow(s))
            expected.emplace_back("qnm_serv_verbose_mode");
        expected.push_back(kernel);
        EXPECT_EQ(story(), expected);
        call.expect_passed(core().calls(kernel).at(0));
    });
}

TEST_F(Streams, RefuseWithAllLaterArgumentsBadToo)
{
    each([](const Published& facts, const Signature& s, const std::string&) {
        for (std::size_t k = 0; k < facts.tests.size(); ++k) {
            EntryCall call(s);
            for (std::size_t later = k; later < facts.tests.size(); ++later)
                spoil(call, s, facts.tests[later]);
            const auto expect_refused = [&](int status) {
                core().clear();
                EXPECT_EQ(call.run(), status);
                EXPECT_EQ(reports(), (Reports{{"vsl" + std::string(facts.name), facts.tests[k].place}}));
                EXPECT_THAT(story(), ElementsAre("qnm_serv_set_xerbla_interface", "qnm_serv_xerbla"));
            };
            expect_refused(facts.tests[k].status);
            if (facts.tests[k].status == -5) {
                const auto i = static_cast<std::size_t>(facts.tests[k].place - 1);
                call.stream(s.parameters[i].name, &Stream::deleted);
                expect_refused(-1006);
            }
        }
    });
}

TEST_F(Streams, NarrowFormsPrintOneLineThatIsMadeAheadOfTheKernel)
{
    each([](const Published& facts, const Signature& s, const std::string& kernel) {
        if (!is_narrow(s))
            return;
        core().mode(1);
        for (const std::vector<std::string>& look_up : {std::vector<std::string>{"dlsym"}, {}}) {
            core().clear();
            core().clock({1.5, 4});
            const EntryCall call(s);
            call.run();
            std::vector<std::string> expected{"qnm_serv_sprintf_s", "qnm_serv_dsecnd"}, told = story();
            std::erase(told, "qnm_serv_load_vml"), std::erase(told, "qnm_serv_get_dynamic");
            const bool names = facts.kernel == std::string("NewStreamEx"); // a generator, ahead of the line
            if (names)
                expected.insert(expected.begin(), "qnm_serv_sprintf_s");
            if (s.form->name == "narrow")
                expected.insert(expected.end(), look_up.begin(), look_up.end());
            expected.insert(expected.begin(), "qnm_serv_verbose_mode");
            expected.insert(expected.end(), {kernel, "qnm_serv_dsecnd", "qnm_serv_print_verbose_info"});
            EXPECT_EQ(told, expected);
            call.expect_passed(core().calls(kernel).at(0));
            const Call line = core().calls("qnm_serv_sprintf_s").back();
            EXPECT_EQ(line.word(1), 256U);
            EXPECT_STREQ(line.pointer<const char>(2), ("%s" + std::string(facts.format)).c_str());
            EXPECT_EQ(core().calls().back().real(0), 2.5);
            std::string text = facts.shown;
            for (std::size_t i = 0; *facts.format != '\0' && i < s.parameters.size(); ++i) {
                const std::string& name = s.parameters[i].name;
                text += (i == 0 ? "(" : ",") + (names && name == "brng" ? "Unknown engine"
                                                : name == "fname"       ? "a name, and more"
                                                                        : call.shown(i));
                if (name == "fname" && s.form->name == "narrow")
                    text += ",-1"; // in C
            }
            EXPECT_EQ(lines(), std::vector{text + (*facts.format == '\0' ? "" : ")")});
        }
    });
}

TEST_F(Streams, ValidityIsAskedByItself)
{
    void* const ask = layer()["qnm_vml_service_IsStreamValid"];
    EXPECT_EQ(support::call_words(ask, {&Stream::good}).int32(), 0);
    EXPECT_EQ(support::call_words(ask, {nullptr}).int32(), -5);
    EXPECT_EQ(support::call_words(ask, {&Stream::deleted}).int32(), -1006);
    Stream other{{0, 0, 0, 0, 2}};
    EXPECT_EQ(support::call_words(ask, {&other}).int32(), -1006);
}

// A seed of the wide form whose 32nd bit is set counts as two words.
TEST_F(Streams, ASeedIsAnArrayOfOneWordOrTwo)
{
    void* slot = nullptr;
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
    const std::pair<int, const char*> names[]{{0x100000, "VSL_BRNG_MCG31"},
                                              {0x200000, "VSL_BRNG_R250"},
                                              {0x300000, "VSL_BRNG_MRG32K3A"},
                                              {0x400000, "VSL_BRNG_MCG59"},
                                              {0x500000, "VSL_BRNG_WH_substream0"},
                                              {0x500110, "VSL_BRNG_WH_substream272"},
                                              {0x500111, "Unknown engine"},
                                              {0x600000, "VSL_BRNG_SOBOL"},
                                              {0x700000, "VSL_BRNG_NIEDERR"},
                                              {0x800000, "VSL_BRNG_MT19937"},
                                              {0x800001, "Unknown engine"},
                                              {0x900000, "VSL_BRNG_MT2203_substream0"},
                                              {0x901787, "VSL_BRNG_MT2203_substream6023"},
                                              {0x901788, "Unknown engine"},
                                              {0xa00000, "Unknown engine"},
                                              {0xc00000, "Unknown engine"},
                                              {0xd00000, "VSL_BRNG_SFMT19937"},
                                              {0xe00000, "VSL_BRNG_NONDETERM"},
                                              {0xf00000, "VSL_BRNG_ARS5"},
                                              {0x1000000, "VSL_BRNG_PHILOX4X32X10"},
                                              {0x1100000, "Unknown engine"},
                                              {0, "Unknown engine"}};
    for (const auto& [id, name] : names) {
        core().clear();
        support::call_words(layer()["vslNewStream"], {nullptr, id, 777});
        EXPECT_EQ(lines(), std::vector{"vslNewStream((nil)," + std::string(name) + ",777)"});
        for (const Call& call : core().calls("qnm_serv_sprintf_s"))
            EXPECT_GE(call.word(1), 32U);
    }
}

// A text of Fortran has no end but its length.
TEST_F(Streams, NamesOfFilesEndAtTheirLength)
{
    core().mode(1);
    void* const stream = &Stream::good;
    std::string text(300, 'x');
    text[150] = '\0';
    for (const auto& [length, shown] :
         {std::pair{3, 3}, {0, 0}, {149, 149}, {151, 150}, {-1, 150}, {290, 150}}) {
        core().clear();
        support::call_words(layer()["vslsavestreamf_"], {&stream, text.data(), length});
        EXPECT_EQ(core().calls("__vslSaveStreamF").at(0).int32(2), length);
        const std::string line = lines().at(0);
        EXPECT_EQ(std::ranges::count(line.substr(line.find(',')), 'x'), shown) << length;
    }
    char unended[3]{'a', 'b', 'c'};
    core().clear();
    support::call_words(layer()["VSLLOADSTREAMF_"], {nullptr, unended, 3});
    EXPECT_THAT(lines(), ElementsAre("vslLoadStreamF((nil),abc,3)"));
}

} // namespace
} // namespace qnm::tests
