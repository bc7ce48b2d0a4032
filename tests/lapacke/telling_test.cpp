// Telling members by facts of the published interface, written by hand: nothing here comes from the plans but
// how a call is made. Positions count the layout.
#include "c_call.hpp"

#include <sstream>

namespace qnm::tests {

namespace {

struct Fact {
    std::string name, given;
    std::string checked;  // arrays in the order of NaN checks
    std::string leading;  // leading dimensions in the order of their tests
    std::string in, back; // copies and workspaces that the routine gets filled; matrices that come back
    std::string blocks;   // bytes that are allocated; a query answers 100
};

// DTFSM: the published one tests ldb against m, which is the wrong way round in row-major. CTPQRT to ZGEJSV:
// the published ones report other numbers than the positions. The last three work in place, as the same
// operation on the transpose.
const char* const facts = R"(
    dgesv|n=4 nrhs=2|4 7|5 8|a b|a b|128 64;
    dgesvd|jobu=A jobvt=S m=5 n=4|6|7 10 12|a|a u vt|800 160 200 128;
    dgesdd|jobz=O m=5 n=4|5|6 9 11|a|a vt|128 800 160 128;
    zgeev|jobvl=N jobvr=V n=4|5|6 9 11|a|a vr|64 1600 256 256;
    dsyevr|jobz=V range=V uplo=U n=4|6 12 8 9|7 16|a|a z|400 800 128 128;
    zheev|jobz=N uplo=L n=4|5|6|a|a|80 1600 256;
    dormqr|side=R trans=N m=5 n=4 k=3|7 10 9|8 11|a c|c|800 96 160;
    dgesvx|fact=F trans=N equed=B n=4 nrhs=2|6 8 14 13 12|7 9 15 17|a af b|b x|16 128 128 128 64 64;
    dgbsv|n=4 kl=1 ku=2 nrhs=2|6 9|7 10|ab b|ab b|160 64;
    zhptrf|uplo=U n=4|4||ap|ap|160;
    dtfsm|transr=N side=L uplo=U trans=N diag=N m=5 n=4|10 9 11|12|a b|b|120 160;
    dlarfb|side=L trans=N direct=F storev=C m=5 n=4 k=3|9 11 13|10 12 14|v t c|c|96 120 72 160;
    ctpqrt|m=5 n=4 l=2 nb=2|6 8|7 9 11|a b t|a b t|64 128 160 64;
    dgesvj|joba=G jobu=U jobv=A m=5 n=4 mv=3|7 11|8 12|a v work|a v|72 160 96;
    dgejsv|joba=C jobu=U jobv=V m=5 n=4|10|11 14 16|a|u v|68 448 160 160 128;
    dgedmd|jobs=N jobz=V jobr=N jobf=N m=5 n=4|9 11 18 21 25 23|10 12 19 22 24 26|x y z b w s|x y z b w s|
        400 800 160 160 160 160 128 128;
    dgedmdq|jobs=N jobz=V jobr=N jobq=Q jobt=R jobf=N m=5 n=4|11 13 15 22 25 27 29|12 14 16 23 26 28 30|
        f x y z b v s|f x y z b v s|400 800 160 96 128 120 96 72 72;
    sgejsv|joba=E jobu=N jobv=V m=5 n=4|10|11 14 16|a|v|68 68 80 64;
    cgejsv|joba=C jobu=U jobv=J m=5 n=4|10|11 14 16|a|u v|256 52 56 160 160 128;
    zgejsv|joba=C jobu=U jobv=N m=9 n=2|10|11 14 16|a|u|176 52 160 288 288;
    dhseqr|job=S compz=V n=4 ilo=1 ihi=4|7 11|8 12|h z|h z|800 128 128;
    dlantr|norm=1 uplo=U diag=N m=5 n=4|7|8|||32;
    dlacpy|uplo=U m=5 n=4|5|6 8|||;
    dlaswp|n=4 k1=1 k2=3 incx=1||4|a|a|96;)";

class Telling : public LapackeTest {
protected:
    template <class Body>
    void for_all_facts(Body&& body)
    {
        std::istringstream in(facts);
        const auto next = [&](char end = '|') {
            std::string word;
            std::getline(in >> std::ws, word, end);
            return word.empty() ? word : word + " ";
        };
        for (std::string name; std::getline(in >> std::ws, name, '|');) {
            const Fact fact{name, next(), next(), next(), next(), next(), next(';')};
            SCOPED_TRACE(fact.name);
            CCall call(members().at("LAPACKE_" + fact.name), row_major, chance);
            call.give(fact.given);
            body(fact, call.lay_out());
        }
    }
    /// Positions that a call reports one by one, each mended before the next.
    static std::string refused(CCall call, const CCall& good)
    {
        call.answer = [](std::size_t) { return 300; };
        std::string positions;
        for (double code = call.run(); code < 0 && positions.size() < 40; code = call.run()) {
            positions += std::to_string(static_cast<int>(-code)) + " ";
            for (const LapackeArgument& a : call.plan().arguments)
                if (const std::string& name = a.argument->name; a.position == static_cast<int>(-code)) {
                    if (is_single(*a.argument))
                        call.set(name, good.integer(name));
                    else
                        call.memory().at(name) = good.memory().at(name);
                }
        }
        return positions;
    }
};

TEST_F(Telling, ChecksForNanAndTestsLeadingDimensionsInThePublishedOrder)
{
    for_all_facts([](const Fact& fact, const CCall& good) {
        CCall spoiled = good, short_lines = good;
        for (const LapackeArgument* a : good.reals())
            for (long k = 0; k < 300; ++k)
                spoiled.memory().at(a->argument->name).spoil(k, 0);
        for (const LapackeArgument& a : good.plan().arguments)
            if (a.argument->name.starts_with("ld") && !a.hidden)
                short_lines.set(a.argument->name, 0);
        EXPECT_EQ(refused(spoiled, good), fact.checked);
        EXPECT_EQ(refused(short_lines, good), fact.leading);
    });
}

TEST_F(Telling, CopiesWhatTheRoutineReadsAndWrites)
{
    for_all_facts([](const Fact& fact, CCall& call) {
        const CCall before = call;
        call.answer = [](std::size_t) { return 100; };
        std::string back, blocks;
        EXPECT_EQ(call.run(), call.member().has_value() ? CCall::result : 0);
        for (const LapackeArgument* a : call.reals())
            if (before.memory()
                    .at(a->argument->name)
                    .difference(call.memory().at(a->argument->name).data()) != -1)
                back += a->argument->name + " ";
        for (const long bytes : allocated())
            blocks += std::to_string(bytes) + " ";
        EXPECT_EQ(call.filled, fact.in);
        EXPECT_EQ(back, fact.back);
        EXPECT_EQ(blocks, fact.blocks);
    });
}

} // namespace

} // namespace qnm::tests
