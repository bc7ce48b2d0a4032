// NaN checks beside the model: a NaN in each place of the form is found, and none outside it; infinities are
// no NaN.
#include "forms.hpp"

#include <algorithm>
#include <array>
#include <sys/mman.h>

namespace qnm::tests {
namespace {

bool is_vector(const HelperCall& call)
{
    return call.form().empty() || call.form() == "gt" || call.form() == "pt" || call.form() == "st";
}

template <class Test>
void each(Test&& test)
{
    for (const catalogue::Entry& entry : helpers()) {
        const HelperCall call(entry);
        if (!call.is_trans()) {
            SCOPED_TRACE(entry.spellings()[0]);
            test(call);
        }
    }
}

/// Finite numbers, now and then infinities of both signs, which sum up to a NaN.
double value(int round)
{
    static constexpr std::array<double, 4> values{1, -2, inf, -inf};
    return values[static_cast<std::size_t>(any(0, round % 3 == 0 ? 3 : 1))];
}

TEST(NanCheck, FindsANanInEachPlaceOfTheFormAndNowhereElse)
{
    each([](const HelperCall& call) {
        if (is_vector(call))
            return;
        for (int round = 0; round < 40; ++round) {
            const Form form = Form::random(call.form(), round % 4 == 0 ? 70 : 24);
            SCOPED_TRACE("round " + std::to_string(round) + " n " + std::to_string(form.n));
            const auto places = form.places();
            Elements a(call, form.length() + 2, nan);
            // Packed forms whose check gets no options have no outside.
            if (call.entry().row->find("matrix_layout") == nullptr)
                for (long i = 0; i < form.length(); ++i)
                    a.set(i, 1);
            for (const long place : places)
                a.set(place, value(round));
            ASSERT_FALSE(call.run(form, {a.data()}));
            for (std::size_t k = 0; k < places.size(); k += std::max<std::size_t>(1, places.size() / 16)) {
                const long place = places[k + 1 < places.size() && k > 0 ? k : places.size() - 1 - k];
                Elements spoiled = a;
                spoiled.set_any_part(place, nan);
                ASSERT_TRUE(call.run(form, {spoiled.data()})) << "place " << place;
            }
            if (!places.empty()) {
                Elements spoiled = a;
                spoiled.set_any_part(places.front(), nan);
                ASSERT_TRUE(call.run(form, {spoiled.data()}));
            }
        }
    });
}

TEST(NanCheck, BadOptionsAndMissingArraysHoldNone)
{
    each([](const HelperCall& call) {
        if (is_vector(call))
            return;
        Form form = Form::random(call.form(), 9);
        form.m = form.n = 7;
        form.ld = 20;
        Elements a(call, 400, nan);
        EXPECT_FALSE(call.run(form, {nullptr}));
        if (call.entry().row->find("matrix_layout") != nullptr) {
            EXPECT_FALSE(call.run(form, {a.data()}, nullptr, 1, 100));
        }
        for (const catalogue::Argument& argument : call.entry().row->arguments) {
            Form bad = form;
            (argument.name == "uplo"     ? bad.uplo
             : argument.name == "diag"   ? bad.diag
             : argument.name == "transr" ? bad.transr
                                         : bad.direct) = ' ';
            if (argument.type == "char") {
                EXPECT_FALSE(call.run(bad, {a.data()})) << argument.name;
            }
        }
    });
}

TEST(NanCheck, OfVectorsWalksByTheIncrement)
{
    each([](const HelperCall& call) {
        if (!call.form().empty())
            return;
        Form form;
        for (const long n : {0, 1, 5, 31, 32, 33, 100, 131})
            for (const long incx : {1, -1, 2, -3, 7}) {
                const long step = std::abs(incx);
                SCOPED_TRACE("n " + std::to_string(n) + " incx " + std::to_string(incx));
                form.n = n;
                Elements x(call, n * step + 1, nan);
                for (long i = 0; i < n; ++i)
                    x.set(i * step, value(static_cast<int>(n)));
                EXPECT_FALSE(call.run(form, {x.data()}, nullptr, incx));
                for (long i = 0; i < n; ++i) {
                    Elements spoiled = x;
                    spoiled.set_any_part(i * step, nan);
                    EXPECT_TRUE(call.run(form, {spoiled.data()}, nullptr, incx)) << i;
                }
            }
        // Without an increment the first element counts, whatever n is.
        for (const long n : {0, -1, 5}) {
            form.n = n;
            Elements x(call, 6, nan);
            EXPECT_TRUE(call.run(form, {x.data()}, nullptr, 0));
            x.set(0, 1);
            EXPECT_FALSE(call.run(form, {x.data()}, nullptr, 0));
        }
        // Infinities of both signs sum up to a NaN in every partial sum.
        form.n = 64;
        Elements x(call, 64, inf);
        for (long i = 32; i < 64; ++i)
            x.set(i, -inf);
        EXPECT_FALSE(call.run(form, {x.data()}));
    });
}

TEST(NanCheck, OfDiagonalsKnowsTheirLengths)
{
    each([](const HelperCall& call) {
        if (!is_vector(call) || call.form().empty())
            return;
        const bool three = call.form() == "gt";
        HelperCall real = call;
        for (const catalogue::Entry& entry : helpers()) // the diagonal of ?pt is real
            if (call.form() == "pt" && entry.row == call.entry().row && entry.width == call.entry().width &&
                entry.precision.prefix[0] == call.entry().precision.real)
                real = HelperCall(entry);
        for (const long n : {0, 1, 2, 40}) {
            SCOPED_TRACE(n);
            Form form;
            form.n = n;
            std::vector<Elements> arrays;
            std::vector<long> lengths = three ? std::vector{n - 1, n, n - 1} : std::vector{n, n - 1};
            for (std::size_t k = 0; k < lengths.size(); ++k) {
                arrays.emplace_back(k == 0 ? real : call, n + 2, nan);
                for (long i = 0; i < lengths[k]; ++i)
                    arrays.back().set(i, 1);
            }
            const auto found = [&] {
                std::vector<void*> addresses;
                for (Elements& array : arrays)
                    addresses.push_back(array.data());
                return call.run(form, addresses);
            };
            EXPECT_FALSE(found());
            for (std::size_t k = 0; k < lengths.size(); ++k)
                for (long i = 0; i < lengths[k]; ++i) {
                    arrays[k].set_any_part(i, nan);
                    EXPECT_TRUE(found()) << k << ' ' << i;
                    arrays[k].set(i, 1);
                }
        }
    });
}

TEST(NanCheck, ALeadingDimensionThatIsTooSmallCutsLines)
{
    each([](const HelperCall& call) {
        if (call.form() != "ge" && call.form() != "gg")
            return;
        for (const long lines : {1, 20}) // each way of looking
            for (const bool by_rows : {true, false}) {
                Form form;
                form.by_rows = by_rows;
                form.m = by_rows ? 1 : lines + 4;
                form.n = by_rows ? lines + 4 : 1;
                form.ld = lines;
                Elements a(call, lines + 4, 1);
                a.set(lines, nan);
                EXPECT_FALSE(call.run(form, {a.data()}));
                a.set(lines - 1, nan);
                EXPECT_TRUE(call.run(form, {a.data()}));
            }
    });
}

TEST(NanCheck, PlacesBeyondThirtyTwoBits)
{
    constexpr long n = 50'000;
    constexpr std::size_t bytes = std::size_t{n} * n * sizeof(float);
    void* const block =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    static_cast<float*>(block)[(n - 1) * n] = std::numeric_limits<float>::quiet_NaN();
    const auto found = [&](const char* name, const std::vector<support::Word>& words) {
        EXPECT_NE(support::call_words(layer()[name], words).int32(), 0) << name;
    };
    found("LAPACKE_s_nancheck", {int{n}, block, int{n}});
    found("LAPACKE_sge_nancheck", {102, 1, int{n}, block, int{n}});
    found("LAPACKE_sge_nancheck", {101, int{n}, 1, block, int{n}});
    found("LAPACKE_sgb_nancheck", {102, int{n}, int{n}, 0, 0, block, int{n}});
    munmap(block, bytes);
}

} // namespace
} // namespace qnm::tests
