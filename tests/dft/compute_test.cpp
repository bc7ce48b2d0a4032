// Computing: each tag three ways, and the C entries with every count of arrays.
#include "descriptor.hpp"

namespace qnm::tests {
namespace {

char arrays[][2] = {"a", "b", "c", "e"};

class Compute : public recording::RecordedTest {
protected:
    /// Calls with the mode off and on: the status, and what the descriptor's function was given.
    static void expect(const std::string& name, const std::vector<Word>& words, std::int64_t status,
                       const std::string& told = "")
    {
        for (const int mode : {0, 1}) {
            core().clear();
            core().ignore("qnm_serv_sprintf_char_s");
            core().mode(mode);
            Descriptor::story.clear();
            ASSERT_EQ(call(name, words), status) << name;
            ASSERT_EQ(Descriptor::story, told.empty() ? "" : " " + told) << name;
            std::vector<std::string> expected;
            if (!told.empty())
                expected = tests::words("qnm_serv_verbose_mode qnm_serv_dsecnd qnm_serv_dsecnd "
                                        "qnm_serv_print_verbose_info");
            if (mode == 0)
                expected.resize(told.empty() ? 0 : 1);
            ASSERT_EQ(story(), expected) << name;
        }
    }
    static dft_compute*& function(Descriptor& d, const std::string& way)
    {
        return way[0] == 'f' || way[0] == 'F' ? d.forward : d.backward;
    }
};

TEST_F(Compute, ByTagWantsTheTagsArrays)
{
    void* const places[] = {arrays[0], arrays[1], arrays[2], arrays[3]};
    void* const nothing = nullptr;
    const struct {
        const char *ways, *tags;
        int count;
    } rows[]{{"forward backward", "c z s d", 1},
             {"forward backward", "cc zz ss dd", 2},
             {"forward", "sc dz", 2},
             {"backward", "cs zd", 2},
             {"forward backward", "ssss dddd", 4}};
    int names = 0;
    for (const auto& [ways, tags, count] : rows)
        for (const std::string& way : words(ways))
            for (const std::string& tag : words(tags))
                for (const auto& [before, behind] :
                     {std::pair{"qnm_dft_", ""}, {"", "_cpu"}, {"", "__"}, {"", ""}}) {
                    const std::string name = before + ("dfti_compute_" + way + "_" + tag) + behind;
                    const bool by_place = name.ends_with("_cpu");
                    Descriptor d;
                    d.status = 1L << 32 | 77;
                    d.magic = 0; // is not looked at, nor are the arrays
                    dft_handle handle = &d, none = nullptr;
                    std::vector<Word> words{&handle}, nulls(5, by_place ? Word(&nothing) : Word(nullptr));
                    nulls[0] = &handle;
                    for (int i = 0; i < 4; ++i)
                        words.push_back(i >= count ? Word("junk")
                                        : by_place ? Word(&places[i])
                                                   : Word(places[i]));
                    const std::string told = way.substr(0, 1) +
                                             std::string("abce").substr(0, static_cast<std::size_t>(count)) +
                                             std::string(5 - static_cast<std::size_t>(count), '-');
                    for (d.array_count = -1; d.array_count < 10; ++d.array_count)
                        if (d.array_count == count)
                            expect(name, words, 77, told);
                        else
                            expect(name, words, 3);
                    function(d, way) = nullptr;
                    expect(name, words, 3); // the count is looked at first
                    d.array_count = count;
                    expect(name, words, 2);
                    function(d, way) = Descriptor::compute<'x'>;
                    expect(name, nulls, 77, "x-----");
                    for (const Word bad : {Word(&none), Word(nullptr)}) {
                        words[0] = bad;
                        expect(name, words, 5);
                    }
                    ++names;
                }
    EXPECT_EQ(names, 4 * 24);
}

TEST_F(Compute, InCTakesAsManyArraysAsTheDescriptorOrTheName)
{
    for (const auto& [name, fixed] : {std::pair{"DftiComputeForward", 0}, // by the descriptor's count
                                      {"DftiComputeBackward", 0},
                                      {"DftiComputeInPlaceForward", 1},
                                      {"DftiComputeInPlaceBackward", 1},
                                      {"DftiComputeOutOfPlaceForward", 2},
                                      {"DftiComputeOutOfPlaceBackward", 2}})
        for (int count = -1; count < 10; ++count) {
            const auto used = static_cast<std::size_t>(fixed != 0 ? fixed : std::clamp(count, 1, 4));
            const bool forward = std::string(name).ends_with("Forward");
            Descriptor d;
            d.array_count = count;
            d.status = 1L << 32 | 77;
            std::vector<Word> words(5, nullptr); // what is not asked for is not read
            words[0] = &d;
            std::copy_n(arrays, used, words.begin() + 1);
            expect(name, words, d.status,
                   (forward ? "f" : "b") + std::string("abce").substr(0, used) + std::string(5 - used, '-'));
            for (std::size_t missing = 1; missing <= used; ++missing) {
                std::vector<Word> lacking = words;
                lacking[missing] = nullptr;
                expect(name, lacking, 3);
            }
            (forward ? d.forward : d.backward) = nullptr;
            expect(name, {&d, nullptr, nullptr}, 2);
            expect(name, std::vector<Word>(5, nullptr), 5);
        }
}

} // namespace
} // namespace qnm::tests
