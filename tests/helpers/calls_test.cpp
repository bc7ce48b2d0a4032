// What helpers ask of matrix copy, and when a triangle is halved.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <array>

namespace qnm {
namespace {

using recording::Call;
using recording::core;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

class Calls : public recording::RecordedTest {
protected:
    static std::vector<Call> run(const std::string& helper, const std::vector<support::Word>& words)
    {
        core().clear();
        support::call_words(layer()[helper], words);
        return core().calls(std::string("qnm_trans_qnm_") + helper[8] + "omatcopy");
    }
    /// "c 3x4 in+1 ld 5 out+2 ld 6": a copy as seen from two arrays.
    static std::string told(const Call& copy, const double* in, const double* out)
    {
        EXPECT_EQ(static_cast<char>(copy.word(1)), 't');
        EXPECT_EQ(copy.real(0), 1.0);
        return std::string(1, static_cast<char>(copy.word(0))) + " " + std::to_string(copy.int64(2)) + "x" +
               std::to_string(copy.int64(3)) + " in+" + std::to_string(copy.pointer<const double>(4) - in) +
               " ld " + std::to_string(copy.int64(5)) + " out+" +
               std::to_string(copy.pointer<const double>(6) - out) + " ld " + std::to_string(copy.int64(7));
    }
    std::vector<double> in_ = std::vector<double>(150 * 150), out_ = in_;
};

TEST_F(Calls, AGeneralMatrixIsOneCopy)
{
    for (const char* name : {"LAPACKE_dge_trans", "LAPACKE_dgg_trans"}) {
        EXPECT_EQ(told(run(name, {101, 3, 4, in_.data(), 5, out_.data(), 6}).at(0), in_.data(), out_.data()),
                  "r 3x4 in+0 ld 5 out+0 ld 6");
        EXPECT_EQ(told(run(name, {102, 3, 4, in_.data(), 5, out_.data(), 6}).at(0), in_.data(), out_.data()),
                  "c 3x4 in+0 ld 5 out+0 ld 6");
    }
    EXPECT_EQ(core().calls("qnm_trans_qnm_domatcopy").size(), 1U);
    constexpr long large = 0x1'0000'0000;
    EXPECT_EQ(told(run("LAPACKE_dge_trans_64", {101, 3L, large, in_.data(), large, out_.data(), 9L}).at(0),
                   in_.data(), out_.data()),
              "r 3x4294967296 in+0 ld 4294967296 out+0 ld 9");
    EXPECT_THAT(run("LAPACKE_dge_trans", {101, 3, 4, nullptr, 5, out_.data(), 6}), IsEmpty());
    EXPECT_THAT(run("LAPACKE_dge_trans", {101, 3, 4, in_.data(), 5, nullptr, 6}), IsEmpty());
    // A negative size is nothing to copy, and nothing to report.
    EXPECT_THAT(run("LAPACKE_dge_trans", {101, -1, 4, in_.data(), 5, out_.data(), 6}), IsEmpty());
    EXPECT_THAT(core().calls(), IsEmpty());
}

TEST_F(Calls, FactorsAreOnesOfEachType)
{
    core().answers("qnm_trans_qnm_comatcopy").calling([](Call& noted, recording::Answer&) {
        EXPECT_THAT((std::array{noted.pointer<const float>(4)[0], noted.pointer<const float>(4)[1]}),
                    ElementsAre(1, 0));
    });
    core().answers("qnm_trans_qnm_zomatcopy").calling([](Call& noted, recording::Answer&) {
        EXPECT_THAT((std::array{noted.pointer<const double>(4)[0], noted.pointer<const double>(4)[1]}),
                    ElementsAre(1, 0));
    });
    EXPECT_EQ(run("LAPACKE_sge_trans", {101, 3, 4, in_.data(), 5, out_.data(), 6}).at(0).real32(0), 1.0F);
    EXPECT_EQ(run("LAPACKE_cge_trans", {101, 3, 4, in_.data(), 5, out_.data(), 6}).size(), 1U);
    EXPECT_EQ(run("LAPACKE_zge_trans", {101, 3, 4, in_.data(), 5, out_.data(), 6}).size(), 1U);
}

TEST_F(Calls, ATriangleAbove64IsHalved)
{
    const auto tr = [&](int layout, char uplo, char diag, int n) {
        return run("LAPACKE_dtr_trans", {layout, uplo, diag, n, in_.data(), 140, out_.data(), 130});
    };
    EXPECT_THAT(tr(102, 'l', 'n', 64), IsEmpty());
    EXPECT_THAT(tr(102, 'l', 'u', 65), IsEmpty());
    const auto one = [&](int layout, char uplo) {
        const auto copies = tr(layout, uplo, 'n', 65);
        return copies.size() == 1 ? told(copies[0], in_.data(), out_.data()) : "not one";
    };
    const std::string below = "c 33x32 in+32 ld 140 out+4160 ld 130",
                      beside = "c 32x33 in+4480 ld 140 out+32 ld 130";
    EXPECT_EQ(one(102, 'L'), below);
    EXPECT_EQ(one(101, 'u'), below);
    EXPECT_EQ(one(102, 'U'), beside);
    EXPECT_EQ(one(101, 'l'), beside);
    EXPECT_EQ(tr(102, 'l', 'n', 130).size(), 3U); // 130 = 65 + 65
    for (const char* form : {"sy", "po"})
        EXPECT_EQ(
            run(std::string("LAPACKE_d") + form + "_trans", {102, 'l', 65, in_.data(), 140, out_.data(), 130})
                .size(),
            1U);
}

TEST_F(Calls, AFullPackedFormIsARectangle)
{
    const auto tf = [&](int layout, char transr, int n) {
        return told(run("LAPACKE_dtf_trans", {layout, transr, 'u', 'n', n, in_.data(), out_.data()}).at(0),
                    in_.data(), out_.data());
    };
    EXPECT_EQ(tf(101, 'n', 6), "r 7x3 in+0 ld 3 out+0 ld 7");
    EXPECT_EQ(tf(102, 'n', 7), "c 7x4 in+0 ld 7 out+0 ld 4");
    EXPECT_EQ(tf(102, 't', 6), "c 3x7 in+0 ld 3 out+0 ld 7");
    EXPECT_EQ(tf(101, 'C', 7), "r 4x7 in+0 ld 7 out+0 ld 4");
    EXPECT_THAT(run("LAPACKE_dtf_trans", {101, 'n', 'u', 'n', 0, in_.data(), out_.data()}), IsEmpty());
    EXPECT_THAT(core().calls(), IsEmpty()); // nor a report
    EXPECT_EQ(told(run("LAPACKE_dpf_trans", {102, 't', 'u', 6, in_.data(), out_.data()}).at(0), in_.data(),
                   out_.data()),
              "c 3x7 in+0 ld 3 out+0 ld 7");
}

} // namespace
} // namespace qnm
