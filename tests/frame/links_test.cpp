// What is not a function of known arguments hands on every register and stack word: links of chains,
// forwards.
#include "layer.hpp"
#include "published.hpp"

namespace qnm {
namespace {

using support::Real;
using ::testing::ElementsAre;

const std::vector<Word> ten_words{wide_int{0x7101010101010101}, wide_int{0x7202020202020202},
                                  wide_int{0x7303030303030303}, wide_int{0x7404040404040404},
                                  wide_int{0x7505050505050505}, wide_int{0x7606060606060606},
                                  wide_int{0x7707070707070707}, wide_int{0x7808080808080808},
                                  wide_int{0x7909090909090909}, wide_int{0x7A0A0A0A0A0A0A0A}};
const std::vector<Real> eight_reals{1.5, 2.5, 3.5F, 4.5, 5.5, 6.5F, 7.5, 8.5};
constexpr std::uint64_t announced = 0x6B6B6B6B6B6B6B05; // in rax: a variadic callee reads its low byte

/// Expects one call of the core's function, with everything as it was given, and its results handed back.
void expect_untouched(const std::string& name, const std::string& target)
{
    SCOPED_TRACE(name);
    core().listen(target);
    const auto walk = [&] { return support::invoke(layer()[name], ten_words, eight_reals, announced); };

    core().clear();
    core().answers(target).with(wide_int{0x0123456789ABCDEF});
    const support::Returned returned = walk();
    EXPECT_EQ(returned.int64(), 0x0123456789ABCDEF);
    EXPECT_THAT(returned.violations, ElementsAre());
    ASSERT_THAT(core().calls(), ElementsAre(Called(target)));
    const recording::Arguments& got = core().calls().front().arguments();
    for (std::size_t i = 0; i < ten_words.size(); ++i)
        EXPECT_EQ(core().calls().front().word(i), ten_words[i].bits()) << "word " << i;
    for (std::size_t i = 0; i < eight_reals.size(); ++i) {
        EXPECT_EQ(got.vectors[i].low, std::bit_cast<std::uint64_t>(eight_reals[i].float64())) << "real " << i;
        EXPECT_EQ(got.vectors[i].high, ~std::uint64_t{0}) << "real " << i;
    }
    EXPECT_EQ(got.rax, announced);

    core().answers(target).with(-2.25);
    EXPECT_EQ(walk().float64(), -2.25);
    core().answers(target).with(0.375F);
    EXPECT_EQ(walk().float32(), 0.375F);
    core().answers(target).with(&core());
    EXPECT_EQ(walk().rax, reinterpret_cast<std::uint64_t>(&core()));
}

class Links : public LayerTest {};

TEST_F(Links, OfAChainLeadToTheCoresDefault)
{
    for (const auto& chain : published::chains())
        for (const std::string& link : chain.links)
            expect_untouched(link, chain.core);
}

TEST_F(Links, ForwardsOfEverySpellingLeaveAllAsItCame)
{
    for (const auto& forward : published::forwards())
        for (const std::string& spelling : forward.spellings)
            expect_untouched(spelling, forward.core);
}

TEST_F(Links, CFormsOfServicesLeaveAllAsItCame)
{
    for (const auto& service : published::two_forms())
        expect_untouched(service.c, service.c_core);
}

} // namespace
} // namespace qnm
