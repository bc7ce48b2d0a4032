// The estimates of summary statistics: what is looked at, and which stages run.
#include "unbound.hpp"

#include <dlfcn.h>

namespace qnm::tests {
namespace {

using ::testing::IsEmpty;

/// Masks and kernels in their order.
const std::vector<std::pair<std::uint64_t, const char*>> stages{{0xc00, "Minmax"},
                                                                {0x8000000000, "Sort"},
                                                                {0x1fe0033ff, "Basic"},
                                                                {0x600000000, "MAD"},
                                                                {0x180000c000, "PooledCovariance"},
                                                                {0x80000, "OutliersDetection"},
                                                                {0x40000, "RobustCovariance"},
                                                                {0x300000, "PartialCovariance"},
                                                                {0x30000, "Quantiles"},
                                                                {0x1000000, "StreamQuantiles"},
                                                                {0x800000, "CorParametrization"}};
constexpr std::uint64_t missing = 0x400000, all = ~missing, without_data = 0x1b00000;

class Estimates : public Unbound {
protected:
    struct Task {
        int wide = 0;
        const void *unread = nullptr, *p = nullptr, *n = nullptr, *w = nullptr, *x = nullptr, *indices[2]{},
                   *storage = nullptr;
    } task_;
    std::int64_t p_ = 1, n_ = 1, x_ = 1, storage_ = 0x20000;

    void SetUp() override
    {
        task_.p = &p_, task_.n = &n_, task_.x = &x_, task_.storage = &storage_;
        core().ignore("dlsym");
        core().ignore("qnm_serv_load_vml");
    }
    /// Under any of the names.
    static int compute(const std::string& name, const Task* task, std::uint64_t mask, int method = -3)
    {
        core().clear();
        return name.ends_with("_") ? support::call_words(layer()[name], {&task, &mask, &method}).int32()
                                   : support::call_words(layer()[name], {task, mask, method}).int32();
    }
    int compute(std::uint64_t mask) { return compute("vsldSSCompute", &task_, mask); }
    static std::string kernel(const std::string& stage, char letter = 'd')
    {
        return std::string("_vsl") + letter + "SS" + stage;
    }
    /// What a mask asks for.
    static std::vector<std::string> wanted(std::uint64_t mask, char letter = 'd')
    {
        std::vector<std::string> names;
        for (const auto& [bits, stage] : stages)
            if ((mask & bits) != 0)
                names.push_back(kernel(stage, letter));
        return (mask & missing) != 0 ? std::vector{kernel("MissingValues", letter)} : names;
    }
};

TEST_F(Estimates, EveryBitAsksForItsStageUnderEveryName)
{
    for (const char letter : {'s', 'd'})
        for (const char* form : {"vslName", "VSLNAME_", "vslname_"}) {
            const std::string name = catalogue::spell(form, std::string(1, letter) + "SSCompute");
            for (int bit = 0; bit < 64; ++bit) {
                SCOPED_TRACE(name + " " + std::to_string(bit));
                EXPECT_EQ(compute(name, &task_, std::uint64_t{1} << bit), 0);
                EXPECT_EQ(story(), wanted(std::uint64_t{1} << bit, letter));
            }
            EXPECT_EQ(compute(name, &task_, 0), 0);
            EXPECT_THAT(story(), IsEmpty());
            EXPECT_EQ(compute(name, &task_, all), 0);
            EXPECT_EQ(story(), wanted(all, letter));
            for (const Call& call : core().calls()) {
                EXPECT_EQ(call.pointer<const Task>(0), &task_);
                EXPECT_EQ(call.word(1), all);
                EXPECT_EQ(call.int64(2), -3);
                EXPECT_EQ(call.pointer<void>(3), dlsym(RTLD_DEFAULT, "qnm_vsl_serv_threader_for"));
                EXPECT_NE(call.pointer<void>(3), nullptr);
            }
            EXPECT_EQ(compute(name, &task_, ~std::uint64_t{0}), 0);
            EXPECT_EQ(story(), wanted(missing, letter));
        }
}

TEST_F(Estimates, AFailedStageEndsTheCallAndTheLastOneTellsTheStatus)
{
    for (const auto& [bits, stage] : stages) {
        core().answers(kernel(stage)).with(-9);
        EXPECT_EQ(compute(all), -9);
        EXPECT_EQ(story().back(), kernel(stage));
        core().answers(kernel(stage)).with(4);
        EXPECT_EQ(compute(bits), 4);
    }
    core().answers(kernel("CorParametrization")).with(0);
    EXPECT_EQ(compute(all), 0); // a warning is the last one's or nobody's
    core().answers(kernel("MissingValues")).with(-5);
    EXPECT_EQ(compute(missing | all), -5);
}

TEST_F(Estimates, NoStageIsLeftOutForWantOfItsKernel)
{
    for (const auto& [bits, stage] : stages)
        expect_ended(kernel(stage), [&, bits = bits] { compute(bits); });
    expect_ended(kernel("MissingValues"), [&] { compute(missing); });
}

TEST_F(Estimates, ATaskIsLookedAtInOrder)
{
    const auto refused = [&](int status, std::uint64_t mask = 0x2) {
        for (const char* name : {"vsldSSCompute", "vslsSSCompute", "VSLDSSCOMPUTE_", "vslssscompute_"}) {
            EXPECT_EQ(compute(name, &task_, mask), status) << name;
            EXPECT_THAT(story(), IsEmpty());
        }
    };
    EXPECT_EQ(compute("vsldSSCompute", nullptr, 0x2), -4031);
    for (const int wide : {0, 1}) {
        task_ = {wide, nullptr, nullptr, nullptr, nullptr, nullptr, {}, nullptr};
        refused(-4001);
        task_.p = &p_;
        // The integers that are told have 32 bits, or 64.
        for (const std::int64_t bad :
             {std::int64_t{0}, std::int64_t{-1}, wide == 0 ? 0x100000000 : -0x100000000}) {
            p_ = bad;
            refused(-4001);
        }
        p_ = wide == 0 ? 1 : 0x100000000;
        refused(-4002);
        for (std::uint64_t bit = 1; bit != 0; bit <<= 1)
            EXPECT_EQ(compute(bit), (bit & without_data) != 0 ? 0 : -4002) << bit;
        task_.n = &n_;
        n_ = wide == 0 ? 0x100000000 : -0x100000000;
        refused(-4002);
        n_ = wide == 0 ? 1 : 0x100000000;
        refused(-4032);
        task_.x = &x_;
        refused(-4044);
        task_.storage = &storage_;
        for (const std::int64_t bad : {0x0, 0x30000, 0xffff, 0x10001}) {
            storage_ = bad;
            refused(-4003);
        }
        storage_ = 0x100010000;
        EXPECT_EQ(compute(0x2), wide == 0 ? 0 : -4003);
        storage_ = 0x10000;
        EXPECT_EQ(compute(0x2), 0);
        storage_ = 0x20000;
        EXPECT_EQ(compute(0x2), 0);
    }
}

} // namespace
} // namespace qnm::tests
