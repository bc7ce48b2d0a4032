// The line of every traced entry; who is asked for its integers, and when.
#include "checks.hpp"
#include "support/line.hpp"

namespace qnm::tests {
namespace {

using recording::Answer;

class Trace : public BlasTest {
protected:
    Trace() { core().mode(1); }

    static void run(const SampleCall& call)
    {
        core().clear();
        core().clock({2, 5, 1000});
        call.run();
    }
};

std::vector<std::string> traced_story(const Entry& entry)
{
    const std::string clock = "qnm_serv_dsecnd";
    std::vector<std::string> all{clock, core_name(entry), clock, "qnm_serv_snprintf_s",
                                 "qnm_serv_print_verbose_info"};
    if (entry.frame() == Class::checked || entry.frame() == Class::registered)
        all.insert(all.begin(), "qnm_serv_set_xerbla_interface");
    if (entry.frame() == Class::scratch) {
        all.insert(all.begin(), "qnm_serv_allocate");
        all.insert(all.begin() + 3, "qnm_serv_deallocate");
    }
    return all;
}

TEST_F(Trace, ASuccessfulCallPrintsItsArguments)
{
    for (const Entry& e : entries()) {
        if (e.frame() == Class::bare)
            continue;
        QNM_TRACE_ENTRY(e);
        const SampleCall call(e);
        run(call);
        EXPECT_EQ(story(), traced_story(e));
        expect_line(call);
    }
}

TEST_F(Trace, ARefusedCallPrintsZeroForAnIntegerThatIsNotThere)
{
    for (const Entry* e : checked_entries()) {
        QNM_TRACE_ENTRY(*e);
        for (const Argument* bad : testing_order(*e)) {
            SCOPED_TRACE(bad->name);
            SampleCall call(*e);
            spoil(call, *bad);
            const std::set<std::string> needed = read_up_to(*e, *bad);
            for (const Argument& a : e->row->arguments)
                if (!needed.contains(a.name) && a.kind != Kind::character && a.kind != Kind::letters)
                    call.point(a.name, nullptr);
            run(call);
            EXPECT_EQ(story(), refused_story);
            expect_line(call);
        }
    }
}

TEST_F(Trace, AWideCallPrintsZeroForAnIntegerThatIsNotThere)
{
    for (const Entry& e : entries()) {
        if (e.width == Width::narrow || e.row->groups ||
            (e.frame() != Class::unchecked && e.frame() != Class::registered))
            continue;
        QNM_TRACE_ENTRY(e);
        SampleCall call(e);
        for (const Argument& a : e.row->arguments)
            if (is_scalar(a))
                call.point(a.name, nullptr);
        run(call);
        expect_line(call);
    }
}

// Whose integers are shown: the caller's as the core left them, but in narrow entries without a check the
// copies, cut to 32 bits.
TEST_F(Trace, IntegersAreReadAfterTheCore)
{
    for (const Entry& e : entries()) {
        if (e.frame() == Class::bare || e.row->groups)
            continue;
        QNM_TRACE_ENTRY(e);
        const bool copies =
            e.width == Width::narrow && (e.frame() == Class::unchecked || e.frame() == Class::scratch);
        SampleCall call(e);
        core().answers(core_name(e)).calling([&](Call& noted, Answer&) {
            for (const Argument& a : e.row->arguments) {
                const int position = e.row->position(a);
                if (!is_scalar(a))
                    continue;
                call.set(a.name, 70 + position);
                if (copies)
                    *noted.pointer<std::int64_t>(call.words_of_result() + static_cast<std::size_t>(position) -
                                                 1) = 0x5'0000'0000 + 50 + position;
            }
        });
        run(call);
        // Addresses are those of the call that ran.
        SampleCall shown = call;
        for (const Argument& a : e.row->arguments)
            if (is_scalar(a) && copies)
                shown.set(a.name, 50 + e.row->position(a));
            else if (a.kind == Kind::integers)
                shown.point(a.name, reinterpret_cast<const void*>(call.word(a).bits()));
        expect_line(shown);
    }
}

TEST_F(Trace, BareEntriesHaveNoCellAndPrintNothing)
{
    std::size_t narrow = 0;
    for (const Entry& e : entries()) {
        QNM_TRACE_ENTRY(e);
        const std::string cell = catalogue::to_lower(e.name()) + ".verbose_ptr";
        EXPECT_EQ(layer().file().locals().count(cell), e.frame() == Class::bare ? 0U : 1U);
        if (e.frame() != Class::bare)
            continue;
        narrow += e.width == Width::narrow ? 1 : 0;
        run(SampleCall(e));
        EXPECT_EQ(core().calls().size(), 1U);
    }
    EXPECT_EQ(narrow, 28U);
}

TEST_F(Trace, FormatsLiterally)
{
    const std::pair<const char*, const char*> formats[] = {
        {"DGEMM", "DGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)"},
        {"DSCAL_64", "DSCAL_64(%lli,%p,%p,%lli)"},
        {"ZDOTU", "ZDOTU(%p,%d,%p,%d,%p,%d)"},
        {"DAXPYI_64", "DAXPYI_64(%lli,%p,%p,%p,%p)"},
        {"XERBLA_ARRAY", "XERBLA_ARRAY(%c,%d,%d)"},
        {"DGEMM_BATCH_64", "DGEMM_BATCH_64(%c,%c,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p)"},
        {"DCOPY_BATCH_STRIDED", "DCOPY_BATCH_STRIDED(%d,%p,%d,%d,%p,%d,%d,%d)"},
        {"GEMM_S8U8S32", "GEMM_S8U8S32(%c,%c,%c,%d,%d,%d,%p,%p,%d,%p,%p,%d,%p,%p,%p,%d,%p)"},
        {"QNM_DGEMM_COMPACT", "QNM_DGEMM_COMPACT(%d,%d,%d,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d,%d,%d)"},
        {"QNM_GET_FORMAT_COMPACT", "QNM_GET_FORMAT_COMPACT()"},
        {"QNM_JIT_CREATE_DGEMM", "QNM_JIT_CREATE_DGEMM(%p,%c,%c,%d,%d,%d,%p,%d,%d,%p,%d)"},
    };
    for (const auto& [name, format] : formats) {
        run(SampleCall(name));
        ASSERT_EQ(core().calls("qnm_serv_snprintf_s").size(), 1U) << name;
        EXPECT_EQ(core().calls("qnm_serv_snprintf_s")[0].text, format);
    }
}

} // namespace
} // namespace qnm::tests
