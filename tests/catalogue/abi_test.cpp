// Promises of names: what breaks one is told, what is added breaks none, and nothing that was written is
// written anew.
#include "catalogue/catalogue.hpp"
#include "generate/abi.hpp"

#include <gmock/gmock.h>

namespace qnm::generate {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string family = "family blas core qnm_blas_name\n"
                           "    form narrow reference int32 NAME name_ check qnm_blas_errchk_name\n"
                           "    form wide reference int64 NAME_64\n"
                           "family blas\n";
const std::string rows = "mul s d z checked char trans in NTC, char diag in NU, int m >= 0, T a[], R b[]\n"
                         "dot s d unchecked int n, T x[] -> T\n";

/// What is promised of a table's text, or of the library made of it.
struct Tables {
    explicit Tables(const std::string& text) { all.read_text(text, "x.tab"); }
    std::map<std::string, std::string> built() const { return abi_of(all.signatures()); }
    std::string lines(const Abi& kept) const { return additions_text(kept, all.signatures(), "3.1"); }
    catalogue::Catalogue all;
};

Abi kept(const std::string& added = "")
{
    const Tables first(family + rows);
    const std::string head = "# Words.\nlibrary libx.so.2 libx-2\n" +
                             additions_text(promised("", "abi"), first.all.signatures(), "2.0");
    return promised(head + added, "abi");
}

TEST(Promises, AreTheNamesOfAllLettersAndFormsWithWhatTheyTake)
{
    const Abi abi = kept();
    EXPECT_EQ(abi.names.at("DMUL_64").facts, "void (char*, char*, qnm_int64*, double*, double*) + 2");
    EXPECT_EQ(abi.names.at("zmul_").facts, "void (char*, char*, int*, qnm_complex16*, double*) + 2");
    EXPECT_EQ(abi.names.at("qnm_blas_errchk_smul").facts, "int (char*, char*, int*, float*, float*) + 2");
    EXPECT_EQ(abi.names.at("sdot_").facts, "float (int*, float*)");
    EXPECT_EQ(abi.names.size(), 3U * 4 + 2U * 3);
    EXPECT_THAT(broken_promises(abi, Tables(family + rows).built()), IsEmpty());
    EXPECT_TRUE(symbols_text(abi).starts_with("libx.so.2 libx-2 #MINVER#\n DDOT@Base 2.0\n"));
}

TEST(Promises, AreBrokenByALostNameAndByAnyOtherArgument)
{
    const auto broken = [](const std::string& from, const std::string& to) {
        std::string text = family + rows;
        text.replace(text.find(from), from.size(), to);
        return broken_promises(kept(), Tables(text).built());
    };
    EXPECT_THAT(broken("dot s d", "dot s"),
                ElementsAre(HasSubstr("DDOT: lost"), HasSubstr("DDOT_64: lost"), HasSubstr("ddot_: lost")));
    EXPECT_THAT(broken(" name_", ""), ::testing::SizeIs(5));
    for (const auto& [from, to] : std::vector<std::pair<const char*, const char*>>{
             {"wide reference int64", "wide reference int32"}, // a width
             {"int n, T x[]", "T x[], int n"},                 // an order
             {"R b[]", "T b[]"},                               // of complex letters a type
             {"int n, T x[]", "int n value, T x[]"},           // a passing
             {"char trans in NTC", "int trans > 0"},           // a hidden length
             {"T x[] -> T", "T x[]"}})                         // a result
        EXPECT_THAT(broken(from, to), ::testing::Contains(HasSubstr(": changed from "))) << to;
}

TEST(Promises, AreAddedBehindThoseThatStand)
{
    std::string more = family + rows + "nrm s d unchecked int n, T x[] -> T\n";
    more.replace(more.find("dot s d"), 7, "dot s d z");
    const Tables tables(more);
    const Abi abi = kept();
    EXPECT_THAT(additions(abi, tables.built()), ::testing::SizeIs(3 + 2 * 3));
    EXPECT_THAT(broken_promises(abi, tables.built()), IsEmpty());
    const Abi now = kept(tables.lines(abi));
    EXPECT_THAT(additions(now, tables.built()), IsEmpty());
    EXPECT_THAT(broken_promises(now, tables.built()), IsEmpty());
    EXPECT_EQ(now.names.at("zdot_").since, "3.1");
    EXPECT_EQ(now.names.at("ddot_").since, "2.0");
    EXPECT_EQ(tables.lines(now), "");
    EXPECT_THROW(promised("a b s : 1 : void ()", "abi"), catalogue::TableError);
}

} // namespace
} // namespace qnm::generate
