// Questions for sizes: -1 in a length argument.
#include "lapack_call.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

class Queries : public LapackTest {};

TEST_F(Queries, ReachTheCoreWithoutScratchAndBringBackTheFirstElement)
{
    std::size_t first = 0;
    for (const Entry& e : entries())
        for (const Argument& a : e.row->arguments) {
            if (!asks(a))
                continue;
            QNM_TRACE_ENTRY(e);
            SCOPED_TRACE(a.name);
            LapackCall call(e, 40);
            call.set(a.name, -1);
            for (const Argument* array : call.copied())
                if (!array->returned && e.row->root != "gesvdq")
                    call.point(array->name, nullptr); // and nobody looks behind it
            core().clear();
            const Routine routine(call);
            call.run();
            ASSERT_EQ(story(), Routine::story(call));
            routine.expect_arguments(core().calls().back());
            routine.expect_results();
            first += std::count_if(e.row->arguments.begin(), e.row->arguments.end(),
                                   [&](const Argument& b) { return call.is_copied(b) && b.returned; });
        }
    EXPECT_GT(first, 100U);
}

// All of it is a result, and at a query its first element is the length.
TEST_F(Queries, IworkOfDgesvdq)
{
    LapackCall call("DGESVDQ", 20);
    call.set("liwork", -1);
    const Routine routine(call);
    call.run();
    const Argument& iwork = *call.row().find("iwork");
    EXPECT_EQ(call.elements(iwork).at(0), static_cast<int>(Routine::written(15, 0)));
    EXPECT_EQ(call.elements(iwork).at(1), 7'000'001);
}

} // namespace
} // namespace qnm::tests
