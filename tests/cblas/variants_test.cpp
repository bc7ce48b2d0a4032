// What variants of GEMM have of their own: packed operands, sizes, products made at run time.
#include "c_call.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Variants : public recording::RecordedTest {
protected:
    Variants() { core().ignore("qnm_serv_verbose_mode"); }
};

TEST_F(Variants, APackedOperandHasItsLetterAndNoLeadingDimension)
{
    constexpr int packed = 151;
    int seen = 0;
    for (const Member& member : members()) {
        if (member.routine.find("compute") == std::string::npos)
            continue;
        for (const int layout : {column_major, row_major})
            for (const bool first : {true, false}) {
                SCOPED_TRACE(member.name() + " " + std::to_string(layout));
                CCall call(member, layout);
                call.set(first ? "transa" : "transb", packed).set(first ? "lda" : "ldb", 0);
                core().clear();
                call.run();
                const auto noted = core().calls(member.core());
                ASSERT_THAT(noted, SizeIs(1));
                const std::size_t place = first == (layout == column_major) ? 0 : 1;
                EXPECT_EQ(noted[0].letter(place), 'P');
                EXPECT_EQ(noted[0].letter(1 - place), 'N');
                call.set(first ? "ldb" : "lda", 0);
                core().clear();
                call.run();
                EXPECT_THAT(reports(),
                            ElementsAre(std::pair(member.name(), call.position(first ? "ldb" : "lda"))));
                ++seen;
            }
    }
    EXPECT_EQ(seen, 2 * 9 * 4);
}

TEST_F(Variants, ASizeComesBackAndAReportIsZero)
{
    int seen = 0;
    for (const Member& member : members()) {
        if (member.routine.find("get_size") == std::string::npos)
            continue;
        ++seen;
        SCOPED_TRACE(member.name());
        core().answers(member.core()).with(5'000'000'000);
        EXPECT_EQ(CCall(member, column_major).run().int64(), 5'000'000'000);
        EXPECT_EQ(CCall(member, column_major).spoil("n").run().int64(), 0);
    }
    EXPECT_EQ(seen, 2 * 9);
}

/// qnm_cblas_jit_create_?gemm(jitter, layout, transa, transb, m, n, k, alpha, lda, ldb, beta, ldc).
struct Creation {
    char letter = 'd';
    bool wide = false;
    int layout = column_major, transa = 111, transb = 111;
    int m = 3, n = 4, k = 5, lda = 10, ldb = 11, ldc = 12;

    support::Returned run() const
    {
        const bool complex = letter == 'c' || letter == 'z';
        const auto integer = [&](int value) {
            return wide ? support::Word(std::int64_t{value}) : support::Word(value);
        };
        std::vector<support::Word> list{&jitter_, layout, transa, transb, integer(m), integer(n), integer(k)};
        if (complex)
            list.emplace_back(&alpha_);
        list.insert(list.end(), {integer(lda), integer(ldb)});
        if (complex)
            list.emplace_back(&beta_);
        list.push_back(integer(ldc));
        std::vector<support::Real> reals;
        if (letter == 's')
            reals = {2.0F, 3.0F};
        else if (letter == 'd')
            reals = {2.0, 3.0};
        return support::call_words(
            layer()[std::string("qnm_cblas_jit_create_") + letter + "gemm" + (wide ? "_64" : "")], list,
            reals);
    }
    std::string core_name() const { return std::string("qnm_blas_qnm_jit_create_") + letter + "gemm"; }
    std::string report_name() const
    {
        return std::string("qnm_jit_create_") + letter + "gemm" + (wide ? "_64" : "");
    }
    const void* alpha() const { return &alpha_; }
    const void* jitter() const { return &jitter_; }

private:
    double alpha_ = 2, beta_ = 3;
    void* jitter_ = nullptr;
};

template <class Visit>
void each_creation(Visit visit)
{
    for (const char letter : {'s', 'd', 'c', 'z'})
        for (const bool wide : {false, true}) {
            Creation creation;
            creation.letter = letter;
            creation.wide = wide;
            SCOPED_TRACE(creation.report_name());
            visit(creation);
        }
}

/// The two letters and the five sizes that the core got, and the status.
std::string passed(const Creation& creation)
{
    core().clear();
    core().answers(creation.core_name()).with(1);
    EXPECT_EQ(creation.run().int32(), 1);
    const auto noted = core().calls(creation.core_name());
    if (noted.size() != 1)
        return "not called";
    EXPECT_EQ(noted[0].pointer<const void>(0), creation.jitter());
    std::string text{noted[0].letter(1), noted[0].letter(2)};
    for (const std::size_t place : {3, 4, 5, 7, 8, 10})
        text += " " + std::to_string(noted[0].behind<std::int64_t>(place).value_or(-1));
    return text;
}

TEST_F(Variants, CreationExchangesOperandsInRowMajor)
{
    each_creation([](Creation creation) {
        creation.transb = 112;
        EXPECT_EQ(passed(creation), "NT 3 4 5 10 11 12");
        creation.layout = row_major;
        EXPECT_EQ(passed(creation), "TN 4 3 5 11 10 12");
    });
}

TEST_F(Variants, CreationHasLettersOfItsOwnForTwoShapes)
{
    each_creation([](Creation creation) {
        creation.m = creation.ldc = 1;
        creation.transb = 112;
        EXPECT_EQ(passed(creation), "OT 1 4 5 10 11 1");
        creation.transa = 112;
        EXPECT_EQ(passed(creation), "ON 1 4 5 10 11 1");
        creation.n = 0;
        EXPECT_EQ(passed(creation), "TT 1 0 5 10 11 1");
        creation.n = 4;
        creation.transb = 111;
        EXPECT_EQ(passed(creation), "TN 1 4 5 10 11 1");
        creation.transb = 112;
        creation.ldc = 2;
        EXPECT_EQ(passed(creation), "TT 1 4 5 10 11 2");
    });
    each_creation([](Creation creation) {
        creation.layout = row_major;
        creation.n = creation.ldc = 1;
        creation.transa = 112;
        EXPECT_EQ(passed(creation), "NT 1 3 5 11 10 1");
        creation.transb = 112;
        EXPECT_EQ(passed(creation), "NN 1 3 5 11 10 1");
        creation.m = 0;
        EXPECT_EQ(passed(creation), "TT 1 0 5 11 10 1");
        creation.m = 3;
        creation.transa = 111;
        EXPECT_EQ(passed(creation), "TN 1 3 5 11 10 1");
        creation.transa = 112;
        creation.ldc = 2;
        EXPECT_EQ(passed(creation), "TT 1 3 5 11 10 2");
    });
}

TEST_F(Variants, CreationReportsUnderTheNameOfWhatItCalls)
{
    struct Bad {
        int Creation::*field;
        int value, code;
    };
    const std::vector<Bad> in_order{
        {&Creation::transa, 113, 3}, {&Creation::transb, 113, 4}, {&Creation::m, -1, 5},
        {&Creation::n, -1, 6},       {&Creation::k, -1, 7},       {&Creation::layout, 0, 2},
        {&Creation::lda, 0, 9},      {&Creation::ldb, 0, 10},     {&Creation::ldc, 0, 12}};
    each_creation([&](const Creation& good) {
        for (const int layout : {column_major, row_major})
            for (std::size_t i = 0; i < in_order.size(); ++i) {
                Creation creation = good;
                creation.layout = layout;
                for (std::size_t j = in_order.size(); j-- > i;)
                    creation.*in_order[j].field = in_order[j].value;
                core().clear();
                EXPECT_EQ(creation.run().int32(), 2);
                EXPECT_THAT(reports(), ElementsAre(std::pair(good.report_name(), in_order[i].code)));
            }
    });
}

} // namespace
} // namespace qnm::tests
