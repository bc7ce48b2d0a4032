// What reaches the core, and what stays as the caller had it.
#include "support/sample_call.hpp"

namespace qnm::tests {
namespace {

using recording::Answer;

class Passing : public BlasTest {};

std::vector<std::string> expected_story(const Entry& entry)
{
    switch (entry.frame()) {
    case Class::checked:
    case Class::registered:
        return {"qnm_serv_set_xerbla_interface", core_name(entry)};
    case Class::scratch:
        return {"qnm_serv_allocate", core_name(entry), "qnm_serv_deallocate"};
    default:
        return {core_name(entry)};
    }
}

// The kernel for small sizes has an x in front of the operation; here only the row tells which one it is.
std::string kernel(const SampleCall& call)
{
    std::string name = core_name(call.entry());
    const auto& small = call.row().small_condition;
    if (small && call.holds(*small))
        name.insert(std::string_view("qnm_blas_").size(), "x");
    return name;
}

TEST_F(Passing, EveryEntryCallsItsCoreFunctionOnceAndNothingElse)
{
    core().listen("qnm_serv_lsame");
    for (const Entry& e : entries()) {
        QNM_TRACE_ENTRY(e);
        const SampleCall call(e), before = call;
        call.run(); // binds the cell
        core().clear();
        call.run();
        auto expected = expected_story(e);
        for (std::string& name : expected)
            if (name == core_name(e))
                name = kernel(call);
        std::vector<std::string> told = story();
        if (e.frame() == Class::checked)
            std::erase(told, "qnm_serv_lsame");
        EXPECT_EQ(told, expected);
        if (told != expected) {
            continue;
        }
        expect_core_call(core().calls(kernel(call)).at(0), call, kernel(call));
        if (e.frame() == Class::checked || e.frame() == Class::registered) {
            EXPECT_EQ(core().calls()[0].pointer<void>(0), layer()["cdecl_xerbla"]);
        }
        EXPECT_EQ(call, before);
    }
}

TEST_F(Passing, WhatTheCoreWritesIntoACopyStaysThere)
{
    for (const int mode : {0, 1})
        for (const Entry& e : entries()) {
            if (e.width == Width::wide || e.row->groups)
                continue;
            QNM_TRACE_ENTRY(e);
            const SampleCall call(e), before = call;
            int written = 0;
            core().mode(mode);
            core().answers(kernel(call)).calling([&](Call& noted, Answer&) {
                expect_core_call(noted, call, kernel(call)); // traced or not
                std::size_t next = e.row->result.kind == catalogue::ResultKind::hidden ? 1 : 0;
                for (const Argument& a : e.row->arguments) {
                    if (a.kind == Kind::integer && !a.kept) {
                        *noted.pointer<std::int64_t>(next) = 0x0123'4567'89AB'CDEF;
                        ++written;
                    }
                    next += a.kept ? 0 : 1;
                }
            });
            call.run();
            const auto scalars = std::count_if(e.row->arguments.begin(), e.row->arguments.end(),
                                               [](const Argument& a) { return is_scalar(a) && !a.kept; });
            EXPECT_EQ(written, scalars);
            EXPECT_EQ(call, before);
        }
}

TEST_F(Passing, WideValuesBeyond32BitsArriveWhole)
{
    constexpr std::int64_t large = 3'000'000'000'000;
    for (const Entry& e : entries()) {
        if (e.frame() != Class::unchecked || e.width != Width::wide)
            continue;
        QNM_TRACE_ENTRY(e);
        SampleCall call(e);
        for (const Argument& a : e.row->arguments)
            if (a.kind == Kind::integer || a.kind == Kind::value)
                call.set(a.name, large + e.row->position(a));
        core().clear();
        call.run();
        expect_core_call(core().calls().at(0), call, core_name(e));
    }
    SampleCall gemm("DGEMM_64");
    gemm.set("m", large).set("lda", large).set("ldc", large);
    core().clear();
    gemm.run();
    ASSERT_EQ(story(), (std::vector<std::string>{"qnm_serv_set_xerbla_interface", "qnm_blas_dgemm"}));
    EXPECT_EQ(core().calls()[1].behind(2), large);
}

// One call written out, so that the rows are not all that vouches for the rest.
TEST_F(Passing, DgemmLiterally)
{
    const int m = 2, n = 0, k = 4, lda = 4, ldb = 5, ldc = 6;
    const double alpha = 1, beta = 2, a[1] = {}, b[1] = {};
    double c[1] = {};
    support::call_words(layer()["dgemm_"], {"t", "N", &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc});
    using recording::Called;
    using ::testing::_;
    ASSERT_THAT(core().calls(),
                ::testing::ElementsAre(Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]),
                                       Called("qnm_blas_dgemm", _, _, _, _, _, &alpha, a, _, b, _, &beta, c,
                                              _, std::int64_t{1}, std::int64_t{1})));
    const Call& call = core().calls()[1];
    EXPECT_EQ(call.letter(0), 't');
    EXPECT_EQ(call.letter(1), 'N');
    const std::pair<std::size_t, int> integers[] = {{2, 2}, {3, 0}, {4, 4}, {7, 4}, {9, 5}, {12, 6}};
    for (const auto& [word, value] : integers)
        EXPECT_EQ(call.behind(word), value) << word;
}

} // namespace
} // namespace qnm::tests
