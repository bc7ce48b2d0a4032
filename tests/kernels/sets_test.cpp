// Each instruction set makes the same bits.
#include "kernels/statistics/blocks.hpp"
#include "kernels/streams/stream.hpp"
#include "kernels/tables.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace qnm::vsl {
namespace sse2 {
extern const Generator generators[built_in];
}
namespace avx2 {
extern const Generator generators[built_in];
}
namespace avx512 {
extern const Generator generators[built_in];
}
} // namespace qnm::vsl

namespace {

using namespace qnm::vsl;

std::unique_ptr<Stream, decltype(&std::free)> begun(const Generator& generator)
{
    auto* const stream = static_cast<Stream*>(std::calloc(1, stream_size(generator)));
    stream->id = generator.id;
    stream->valid = 1;
    stream->generator = &generator;
    const std::uint32_t seeds[] = {3, 5, 7, 11};
    const bool of_dimensions = generator.id == 0x600000 || generator.id == 0x700000;
    EXPECT_EQ(generator.start(stream, of_dimensions ? 1 : 4, seeds), 0);
    return {stream, &std::free};
}

TEST(Generators, SameBitsOfEachInstructionSet)
{
    const int best = qnm::vml::best_set();
    for (const Generator& first : sse2::generators) {
        const bool from_outside = first.properties.seeds == 0;
        if (from_outside || (first.id == 0xF00000 && __builtin_cpu_supports("aes") == 0))
            continue;
        const std::size_t place = static_cast<std::size_t>(&first - sse2::generators);
        for (const Generator* const other : {avx2::generators, avx512::generators}) {
            if (best == qnm::vml::sse2_table ||
                (other == avx512::generators && best != qnm::vml::avx512_table))
                continue;
            const auto x = begun(first), y = begun(other[place]);
            const std::uint64_t distance = 1234567;
            std::vector<std::uint32_t> words[2];
            std::vector<double> doubles[2];
            std::vector<float> floats[2];
            for (Stream* const stream : {x.get(), y.get()}) {
                const Generator& of = *stream->generator;
                const std::size_t i = stream == x.get() ? 0 : 1;
                words[i].resize(3001);
                doubles[i].resize(3001);
                floats[i].resize(3001);
                EXPECT_EQ(of.words(stream, 3001, words[i].data()), 0);
                if (of.leapfrog != nullptr && of.id < 0x600000) {
                    EXPECT_EQ(of.leapfrog(stream, 2, 3), 0);
                }
                EXPECT_EQ(of.doubles(stream, 3001, doubles[i].data(), -1, 3), 0);
                if (of.skip != nullptr) {
                    EXPECT_EQ(of.skip(stream, {1, &distance}), 0);
                }
                EXPECT_EQ(of.floats(stream, 3001, floats[i].data(), -1, 3), 0);
            }
            EXPECT_EQ(words[0], words[1]) << std::hex << first.id;
            EXPECT_EQ(doubles[0], doubles[1]) << std::hex << first.id;
            EXPECT_EQ(floats[0], floats[1]) << std::hex << first.id;
        }
    }
}

// Blocks are as large as their numbers are, so that a sanitizer sees who reads or writes beyond them.
template <class T>
void expect_turned(void (*turn)(const T*, std::int64_t, std::int64_t, std::int64_t, double*))
{
    for (std::int64_t columns = 2; columns <= 19; ++columns)
        for (std::int64_t count = 1; count <= 35; ++count) {
            const std::int64_t stride = count + 3;
            std::vector<T> x(static_cast<std::size_t>(columns * count));
            for (std::size_t i = 0; i < x.size(); ++i)
                x[i] = static_cast<T>(i + 1);
            std::vector<double> column(static_cast<std::size_t>(columns * stride), -1), expected = column;
            for (std::int64_t k = 0; k < columns; ++k)
                for (std::int64_t i = 0; i < count; ++i)
                    expected[static_cast<std::size_t>(k * stride + i)] =
                        static_cast<double>(i * columns + k + 1);
            turn(x.data(), columns, count, stride, column.data());
            ASSERT_EQ(column, expected) << columns << " by " << count;
        }
}

TEST(Statistics, EachInstructionSetTurnsObservationsIntoColumns)
{
    namespace statistics = qnm::vsl::statistics;
    const int best = qnm::vml::best_set();
    for (const auto& [set, routines] : {std::pair{qnm::vml::sse2_table, &statistics::qnm_ss_blocks_sse2},
                                        {qnm::vml::avx2_table, &statistics::qnm_ss_blocks_avx2},
                                        {qnm::vml::avx512_table, &statistics::qnm_ss_blocks_avx512}})
        if (set <= best) {
            SCOPED_TRACE(set);
            expect_turned(routines->turn_floats);
            expect_turned(routines->turn_doubles);
        }
}

} // namespace
