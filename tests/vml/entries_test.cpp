// What holds for every vector entry, and telling members by hand.
#include "entry.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Entries : public Unbound {};

std::vector<std::string> texts_of(std::string_view name)
{
    std::vector<std::string> all;
    for (const Call& call : core().calls(name))
        all.push_back(call.text);
    return all;
}

bool is_wide_reference(const Signature& s)
{
    return s.form->width == catalogue::Width::wide && s.form->convention == catalogue::Convention::reference;
}

/// Members that leave 1000, by hand.
bool tells_accuracy(const std::string& root)
{
    static const std::set<std::string> all{"sLinearFrac", "dLinearFrac", "sLinearFracI", "dLinearFracI", "zPow", "zPowx"};
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

        std::vector<std::string> first{"qnm_serv_load_vml", "dlsym", "dlsym"},
            second{}, looked_up{kernel, "qnm_vml_kernel_" + root + "_ctab"};
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
            for (std::size_t i = 0; i < words.size(); ++i)
                EXPECT_EQ(words[i] >> 32 != 0 || direct ? got.word(i) & (i + 1 == words.size() && direct ? 0xffffffff : ~0ULL)
                                                        : static_cast<std::uint32_t>(got.word(i)),
                          words[i])
                    << "word " << i;
            for (std::size_t i = 0; i < reals.size(); ++i) {
                const std::uint64_t low = got.arguments().vectors.at(i).low;
                EXPECT_EQ(reals[i] >> 32 == 0 ? static_cast<std::uint32_t>(low) : low, reals[i]) << "real " << i;
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
            EXPECT_EQ(calls[0].name, "qnm_set_xerbla_interface");
            EXPECT_EQ(reports(), (Reports{{name, code}}));
            EXPECT_EQ(calls.back().name, "qnm_vml_kernel_SetErrStatus");
            EXPECT_EQ(calls.back().int32(0), status);
            EXPECT_EQ(*layer().local<void*>("qnm_vml_kernel_" + root + "_ttab"), nullptr);
        };
        EntryCall none(s), nothing(s);
        for (std::size_t i = 1; i < s.parameters.size(); ++i)
            if (s.parameters[i].travel == catalogue::Travel::address)
                none.clear(i);
        nothing = none;
        none.set(0, -7);
        refused(none, "v" + root + (wide ? "_64" : ""), 1, -1);
        core().clear();
        nothing.set(0, 0);
        nothing();
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

} // namespace
} // namespace qnm::tests
