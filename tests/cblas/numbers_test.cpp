// What comes out over the open core where no program for the reference interface looks: extensions beside
// what they extend, wide calls beside narrow ones, sparse vectors; batches are with those of all families.
// Numbers are small and whole, so that sums and products are exact whatever their order.
#include "calls.hpp"

#include <array>
#include <qnm/cblas.h>
#include <random>
#include <utility>

/// The head of the library's error chain, as an application may have it.
extern "C" [[gnu::visibility("default")]] void XERBLA(const char* srname, const int* info, int len)
{
    ADD_FAILURE() << std::string(srname, static_cast<std::size_t>(len)) << " refuses argument " << *info;
}

namespace qnm::tests {
namespace {

/// A whole number that is not zero.
int number()
{
    static std::mt19937 chance(20);
    const int size = static_cast<int>(chance() % 3) + 1;
    return chance() % 2 == 0 ? size : -size;
}

std::size_t parts(const FunctionCall& call)
{
    return call.signature().letter.is_complex() ? 2 : 1;
}

void fill(FunctionCall& call, const std::string& name, std::size_t elements)
{
    call.fill(name, elements * parts(call));
    for (std::size_t k = 0; k < call.size(name); ++k)
        call.put(name, number(), k);
}

/// A call of one of many choices of options, with sizes that go with it, and numbers behind all its
/// addresses.
FunctionCall varied(FunctionCall call, int choice)
{
    const int odd = choice % 2;
    for (std::size_t i = 0; i < call.parameters().size(); ++i) {
        const std::string name = names(call)[i];
        for (const catalogue::Place& place : call.callee().places)
            if (place.parameter == static_cast<int>(i) && !place.letters.empty()) {
                const int letters = static_cast<int>(place.letters.size());
                call.set(name, std::next(place.letters.begin(), choice % letters)->first);
                choice /= letters;
            }
        if (lists("m n k kl ku", name))
            call.set(name, name == "kl" || name == "ku" ? odd + 1 : static_cast<int>(i % 3) + 3 - odd);
        else if (name.starts_with("ld"))
            call.set(name, 6);
        else if (name.starts_with("inc"))
            call.set(name, odd == 0 ? 2 : -1);
        else if (is_matrix(name))
            fill(call, name, 60);
        else if (is_number(name))
            call.scalar(name, number(), number());
    }
    return call;
}

/// Another function's call with the same arguments; what it has beyond is a number of columns.
FunctionCall same(const FunctionCall& call, const std::string& name)
{
    FunctionCall other(name, call.by_rows() ? row_major : column_major);
    for (const std::string& each : names(other)) {
        if (is_matrix(each))
            other.fill(each, call.size(each));
        other.assign(each, call.values(call.has(each) ? each : "n"));
    }
    return other;
}

TEST(Numbers, ExtensionsComeToWhatTheyExtend)
{
    const std::map<std::string, const char*> all{
        {"gemm3m", "gemm"}, {"gemmt", "gemm"}, {"trmm_oop", "trmm"}, {"trsm_oop", "trsm"}};
    const auto is_extension = [&](const Signature& s) { return all.contains(s.root); };
    each_layout(is_extension, [&](const FunctionCall& any) {
        const std::string root = any.signature().root;
        for (int choice = 0; choice < 36; ++choice) {
            FunctionCall call = varied(any, choice);
            for (std::size_t k = 0; k < call.size("a"); ++k) // solutions divide by units
                call.put("a", call.number(call.index("a"), k) > 0 ? 1 : -1, k);
            if (root.ends_with("_oop"))
                call.scalar("beta", 0);
            std::string name = any.signature().names.front();
            FunctionCall extended = same(call, name.replace(name.find(root), root.size(), all.at(root)));
            extended.run();
            const auto result = extended.values(extended.has("c") ? "c" : "b");
            auto expected = call.values("c");
            for (int i = 0; i < extended.integer("m"); ++i)
                for (int j = 0; j < extended.integer("n"); ++j)
                    if (root != "gemmt" || i == j || (i < j) == (call.integer("uplo") == 121))
                        for (std::size_t k = 0; k < parts(call); ++k) {
                            const int at = call.by_rows() ? 6 * i + j : i + 6 * j;
                            const std::size_t place = parts(call) * static_cast<std::size_t>(at) + k;
                            expected.at(place) = result.at(place);
                        }
            call.run();
            EXPECT_EQ(call.values("c"), expected);
        }
    });
}

// Of complex calls by rows: the narrow ones are those of the programs.
TEST(Numbers, WideCallsComeToWhatNarrowOnesMake)
{
    int compared = 0;
    const auto is_complex = [](const Signature& s) {
        return is_narrow(s) && s.letter.is_complex() && s.root.find("_batch") == std::string::npos &&
               s.family == "cblas";
    };
    each_layout(is_complex, [&](const FunctionCall& any) {
        for (int choice = 0; any.by_rows() && choice < 36; ++choice, ++compared) {
            const FunctionCall call = varied(any, choice);
            const FunctionCall wide = same(call, any.signature().names.front() + "_64");
            call.run();
            wide.run();
            for (const std::string& name : names(call))
                if (is_matrix(name)) {
                    EXPECT_EQ(wide.values(name), call.values(name)) << name;
                }
        }
    });
    EXPECT_EQ(compared, 36 * 2 * (13 + 17));
}

TEST(Numbers, SparseVectorsAreThoseOfFortranCountedFromZero)
{
    int compared = 0;
    const auto is_sparse = [](const Signature& s) { return s.table.ends_with("/sparse1.tab"); };
    each_layout(is_sparse, [&](FunctionCall call) {
        std::string name = call.signature().names.front().substr(6);
        if (const std::size_t sub = name.find("_sub"); sub != std::string::npos)
            name.erase(sub, 4);
        FunctionCall fortran(catalogue::to_upper(name));
        std::array<double, 2> result{9, 9}, expected{9, 9};
        if (call.has("result")) {
            call.point("result", &result);
            fortran.point("result", &expected);
        }
        const auto run = [](const FunctionCall& c) {
            const support::Returned back = c.run();
            return c.signature().result == "float"    ? static_cast<double>(back.float32())
                   : c.signature().result == "double" ? back.float64()
                                                      : 0;
        };
        // Nothing is read, and nothing is there to be read.
        for (const int n : {0, -1}) {
            EXPECT_EQ(run(call.set("nz", n)), 0);
            EXPECT_EQ(std::exchange(result[0], 9), call.has("result") ? 0 : 9);
        }
        call.set("nz", 3);
        if (call.has("alpha"))
            run(call.scalar("alpha", 0));
        if (call.has("c"))
            run(call.scalar("c", 1).scalar("s", 0));
        const std::array<std::int32_t, 4> narrow[] = {{3, 0, 3}, {4, 1, 4}};
        const std::array<std::int64_t, 4> wide[] = {{3, 0, 3}, {4, 1, 4}};
        for (const int base : {0, 1}) {
            FunctionCall& each = base == 0 ? call : fortran;
            each.point("indx", call.narrow() ? static_cast<const void*>(&narrow[base]) : &wide[base]);
            each.set("nz", 3);
            for (const char* vector : {"x", "y"})
                each.fill(vector, 8).assign(vector, {1, -2, 3, 4, 5, -6, 7, 8});
            for (const char* scalar : {"alpha", "c", "s"})
                if (each.has(scalar))
                    each.fill(scalar, parts(call)).scalar(scalar, *scalar == 's' ? 2 : 3, -1);
        }
        EXPECT_EQ(run(call), run(fortran));
        EXPECT_EQ(result, expected);
        for (const char* vector : {"x", "y"})
            EXPECT_EQ(call.values(vector), fortran.values(vector)) << vector;
        ++compared;
    });
    EXPECT_EQ(compared, 2 * (4 * 4 + 2 * 2 + 2 * 2));
}

/// By rows the signed operand is the second, since operands change places on the way to the column-major
/// routine.
TEST(Numbers, IntegerProductsByRowsAreWhatTheyShouldBe)
{
    constexpr int rows = 3, columns = 2, inner = 4;
    constexpr unsigned char a[rows * inner] = {1, 200, 3, 4, 0, 5, 6, 7, 2, 2, 250, 3};
    constexpr signed char b[inner * columns] = {1, -2, 3, 4, -5, 6, 7, -8};
    constexpr qnm_int32 by_column[columns] = {10, 20};
    qnm_int32 c[rows * columns] = {}, expected[rows * columns];
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            int& sum = expected[i * columns + j] = by_column[j];
            for (int l = 0; l < inner; ++l)
                sum += (a[i * inner + l] + 1) * (b[l * columns + j] + 2);
        }
    cblas_gemm_s8u8s32(CblasRowMajor, CblasNoTrans, CblasNoTrans, CblasRowOffset, rows, columns, inner, 1.0F,
                       a, inner, 1, b, columns, 2, 0.0F, c, columns, by_column);
    EXPECT_THAT(c, ::testing::ElementsAreArray(expected));
}

} // namespace
} // namespace qnm::tests
