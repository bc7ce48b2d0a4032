// Computing: each tag three ways, and the C entries with every count of arrays.
#include "descriptor.hpp"

namespace qnm::tests {
namespace {

class Compute : public recording::RecordedTest {
protected:
    Compute()
    {
        calls.names.insert({{"d", &d}, {"&d", &handle}, {"&none", &none}, {"&null", &nothing}});
        for (void*& place : places) {
            place = letters[&place - places];
            calls.names.insert(
                {{letters[&place - places], place}, {std::string("&") + letters[&place - places], &place}});
        }
        d.status = 1L << 32 | 77;
        d.magic = 0; // is not looked at
    }

    /// Calls with the mode off and on.
    void expect(const std::string& line, bool computes = false)
    {
        for (const int mode : {0, 1}) {
            core().clear();
            core().ignore("qnm_serv_sprintf_char_s");
            core().mode(mode);
            calls.expect(line);
            std::vector<std::string> expected = words("qnm_serv_verbose_mode qnm_serv_dsecnd qnm_serv_dsecnd "
                                                      "qnm_serv_print_verbose_info");
            expected.resize(!computes ? 0 : mode == 0 ? 1 : 4);
            ASSERT_EQ(story(), expected) << line;
        }
    }
    dft_compute*& function(const std::string& way) { return way[0] == 'f' ? d.forward : d.backward; }

    char letters[4][2] = {"a", "b", "c", "e"};
    void *places[4], *nothing = nullptr;
    Descriptor d;
    const dft_handle handle = &d, none = nullptr;
    Calls calls;
};

TEST_F(Compute, ByTagWantsTheTagsArrays)
{
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
                for (const std::string pattern : {"qnm_dft_# ", "#_cpu &", "#__ ", "# "}) {
                    std::string name = pattern, told = way.substr(0, 1) + "-----";
                    name.replace(name.find('#'), 1, "dfti_compute_" + way + "_" + tag);
                    const std::string place = name.substr(name.find(' '));
                    name.resize(name.find(' '));
                    std::string arrays, nulls;
                    for (int i = 0; i < 4; ++i) {
                        arrays += i < count ? place + letters[i] : std::string(" 7L"); // is not looked at
                        nulls += place + "null";
                        if (i < count)
                            told[static_cast<std::size_t>(i) + 1] = *letters[i];
                    }
                    for (d.array_count = -1; d.array_count < 10; ++d.array_count)
                        expect(name + " &d" + arrays + (d.array_count == count ? " = 77 " + told : " = 3"),
                               d.array_count == count);
                    function(way) = nullptr;
                    expect(name + " &d" + arrays + " = 3"); // the count is looked at first
                    d.array_count = count;
                    expect(name + " &d" + arrays + " = 2");
                    function(way) = Descriptor::compute<'x'>;
                    expect(name + " &d" + nulls + " = 77 x-----", true);
                    expect(name + " &none" + arrays + " = 5");
                    expect(name + " null" + arrays + " = 5");
                    function(way) = way[0] == 'f' ? Descriptor::compute<'f'> : Descriptor::compute<'b'>;
                    ++names;
                }
    EXPECT_EQ(names, 4 * 24);
}

TEST_F(Compute, InCTakesAsManyArraysAsTheDescriptorOrTheName)
{
    for (const auto& [stem, fixed] : {std::pair{"DftiCompute", 0}, // by the descriptor's count
                                      {"DftiComputeInPlace", 1},
                                      {"DftiComputeOutOfPlace", 2}})
        for (const std::string way : {"forward", "backward"})
            for (int count = -1; count < 10; ++count) {
                const std::string name = stem + std::string(way == "forward" ? "Forward d" : "Backward d");
                d.array_count = count;
                // What is not asked for is not read.
                const auto used = static_cast<std::size_t>(fixed != 0 ? fixed : std::clamp(count, 1, 4));
                const std::string all = std::string(" a b c e").substr(0, 2 * used) + " null null null null";
                expect(name + all + " = 4294967373 " + way[0] + std::string("abce").substr(0, used) +
                           std::string(5 - used, '-'),
                       true);
                for (std::size_t missing = 0; missing < used; ++missing)
                    expect(name + std::string(all).replace(2 * missing + 1, 1, "null") + " = 3");
                const auto before = std::exchange(function(way), nullptr);
                expect(name + " null null = 2");
                function(way) = before;
                expect(name.substr(0, name.size() - 1) + "null null null = 5");
            }
}

} // namespace
} // namespace qnm::tests
