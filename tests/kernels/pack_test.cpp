// Gathering and scattering: these kernels are called without a threader, with the width of their indices.
#include "trial.hpp"

#include <gtest/gtest.h>

namespace qnm::witness {
namespace {

template <class T>
class Packing : public testing::Test {
};
using Types = testing::Types<float, double, std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(Packing, Types);

/// Ten elements there and back, into a vector of 30 that nothing else may touch.
template <class T, class Place>
void there_and_back(const std::string& kind, Place place, const std::vector<std::size_t>& chosen)
{
    const char letter = sizeof(T) == 4                 ? 's'
                        : !std::is_floating_point_v<T> ? sizeof(T) == 8 ? 'c' : 'z'
                                                       : 'd';
    for (const Set& set : sets)
        for (const int width : {1, 2}) {
            SCOPED_TRACE(letter + kind + " " + set.name + " " + std::to_string(width));
            const auto kernel = [&](const char* way) {
                return symbol<void (**)()>(letter + (way + kind) + "_ttab")[set.table()];
            };
            std::vector<T> from(30), packed(chosen.size() + 1, T(-1)), back(30, T(-2));
            for (int i = 0; i < 30; ++i)
                if constexpr (std::is_floating_point_v<T>)
                    from[static_cast<std::size_t>(i)] = static_cast<T>(i);
                else
                    from[static_cast<std::size_t>(i)] = T(static_cast<typename T::value_type>(i), 1);
            place(kernel("Pack"), kernel("Unpack"), width, from.data(), packed.data(), back.data());
            std::vector<T> expected(chosen.size() + 1, T(-1)), scattered(30, T(-2));
            for (std::size_t i = 0; i < chosen.size(); ++i) {
                expected[i] = from[chosen[i]];
                scattered[chosen[i]] = from[chosen[i]];
            }
            EXPECT_EQ(packed, expected);
            EXPECT_EQ(back, scattered);
        }
}

TYPED_TEST(Packing, ByIncrement)
{
    for (const std::int64_t inc : {1, 3, -2}) {
        const std::size_t start = inc < 0 ? 29 : 0;
        std::vector<std::size_t> chosen(10);
        for (std::size_t i = 0; i < 10; ++i)
            chosen[i] = start + i * static_cast<std::size_t>(inc);
        using T = TypeParam;
        there_and_back<T>(
            "I",
            [&](auto pack, auto unpack, int width, const T* from, T* packed, T* back) {
                using Pack = void(std::int64_t, const T*, std::int64_t, T*, int);
                using Unpack = void(std::int64_t, const T*, T*, std::int64_t, int);
                reinterpret_cast<Pack*>(pack)(10, from + start, inc, packed, width);
                reinterpret_cast<Unpack*>(unpack)(10, packed, back + start, inc, width);
            },
            chosen);
    }
}

template <class T>
void by_list(const std::string& kind, const std::vector<std::int32_t>& narrow,
             const std::vector<std::int64_t>& wide, const std::vector<std::size_t>& chosen)
{
    const auto n = static_cast<std::int64_t>(wide.size());
    there_and_back<T>(
        kind,
        [&](auto pack, auto unpack, int width, const T* from, T* packed, T* back) {
            using Kernel = void(std::int64_t, const T*, const void*, T*, int);
            using Unpack = void(std::int64_t, const T*, T*, const void*, int);
            const void* const places = width == 2 ? static_cast<const void*>(wide.data()) : narrow.data();
            reinterpret_cast<Kernel*>(pack)(n, from, places, packed, width);
            reinterpret_cast<Unpack*>(unpack)(n, packed, back, places, width);
        },
        chosen);
}

TYPED_TEST(Packing, ByIndicesFromZero)
{
    by_list<TypeParam>("V", {0, 29, 7, 3, 11}, {0, 29, 7, 3, 11}, {0, 29, 7, 3, 11});
}
TYPED_TEST(Packing, ByMask)
{
    by_list<TypeParam>("M", {1, 0, -1, 0, 0, 5, 1, 0}, {1, 0, -1, 0, 0, 5LL << 32, 1, 0}, {0, 2, 5, 6});
}

} // namespace
} // namespace qnm::witness
