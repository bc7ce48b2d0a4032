// Helpers beside the model. A NaN in each place of the form is found, and none outside it; infinities are no
// NaN. Of changes of layout whole arrays are compared, so that nothing outside the form may be touched.
#include "storage.hpp"
#include "support/function_call.hpp"

#include <cmath>
#include <random>
#include <sys/mman.h>

namespace qnm::tests {
namespace {

using support::Word;

/// A whole number between the two, which may be returned too.
long any(long low, long high)
{
    static std::mt19937 generator(19681224);
    return std::uniform_int_distribution<long>(low, high)(generator);
}

/// The places of n elements that stand so far apart.
std::vector<long> row(long n, long step = 1)
{
    return Storage{"ge", {{"m", 1}, {"n", n}}, false, step}.places();
}

/// Calls of a helper.
struct Helper : FunctionCall {
    using FunctionCall::FunctionCall;

    /// "ge" of LAPACKE_dge_trans; empty for vectors.
    std::string form() const { return signature().root.substr(1, signature().root.find('_') - 1); }
    bool is_trans() const { return signature().root.ends_with("_trans"); }
    bool is_matrix() const { return has("matrix_layout") || form().ends_with('p') || form() == "pf"; }
    /// Arrays stand in the order of the row; what the storage has no option for is its leading dimension.
    bool run(const Storage& s, const std::vector<void*>& arrays)
    {
        for (std::size_t next = 0; const Parameter& p : parameters())
            if (p.travel == Travel::address)
                point(p.name, arrays.at(next++));
            else if (const auto told = s.options.find(p.name); told != s.options.end())
                set(p.name, told->second);
            else
                set(p.name, p.name == "matrix_layout" ? (s.by_rows ? row_major : column_major) : s.ld);
        const support::Returned returned = FunctionCall::run();
        return narrow() ? returned.int32() != 0 : returned.int64() != 0;
    }
};

/// All of one kind.
template <class Kind>
std::vector<Helper> helpers(Kind&& kind)
{
    std::vector<Helper> all;
    for (const Signature& s : signatures())
        if (const Helper helper(s); s.root.starts_with('?') && std::invoke(kind, helper))
            all.push_back(helper);
    return all;
}

/// The same matrix in a layout, with some room between its lines.
Storage laid_out(Storage s, bool by_rows)
{
    const long length = by_rows       ? s.options.at("n")
                        : s.is_band() ? s.options.at("kd") + 1
                                      : s.options.at("m");
    s.by_rows = by_rows;
    s.ld = std::max(1L, length) + any(0, 3);
    return s;
}

/// A matrix of this form, with sizes and options by chance.
Storage random(const std::string& form, long largest)
{
    const long m = any(0, largest), n = any(0, largest), kl = any(0, 4), ku = any(0, 4);
    const bool square = std::string("ge gg gb tz").find(form) == std::string::npos;
    Storage s{form, {{"m", square ? n : m}, {"n", n}, {"kl", kl}, {"ku", ku}, {"kd", kl + ku}}};
    for (const auto& [option, letters] :
         {std::pair{"uplo", "uUlL"}, {"diag", "nNuU"}, {"transr", "nNtC"}, {"direct", "fFbB"}})
        s.options[option] = static_cast<unsigned char>(letters[any(0, 3)]);
    return laid_out(s, any(0, 1) == 0);
}

/// Room for these places, and some behind them.
Array array(const Helper& helper, const std::vector<long>& places, double number,
            const std::string& type = "T")
{
    const long last = places.empty() ? 0 : std::ranges::max(places);
    return {Element::of(type, helper.signature()), last + 20, number};
}

std::string told(const Helper& helper, const Storage& s)
{
    return helper.signature().names.front() + (s.by_rows ? " by rows, ld " : " by columns, ld ") +
           std::to_string(s.ld) + ", " + testing::PrintToString(s.options);
}

/// Expects that a NaN is found in each of these places of the arrays, and none in any other.
void expect_found(Helper& helper, const Storage& s, const std::vector<std::vector<long>>& places)
{
    SCOPED_TRACE(told(helper, s));
    const bool infinite = any(0, 2) == 0; // now and then of both signs, which sum up to a NaN
    std::vector<Array> arrays;
    std::vector<void*> addresses;
    for (const Parameter& p : helper.parameters())
        if (p.travel == Travel::address) {
            const std::vector<long>& held = places.at(arrays.size());
            arrays.push_back(array(helper, held, nan, p.argument->type));
            for (const long place : held)
                arrays.back().set(place, std::array{1.0, -2.0, inf, -inf}[any(0, infinite ? 3 : 1)]);
            addresses.push_back(arrays.back().data());
        }
    ASSERT_FALSE(helper.run(s, addresses));
    for (std::size_t k = 0; k < arrays.size(); ++k)
        for (const long place : places[k]) {
            arrays[k].spoil(place, any(0, 1));
            ASSERT_TRUE(helper.run(s, addresses)) << "place " << place << " of array " << k;
            arrays[k].set(place, 1);
        }
}

TEST(NanCheck, FindsANanInEachPlaceOfTheFormAndNowhereElse)
{
    for (Helper& helper : helpers([](const Helper& h) { return h.is_matrix() && !h.is_trans(); }))
        for (int round = 0; round < 40; ++round) {
            const Storage s = random(helper.form(), round % 4 == 0 ? 70 : 24);
            expect_found(helper, s, {s.places()});
        }
}

TEST(NanCheck, OfVectorsAndDiagonalsKnowsTheirLengths)
{
    for (Helper& helper : helpers([](const Helper& h) { return !h.is_matrix(); }))
        for (const long n : {-1, 0, 1, 2, 5, 31, 32, 33, 100, 131})
            for (const long incx : {1, -1, 0, 2, -3, 7}) {
                std::vector<std::vector<long>> places;
                for (const Parameter& p : helper.parameters())
                    if (p.travel == Travel::address &&
                        helper.has("incx")) // 0: the first counts, whatever n is
                        places.push_back(row(incx == 0 ? 1 : n, std::abs(incx)));
                    else if (p.travel == Travel::address)
                        places.push_back(row(p.name == "d" ? n : n - 1));
                expect_found(helper, {"", {{"n", n}, {"incx", incx}}}, places);
            }
}

TEST(NanCheck, ALeadingDimensionThatIsTooSmallCutsLines)
{
    for (Helper& helper : helpers([](const Helper& h) { return h.form()[0] == 'g' && h.has("lda"); }))
        for (const long ld : {1, 20}) // each way of looking
            for (const bool by_rows : {true, false})
                expect_found(helper,
                             {"", {{by_rows ? "m" : "n", 1}, {by_rows ? "n" : "m", ld + 4}}, by_rows, ld},
                             {row(ld)});
}

TEST(Trans, MovesTheElementsOfItsFormAndNoOther)
{
    for (Helper& helper : helpers(&Helper::is_trans))
        for (int round = 0; round < 60; ++round) {
            Storage from = random(helper.form(), round % 10 == 0 ? 150 : 20);
            const Storage to = laid_out(from, !from.by_rows);
            from.options["ldout"] = to.ld;
            SCOPED_TRACE(told(helper, from));
            const std::vector<long> source = from.moved().places(), target = to.moved().places();
            Array in = array(helper, source, 0), out = array(helper, target, -1), expected = out;
            ASSERT_EQ(source.size(), target.size());
            for (std::size_t k = 0; k < source.size(); ++k) {
                in.set(source[k], static_cast<double>(k + 1));
                expected.set(target[k], static_cast<double>(k + 1));
            }
            helper.run(from, {in.data(), out.data()});
            ASSERT_EQ(out.difference(expected.data()), -1);
        }
}

TEST(Helpers, BadOptionsAndMissingArraysHoldNothing)
{
    for (Helper& helper : helpers(&Helper::is_matrix)) {
        Storage good = random(helper.form(), 9);
        good.ld = 20;
        for (const char* const size : {"m", "n", "ldout"})
            good.options[size] = size[0] == 'l' ? 20 : 7;
        Array in = array(helper, {400}, nan), out = array(helper, {400}, -1);
        const Array before = out;
        const auto expect_nothing = [&](const Storage& s, void* from, void* to) {
            SCOPED_TRACE(told(helper, s));
            EXPECT_TRUE(!helper.run(s, {from, to}) || helper.is_trans());
            EXPECT_EQ(out.difference(before.data()), -1);
        };
        expect_nothing(good, nullptr, out.data());
        if (helper.is_trans())
            expect_nothing(good, in.data(), nullptr);
        // A change of layout of a rectangle takes any that is not by columns as by rows.
        const bool rectangle = std::string("ge gg pf tf").find(helper.form()) != std::string::npos;
        for (const Parameter& p : helper.parameters()) {
            Storage bad = good;
            bad.options[p.name] = ' ';
            const bool layout = p.name == "matrix_layout";
            if (layout ? !rectangle || !helper.is_trans() : p.argument->type == "char")
                expect_nothing(bad, in.data(), out.data());
        }
    }
}

TEST(Helpers, CountPlacesBeyondThirtyTwoBits)
{
    constexpr int n = 50'000;
    constexpr std::size_t bytes = std::size_t{n} * n * sizeof(float);
    void* const block =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    static_cast<float*>(block)[std::size_t{n - 1} * n] = static_cast<float>(nan);
    std::vector<float> out(n);
    for (const auto& [name, words] : std::vector<std::pair<std::string, std::vector<Word>>>{
             {"LAPACKE_sge_trans", {102, 1, n, block, n, out.data(), n}},
             {"LAPACKE_sgb_trans", {102, n, n, 0, 0, block, n, out.data(), n}},
             {"LAPACKE_s_nancheck", {n, block, n}},
             {"LAPACKE_sge_nancheck", {102, 1, n, block, n}},
             {"LAPACKE_sge_nancheck", {101, n, 1, block, n}},
             {"LAPACKE_sgb_nancheck", {102, n, n, 0, 0, block, n}}}) {
        out.assign(n, -1);
        const bool found = support::call_words(layer()[name], words).int32() != 0;
        EXPECT_TRUE(name.ends_with("_trans") ? std::isnan(out.back()) : found) << name;
    }
    munmap(block, bytes);
}

} // namespace
} // namespace qnm::tests
