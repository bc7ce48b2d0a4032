// What comes out over the open core: row-major calls and their column-major twins, group batches and single
// calls. All numbers are small integers, so that sums and products are exact whatever their order, and
// results have to be equal to the last bit.
#include "calls.hpp"

#include <algorithm>
#include <complex>
#include <qnm/cblas.h>
#include <random>

/// The head of the library's error chain, as an application may have it.
extern "C" [[gnu::visibility("default")]] void XERBLA(const char* srname, const int* info, int len)
{
    ADD_FAILURE() << std::string(srname, static_cast<std::size_t>(len)) << " refuses argument " << *info;
}

namespace qnm::tests {
namespace {

using Number = std::complex<double>;
using Values = std::map<std::string, std::vector<Number>>;

std::mt19937 random_bits(20);

int integer(int least, int most)
{
    return std::uniform_int_distribution<int>(least, most)(random_bits);
}

/// How a matrix lies in memory.
struct Shape {
    enum { full, band, packed } form = full;
    bool triangle = false; // symmetric, Hermitian, triangular: one triangle is stored
    std::int64_t rows = 1, columns = 1, below = 0, above = 0;
};

bool plain(const FunctionCall& call, const char* option)
{
    return !call.has(option) || call.integer(option) == option_of(option)->first;
}

Shape shape_of(const FunctionCall& call, const std::string& name)
{
    const std::string root = call.signature().root;
    const auto size = [&](const char* n) { return call.has(n) ? call.integer(n) : std::int64_t{0}; };
    const std::int64_t m = size("m"), n = size("n"), k = size("k");
    Shape s;
    if (name == "x" || name == "y") {
        // Lengths are those of op(A); dgmm's diagonal has that of its side.
        s.rows = n;
        if (root.starts_with("gemv") || root == "gbmv")
            s.rows = (name == "x") == plain(call, "trans") ? n : m;
        else if (root.starts_with("ger"))
            s.rows = name == "x" ? m : n;
        else if (root.starts_with("dgmm"))
            s.rows = plain(call, "side") ? m : n;
        return s;
    }
    const bool rank_k = root.find("rk") != std::string::npos || root.find("r2k") != std::string::npos;
    const bool product = root.starts_with("gemm"), first = name[0] == 'a';
    s.rows = m;
    s.columns = n;
    if (name == "c") {
        s.triangle = rank_k || root == "gemmt";
        s.rows = s.triangle ? n : m;
    } else if (product || rank_k) {
        const std::int64_t outer = rank_k || (root == "gemmt" && first) ? n : m;
        const bool as_is = plain(call, rank_k ? "trans" : first ? "transa" : "transb");
        s.rows = first || rank_k ? (as_is ? outer : k) : (as_is ? k : n);
        s.columns = first || rank_k ? (as_is ? k : outer) : (as_is ? n : k);
    } else if (name != "b" && call.has("uplo")) {
        s.rows = s.columns = call.has("side") && plain(call, "side") ? m : n;
        s.triangle = true;
    }
    if (first && root.substr(1).starts_with("b") && root.size() == 4) {
        s.form = Shape::band;
        s.below = call.has("kl") ? call.integer("kl") : k;
        s.above = call.has("ku") ? call.integer("ku") : k;
    } else if (first && !call.has("lda")) {
        s.form = Shape::packed;
    }
    return s;
}

/// Place of element (i, j) of matrix p of a batch, or -1 if it is not stored.
std::int64_t place(const FunctionCall& call, const std::string& name, std::int64_t p, std::int64_t i,
                   std::int64_t j)
{
    Shape s = shape_of(call, name);
    const std::int64_t offset = call.has("stride" + name) ? p * call.integer("stride" + name) : 0;
    if (name == "x" || name == "y") {
        const std::int64_t increment = call.integer("inc" + name);
        return offset + (increment < 0 ? (s.rows - 1 - i) * -increment : i * increment);
    }
    bool upper = plain(call, "uplo");
    if (call.by_rows()) { // the transpose, by columns
        std::swap(i, j);
        std::swap(s.below, s.above);
        upper = !upper;
    }
    if (s.form == Shape::full) // both triangles have their places
        return offset + i + j * call.integer("ld" + name);
    if (s.triangle)
        (upper ? s.below : s.above) = 0;
    if (s.form == Shape::band)
        return i - j > s.below || j - i > s.above ? -1 : j * call.integer("ld" + name) + s.above + i - j;
    if (upper)
        return i <= j ? j * (j + 1) / 2 + i : -1;
    return i >= j ? j * s.rows - j * (j - 1) / 2 + i - j : -1;
}

/// Numbers that keep all results exact: solutions divide by units alone.
Number draw(const Signature& s, const std::string& name, std::int64_t i, std::int64_t j)
{
    const bool solves = s.root.find("sv") != std::string::npos || s.root.starts_with("trsm");
    const std::string kind = s.root.substr(0, 2);
    const bool hermitian = kind == "he" || kind == "hb" || kind == "hp";
    if (solves && name[0] == 'a' && i == j)
        return integer(0, 1) == 0 ? -1 : 1;
    const int most = solves && name[0] == 'a' ? 1 : 3;
    const bool real = !s.letter.is_complex() || (hermitian && i == j && (name[0] == 'a' || name == "c"));
    return {static_cast<double>(integer(-most, most)), real ? 0.0 : integer(-most, most)};
}

/// Runs one call on some numbers, drawn where they are missing, and gives back all that is stored then.
Values run(FunctionCall& call, Values& numbers)
{
    constexpr double untouched = 77;
    const std::size_t parts = call.signature().letter.is_complex() ? 2 : 1;
    const auto each = [&](const std::string& name, auto visit) {
        const Shape s = shape_of(call, name);
        for (std::int64_t p = 0; p < (call.has("batch_size") ? call.integer("batch_size") : 1); ++p)
            for (std::int64_t i = 0; i < s.rows; ++i)
                for (std::int64_t j = 0; j < s.columns; ++j)
                    visit(place(call, name, p, i, j), i, j);
    };
    std::vector<std::string> arrays = names(call);
    std::erase_if(arrays, [](const std::string& name) { return !is_matrix(name); });
    for (const std::string& name : arrays) {
        std::vector<double> values(call.size(name), untouched);
        const bool fresh = !numbers.contains(name);
        std::size_t index = 0;
        each(name, [&](std::int64_t at, std::int64_t i, std::int64_t j) {
            if (fresh)
                numbers[name].push_back(draw(call.signature(), name, i, j));
            const Number number = numbers[name].at(index++);
            for (std::size_t part = 0; at >= 0 && part < parts; ++part)
                values.at(parts * static_cast<std::size_t>(at) + part) =
                    part == 0 ? number.real() : number.imag();
        });
        call.assign(name, values);
    }
    call.run();
    Values got;
    for (const std::string& name : arrays) {
        const std::vector<double> values = call.values(name);
        std::size_t stored = 0;
        each(name, [&](std::int64_t at, std::int64_t, std::int64_t) {
            const std::size_t first = parts * static_cast<std::size_t>(at);
            got[name].push_back(at < 0 ? 0 : Number(values[first], parts == 2 ? values[first + 1] : 0));
            stored += at < 0 ? 0 : parts;
        });
        const auto left = static_cast<std::size_t>(std::count(values.begin(), values.end(), untouched));
        EXPECT_GE(left, values.size() - stored) << "padding between elements stays as it was";
    }
    return got;
}

bool has_twins(const Member& member)
{
    // Packed forms and other formats have no elements to compare.
    return member.has_layout() && member.letter != '-' && !member.is("pack") && !member.is("compute") &&
           !member.is("jit");
}

TEST(Numbers, RowMajorCallsEqualTheirColumnMajorTwins)
{
    int compared = 0;
    for (const Member& member : members()) {
        if (!has_twins(member))
            continue;
        SCOPED_TRACE(member.name());
        ++compared;
        for (int round = 0; round < 3; ++round) {
            filled(member, column_major).each_choice([&](FunctionCall columns) {
                for (const std::string& name : names(columns)) {
                    const bool in_band = columns.has("k") && !columns.has("ldc");
                    if (name == "m" || name == "n" || name == "k")
                        columns.set(name, name == "k" && in_band ? integer(0, 2) : integer(1, 5));
                    else if (name == "kl" || name == "ku")
                        columns.set(name, integer(0, 2));
                    else if (name.starts_with("inc"))
                        columns.set(name, integer(1, 3) * (integer(0, 1) == 0 ? -1 : 1));
                    else if (is_number(name))
                        columns.scalar(name, integer(-2, 2), integer(-2, 2));
                }
                FunctionCall rows = filled(member, row_major);
                rows.assign(columns).set("layout", row_major);
                for (FunctionCall* call : {&columns, &rows})
                    for (const std::string& name : names(*call))
                        if (name.starts_with("ld"))
                            call->set(name, call->bound(name) + integer(0, 3));
                        else if (name.starts_with("stride"))
                            call->set(name, 200 + integer(0, 3));
                Values numbers;
                const Values by_columns = run(columns, numbers);
                EXPECT_EQ(run(rows, numbers), by_columns);
            });
        }
    }
    EXPECT_EQ(compared, 2 * (44 + 66 + 22));
}

/// A single call with the parameters of one group.
FunctionCall single_call(const Member& member, const FunctionCall& batch, std::size_t group)
{
    const std::string root = member.routine.substr(1);
    for (const Member& single : members_of(root.substr(0, root.find("_batch"))))
        if (single.letter == member.letter && single.wide == member.wide) {
            FunctionCall call = filled(single, batch.by_rows() ? row_major : column_major);
            for (const std::string& name : names(call))
                if (is_matrix(name)) {
                    std::vector<double> values(call.size(name));
                    std::generate(values.begin(), values.end(), [] { return integer(-3, 3); });
                    call.assign(name, values);
                } else {
                    const std::size_t parts = call.size(name);
                    for (std::size_t part = 0; part < parts; ++part)
                        call.put(name, batch.number(batch.index(name), parts * group + part), part);
                }
            return call;
        }
    throw std::out_of_range(root);
}

/// The last code that is taken for an option.
int last_code(const FunctionCall& call, const std::string& option)
{
    for (const catalogue::Place& place : call.callee().places)
        if (place.parameter == static_cast<int>(call.index(option)))
            return place.letters.rbegin()->first;
    throw std::out_of_range(option);
}

TEST(Numbers, BatchesComeToWhatSingleCallsMake)
{
    std::vector<Member> batches = group_members();
    std::ranges::copy_if(members(), std::back_inserter(batches),
                         [](const Member& m) { return m.is("_batch"); });
    int compared = 0;
    each_layout(batches, [&](const Member& member, int layout) {
        if (member.is("dgmm"))
            return; // has no single call
        ++compared;
        constexpr std::size_t problems = 3;
        const bool strided = !member.has_groups();
        FunctionCall batch = filled(member, layout, strided ? 0 : 2); // groups have one problem and two
        if (!member.has_layout()) // its length has no test, and is 1 otherwise
            batch.set("n", 9);
        for (const std::string& name : names(batch)) {
            if (name == "diag") // so that solutions divide by nothing
                batch.set(name, 132);
            else if (name == "batch_size")
                batch.set(name, problems);
            else if (strided)
                continue;
            else if (option_of(name) != nullptr)
                batch.set(name, last_code(batch, name), 1);
            else if (name == "m" || name == "n" || name == "k")
                batch.set(name, batch.integer(name) - 1, 1);
            else if (name.starts_with("inc"))
                batch.set(name, -2, 1);
            for (std::size_t i = 0; is_number(name) && i < batch.size(name); ++i)
                batch.put(name, integer(1, 3), i);
        }
        std::vector<FunctionCall> together;
        for (std::size_t p = 0; p < problems; ++p)
            together.push_back(single_call(member, batch, strided || p == 0 ? 0 : 1));
        std::vector<FunctionCall> alone = together;
        const auto step = [&](const std::string& name) { // of a strided batch, in real numbers
            return static_cast<std::size_t>(batch.integer("stride" + name)) * (member.complex() ? 2 : 1);
        };
        const auto kept = [&](const std::string& name) {
            return std::min(together[0].size(name), step(name));
        };
        for (const std::string& name : names(batch)) {
            if (strided && is_matrix(name))
                batch.fill(name, problems * step(name));
            for (std::size_t p = 0; is_matrix(name) && p < problems; ++p)
                if (!strided)
                    batch.put(
                        name,
                        static_cast<long double>(reinterpret_cast<std::intptr_t>(together[p].address(name))),
                        p);
                else
                    for (std::size_t i = 0; i < kept(name); ++i)
                        batch.put(name, together[p].number(together[p].index(name), i), p * step(name) + i);
        }
        batch.run();
        for (std::size_t p = 0; p < problems; ++p) {
            const FunctionCall before = alone[p];
            alone[p].run();
            bool changed = false;
            for (const std::string& name : names(alone[p]))
                if (is_matrix(name)) {
                    for (std::size_t i = 0; strided && i < kept(name); ++i)
                        together[p].put(name, batch.number(batch.index(name), p * step(name) + i), i);
                    EXPECT_EQ(together[p].values(name), alone[p].values(name)) << name;
                    changed = changed || alone[p].values(name) != before.values(name);
                }
            EXPECT_TRUE(changed);
        }
    });
    EXPECT_EQ(compared, 2 * 2 * (2 * 18 + 8));
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
