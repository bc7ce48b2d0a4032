// What variants of GEMM have of their own: packed operands, sizes, products made at run time.
#include "calls.hpp"

namespace qnm::tests {
namespace {

class Variants : public CoreTest {
protected:
    static std::vector<Member> members_with(const char* part)
    {
        std::vector<Member> found = members();
        std::erase_if(found, [&](const Member& member) { return !member.is(part); });
        return found;
    }
};

TEST_F(Variants, APackedOperandHasItsLetterAndNoLeadingDimension)
{
    constexpr int packed = 151;
    EXPECT_EQ(members_with("compute").size(), 2U * 9);
    each_layout(members_with("compute"), [](const Member& member, int layout) {
        for (const bool first : {true, false}) {
            FunctionCall call(member.name(), layout);
            call.set(first ? "transa" : "transb", packed).set(first ? "lda" : "ldb", 0);
            core().clear();
            call.run();
            const auto noted = core().calls(member.core());
            ASSERT_THAT(noted, SizeIs(1));
            const std::size_t place = call.taker(call.index(first ? "transa" : "transb")) - 1;
            EXPECT_EQ(noted[0].letter(place), 'P');
            EXPECT_EQ(noted[0].letter(1 - place), 'N');
            core().clear();
            call.spoil(first ? "ldb" : "lda").run();
            EXPECT_THAT(reports(),
                        ElementsAre(std::pair(member.name(), position(call, first ? "ldb" : "lda"))));
        }
    });
}

TEST_F(Variants, ASizeComesBackAndAReportIsZero)
{
    EXPECT_EQ(members_with("get_size").size(), 2U * 9);
    for (const Member& member : members_with("get_size")) {
        SCOPED_TRACE(member.name());
        core().answers(member.core()).with(5'000'000'000);
        EXPECT_EQ(FunctionCall(member.name()).run().int64(), 5'000'000'000);
        EXPECT_EQ(FunctionCall(member.name()).spoil("n").run().int64(), 0);
    }
}

/// The codes, sizes and leading dimensions of a product, and what the core gets for them.
struct Creation {
    int layout, transa, transb, m, n, ldc;
    const char* letters; // of the two operands in their places
};

TEST_F(Variants, CreationHasLettersOfItsOwnForTwoShapes)
{
    const Creation creations[] = {
        {column_major, 111, 112, 3, 4, 12, "NT"},
        {row_major, 111, 112, 3, 4, 12, "TN"},
        // One contiguous row by columns, or one column by rows; and what is nearly so.
        {column_major, 111, 112, 1, 4, 1, "OT"},
        {column_major, 112, 112, 1, 4, 1, "ON"},
        {column_major, 112, 112, 1, 0, 1, "TT"},
        {column_major, 112, 111, 1, 4, 1, "TN"},
        {column_major, 112, 112, 1, 4, 2, "TT"},
        {row_major, 112, 111, 3, 1, 1, "NT"},
        {row_major, 112, 112, 3, 1, 1, "NN"},
        {row_major, 112, 112, 0, 1, 1, "TT"},
        {row_major, 111, 112, 3, 1, 1, "TN"},
        {row_major, 112, 112, 3, 1, 2, "TT"},
    };
    for (const Member& member : members_with("jit_create"))
        for (const Creation& c : creations) {
            FunctionCall call(member.name(), c.layout);
            for (const auto& [name, value] : {std::pair{"transa", c.transa},
                                              {"transb", c.transb},
                                              {"m", c.m},
                                              {"n", c.n},
                                              {"ldc", c.ldc}})
                call.set(name, value);
            SCOPED_TRACE(member.name() + " " + c.letters);
            core().clear();
            core().answers(member.core()).with(1);
            EXPECT_EQ(call.run().int32(), 1);
            const auto noted = core().calls(member.core());
            ASSERT_THAT(noted, SizeIs(1));
            EXPECT_EQ((std::string{noted[0].letter(1), noted[0].letter(2)}), c.letters);
            EXPECT_EQ(call.spoil("k").run().int32(), 2) << "the status of a refusal";
        }
}

} // namespace
} // namespace qnm::tests
