// Creation, in C, by addresses, and in Fortran: which of the core's functions makes the descriptor, and of
// what.
#include "descriptor.hpp"

namespace qnm::tests {
namespace {

Descriptor made;

class Create : public recording::RecordedTest {
protected:
    Create()
    {
        for (const char* function : {"dc1d", "sc1d", "dr1d", "sr1d", "dcmd", "scmd", "drmd", "srmd"})
            core()
                .answers(std::string("qnm_dft_dfti_create_") + function)
                .calling([this](Call& call, Answer& answer) {
                    const bool line = call.name.ends_with("1d");
                    const auto* lengths = line ? nullptr : call.pointer<const std::int64_t>(2);
                    told = call.name.substr(call.name.size() - 4);
                    told += line ? " " + std::to_string(call.int64(1)) : "";
                    for (std::int64_t i = 0; !line && i < call.int64(1); ++i)
                        told += " " + std::to_string(lengths[i]);
                    EXPECT_EQ(call.int64(line ? 2 : 3), 0);
                    EXPECT_EQ(*call.pointer<dft_handle>(0), nullptr);
                    if (refusal == 0)
                        *call.pointer<dft_handle>(0) = &made;
                    answer.returns(refusal);
                });
    }

    /// The status of a call, and what the core was asked for. The handle is null on failure.
    std::string result(const std::string& name, std::vector<Word> words, bool wide)
    {
        dft_handle handle = reinterpret_cast<dft_handle>(&made);
        words.insert(words.begin(), &handle);
        told.clear();
        core().clear();
        const support::Returned returned = call(name, words);
        const std::int64_t status = wide ? returned.int64() : returned.int32();
        EXPECT_EQ(handle, status == 0 ? &made : nullptr) << name;
        const auto blessed = core().calls("qnm_dft_bless_node_thr");
        EXPECT_EQ(blessed.size(), status == 0 ? 1U : 0U) << name;
        EXPECT_TRUE(blessed.empty() || blessed[0].pointer<void>(0) == &made) << name;
        return std::to_string(status) + " " + told;
    }

    std::string told;
    std::int64_t refusal = 0;
};

TEST_F(Create, OfEachPrecisionAndDomain)
{
    const std::int64_t three[]{7, 8, -9};
    const int three32[]{7, 8, -9};
    for (const int precision : {35, 36, 37})
        for (const int domain : {32, 33, 34}) {
            SCOPED_TRACE(std::to_string(precision) + " " + std::to_string(domain));
            const std::string letter(1, domain == 32 ? 'c' : 'r');
            const auto expected = [&](bool good, const std::string& precision_letter, const char* shape) {
                return good && domain != 34 ? "0 " + precision_letter + letter + shape : std::string("2 ");
            };
            const auto usual = [&](const char* shape) {
                return expected(precision != 37, precision == 35 ? "s" : "d", shape);
            };
            const auto *p = at(precision), *c = at(domain);
            const int *p32 = at32(precision), *c32 = at32(domain);
            EXPECT_EQ(result("DftiCreateDescriptor", {precision, domain, 1L, 64L}, true), usual("md 64"));
            EXPECT_EQ(result("DftiCreateDescriptor", {precision, domain, 3L, three}, true),
                      usual("md -9 8 7"));
            EXPECT_EQ(result("qnm_dft_dfti_create_descriptor_1d", {p, c, at(1), at(64)}, false),
                      usual("1d 64"));
            EXPECT_EQ(result("qnm_dft_dfti_create_descriptor_highd", {p, c, at(3), three}, false),
                      usual("md 7 8 -9"));
            EXPECT_EQ(result("dfti_create_descriptor_1d_", {p32, c32, at32(1), at32(64)}, false),
                      usual("1d 64"));
            EXPECT_EQ(result("dfti_create_descriptor_highd_", {p32, c32, at32(3), three32}, false),
                      usual("md 7 8 -9"));
            // Where a name tells the precision, a tag of that precision's own type tells it again.
            const double tag = precision;
            const auto tag32 = static_cast<float>(precision);
            for (const auto& [own, t, code] : {std::tuple{"s", Word(&tag32), 35}, {"d", Word(&tag), 36}}) {
                const std::string name = std::string("dfti_create_descriptor_") + own;
                const std::string line = expected(true, own, "1d 64"), box = expected(true, own, "md -9 8 7");
                const std::string tagged_line = expected(precision == code, own, "1d 64"),
                                  tagged_box = expected(precision == code, own, "md 7 8 -9");
                EXPECT_EQ(result("DftiCreateDescriptor_" + std::string(own) + "_1d", {domain, 64L}, true),
                          line);
                EXPECT_EQ(
                    result("DftiCreateDescriptor_" + std::string(own) + "_md", {domain, 3L, three}, true),
                    box);
                EXPECT_EQ(result("qnm_dft_" + name + "_1d", {t, c, at(1), at(64)}, false), tagged_line);
                EXPECT_EQ(result("qnm_dft_" + name + "_md", {t, c, at(3), three}, false), tagged_box);
                EXPECT_EQ(result(name + "_1d__", {t, c32, at32(1), at32(64)}, false), tagged_line);
                EXPECT_EQ(result(name + "_md__", {t, c32, at32(3), three32}, false), tagged_box);
            }
        }
}

TEST_F(Create, RefusesRanksAndLengthsThatCannotBe)
{
    const Word none = nullptr;
    const std::int64_t zero[]{7, 0, 9}, seven[]{1, 2, 3, 4, 5, 6, 7, 8};
    const int zero32[]{7, 0, 9};
    const std::vector<int> many32(100'000, 1);
    const double tag = 36, wrong = 35;
    const struct {
        std::string name;
        std::vector<Word> words;
        std::string expected;
    } cases[]{
        {"DftiCreateDescriptor", {36, 32, 0L, seven}, "2 "},
        {"DftiCreateDescriptor", {36, 32, 8L, seven}, "2 "},
        {"DftiCreateDescriptor", {36, 32, -1L, none}, "2 "}, // ahead of the address
        {"DftiCreateDescriptor", {36, 32, 2L, none}, "3 "},
        {"DftiCreateDescriptor", {36, 32, 3L, zero}, "2 "},
        {"DftiCreateDescriptor", {36, 32, 1L, 0L}, "2 "},
        {"DftiCreateDescriptor", {36, 32, 1L, -5L}, "2 "},
        {"DftiCreateDescriptor", {36, 32, 7L, seven}, "0 dcmd 7 6 5 4 3 2 1"},
        {"DftiCreateDescriptor_d_1d", {33, 0L}, "2 "},
        {"DftiCreateDescriptor_s_md", {33, 8L, seven}, "2 "},
        {"DftiCreateDescriptor_s_md", {33, 2L, none}, "3 "},
        {"qnm_dft_dfti_create_descriptor_1d", {at(36), at(32), at(2), at(64)}, "2 "},
        {"qnm_dft_dfti_create_descriptor_1d", {at(36), at(32), at(1), at(-4)}, "2 "},
        {"qnm_dft_dfti_create_descriptor_d_1d", {&tag, at(32), at(2), at(64)}, "2 "},
        {"qnm_dft_dfti_create_descriptor_highd", {at(36), at(32), at(8), seven}, "2 "},
        {"qnm_dft_dfti_create_descriptor_highd", {at(36), at(32), at(3), zero}, "2 "},
        {"qnm_dft_dfti_create_descriptor_highd", {at(36 | 1L << 32), at(32), at(2), seven}, "2 "}, // whole
        {"qnm_dft_dfti_create_descriptor_d_md", {&tag, at(32), at(8), seven}, "2 "},
        {"qnm_dft_dfti_create_descriptor_d_md", {&tag, at(32), at(3), none}, "3 "},
        {"qnm_dft_dfti_create_descriptor_d_md", {&wrong, at(32), at(3), none}, "2 "}, // ahead of the address
        {"dfti_create_descriptor_highd_", {at32(36), at32(32), at32(100'000), many32.data()}, "2 "},
        {"dfti_create_descriptor_highd_", {at32(36), at32(32), at32(-9), none}, "2 "},
        {"dfti_create_descriptor_d_md_", {&tag, at32(32), at32(3), zero32}, "2 "},
    };
    for (const auto& [name, words, expected] : cases)
        EXPECT_EQ(result(name, words, name.starts_with("D")), expected) << name;
    refusal = 1L << 32 | 77; // the core's own, whole in C
    EXPECT_EQ(result("DftiCreateDescriptor_d_md", {32, 1L, seven}, true), "4294967373 dcmd 1");
    EXPECT_EQ(result("dfti_create_descriptor_1d", {at32(36), at32(32), at32(1), at32(5)}, false),
              "77 dc1d 5");
    for (const char* name : {"DftiCreateDescriptor", "DftiCreateDescriptor_d_1d", "DftiCreateDescriptor_s_md",
                             "qnm_dft_dfti_create_descriptor_1d", "qnm_dft_dfti_create_descriptor_highd",
                             "qnm_dft_dfti_create_descriptor_s_1d", "qnm_dft_dfti_create_descriptor_d_md"})
        EXPECT_EQ(call(name, {none, none, none, none, none}).int32(), 3) << name;
}

} // namespace
} // namespace qnm::tests
