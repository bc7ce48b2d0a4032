// Helpers beside the model. A NaN in each place of the form is found, and none outside it; infinities are no
// NaN. Of changes of layout whole arrays are compared, so that nothing outside the form may be touched.
#include "forms.hpp"

#include <algorithm>
#include <array>
#include <sys/mman.h>

namespace qnm::tests {
namespace {

/// Finite numbers, now and then infinities of both signs, which sum up to a NaN.
double value(long round)
{
    static constexpr std::array<double, 4> values{1, -2, inf, -inf};
    return values[static_cast<std::size_t>(any(0, round % 3 == 0 ? 3 : 1))];
}

bool checks_matrices(const Helper& helper)
{
    return !helper.is_trans() && !helper.is_vector();
}

TEST(NanCheck, FindsANanInEachPlaceOfTheFormAndNowhereElse)
{
    for (const Helper& helper : helpers(checks_matrices))
        for (int round = 0; round < 40; ++round) {
            const Form form = Form::random(helper.form(), round % 4 == 0 ? 70 : 24);
            SCOPED_TRACE(helper.name() + " of " + form.told());
            const auto places = form.places();
            // Packed forms whose check gets no options have no outside.
            Elements a(helper, form.length() + 2, helper.has("matrix_layout") ? nan : 1);
            for (const long place : places)
                a.set(place, value(round));
            ASSERT_FALSE(helper.run(form, {a.data()}));
            for (std::size_t k = 0, step = places.size() / 16 + 1; k < places.size() + step - 1; k += step) {
                const long place = places[std::min(k, places.size() - 1)];
                Elements spoiled = a;
                spoiled.set_any_part(place, nan);
                ASSERT_TRUE(helper.run(form, {spoiled.data()})) << "place " << place;
            }
        }
}

TEST(NanCheck, OfVectorsWalksByTheIncrement)
{
    for (const Helper& helper : helpers([](const Helper& h) { return h.form().empty(); })) {
        Form form;
        for (const long n : {0, 1, 5, 31, 32, 33, 100, 131})
            for (const long incx : {1, -1, 2, -3, 7}) {
                SCOPED_TRACE(helper.name() + " n " + std::to_string(n) + " incx " + std::to_string(incx));
                const long step = std::abs(incx);
                form.n = n;
                Elements x(helper, n * step + 1, nan);
                for (long i = 0; i < n; ++i)
                    x.set(i * step, value(n));
                EXPECT_FALSE(helper.run(form, {x.data()}, nullptr, incx));
                for (long i = 0; i < n; ++i) {
                    Elements spoiled = x;
                    spoiled.set_any_part(i * step, nan);
                    EXPECT_TRUE(helper.run(form, {spoiled.data()}, nullptr, incx)) << i;
                }
            }
        // Without an increment the first element counts, whatever n is.
        for (form.n = -1; form.n < 2; ++form.n) {
            Elements x(helper, 6, nan);
            EXPECT_TRUE(helper.run(form, {x.data()}, nullptr, 0));
            x.set(0, 1);
            EXPECT_FALSE(helper.run(form, {x.data()}, nullptr, 0));
        }
        // Infinities of both signs sum up to a NaN in every partial sum.
        form.n = 64;
        Elements x(helper, 64, inf);
        for (long i = 32; i < 64; ++i)
            x.set(i, -inf);
        EXPECT_FALSE(helper.run(form, {x.data()}));
    }
}

TEST(NanCheck, OfDiagonalsKnowsTheirLengths)
{
    for (const Helper& helper : helpers([](const Helper& h) { return h.is_vector() && !h.form().empty(); }))
        for (const long n : {0, 1, 2, 40}) {
            SCOPED_TRACE(helper.name() + " n " + std::to_string(n));
            Form form;
            form.n = n;
            const std::vector<long> lengths =
                helper.form() == "gt" ? std::vector{n - 1, n, n - 1} : std::vector{n, n - 1};
            std::vector<Elements> arrays;
            for (const long length : lengths) {
                arrays.emplace_back(helper, n + 2, nan, helper.form() == "pt" && arrays.empty());
                for (long i = 0; i < length; ++i)
                    arrays.back().set(i, 1);
            }
            std::vector<void*> addresses;
            for (Elements& array : arrays)
                addresses.push_back(array.data());
            EXPECT_FALSE(helper.run(form, addresses));
            for (std::size_t k = 0; k < lengths.size(); ++k)
                for (long i = 0; i < lengths[k]; ++i) {
                    arrays[k].set_any_part(i, nan);
                    EXPECT_TRUE(helper.run(form, addresses)) << k << ' ' << i;
                    arrays[k].set(i, 1);
                }
        }
}

TEST(NanCheck, ALeadingDimensionThatIsTooSmallCutsLines)
{
    for (const Helper& helper :
         helpers([](const Helper& h) { return !h.is_trans() && (h.form() == "ge" || h.form() == "gg"); }))
        for (const long lines : {1, 20}) // each way of looking
            for (const bool by_rows : {true, false}) {
                Form form;
                form.by_rows = by_rows;
                form.m = by_rows ? 1 : lines + 4;
                form.n = by_rows ? lines + 4 : 1;
                form.ld = lines;
                Elements a(helper, lines + 4, 1);
                a.set(lines, nan);
                EXPECT_FALSE(helper.run(form, {a.data()})) << helper.name();
                a.set(lines - 1, nan);
                EXPECT_TRUE(helper.run(form, {a.data()})) << helper.name();
            }
}

TEST(Trans, MovesTheElementsOfItsFormAndNoOther)
{
    for (const Helper& helper : helpers(&Helper::is_trans))
        for (int round = 0; round < 60; ++round) {
            const Form from = Form::random(helper.form(), round % 10 == 0 ? 150 : 20), to = from.turned();
            SCOPED_TRACE(helper.name() + " of " + from.told() + " to " + std::to_string(to.ld));
            Elements in(helper, from.length() + 2, 0), out(helper, to.length() + 2, -1), expected = out;
            for (long i = 0; i < from.length() + 2; ++i)
                in.set(i, static_cast<double>(i + 1));
            const auto source = from.places(true), target = to.places(true);
            ASSERT_EQ(source.size(), target.size());
            for (std::size_t k = 0; k < source.size(); ++k)
                expected.copy(target[k], in, source[k]);
            helper.run(from, {in.data(), out.data()}, &to);
            ASSERT_TRUE(out == expected);
        }
}

TEST(Helpers, BadOptionsAndMissingArraysHoldNothing)
{
    for (const Helper& helper : helpers([](const Helper& h) { return !h.is_vector(); })) {
        Form good = Form::random(helper.form(), 9);
        good.m = good.n = 7;
        good.ld = 20;
        Elements in(helper, 400, nan), out = Elements(helper, 400, -1);
        const Elements before = out;
        const auto expect_nothing = [&](const Form& form, int layout, void* from, void* to) {
            SCOPED_TRACE(helper.name() + " of " + form.told());
            const bool found = helper.run(form, {from, to}, &good, 1, layout);
            EXPECT_TRUE(helper.is_trans() || !found);
            EXPECT_TRUE(out == before);
        };
        expect_nothing(good, 0, nullptr, out.data());
        if (helper.is_trans())
            expect_nothing(good, 0, in.data(), nullptr);
        for (const catalogue::Argument& a : helper.arguments())
            if (a.type == "char") {
                Form bad = good;
                bad.options[a.name] = ' ';
                expect_nothing(bad, 0, in.data(), out.data());
            }
        const bool any_is_by_rows =
            helper.form() == "ge" || helper.form() == "gg" || helper.form().ends_with('f');
        if (helper.has("matrix_layout") && !(helper.is_trans() && any_is_by_rows))
            expect_nothing(good, 100, in.data(), out.data());
    }
}

TEST(Helpers, CountPlacesBeyondThirtyTwoBits)
{
    constexpr int n = 50'000;
    constexpr std::size_t bytes = std::size_t{n} * n * sizeof(float);
    void* const block =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    float& last = static_cast<float*>(block)[std::size_t{n - 1} * n];
    std::vector<float> out(n);
    last = 7;
    for (const auto& [name, words] : std::vector<std::pair<const char*, std::vector<support::Word>>>{
             {"LAPACKE_sge_trans", {102, 1, n, block, n, out.data(), n}},
             {"LAPACKE_sgb_trans", {102, n, n, 0, 0, block, n, out.data(), n}}}) {
        out.assign(n, -1);
        support::call_words(layer()[name], words);
        EXPECT_EQ(out.back(), 7) << name;
    }
    last = static_cast<float>(nan);
    for (const auto& [name, words] : std::vector<std::pair<const char*, std::vector<support::Word>>>{
             {"LAPACKE_s_nancheck", {n, block, n}},
             {"LAPACKE_sge_nancheck", {102, 1, n, block, n}},
             {"LAPACKE_sge_nancheck", {101, n, 1, block, n}},
             {"LAPACKE_sgb_nancheck", {102, n, n, 0, 0, block, n}}})
        EXPECT_NE(support::call_words(layer()[name], words).int32(), 0) << name;
    munmap(block, bytes);
}

} // namespace
} // namespace qnm::tests
