// What holds for every vector entry, and telling members by hand.
#include "entry.hpp"

#include <set>

namespace qnm::tests {
namespace {

using ::testing::IsEmpty;

class Entries : public Unbound {};

std::vector<std::string> texts_of(std::string_view name)
{
    std::vector<std::string> all;
    for (const Call& call : core().calls(name))
        all.push_back(call.text);
    return all;
}

/// Members that leave 1000, by hand.
bool tells_accuracy(const std::string& root)
{
    static const std::set<std::string> all{"sLinearFrac",  "dLinearFrac", "sLinearFracI",
                                           "dLinearFracI", "zPow",        "zPowx"};
    return all.count(root) != 0;
}

TEST_F(Entries, BindOnceAndHandOn)
{
    const auto all = entries();
    EXPECT_EQ(all.size(), 480U * 8);
    for (const Signature& s : all) {
        SCOPED_TRACE(s.names.front());
        SetUp();
        const std::string root = typed_root(s), kernel = "qnm_vml_kernel_" + root + "_ttab";
        unbind(root);
        EntryCall call(s);
        const bool direct = s.callees.empty();
        const std::string target = direct ? kernel : s.callees.front().name;

        std::vector<std::string> first{"qnm_serv_load_vml", "dlsym", "dlsym"}, second{},
            looked_up{kernel, "qnm_vml_kernel_" + root + "_ctab"};
        if (call.mode() != 0) {
            first.insert(first.end(), {"dlsym", "qnm_vml_kernel_SetMode"});
            second.emplace_back("qnm_vml_kernel_SetMode");
            looked_up.emplace_back("qnm_vml_kernel_SetMode");
        }
        first.insert(first.end(), {"dlsym", "qnm_serv_getenv", "qnm_serv_vml_cpu_detect"});
        looked_up.emplace_back("qnm_vml_kernel_GetTTableIndex");
        std::vector<std::string> last{"qnm_vml_kernel_GetTTableIndex"};
        if (tells_accuracy(root)) {
            first.insert(first.end(), last.begin(), last.end());
            second.insert(second.end(), last.begin(), last.end());
            last = {"qnm_vml_kernel_SetErrStatus"};
            first.emplace_back("dlsym");
            looked_up.emplace_back("qnm_vml_kernel_SetErrStatus");
        }
        last.push_back(target);
        if (call.mode() != 0)
            last.emplace_back("qnm_vml_kernel_SetMode");
        first.insert(first.end(), last.begin(), last.end());
        second.insert(second.end(), last.begin(), last.end());

        for (const auto& expected : {first, second}) {
            call();
            ASSERT_EQ(story(), expected);
            ASSERT_EQ(texts_of("dlsym"), looked_up);
            looked_up.clear();
            EXPECT_EQ(core().calls("qnm_vml_kernel_GetTTableIndex")[0].int32(0), type);
            const Call got = core().calls(target)[0];
            EXPECT_TRUE(got.aligned());
            std::vector<std::uint64_t> words = call.words(), reals = call.reals();
            if (!direct) {
                words.insert(words.begin(), reinterpret_cast<std::uint64_t>(core().kernel(kernel)));
                words.push_back(reinterpret_cast<std::uint64_t>(*layer().local<void*>("vml_dll_handle")));
                reals.push_back(std::bit_cast<std::uint32_t>(companion));
            } else {
                words.push_back(s.form->width == catalogue::Width::wide ? 2 : 1);
            }
            for (std::size_t i = 0; i < words.size(); ++i) {
                const bool narrow =
                    static_cast<std::int32_t>(words[i]) == static_cast<std::int64_t>(words[i]);
                const bool whole =
                    !narrow || (direct && i + 1 < words.size()); // a kernel's integers have 64 bits
                EXPECT_EQ(whole ? got.int64(i) : got.int32(i), static_cast<std::int64_t>(words[i]))
                    << "word " << i;
            }
            for (std::size_t i = 0; i < reals.size(); ++i) {
                const std::uint64_t low = got.arguments().vectors.at(i).low;
                EXPECT_EQ(reals[i] >> 32 == 0 ? static_cast<std::uint32_t>(low) : low, reals[i])
                    << "real " << i;
            }
            if (call.mode() != 0) {
                const auto modes = core().calls("qnm_vml_kernel_SetMode");
                EXPECT_EQ(modes[0].int32(0), call.number(call.mode()));
                EXPECT_EQ(modes[1].int32(0), saved_mode);
            }
            if (tells_accuracy(root)) {
                EXPECT_EQ(core().calls("qnm_vml_kernel_SetErrStatus")[0].int32(0), 1000);
            }
            core().clear();
        }
        if (::testing::Test::HasFailure())
            return; // the others fail alike
    }
}

TEST_F(Entries, RefuseByCodeAndName)
{
    for (const Signature& s : entries()) {
        SCOPED_TRACE(s.names.front());
        SetUp();
        const std::string root = typed_root(s);
        unbind(root);
        const bool wide = s.form->width == catalogue::Width::wide;
        const auto refused = [&](const EntryCall& call, const std::string& name, int code, int status) {
            core().clear();
            call();
            const auto& calls = core().calls();
            ASSERT_GE(calls.size(), 3U);
            EXPECT_EQ(calls[0].name, "qnm_serv_set_xerbla_interface");
            EXPECT_EQ(reports(), (Reports{{name, code}}));
            EXPECT_EQ(calls.back().name, "qnm_vml_kernel_SetErrStatus");
            EXPECT_EQ(calls.back().int32(0), status);
            EXPECT_EQ(*layer().local<void*>("qnm_vml_kernel_" + root + "_ttab"), nullptr);
        };
        EntryCall none(s);
        for (std::size_t i = 1; i < s.parameters.size(); ++i)
            if (s.parameters[i].travel == catalogue::Travel::address)
                none.clear(i);
        none.set(0, -7);
        refused(none, "v" + root + (wide ? "_64" : ""), 1, -1);
        core().clear();
        none.set(0, 0);
        none();
        EXPECT_THAT(story(), IsEmpty());
        // Each vector with all behind it.
        for (const catalogue::Test& test : s.tests) {
            if (test.parameter == 0)
                continue;
            EntryCall call(s);
            for (std::size_t i = static_cast<std::size_t>(test.parameter); i < s.parameters.size(); ++i)
                if (s.parameters[i].travel == catalogue::Travel::address)
                    call.clear(i);
            refused(call, "v" + root, test.code, -2);
        }
        if (::testing::Test::HasFailure())
            return;
    }
}

const Signature& entry_of(std::string_view name)
{
    static const auto all = entries();
    for (const Signature& s : all)
        if (s.names.front() == name)
            return s;
    throw std::out_of_range(std::string(name));
}

/// Published by hand: a member in two forms, its threader, and the codes of its vectors.
TEST_F(Entries, TellingMembers)
{
    struct Member {
        const char *name, *threader;
        std::vector<int> codes;
    };
    const Member members[]{
        {"vsCeil", "s_1i_1o", {1, 2, 3}},
        {"vmsCeilI_64", "s_1iI_1oI", {1, 2, 4}},
        {"VDATAN2_", "d_2i_1o", {1, 2, 3, 4}},
        {"vcMulByConjI", "c_2iI_1oI", {1, 2, 4, 6}},
        {"vmzPowx", "z_cz_2i_z_1o", {1, 2, 4}},
        {"vsJnI", "s_cs_2iI_s_1oI", {1, 2, 5}},
        {"vdSinCos", "d_1i_2o", {1, 2, 3, 3}},
        {"vsSinCosI", "s_1iI_2oI", {1, 2, 4, 6}},
        {"VMDMODF_64_", "d_1i_2o", {1, 2, 3, 3}},
        {"vdLinearFrac", "d_6i_1o", {1, 2, 3, 8}},
        {"vsLinearFracI", "s_6iI_1oI", {1, 2, 3, 8}},
        {"vcAbs", "c_1i_s_1o", {1, 2, 3}},
        {"vdAbs", "d_1i_1o", {1, 2, 3}},
        {"vzArgI", "z_1iI_d_1oI", {1, 2, 4}},
        {"vzCIS", "d_1i_z_1o", {1, 2, 3}},
        {"vcCISI", "s_1iI_c_1oI", {1, 2, 4}},
        {"vsUnpackM", "", {1}},
    };
    for (const Member& m : members) {
        const Signature& s = entry_of(m.name);
        std::vector<int> codes;
        for (const catalogue::Test& test : s.tests)
            codes.push_back(test.code);
        EXPECT_EQ(codes, m.codes) << m.name;
        EXPECT_EQ(s.callees.empty() ? "" : s.callees.front().name,
                  *m.threader == '\0' ? "" : std::string("qnm_vml_serv_threader_") + m.threader);
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
            const auto modes = core().calls("qnm_vml_kernel_SetMode");
            ASSERT_EQ(modes.size(), 2U);
            EXPECT_EQ(modes[0].int32(0), 9);
            EXPECT_EQ(modes[1].int32(0), saved_mode);
        }
    }
}

/// The best kernels leave no status.
TEST_F(Entries, AccuracyIsToldUnlessTheIndexIs2)
{
    unbind("zPow");
    double z[2];
    core().answers("qnm_vml_kernel_GetTTableIndex").with(index);
    support::call_words(layer()["vzPow"], {1, z, z, z});
    EXPECT_EQ(core().calls("qnm_vml_kernel_SetErrStatus").size(), 1U);
    core().answers("qnm_vml_kernel_GetTTableIndex").with(2);
    support::call_words(layer()["vzPow"], {1, z, z, z});
    EXPECT_EQ(core().calls("qnm_vml_kernel_SetErrStatus").size(), 1U);
    EXPECT_EQ(core().calls("qnm_vml_serv_threader_z_2i_1o").size(), 2U);
}

} // namespace
} // namespace qnm::tests
