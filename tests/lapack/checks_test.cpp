// The argument checks: 80 roots by a list of their codes, in the order of testing.
#include "lapack_call.hpp"

#include <algorithm>
#include <cctype>

namespace qnm::tests {
namespace {

using Codes = std::vector<int>;

/// As the published routines have it, by root.
const std::map<std::string, Codes>& published_codes()
{
    static const Codes factor{1, 2, 4}, with_work{1, 2, 4, 7}, multiply{1, 2, 3, 4, 5, 7, 10, 12};
    static const Codes hessenberg{1, 2, 3, 5, 8}, generate{1, 2, 3, 5, 8}, reduce{1, 2, 3, 5, 7};
    static const std::map<std::string, Codes> codes{
        {"gebrd", {1, 2, 4, 10}},
        {"sgeev", {1, 2, 3, 5, 9, 11, 13}},
        {"dgeev", {1, 2, 3, 5, 9, 11, 13}},
        {"cgeev", {1, 2, 3, 5, 8, 10, 12}},
        {"zgeev", {1, 2, 3, 5, 8, 10, 12}},
        {"gehrd", hessenberg},
        {"gelqf", with_work},
        {"geqlf", with_work},
        {"geqrf", with_work},
        {"gesvd", {1, 2, 3, 4, 6, 9, 11}},
        {"getf2", factor},
        {"getrf", factor},
        {"potrf", factor},
        {"orghr", hessenberg},
        {"orgqr", generate},
        {"ungqr", generate},
        {"ormlq", multiply},
        {"ormql", multiply},
        {"ormqr", multiply},
        {"ormrq", multiply},
        {"unmlq", multiply},
        {"unmql", multiply},
        {"unmqr", multiply},
        {"unmrq", multiply},
        {"syevd", {1, 2, 3, 5, 8, 10}},
        {"heevd", {1, 2, 3, 5, 8, 10, 12}},
        {"sygst", reduce},
        {"hegst", reduce},
        {"hegvd", {1, 2, 3, 4, 6, 8, 11, 13, 15}},
        {"sytrd", {1, 2, 4, 9}},
        {"hetrd", {1, 2, 4, 9}},
        {"syrdb", {1, 2, 3, 4, 6, 11, 13}},
        {"herdb", {1, 2, 3, 4, 6, 11, 13}},
    };
    return codes;
}

const Codes& codes_of(const Entry& e)
{
    std::string name = lapack_core(e).substr(std::string_view("qnm_lapack_").size());
    const auto& codes = published_codes();
    if (!codes.contains(name))
        name.erase(0, 1);
    return codes.at(name);
}

/// The report's name: upper case, six characters at least.
std::string fixed_name(const Entry& e)
{
    std::string name = catalogue::to_upper(lapack_core(e).substr(std::string_view("qnm_lapack_").size()));
    name.resize(std::max<std::size_t>(name.size(), 6), ' ');
    return name;
}

class Checks : public LapackTest {
protected:
    /// Asks the exported check and the entry, which agree; the code, 0 if all is well.
    static int judged(const LapackCall& call)
    {
        const Entry& e = call.entry();
        const Argument& info = *e.row->find("info");
        std::string check =
            "qnm_lapack_errchk_" + lapack_core(e).substr(std::string_view("qnm_lapack_").size());
        check += e.width == Width::wide ? "_ilp64" : "";
        std::vector<support::Word> words;
        for (const Argument& a : e.row->arguments)
            words.push_back(call.word(a));
        core().clear();
        const int verdict = support::call_words(layer()[check], words).int32();
        const int code = static_cast<int>(-call.integer(info));
        EXPECT_EQ(verdict, code == 0 ? 0 : 1);
        EXPECT_EQ(core().calls().size(), code == 0 ? 0U : 1U);
        expect_report(e, code);

        core().clear();
        call.run();
        if (code != 0 || e.width == Width::wide) { // the core writes INFO otherwise, but this one is idle
            EXPECT_EQ(call.integer(info), -code);
        }
        EXPECT_EQ(core().calls(lapack_core(e)).size(), code == 0 ? 1U : 0U);
        expect_report(e, code);
        return code;
    }

private:
    static void expect_report(const Entry& e, int code)
    {
        if (code == 0)
            return;
        EXPECT_THAT(core().calls().back(), recording::Reported(fixed_name(e), code));
        EXPECT_EQ(core().calls().back().int32(2), static_cast<int>(fixed_name(e).size()));
    }
};

/// Makes one argument bad, by as little as there is.
LapackCall spoilt(const LapackCall& good, const Argument& a)
{
    LapackCall call = good;
    if (!a.letters.empty())
        call.choose(a.name, 'X');
    else if (const std::int64_t below = call.value(*a.minimum) - 1; a.query && below == -1)
        call.set(a.name, -2); // -1 asks for the size
    else
        call.set(a.name, below);
    return call;
}

TEST_F(Checks, EachTestAloneAndInTheCompanyOfLaterOnes)
{
    std::size_t members = 0;
    std::mt19937 chance(7);
    for (const Entry& e : entries()) {
        if (e.frame() != Class::checked)
            continue;
        QNM_TRACE_ENTRY(e);
        ++members;
        const Codes& codes = codes_of(e);
        const auto tests = e.row->tests();
        ASSERT_EQ(tests.size(), codes.size());
        for (int round = 0; round < 12; ++round) {
            LapackCall good(e, chance);
            good.set("info", 4711);
            ASSERT_EQ(judged(good), 0);
            for (std::size_t i = 0; i < tests.size(); ++i) {
                SCOPED_TRACE(tests[i]->name);
                EXPECT_EQ(judged(spoilt(good, *tests[i])), codes[i]);
                if (tests[i]->maximum) {
                    LapackCall over = good;
                    over.set(tests[i]->name, good.value(*tests[i]->maximum) + 1);
                    EXPECT_EQ(judged(over), codes[i]);
                }
                if (i > 0) {
                    EXPECT_EQ(judged(spoilt(spoilt(good, *tests[i]), *tests[0])), codes[0]);
                }
                if (tests[i]->minimum) { // the least good value
                    LapackCall at = good;
                    at.set(tests[i]->name, good.value(*tests[i]->minimum));
                    EXPECT_EQ(judged(at.make_valid()), 0);
                }
            }
        }
    }
    EXPECT_EQ(members, 2 * 80U);
}

int code_of(std::string_view name, const std::vector<support::Word>& words)
{
    core().clear();
    support::call_words(layer()[name], words);
    return core().calls().empty() ? 0 : core().calls().back().code();
}

TEST_F(Checks, Literally)
{
    const int bad = -1, zero = 0, one = 1, two = 2, three = 3, four = 4;
    int info = 99;
    const auto getrf = [&](const int& m, const int& n, const int& lda) {
        return code_of("qnm_lapack_errchk_dgetrf", {&m, &n, nullptr, &lda, nullptr, &info});
    };
    EXPECT_EQ(getrf(bad, bad, bad), 1);
    EXPECT_EQ(getrf(two, bad, bad), 2);
    EXPECT_EQ(getrf(two, one, one), 4);
    EXPECT_EQ(info, -4);
    EXPECT_EQ(getrf(zero, zero, zero), 4) << "a leading dimension of at least 1";
    EXPECT_EQ(getrf(two, four, two), 0);
    EXPECT_EQ(info, 0);
    const auto potrf = [&](const char* uplo, const int& n, const int& lda) {
        return code_of("qnm_lapack_errchk_dpotrf", {uplo, &n, nullptr, &lda, &info});
    };
    EXPECT_EQ(potrf("u", two, two), 0);
    EXPECT_EQ(potrf("x", bad, two), 1);
    EXPECT_EQ(potrf("L", bad, two), 2);
    EXPECT_EQ(potrf("L", two, one), 4);
    const auto gesvd = [&](const char* jobu, const char* jobvt, const int& ldu, const int& ldvt) {
        return code_of("qnm_lapack_errchk_dgesvd", {jobu, jobvt, &three, &two, nullptr, &three, nullptr,
                                                    nullptr, &ldu, nullptr, &ldvt, nullptr, &bad, &info});
    };
    EXPECT_EQ(gesvd("O", "o", three, two), 2);
    EXPECT_EQ(gesvd("B", "O", three, two), 1);
    EXPECT_EQ(gesvd("O", "N", one, one), 0) << "and LWORK is the core's business";
    EXPECT_EQ(gesvd("N", "N", zero, one), 9);
    EXPECT_EQ(gesvd("S", "N", two, one), 9);
    EXPECT_EQ(gesvd("A", "N", two, one), 9);
    EXPECT_EQ(gesvd("A", "A", three, one), 11);
    EXPECT_EQ(gesvd("A", "S", three, one), 11);
    EXPECT_EQ(gesvd("A", "S", three, two), 0);
    EXPECT_EQ(gesvd("A", "N", three, zero), 11);
    // 3 by 2 from the left: nq is 3, nw is 2; from the right the other way round
    const auto ormqr = [&](const char* side, const char* trans, const int& k, const int& lda, const int& ldc,
                           const int& lwork) {
        return code_of("qnm_lapack_errchk_dormqr", {side, trans, &three, &two, &k, nullptr, &lda, nullptr,
                                                    nullptr, &ldc, nullptr, &lwork, &info});
    };
    EXPECT_EQ(ormqr("L", "C", one, three, three, two), 2);
    EXPECT_EQ(ormqr("B", "C", one, three, three, two), 1);
    EXPECT_EQ(ormqr("L", "T", three, three, three, two), 0);
    EXPECT_EQ(ormqr("L", "T", four, three, three, two), 5);
    EXPECT_EQ(ormqr("R", "T", three, three, three, three), 5);
    EXPECT_EQ(ormqr("L", "T", two, two, three, two), 7);
    EXPECT_EQ(ormqr("R", "T", two, two, three, three), 0);
    EXPECT_EQ(ormqr("R", "T", two, one, three, three), 7);
    EXPECT_EQ(ormqr("L", "T", two, three, two, two), 10);
    EXPECT_EQ(ormqr("L", "T", two, three, three, one), 12);
    EXPECT_EQ(ormqr("R", "T", two, two, three, two), 12);
    EXPECT_EQ(ormqr("R", "T", zero, two, three, one), 0) << "nothing to apply needs no workspace";
    EXPECT_EQ(ormqr("R", "T", two, two, three, bad), 0) << "a query";
}

TEST_F(Checks, ThoseWithoutAnEntryReadIn64Bits)
{
    constexpr std::int64_t large = std::int64_t{1} << 32; // zero to one who reads 32 bits
    for (const std::string p : {"s", "d", "c", "z"}) {
        SCOPED_TRACE(p);
        std::int64_t info = 99;
        const auto verdict = [&](const std::string& root, const std::vector<support::Word>& words, int code) {
            core().clear();
            info = 99;
            const int result =
                support::call_words(layer()["qnm_lapack_ps_errchk_" + p + root], words).int32();
            EXPECT_EQ(result, code == 0 ? 0 : 1);
            EXPECT_EQ(info, -code);
            EXPECT_EQ(core().calls().size(), code == 0 ? 0U : 1U);
            if (code != 0) {
                EXPECT_THAT(core().calls().back(), recording::Reported(catalogue::to_upper(p + root), code));
            }
        };
        const auto dtsvb = [&](std::int64_t n, std::int64_t nrhs, std::int64_t ldb, int code) {
            verdict("dtsvb", {&n, &nrhs, nullptr, nullptr, nullptr, nullptr, &ldb, &info}, code);
        };
        dtsvb(-1, -1, 0, 1);
        dtsvb(3, -1, 3, 2);
        dtsvb(3, 1, 2, 7);
        dtsvb(3, 1, 3, 0);
        dtsvb(0, 0, 0, 0);
        dtsvb(large, 1, 0, 7);
        dtsvb(large, large, large, 0);
        const auto dttrfb = [&](std::int64_t n, int code) {
            verdict("dttrfb", {&n, nullptr, nullptr, nullptr, &info}, code);
        };
        dttrfb(-1, 1);
        dttrfb(0, 0);
        dttrfb(-large, 1);
    }
}

} // namespace
} // namespace qnm::tests
