// Operations on handles: what reaches the core of each kind of argument, by argument lists told by hand.
#include "sparse/members.hpp"
#include "support/function_call.hpp"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace qnm::tests {
namespace {

using support::Real;
using support::Word;

std::string core_of(const Operation& operation)
{
    return "qnm_sparse_" + operation.root + (operation.wide ? "_i8" : "_i4");
}

/// Memory for an argument that ends where the next byte faults.
char* edge(std::size_t argument, std::size_t bytes)
{
    static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    static char* const pages = [] {
        constexpr std::size_t arguments = 16;
        void* const all =
            mmap(nullptr, 2 * arguments * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        for (std::size_t i = 0; i < arguments; ++i)
            mprotect(static_cast<char*>(all) + (2 * i + 1) * page, page, PROT_NONE);
        return static_cast<char*>(all);
    }();
    return pages + (2 * argument + 1) * page - bytes;
}

/// A call of a Fortran form, and what the calling convention makes of its values for the core.
class ByReference {
public:
    explicit ByReference(const Operation& operation)
    {
        for (std::size_t i = 0; i < operation.kinds.size(); ++i) {
            const char kind = operation.kinds[i];
            if (kind == '.') {
                passed_.emplace_back(untouchable_address(i));
                expect({{passed_.back().bits(), ~std::uint64_t{0}}});
                continue;
            }
            const char word = kind == 'T' ? operation.letter : kind;
            const std::size_t bytes = word == 'z'                                                      ? 16
                                      : word == 'd' && kind == 'd'                                     ? 12
                                      : word == 'e' || word == 's' || (word == 'i' && !operation.wide) ? 4
                                                                                                       : 8;
            char* const place = edge(i, bytes);
            for (std::size_t k = 0; k < bytes; ++k) // negative numbers, and no two of them alike
                place[k] = static_cast<char>(0x80 + 16 * k + i);
            passed_.emplace_back(place);
            std::uint64_t halves[2]{};
            std::memcpy(halves, place, bytes);
            constexpr std::uint64_t all = ~std::uint64_t{0}, low = 0xFFFF'FFFF;
            if (kind == 'T')
                for (std::size_t at = 0; at < bytes; at += 8)
                    reals_.emplace_back(halves[at / 8], bytes == 4 ? low : all);
            else if (kind == 'd')
                expect({{halves[0], all}, {halves[1], low}});
            else
                expect({{halves[0], bytes == 4 ? low : all}});
        }
    }

    const std::vector<Word>& passed() const { return passed_; }
    void expect_values(const Call& noted) const
    {
        EXPECT_TRUE(noted.aligned());
        for (std::size_t i = 0; i < registers_.size(); ++i)
            EXPECT_EQ(noted.word(i) & registers_[i].second, registers_[i].first) << "register " << i;
        for (std::size_t i = 0; i < stack_.size(); ++i)
            EXPECT_EQ(noted.word(6 + i) & stack_[i].second, stack_[i].first) << "stack word " << i;
        for (std::size_t i = 0; i < reals_.size(); ++i)
            EXPECT_EQ(noted.arguments().vectors.at(i).low & reals_[i].second, reals_[i].first)
                << "real " << i;
    }

private:
    using Bits = std::pair<std::uint64_t, std::uint64_t>; // and which of them count
    /// A record goes into two registers or onto the stack, and what follows may take a register that it left.
    void expect(const std::vector<Bits>& words)
    {
        std::vector<Bits>& place = registers_.size() + words.size() <= 6 ? registers_ : stack_;
        place.insert(place.end(), words.begin(), words.end());
    }

    std::vector<Word> passed_;
    std::vector<Bits> registers_, stack_, reals_;
};

class Inspector : public recording::RecordedTest {};

TEST_F(Inspector, OperationsCountAsPublishedAndReachTheCoresFunctionOfTheirWidth)
{
    std::set<std::string> wanted, imported;
    for (const Operation& operation : operations())
        wanted.insert(core_of(operation));
    EXPECT_EQ(wanted.size(), 179U + 160U);
    for (const std::string_view name : core().names())
        if (name.starts_with("qnm_sparse_"))
            imported.insert(std::string(name));
    EXPECT_EQ(imported, wanted);
}

// One instruction in any build, side by side.
TEST_F(Inspector, AFormOfCIsOneJumpThatLeavesEverythingAsItCame)
{
    std::vector<Word> words;
    std::vector<Real> reals;
    for (std::size_t i = 0; i < 20; ++i)
        words.emplace_back(untouchable_address(i));
    for (std::size_t i = 0; i < 8; ++i)
        reals.emplace_back(1.5 + static_cast<double>(i));
    std::set<const unsigned char*> places;
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(core_of(operation));
        const void* const function = layer()["qnm_sparse_" + operation.root + (operation.wide ? "_64" : "")];
        core().clear();
        core().answers(core_of(operation)).with(-0x7'0000'004D);
        EXPECT_EQ(support::call_words(function, words, reals).int64(), -0x7'0000'004D);
        ASSERT_EQ(story(), std::vector{core_of(operation)});
        const Call noted = core().calls()[0];
        for (std::size_t i = 0; i < words.size(); ++i)
            EXPECT_EQ(noted.word(i), words[i].bits());
        for (std::size_t i = 0; i < reals.size(); ++i)
            EXPECT_EQ(noted.real(i), reals[i].float64());
        const auto* const code = static_cast<const unsigned char*>(function);
        constexpr unsigned char jump = 0xE9;
        EXPECT_EQ(*code, jump);
        places.insert(code);
    }
    ASSERT_EQ(places.size(), 339U);
    EXPECT_LT(*places.rbegin() - *places.begin(), 5 * 345) << "some of the Fortran forms are jumps too";
}

TEST_F(Inspector, AFortranFormHandsOnValuesAndReadsNothingBehindThem)
{
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(core_of(operation) + " " + operation.kinds);
        const ByReference call(operation);
        core().clear();
        core().answers(core_of(operation)).with(6);
        const std::string name =
            catalogue::to_upper("qnm_sparse_" + operation.root) + (operation.wide ? "_64" : "");
        EXPECT_EQ(support::call_words(layer()[name], call.passed()).int32(), 6);
        ASSERT_EQ(story(), std::vector{core_of(operation)});
        call.expect_values(core().calls()[0]);
    }
}

} // namespace
} // namespace qnm::tests
