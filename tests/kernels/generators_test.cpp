// Basic generators against published numbers, other implementations and plain recurrences.
#include "kernels/streams/parameters.hpp"
#include "streams.hpp"

#include <Random123/ars.h>
#include <Random123/philox.h>
#include <boost/random/niederreiter_base2.hpp>
#include <random>
#ifdef QNM_NTL
#include <NTL/GF2XFactoring.h>
#endif

namespace {

using namespace streams;
using Words = std::vector<std::uint32_t>;

enum Generators : int {
    mcg31 = 0x100000,
    r250 = 0x200000,
    mrg32k3a = 0x300000,
    mcg59 = 0x400000,
    wichmann_hill = 0x500000,
    sobol = 0x600000,
    niederreiter = 0x700000,
    mt19937 = 0x800000,
    mt2203 = 0x900000,
    sfmt19937 = 0xD00000,
    ars5 = 0xF00000,
    philox = 0x1000000,
};

TEST(Generators, PublishedWords)
{
    struct Known {
        int id;
        Words seeds;
        int ahead;
        Words words;
    };
    const Known all[] = {
        {mt19937, {5489}, 9999, {4123659995U}},
        {mt19937, {0x123, 0x234, 0x345, 0x456}, 0, {1067595299U, 955945823U, 477289528U}},
        {sfmt19937, {1234}, 0, {3440181298U, 1564997079U, 1510669302U, 2930277156U}},
        {sfmt19937, {0x1234, 0x5678, 0x9ABC, 0xDEF0}, 0, {2920711183U, 3885745737U, 3501893680U, 856470934U}},
        {mcg31, {1}, 9999, {1364068467U}},
        {philox, {}, 0, {0x6627E8D5U, 0xE169C58DU, 0xBC57AC4CU, 0x9B00DBD8U}},
        {philox, Words(6, 0xFFFFFFFFU), 0, {0x408F276DU, 0x41C83B0EU, 0xA20BC7C6U, 0x6D5451FDU}},
        {philox,
         {0xA4093822U, 0x299F31D0U, 0x243F6A88U, 0x85A308D3U, 0x13198A2EU, 0x03707344U},
         0,
         {0xD16CFE09U, 0x94FDCCEBU, 0x5001E420U, 0x24126EA1U}},
    };
    for (const Known& known : all) {
        Owned stream(known.id, known.seeds);
        stream.words(known.ahead);
        EXPECT_EQ(stream.words(static_cast<int>(known.words.size())), known.words) << known.id;
    }
    EXPECT_EQ(Owned(mrg32k3a, Words(6, 12345)).doubles(3),
              (std::vector{0.12701112204657714, 0.3185275653967945, 0.3091860155832701}));
    EXPECT_EQ(Owned(mcg59, {1}).doubles(10000).back(), std::ldexp(12882947861046081 >> 6, -53));
}

TEST(Generators, OtherImplementations)
{
    std::mt19937 other(42);
    for (const std::uint32_t word : Owned(mt19937, {42}).words(5000))
        ASSERT_EQ(word, other());

    // Counters that carry into each of their words, in the midst of a batch.
    for (const Words& seeds :
         {Words{1, 2, 0xFFFFFFF0U}, Words{3, 4, 0xFFFFFFF0U, 0xFFFFFFFFU, 0xFFFFFFFFU, 7}}) {
        philox4x32_ctr_t counter{{0, 0, 0, 0}};
        for (std::size_t i = 2; i < seeds.size(); ++i)
            counter.v[i - 2] = seeds[i];
        const Words words = Owned(philox, seeds).words(400);
        for (std::size_t i = 0; i < words.size(); i += 4, counter.incr())
            ASSERT_EQ(Words(&words[i], &words[i] + 4), [&] {
                const auto r = philox4x32_R(10, counter, {{seeds[0], seeds[1]}});
                return Words(r.begin(), r.end());
            }()) << i;
    }
#if R123_USE_AES_NI
    if (__builtin_cpu_supports("aes") != 0) {
        ars4x32_ctr_t counter{{0xFFFFFFF5U, 0xFFFFFFFFU, 0xFFFFFFFFU, 2}};
        const Words words = Owned(ars5, {5, 6, 7, 8, 0xFFFFFFF5U, 0xFFFFFFFFU, 0xFFFFFFFFU, 2}).words(400);
        for (std::size_t i = 0; i < words.size(); i += 4, counter.incr())
            ASSERT_EQ(Words(&words[i], &words[i] + 4), [&] {
                const auto r = ars4x32_R(5, counter, {{5, 6, 7, 8}});
                return Words(r.begin(), r.end());
            }()) << i;
    }
#endif
    for (const std::size_t dimension : {1U, 2U, 7U, 318U}) {
        boost::random::niederreiter_base2_engine<std::uint32_t, 32> points(dimension);
        for (const std::uint32_t word :
             Owned(niederreiter, {static_cast<std::uint32_t>(dimension)}).words(20000))
            ASSERT_EQ(word, points()) << dimension;
    }
}

// x(n) = next(x, n), the first words given.
template <class Next>
Words recurrence(Words x, int n, Next next)
{
    const std::size_t first = x.size();
    while (x.size() < first + static_cast<std::size_t>(n))
        x.push_back(next(x, x.size()));
    return Words(x.begin() + static_cast<std::ptrdiff_t>(first), x.end());
}

TEST(Generators, PlainRecurrences)
{
    Words start(250, 7);
    for (std::size_t i = 1; i < 250; ++i)
        start[i] = start[i - 1] * 69069U;
    for (std::size_t i = 0; i < 32; ++i)
        start[7 * i + 3] = (start[7 * i + 3] & 0xFFFFFFFFU >> i) | 0x80000000U >> i;
    EXPECT_EQ(Owned(r250, {7}).words(3000),
              recurrence(start, 3000, [](const Words& x, std::size_t n) { return x[n - 103] ^ x[n - 250]; }));

    static const std::uint32_t twisters[][3] = {
#define QNM_TWISTER(multiplier, b, c) {multiplier, b, c},
#include "kernels/streams/search/twisters.inc"
#undef QNM_TWISTER
    };
    ASSERT_EQ(std::size(twisters), 6024U);
    for (const int set : {0, 1, 1000, 6023}) {
        const auto& [multiplier, b, c] = twisters[set];
        ASSERT_EQ(multiplier & 0xFFFFU, static_cast<unsigned>(set));
        Words first(69, 5489);
        for (std::uint32_t i = 1; i < 69; ++i)
            first[i] = 1812433253U * (first[i - 1] ^ first[i - 1] >> 30) + i;
        Words plain = recurrence(first, 2000, [&](const Words& x, std::size_t n) {
            const std::uint32_t y = (x[n - 69] & 0xFFFFFFE0U) | (x[n - 68] & 0x1FU);
            return x[n - 35] ^ y >> 1 ^ ((y & 1U) != 0 ? multiplier : 0U);
        });
        for (std::uint32_t& x : plain) {
            x ^= x >> 11;
            x ^= (x << 7) & b;
            x ^= (x << 15) & c;
            x ^= x >> 18;
        }
        EXPECT_EQ(Owned(mt2203 + set, {5489}).words(2000), plain) << set;
    }

    struct {
        std::uint64_t modulus, factor, x;
    } parts[][4] = {
#define QNM_PART(modulus, factor)                                                                            \
    {                                                                                                        \
        modulus, factor, 1                                                                                   \
    }
#define QNM_SET_OF_PARTS(a, b, c, d) {a, b, c, d},
#include "kernels/streams/search/wichmann_hill.inc"
    };
    ASSERT_EQ(std::size(parts), 273U);
    for (const int set : {0, 1, 100, 272}) {
        const Words seeds = {1, 20000000, 3, 4000};
        for (std::size_t i = 0; i < 4; ++i)
            parts[set][i].x = seeds[i] % parts[set][i].modulus;
        for (const double u : Owned(wichmann_hill + set, seeds).doubles(3000)) {
            double sum = 0;
            for (auto& part : parts[set]) {
                part.x = part.x * part.factor % part.modulus;
                sum += static_cast<double>(part.x) / static_cast<double>(part.modulus);
            }
            ASSERT_EQ(u, sum - std::floor(sum)) << set;
        }
    }
}

TEST(Generators, PlainCombinedRecurrences)
{
    std::uint64_t x[] = {1, 2, 3}, y[] = {4, 5, 6};
    for (const double u : Owned(mrg32k3a, {1, 2, 3, 4, 5, 6}).doubles(5000)) {
        constexpr std::uint64_t m1 = 4294967087, m2 = 4294944443;
        const std::uint64_t next_x = (1403580 * x[1] + 810728 * (m1 - x[0])) % m1;
        const std::uint64_t next_y = (527612 * y[2] + 1370589 * (m2 - y[0])) % m2;
        x[0] = x[1], x[1] = x[2], x[2] = next_x;
        y[0] = y[1], y[1] = y[2], y[2] = next_y;
        const std::uint64_t z = next_x > next_y ? next_x - next_y : next_x + m1 - next_y;
        ASSERT_EQ(u, static_cast<double>(z) * (1.0 / 4294967088.0));
    }
}

// The point whose number's Gray code has 25 ones, of QuantLib's table of the same direction numbers.
TEST(Generators, SobolOfAnotherImplementation)
{
    const Words known = {0xFFFFFF80, 0x81818180, 0x8000AD80, 0xEA124980, 0x5551ED80, 0xC1471F80, 0x57FF1180,
                         0x92277F80, 0x14880E80, 0xC97FD080, 0x90800080, 0xF2C48780, 0x08673780, 0x977DF780,
                         0x386AF980, 0x6124D980, 0x65F70580, 0x6DB4D380, 0x1BBD1B80, 0xEC17DC80, 0xF45A7A80,
                         0xD2A04080, 0x23EB4680, 0x295C3080, 0x2F209A80, 0xF268E980, 0x90554180, 0xE761D380,
                         0xF00F2780, 0x8EA33C80, 0xF3DE8680, 0x74999280, 0x33A92280, 0x588ED780, 0x0CAB7180,
                         0xE619E880, 0x177E0B80, 0x31FE9980, 0x3F15CF80, 0x4CA2F980};
    Owned stream(sobol, {40});
    EXPECT_EQ(call("__vslSkipAheadStream", static_cast<Stream*>(stream), 40 * (0x1555555LL - 1)), 0);
    EXPECT_EQ(stream.words(40), known);
}

// Direction numbers have as many independent rows as a net needs: each stretch of 2^k points has one in each
// interval of length 2^-k, in each coordinate.
TEST(Generators, SobolPointsAreANet)
{
    for (const std::uint32_t dimension : {1U, 2U, 40U}) {
        Owned stream(sobol, {dimension});
        stream.words(static_cast<int>(dimension) *
                     1023); // with the zero point left out 1024 begins a stretch
        const Words words = stream.words(static_cast<int>(dimension) * 1024);
        for (std::uint32_t coordinate = 0; coordinate < dimension; ++coordinate) {
            std::vector<bool> seen(1024);
            for (std::size_t i = coordinate; i < words.size(); i += dimension)
                seen[words[i] >> 22] = true;
            ASSERT_EQ(std::count(seen.begin(), seen.end(), true), 1024) << coordinate;
        }
    }
}

#ifdef QNM_NTL
// The least recurrence of one bit of the output is of degree 2203, and irreducible; 2^2203 - 1 is prime.
TEST(Generators, SmallTwistersHaveTheWholePeriod)
{
    for (int set = 3; set < 6024; set += 669) {
        NTL::vec_GF2 bits;
        for (const std::uint32_t word : Owned(mt2203 + set, {1}).words(2 * 2203))
            bits.append(NTL::to_GF2(static_cast<long>(word >> 9 & 1U)));
        NTL::GF2X recurrence;
        NTL::MinPolySeq(recurrence, bits, 2203);
        EXPECT_EQ(NTL::deg(recurrence), 2203) << set;
        EXPECT_EQ(NTL::IterIrredTest(recurrence), 1) << set;
    }
}
#endif

/// All generators, with what they can do.
struct Ability {
    const char* name;
    int id;
    Words seeds;
    bool leapfrog;
    bool skip;
    std::int64_t far; // what skipping is cheap for
    bool wide_skip;
    bool random_bits;
};
const Ability abilities[] = {
    {"mcg31", mcg31, {77}, true, true, std::int64_t{1} << 40, false, false},
    {"r250", r250, {77}, false, false, 0, false, true},
    {"mrg32k3a", mrg32k3a, {1, 2, 3, 4, 5, 6}, false, true, std::int64_t{1} << 40, true, false},
    {"mcg59", mcg59, {77, 3}, true, true, std::int64_t{1} << 40, false, false},
    {"wh7", wichmann_hill + 7, {9, 8, 7, 6}, true, true, std::int64_t{1} << 40, false, false},
    {"sobol", sobol, {3}, false, true, std::int64_t{1} << 30, false, false},
    {"niederreiter", niederreiter, {5}, false, true, std::int64_t{1} << 30, false, false},
    {"mt19937", mt19937, {1, 2, 3}, false, true, std::int64_t{1} << 40, false, true},
    {"mt2203", mt2203 + 5, {77}, false, false, 0, false, true},
    {"sfmt19937", sfmt19937, {77}, false, true, 1 << 20, false, true},
    {"ars5", ars5, {1, 2, 3, 4, 5}, false, true, std::int64_t{1} << 40, true, true},
    {"philox", philox, {1, 2, 3}, false, true, std::int64_t{1} << 40, true, true},
};

class EachGenerator : public testing::TestWithParam<Ability> {
protected:
    Owned begun() const { return Owned(GetParam().id, GetParam().seeds); }
};

template <class T>
std::vector<T> joined(std::vector<T> x, const std::vector<T>& y)
{
    x.insert(x.end(), y.begin(), y.end());
    return x;
}

TEST_P(EachGenerator, PiecesAreTheWhole)
{
    const Words whole = begun().words(4000);
    Owned stream = begun();
    Words pieces;
    for (const int n : {1, 2, 3, 700, 1, 64, 513, 16, 100, 2600})
        pieces = joined(pieces, stream.words(n));
    EXPECT_EQ(pieces, whole);

    const std::vector<double> doubles = begun().doubles(4000);
    const std::vector<float> floats = begun().floats(4000);
    for (std::size_t i = 0; i < 4000; ++i) {
        ASSERT_GE(doubles[i], 0);
        ASSERT_LT(doubles[i], 1);
        ASSERT_EQ(floats[i], std::ldexp(std::floor(std::ldexp(doubles[i], 24)), -24)) << i;
        if (GetParam().random_bits) {
            ASSERT_EQ(doubles[i], whole[i] * 0x1p-32);
        }
    }
}

TEST_P(EachGenerator, LeapfrogIsTheSubsequence)
{
    for (const int streams : {1, 3, 50})
        for (const int k : {0, streams - 1}) {
            Owned all = begun(), stream = begun();
            all.words(11);
            stream.words(11);
            const int status = call("__vslLeapfrogStream", static_cast<Stream*>(stream), k, streams);
            if (!GetParam().leapfrog) {
                EXPECT_EQ(status, -1002);
                continue;
            }
            ASSERT_EQ(status, 0);
            const Words whole = all.words(100 * streams), part = stream.words(100);
            for (int i = 0; i < 100; ++i)
                ASSERT_EQ(part[static_cast<std::size_t>(i)],
                          whole[static_cast<std::size_t>(i * streams + k)]);
        }
}

TEST_P(EachGenerator, SkippingIsDropping)
{
    for (const int distance : {0, 1, 5, 63, 64, 1000, 200000}) {
        Owned dropped = begun(), skipped = begun();
        dropped.words(100);
        skipped.words(100);
        const int status =
            call("__vslSkipAheadStream", static_cast<Stream*>(skipped), static_cast<long long>(distance));
        if (!GetParam().skip) {
            EXPECT_EQ(status, -1003);
            return;
        }
        ASSERT_EQ(status, 0);
        dropped.words(distance);
        ASSERT_EQ(skipped.words(3000), dropped.words(3000)) << distance;
    }
    // Far skips: a sum of distances is one distance.
    const std::int64_t far = GetParam().far;
    Owned once = begun(), twice = begun();
    EXPECT_EQ(call("__vslSkipAheadStream", static_cast<Stream*>(once), static_cast<long long>(far)), 0);
    for (const std::int64_t part : {far / 2 - 12345, far / 2 + 12345})
        EXPECT_EQ(call("__vslSkipAheadStream", static_cast<Stream*>(twice), static_cast<long long>(part)), 0);
    EXPECT_EQ(once.words(2000), twice.words(2000));

    const auto skip_wide = [](Stream* stream, std::vector<std::uint64_t> words) {
        return call("__vslSkipAheadStreamEx", stream, static_cast<int>(words.size()),
                    static_cast<const std::uint64_t*>(words.data()));
    };
    if (!GetParam().wide_skip) {
        EXPECT_EQ(skip_wide(once, {1}), -1004);
        return;
    }
    Owned wide = begun(), in_halves = begun();
    EXPECT_EQ(skip_wide(wide, {7, std::uint64_t{1} << 36}), 0); // 2^100 + 7
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(skip_wide(in_halves, {3, std::uint64_t{1} << 35}), 0);
    in_halves.words(1);
    EXPECT_EQ(wide.words(2000), in_halves.words(2000));
    for (const std::size_t word : {1U, 2U}) { // 2^64 and 2^128
        std::vector<std::uint64_t> quarter(word), all(word + 1);
        quarter.back() = std::uint64_t{1} << 62;
        all.back() = 1;
        Owned in_quarters = begun(), at_once = begun();
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(skip_wide(in_quarters, quarter), 0);
        EXPECT_EQ(skip_wide(at_once, all), 0);
        EXPECT_EQ(in_quarters.words(500), at_once.words(500));
    }
}

std::vector<char> saved(Stream* stream)
{
    std::vector<char> memory(static_cast<std::size_t>(call("__vslGetStreamSize", stream)));
    EXPECT_EQ(call("__vslSaveStreamM", stream, memory.data()), 0);
    return memory;
}

TEST_P(EachGenerator, CopiesGoOnAlike)
{
    Owned stream = begun();
    stream.words(100);
    stream.draw<double>("dRngGaussian", 1, 0.0, 1.0);
    std::vector<double> pair(3);
    // The second of a pair waits in the stream.
    EXPECT_EQ(call("_vsldRngGaussian", 1, static_cast<Stream*>(stream), 3, pair.data(), 0.0, 1.0), 0);

    const std::string name = testing::TempDir() + GetParam().name + ".stream";
    Owned copy, state(GetParam().id, {}), from_memory, from_file, from_text;
    EXPECT_EQ(call("__vslCopyStream", copy.slot(), static_cast<Stream*>(stream)), 0);
    EXPECT_EQ(call("__vslCopyStreamState", static_cast<Stream*>(state), static_cast<Stream*>(stream)), 0);
    EXPECT_EQ(call("__vslLoadStreamM", from_memory.slot(), saved(stream).data()), 0);
    EXPECT_EQ(call("__vslSaveStreamF", static_cast<Stream*>(stream), name.c_str(), -1), 0);
    EXPECT_EQ(call("__vslLoadStreamF", from_file.slot(), name.c_str(), -1), 0);
    EXPECT_EQ(call("__vslLoadStreamF", from_text.slot(), (name + "   .").c_str(),
                   static_cast<int>(name.size()) + 2),
              0);
    std::vector<double> whole(1500);
    EXPECT_EQ(call("_vsldRngGaussian", 1, static_cast<Stream*>(stream), 1500, whole.data(), 0.0, 1.0), 0);
    for (Owned* const other : {&copy, &state, &from_memory, &from_file, &from_text}) {
        ASSERT_NE(static_cast<Stream*>(*other), nullptr);
        EXPECT_EQ(call("__vslGetStreamStateBrng", static_cast<Stream*>(*other)), GetParam().id);
        std::vector<double> r(1500);
        EXPECT_EQ(call("_vsldRngGaussian", 1, static_cast<Stream*>(*other), 1500, r.data(), 0.0, 1.0), 0);
        EXPECT_EQ(r, whole);
    }

    Owned unlike(GetParam().id == mcg31 ? mcg59 : mcg31, {});
    EXPECT_EQ(call("__vslCopyStreamState", static_cast<Stream*>(unlike), static_cast<Stream*>(stream)),
              -1005);
}

TEST_P(EachGenerator, DamageIsRefused)
{
    const std::string name = testing::TempDir() + GetParam().name + ".damaged";
    const std::vector<char> good = saved(begun());
    const auto load = [&](const std::vector<char>& bytes) {
        std::FILE* const file = std::fopen(name.c_str(), "wb");
        if (!bytes.empty())
            std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
        Owned stream;
        const int status = call("__vslLoadStreamF", stream.slot(), name.c_str(), -1);
        EXPECT_EQ(static_cast<Stream*>(stream) == nullptr, status < 0);
        return status;
    };
    EXPECT_EQ(load(good), 0);
    for (std::size_t place = 0; place < good.size(); place += place < 64 ? 1 : 37) {
        std::vector<char> bad = good;
        bad[place] = static_cast<char>(bad[place] ^ 4);
        Owned stream;
        ASSERT_EQ(call("__vslLoadStreamM", stream.slot(), bad.data()), -1200) << place;
        if (place % 8 == 0 && place < 64) {
            ASSERT_EQ(load(bad), place == 8 ? -1111 : -1110) << place;
        }
    }
    for (const std::size_t size : {std::size_t{0}, std::size_t{31}, good.size() - 1})
        EXPECT_EQ(load(std::vector<char>(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))),
                  -1103);
}

TEST_P(EachGenerator, RandomBits)
{
    Owned stream = begun();
    Words words(100);
    std::vector<std::uint64_t> doubled(50);
    const int status = GetParam().random_bits ? 0 : -1014;
    EXPECT_EQ(call("_vsliRngUniformBits32", 0, static_cast<Stream*>(stream), 100, words.data()), status);
    EXPECT_EQ(call("_vsliRngUniformBits64", 0, static_cast<Stream*>(stream), 50, doubled.data()), status);
    if (status != 0)
        return;
    const Words plain = begun().words(200);
    EXPECT_EQ(words, Words(plain.begin(), plain.begin() + 100));
    for (std::size_t i = 0; i < 50; ++i)
        EXPECT_EQ(doubled[i], plain[100 + 2 * i] | static_cast<std::uint64_t>(plain[101 + 2 * i]) << 32);
}

INSTANTIATE_TEST_SUITE_P(Kernels, EachGenerator, testing::ValuesIn(abilities),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Generators, OneCoordinateOfPoints)
{
    for (const int id : {sobol, niederreiter}) {
        Owned whole(id, {40}), one(id, {40});
        const Words points = whole.words(40 * 500);
        ASSERT_EQ(call("__vslLeapfrogStream", static_cast<Stream*>(one), 17, 0x7FFFFFFF), 0);
        const Words words = one.words(500);
        for (std::size_t i = 0; i < 500; ++i)
            ASSERT_EQ(words[i], points[40 * i + 17]);
        EXPECT_EQ(call("__vslLeapfrogStream", static_cast<Stream*>(whole), 40, 0x7FFFFFFF), -3);
        // 2^32 - 1 points, and no more.
        Owned end(id, {2});
        EXPECT_EQ(call("__vslSkipAheadStream", static_cast<Stream*>(end), 2 * ((1LL << 32) - 1) - 1), 0);
        end.words(1);
        Words beyond(1);
        EXPECT_EQ(call("_vsliRngUniformBits", 0, static_cast<Stream*>(end), 1, beyond.data()), -1012);
        EXPECT_EQ(call("__vslSkipAheadStream", static_cast<Stream*>(end), 1LL), -1012);
    }
}

TEST(Generators, WhatCannotBegin)
{
    const std::uint32_t none = 0, many = 319;
    for (const int id :
         {0, 5, 0x100001, 0x500111, 0x901788, 0xA00000, 0xB00000, 0xC00000, 0x1100000, 0x7FF00000}) {
        Owned stream;
        EXPECT_EQ(call("__vslNewStreamEx", stream.slot(), id, 1, &none), -1000) << std::hex << id;
        EXPECT_EQ(static_cast<Stream*>(stream), nullptr);
    }
    for (const auto& [id, dimension] : {std::pair{sobol, &none}, {niederreiter, &many}}) {
        Owned stream;
        EXPECT_EQ(call("__vslNewStreamEx", stream.slot(), id, 1, dimension), -3);
    }
}

} // namespace
