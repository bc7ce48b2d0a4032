// What holds for every vector entry, unbound and bound, and telling members by hand.
#include "unbound.hpp"

#include <barrier>
#include <thread>

namespace qnm::tests {
namespace {

using catalogue::Callee;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

/// "dExpI" of vdExpI_64: what stands in the names of its kernels.
std::string typed_root(const Signature& s)
{
    return s.report_name.substr(1);
}

bool takes_mode(const Signature& s)
{
    return s.parameters.back().name == "mode";
}

/// The threader, or the kernel where there is none.
Callee target_of(const Signature& s)
{
    if (!s.callees.empty())
        return s.callees.front();
    Callee kernel{"qnm_vml_kernel_" + typed_root(s) + "_ttab", "", {}};
    for (std::size_t i = 0; i + (takes_mode(s) ? 1 : 0) < s.parameters.size(); ++i)
        kernel.places.push_back({Fill::as_it_is, static_cast<int>(i)});
    kernel.places.push_back({Fill::constant, -1, is_narrow(s) ? "1" : "2"});
    return kernel;
}

/// Gives an integer its low 32 bits: with junk above them by value, at an edge by reference.
FunctionCall& give(FunctionCall& call, std::size_t i, std::int32_t low)
{
    const catalogue::Parameter& p = call.parameters()[i];
    call.set(p.name, call.narrow() ? low : 0x5A5A'0000'0000 | static_cast<std::uint32_t>(low));
    return p.travel == Travel::number ? call.point(p.name, at_an_edge(i, low)) : call;
}

FunctionCall call_of(const Signature& s)
{
    FunctionCall call(s);
    for (std::size_t i = 0; i < s.parameters.size(); ++i)
        if (call.is_integer(i))
            give(call, i, i == 0 ? 7 : static_cast<std::int32_t>(call.integer(i)));
    return call;
}

/// Makes an argument bad, and those behind it too.
FunctionCall spoiled(FunctionCall call, const std::string& argument)
{
    const std::size_t first = call.index(argument);
    give(call, 0, first == 0 ? -1 : 7);
    for (std::size_t i = first; i < call.parameters().size(); ++i)
        if (call.parameters()[i].travel == Travel::address)
            call.point(call.parameters()[i].name, nullptr);
    return call;
}

class Entries : public Unbound {
protected:
    static constexpr const char* control[]{"qnm_vml_kernel_SetMode", "qnm_vml_kernel_SetErrStatus"};

    /// The calls of one call of an entry, unbound or bound, and the names that it looks up.
    struct Expected {
        std::vector<std::string> story, names;

        void add(const std::string& call) { story.push_back(call); }
        void look_up(const std::string& name)
        {
            story.emplace_back("dlsym");
            names.push_back(name);
        }
    };
    static Expected expected(const Signature& s, bool fresh, bool tells_accuracy)
    {
        const std::string kernel = "qnm_vml_kernel_" + typed_root(s);
        Expected all;
        if (fresh) {
            all.add("qnm_serv_load_vml");
            all.look_up(kernel + "_ttab");
            all.look_up(kernel + "_ctab");
        }
        const auto call_control = [&](const char* name) {
            if (fresh)
                all.look_up(name);
            all.add(name);
        };
        if (takes_mode(s))
            call_control(control[0]);
        if (fresh) {
            all.look_up("qnm_vml_kernel_GetTTableIndex");
            all.add("qnm_serv_getenv");
            all.add("qnm_serv_vml_cpu_detect");
        }
        all.add("qnm_vml_kernel_GetTTableIndex");
        if (tells_accuracy)
            call_control(control[1]);
        all.add(target_of(s).name);
        if (takes_mode(s))
            all.add(control[0]);
        return all;
    }

    static void expect_passed(const FunctionCall& call)
    {
        const Signature& s = call.signature();
        const Callee target = target_of(s);
        const bool direct = s.callees.empty();
        const Call got = core().calls(target.name).at(0);
        const FunctionCall::Passed passed =
            call.expect_passed(got, target, [&](std::size_t i, std::size_t word) {
                if (!direct || !call.is_integer(i))
                    return false;
                EXPECT_EQ(got.int64(word), static_cast<std::int32_t>(call.integer(i))); // widened
                return true;
            });
        if (!direct) {
            EXPECT_EQ(got.pointer<void>(0), core().kernel("qnm_vml_kernel_" + typed_root(s) + "_ttab"));
            EXPECT_EQ(got.pointer<void>(passed.words - 2), *layer().local<void*>("vml_dll_handle"));
            EXPECT_EQ(got.real32(passed.reals), companion);
        }
        EXPECT_EQ(core().calls("qnm_vml_kernel_GetTTableIndex")[0].int32(0), type);
        if (takes_mode(s)) {
            const auto modes = core().calls(control[0]);
            EXPECT_EQ(modes[0].int32(0), static_cast<std::int32_t>(call.integer("mode")));
            EXPECT_EQ(modes[1].int32(0), saved_mode);
        }
    }

    static void expect_refused(const FunctionCall& call, const FunctionCall::Step& step)
    {
        const Signature& s = call.signature();
        const bool count = step.argument == "n";
        unbind(typed_root(s));
        core().clear();
        spoiled(call, step.argument).run();
        EXPECT_THAT(story(), ElementsAre("qnm_serv_set_xerbla_interface", "qnm_serv_xerbla",
                                         "qnm_serv_load_vml", "dlsym", control[1]));
        const bool wide_name = count && !is_narrow(s);
        EXPECT_EQ(reports(), (Reports{{s.report_name + (wide_name ? "_64" : ""), step.code}}));
        EXPECT_EQ(core().calls().back().int32(0), count ? -1 : -2);
        EXPECT_EQ(*layer().local<void*>("qnm_vml_kernel_" + typed_root(s) + "_ttab"), nullptr);
    }
};

TEST_F(Entries, BindOnceHandOnAndRefuse)
{
    const std::set<std::string> accurate{"sLinearFrac",  "dLinearFrac", "sLinearFracI",
                                         "dLinearFracI", "zPow",        "zPowx"};
    const auto all = signatures([](const Signature& s) { return s.family == "vml"; });
    EXPECT_EQ(all.size(), 480U * 8);
    for (const Signature* s : all) {
        QNM_TRACE_SIGNATURE(*s);
        SetUp();
        unbind(typed_root(*s));
        const FunctionCall call = call_of(*s);
        for (const bool fresh : {true, false}) {
            const Expected wanted = expected(*s, fresh, accurate.contains(typed_root(*s)));
            core().clear();
            call.run();
            ASSERT_THAT(story(), ElementsAreArray(wanted.story));
            EXPECT_THAT(looked_up(), ElementsAreArray(wanted.names));
            expect_passed(call);
        }
        for (const FunctionCall::Step& step : call.steps())
            expect_refused(call, step);
        core().clear();
        FunctionCall none = spoiled(call, "n");
        give(none, 0, 0).run();
        EXPECT_THAT(story(), IsEmpty());
        if (HasFailure())
            return; // the others fail alike
    }
}

/// Published by hand: the threader, and the codes of n and the vectors.
TEST_F(Entries, TellingMembers)
{
    struct Member {
        const char *name, *threader, *reported;
        std::vector<int> codes;
    };
    const Member members[]{
        {"vsCeil", "s_1i_1o", "vsCeil", {1, 2, 3}},
        {"vmsCeilI_64", "s_1iI_1oI", "vsCeilI_64", {1, 2, 4}},
        {"VDATAN2_", "d_2i_1o", "vdAtan2", {1, 2, 3, 4}},
        {"vcMulByConjI", "c_2iI_1oI", "vcMulByConjI", {1, 2, 4, 6}},
        {"vmzPowx", "z_cz_2i_z_1o", "vzPowx", {1, 2, 4}},
        {"vsJnI", "s_cs_2iI_s_1oI", "vsJnI", {1, 2, 5}},
        {"vdSinCos", "d_1i_2o", "vdSinCos", {1, 2, 3, 3}},
        {"vsSinCosI", "s_1iI_2oI", "vsSinCosI", {1, 2, 4, 6}},
        {"VMDMODF_64_", "d_1i_2o", "vdModf_64", {1, 2, 3, 3}},
        {"vdLinearFrac", "d_6i_1o", "vdLinearFrac", {1, 2, 3, 8}},
        {"vsLinearFracI", "s_6iI_1oI", "vsLinearFracI", {1, 2, 3, 8}},
        {"vcAbs", "c_1i_s_1o", "vcAbs", {1, 2, 3}},
        {"vdAbs", "d_1i_1o", "vdAbs", {1, 2, 3}},
        {"vzArgI", "z_1iI_d_1oI", "vzArgI", {1, 2, 4}},
        {"vzCIS", "d_1i_z_1o", "vzCIS", {1, 2, 3}},
        {"vcCISI", "s_1iI_c_1oI", "vcCISI", {1, 2, 4}},
        {"vsunpackm_64_", "", "vsUnpackM_64", {1}},
    };
    for (const Member& m : members) {
        SCOPED_TRACE(m.name);
        const Signature& s = signature(m.name);
        unbind(typed_root(s));
        const FunctionCall call = call_of(s);
        call.run();
        EXPECT_EQ(core().calls(std::string("qnm_vml_serv_threader_") + m.threader).size(), *m.threader != 0);
        std::vector<int> codes;
        std::string first;
        for (const FunctionCall::Step& step : call.steps()) {
            core().clear();
            spoiled(call, step.argument).run();
            codes.push_back(reports().at(0).second);
            first = first.empty() ? reports().at(0).first : first;
        }
        EXPECT_EQ(codes, m.codes);
        EXPECT_EQ(first, m.reported);
        core().clear();
    }
}

/// What another thread, or the index function, writes meanwhile counts; and a count that is gone leaves the
/// threader out, in wide forms by reference alone, which give the mode back all the same.
TEST_F(Entries, NumbersByReferenceAreReadBehindTheIndex)
{
    for (const bool wide : {false, true}) {
        unbind("dExpI");
        std::int32_t n = 7, inca = 1, incy = 1, mode = 0;
        double a[1], y[1];
        int count = 0;
        core().answers("qnm_vml_kernel_GetTTableIndex").calling([&](Call&, Answer& answer) {
            n = count;
            inca = -3;
            incy = 5;
            answer.returns(index);
        });
        core().answers("qnm_serv_load_vml").calling([&](Call& call, Answer& answer) {
            mode = 9; // read when the tables are bound
            core().serve(call, answer);
        });
        const auto* name = wide ? "vmdexpi_64_" : "vmdexpi_";
        for (const int left : {4, 0, -1}) {
            n = 7;
            count = left;
            core().clear();
            support::call_words(layer()[name], {&n, a, &inca, y, &incy, &mode});
            const auto calls = core().calls("qnm_vml_serv_threader_d_1iI_1oI");
            ASSERT_EQ(calls.size(), wide && left <= 0 ? 0U : 1U);
            if (!calls.empty()) {
                EXPECT_EQ(calls[0].int32(1), left);
                EXPECT_EQ(calls[0].int32(3), -3);
                EXPECT_EQ(calls[0].int32(5), 5);
            }
            const auto modes = core().calls(control[0]);
            ASSERT_EQ(modes.size(), 2U);
            EXPECT_EQ(modes[0].int32(0), 9);
            EXPECT_EQ(modes[1].int32(0), saved_mode);
        }
    }
}

TEST_F(Entries, LowHalvesCountAndTheBestKernelsLeaveNoStatus)
{
    unbind("zPow");
    double z[2];
    const auto call = [&](const char* name, std::int64_t n) {
        core().clear();
        support::call_words(layer()[name], {n, z, z, z});
    };
    call("vzPow_64", 4294967297);
    EXPECT_EQ(core().calls("qnm_vml_serv_threader_z_2i_1o").at(0).int32(1), 1);
    EXPECT_EQ(core().calls(control[1]).at(0).int32(0), 1000);
    core().answers("qnm_vml_kernel_GetTTableIndex").with(2);
    call("vzPow_64", 1);
    EXPECT_THAT(core().calls(control[1]), IsEmpty());
    call("vzPow_64", 2147483648);
    EXPECT_EQ(reports(), (Reports{{"vzPow_64", 1}}));
    call("vzPow_64", 4294967296);
    EXPECT_THAT(story(), IsEmpty());
}

// Of each thread the kernel library keeps a mode, and gives it back as the former one.
thread_local std::int32_t current_mode = 0;

TEST_F(Entries, FirstCallsFromManyThreadsGiveEachItsModeBack)
{
    constexpr int threads = 8;
    const std::set<std::string> roots{"dExp", "sAddI", "zPowx", "dSinCos", "cAbs", "dLinearFracI"};
    const auto all =
        signatures([&](const Signature& s) { return s.family == "vml" && roots.contains(typed_root(s)); });
    ASSERT_EQ(all.size(), 6 * 8U);
    std::atomic<int> reached = 0, foreign = 0;
    core().quiet(true);
    core().answers(control[0]).calling([](Call& call, Answer& answer) {
        answer.returns(std::exchange(current_mode, call.int32(0)));
    });
    std::vector<FunctionCall> calls;
    for (const Signature* s : all) {
        calls.push_back(call_of(*s));
        core().answers(target_of(*s).name).calling([&](Call&, Answer&) {
            reached.fetch_add(1, std::memory_order_relaxed); // which orders nobody
        });
    }
    for (int round = 0; round < 4; ++round) {
        for (const std::string& root : roots)
            unbind(root);
        std::barrier start(threads);
        std::vector<std::jthread> crowd;
        for (int t = 0; t < threads; ++t)
            crowd.emplace_back([&, t] {
                current_mode = 100 + t;
                start.arrive_and_wait();
                for (std::size_t i = 0; i < calls.size(); ++i) {
                    calls[t % 2 == 0 ? i : calls.size() - 1 - i].run();
                    foreign.fetch_add(current_mode != 100 + t ? 1 : 0, std::memory_order_relaxed);
                }
            });
    }
    EXPECT_EQ(reached, 4 * threads * 6 * 8);
    EXPECT_EQ(foreign, 0);
}

TEST_F(Entries, ThreadersAndKernelsAreThePublishedOnes)
{
    std::set<std::string> threaders, imported, asked;
    const auto add = [&](const char* letters, const std::string& plain, const std::string& strided) {
        for (const char t : std::string(letters))
            for (std::string name : {plain, strided}) {
                std::replace(name.begin(), name.end(), '?', t);
                threaders.insert("qnm_vml_serv_threader_" + name);
            }
    };
    add("sdcz", "?_1i_1o", "?_1iI_1oI");
    add("sdcz", "?_2i_1o", "?_2iI_1oI");
    add("sdcz", "?_c?_2i_?_1o", "?_c?_2iI_?_1oI");
    add("sd", "?_1i_2o", "?_1iI_2oI");
    add("sd", "?_6i_1o", "?_6iI_1oI");
    for (const char* names : {"c?s", "z?d", "s?c", "d?z"}) {
        const std::string in(1, names[0]), out(1, names[2]);
        add("-", in + "_1i_" + out + "_1o", in + "_1iI_" + out + "_1oI");
    }
    EXPECT_EQ(threaders.size(), 40U);
    for (const std::string_view name : core().names())
        if (name.starts_with("qnm_vml_serv_threader"))
            imported.emplace(name);
    EXPECT_EQ(imported, threaders);

    for (const std::string_view name : core().kernels())
        asked.emplace(name);
    EXPECT_EQ(asked.size(), 2 * 480U + 8 + 1);
#ifdef QNM_KERNELS_FILE
    std::set<std::string> there;
    for (const support::Symbol& symbol : support::ElfFile(QNM_KERNELS_FILE).exported())
        there.insert(symbol.name);
    EXPECT_THAT(asked, ::testing::IsSubsetOf(there));
#endif
}

} // namespace
} // namespace qnm::tests
