// Computing: each tag three ways, and the C entries with every count of arrays.
#include "descriptor.hpp"
#include "support/published.hpp"

namespace qnm::tests {
namespace {

char arrays[][64] = {"a", "b", "c", "e"};

class Compute : public recording::RecordedTest {
protected:
    /// Calls with the mode off and on; each status, and what the descriptor's function was given.
    static void expect(const std::string& name, Descriptor& d, const std::vector<Word>& words, int status,
                       const std::string& told)
    {
        for (const int mode : {0, 1}) {
            core().clear();
            core().mode(mode);
            d.story.clear();
            const auto returned = call(name, words);
            ASSERT_EQ(name[0] == 'D' && name[1] == 'f' ? returned.int64() : returned.int32(), status) << name;
            ASSERT_EQ(d.story, told) << name;
            std::vector<std::string> asked;
            for (const std::string& each : story())
                if (each != "qnm_serv_sprintf_char_s")
                    asked.push_back(each);
            if (told.empty())
                ASSERT_THAT(asked, ::testing::IsEmpty()) << name;
            else if (mode == 0)
                ASSERT_THAT(asked, ::testing::ElementsAre("qnm_serv_verbose_mode")) << name;
            else
                ASSERT_THAT(asked, ::testing::ElementsAre("qnm_serv_verbose_mode", "qnm_serv_dsecnd",
                                                          "qnm_serv_dsecnd", "qnm_serv_print_verbose_info"))
                    << name;
        }
    }
};

TEST_F(Compute, ByTagWantsTheTagsArrays)
{
    void* const array[] = {arrays[0], arrays[1], arrays[2], arrays[3], nullptr};
    const struct {
        const char *ways, *tags;
        std::size_t count;
    } rows[]{{"forward backward", "c z s d", 1},
             {"forward backward", "cc zz ss dd", 2},
             {"forward", "sc dz", 2},
             {"backward", "cs zd", 2},
             {"forward backward", "ssss dddd", 4}};
    int forms = 0;
    for (const auto& [ways, tags, count] : rows)
        for (const std::string& way : words(ways))
            for (const std::string& tag : words(tags))
                for (const std::string pattern :
                     {"qnm_dft_dfti_compute_?", "dfti_compute_?_cpu", "dfti_compute_?__"}) {
                    ++forms;
                    std::string name = pattern;
                    name.replace(name.find('?'), 1, way + "_" + tag);
                    const bool by_place = name.ends_with("_cpu");
                    Descriptor d;
                    d.status = 1L << 32 | 77;
                    dft_handle handle = &d, none = nullptr;
                    std::vector<Word> words{&handle}, nulls{&handle};
                    std::string told = way.substr(0, 1);
                    for (std::size_t i = 0; i < 4; ++i) {
                        words.push_back(i >= count ? Word("junk")
                                        : by_place ? Word(&array[i])
                                                   : Word(array[i]));
                        nulls.push_back(by_place ? Word(&array[4]) : Word(array[4]));
                        told += i < count ? arrays[i] : "-";
                    }
                    for (d.array_count = -1; d.array_count < 10; ++d.array_count)
                        if (d.array_count != static_cast<int>(count))
                            expect(name, d, words, 3, "");
                    d.array_count = static_cast<int>(count);
                    d.magic = 0; // is not looked at, nor are the arrays
                    expect(name, d, words, 77, told + "-");
                    expect(name, d, nulls, 77, told.substr(0, 1) + "-----");
                    (way == "forward" ? d.forward : d.backward) = nullptr;
                    expect(name, d, words, 2, "");
                    d.array_count = 9; // which is looked at first
                    expect(name, d, words, 3, "");
                    words[0] = &none;
                    expect(name, d, words, 5, "");
                    words[0] = nullptr;
                    expect(name, d, words, 5, "");
                }
    EXPECT_EQ(forms, 3 * 24);
}

TEST_F(Compute, InCTakesAsManyArraysAsTheDescriptorOrTheName)
{
    const struct {
        const char* name;
        std::size_t fixed; // 0: by the descriptor's count
    } entries[]{{"DftiCompute", 0},
                {"DftiComputeInPlace", 1},
                {"DftiComputeOutOfPlace", 2},
                {"qnm_dft_dfticompute", 0}};
    for (const auto& [stem, fixed] : entries)
        for (const bool forward : {true, false}) {
            const bool twin = stem[0] == 'q';
            const std::string name = stem + std::string(twin      ? forward ? "forward" : "backward"
                                                        : forward ? "Forward"
                                                                  : "Backward");
            for (int count = -1; count < 10; ++count) {
                const std::size_t used =
                    fixed != 0 ? fixed : static_cast<std::size_t>(std::clamp(count, 1, 4));
                Descriptor d;
                d.array_count = count;
                d.status = twin ? 77 : 1L << 32 | 77;
                std::vector<Word> words{&d};
                std::string told = forward ? "f" : "b";
                for (std::size_t i = 0; i < 4; ++i) {
                    words.push_back(i < used ? Word(arrays[i])
                                             : Word(nullptr)); // what is not asked for is not read
                    told += i < used ? arrays[i] : "-";
                }
                core().clear();
                EXPECT_EQ(call(name, words).int64(), d.status) << name << count;
                EXPECT_EQ(d.story, told + "-");
                for (std::size_t missing = 1; missing <= used; ++missing) {
                    std::vector<Word> lacking = words;
                    lacking[missing] = nullptr;
                    expect(name, d, lacking, 3, "");
                }
                (forward ? d.forward : d.backward) = nullptr;
                expect(name, d, {&d, nullptr, nullptr}, 2, "");
                words[0] = nullptr;
                expect(name, d, words, 5, "");
            }
        }
}

} // namespace
} // namespace qnm::tests
