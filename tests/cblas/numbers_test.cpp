// Row-major calls and their column-major twins over the open core. All numbers are small integers, so that
// sums and products are exact whatever their order, and results have to be equal to the last bit.
#include "c_call.hpp"

#include <algorithm>
#include <complex>
#include <random>

/// The head of the library's error chain, as an application may have it.
extern "C" [[gnu::visibility("default")]] void XERBLA(const char* srname, const int* info, int len)
{
    ADD_FAILURE() << std::string(srname, static_cast<std::size_t>(len)) << " refuses argument " << *info;
}

namespace qnm::tests {
namespace {

using Number = std::complex<double>;

/// How a matrix lies in memory.
enum class Form { full, band, packed };

struct Shape {
    Form form = Form::full;
    bool triangle = false; // symmetric, Hermitian, triangular: one triangle is stored
    std::int64_t rows = 1, columns = 1, below = 0, above = 0;
};

/// Place of an element, or -1 if it is not stored.
std::int64_t place(const Shape& s, int layout, bool upper, std::int64_t ld, std::int64_t i, std::int64_t j)
{
    const bool by_rows = layout == row_major;
    const bool stored = !s.triangle || (upper ? i <= j : i >= j);
    switch (s.form) {
    case Form::full: // both triangles of a full matrix have their places
        return by_rows ? i * ld + j : i + j * ld;
    case Form::band: {
        const std::int64_t below = s.triangle && upper ? 0 : s.below,
                           above = s.triangle && !upper ? 0 : s.above;
        if (i - j > below || j - i > above)
            return -1;
        return by_rows ? i * ld + below + j - i : j * ld + above + i - j;
    }
    case Form::packed:
        if (!stored)
            return -1;
        // By rows the upper triangle begins with a whole row, as the lower one by columns.
        if (upper == by_rows) {
            const std::int64_t first = by_rows ? i : j, second = by_rows ? j : i;
            return first * s.rows - first * (first - 1) / 2 + second - first;
        } else {
            const std::int64_t first = by_rows ? i : j, second = by_rows ? j : i;
            return first * (first + 1) / 2 + second;
        }
    }
    return -1;
}

class Twins {
public:
    Twins(const Member& member, std::mt19937& random) : member_(member), random_(random) {}

    void compare(CCall columns, CCall rows)
    {
        const auto got_by_columns = run(columns, true);
        const auto got_by_rows = run(rows, false);
        EXPECT_EQ(got_by_columns, got_by_rows);
    }

private:
    using Values = std::map<std::string, std::vector<Number>>;

    Shape shape_of(const CCall& call, const std::string& name) const
    {
        const std::string root = member_.routine.substr(1);
        const auto size = [&](const char* n) { return call.has(n) ? call.value(n) : std::int64_t{0}; };
        const auto plain = [&](const char* option) {
            return !call.has(option) || call.value(option) == option_of(option)->first;
        };
        const std::int64_t m = size("m"), n = size("n"), k = size("k");
        Shape s;
        if (name == "x" || name == "y") {
            // Lengths are those of op(A); dgmm's diagonal has that of its side.
            const bool turned = !plain("trans");
            std::int64_t length = n;
            if (root.starts_with("gemv") || root == "gbmv")
                length = (name == "x") != turned ? n : m;
            else if (root.starts_with("ger"))
                length = name == "x" ? m : n;
            else if (root.starts_with("dgmm"))
                length = plain("side") ? m : n;
            s.rows = length;
            return s;
        }
        const bool rank_k = root.find("rk") != std::string::npos || root.find("r2k") != std::string::npos;
        if (name == "c") {
            s.rows = rank_k || root == "gemmt" ? n : m;
            s.columns = n;
            s.triangle = rank_k || root == "gemmt";
        } else if (root.find("gemm") == 0) {
            const bool first = name == "a";
            const std::int64_t outer = root == "gemmt" ? n : m;
            const bool as_is = plain(first ? "transa" : "transb");
            s.rows = first ? (as_is ? outer : k) : (as_is ? k : n);
            s.columns = first ? (as_is ? k : outer) : (as_is ? n : k);
        } else if (rank_k) {
            s.rows = plain("trans") ? n : k;
            s.columns = plain("trans") ? k : n;
        } else if (name == "b" || !call.has("uplo")) {
            s.rows = m;
            s.columns = n;
        } else {
            s.rows = s.columns = call.has("side") && plain("side") ? m : n;
            s.triangle = true;
        }
        if (name == "a" && root.substr(1).starts_with("b") && root.size() == 4) {
            s.form = Form::band;
            s.below = call.has("kl") ? call.value("kl") : k;
            s.above = call.has("ku") ? call.value("ku") : k;
        } else if (name == "a" && !call.has("lda")) {
            s.form = Form::packed;
        }
        return s;
    }

    /// Numbers that keep all results exact: solutions divide by units alone.
    Number draw(const std::string& name, std::int64_t i, std::int64_t j)
    {
        const auto integer = [&](int most) {
            return std::uniform_int_distribution<int>(-most, most)(random_);
        };
        const std::string root = member_.routine.substr(1);
        const bool solves = root.find("sv") != std::string::npos || root.find("trsm") != std::string::npos;
        const bool hermitian = root.starts_with("he") || root.starts_with("hb") || root.starts_with("hp");
        if (solves && name == "a" && i == j)
            return integer(1) < 0 ? -1 : 1;
        const int most = solves && name == "a" ? 1 : 3;
        const bool real = !member_.complex() || (hermitian && i == j && (name == "a" || name == "c"));
        return {static_cast<double>(integer(most)), real ? 0.0 : static_cast<double>(integer(most))};
    }

    template <class R>
    void write(std::vector<R>& array, std::int64_t at, Number value) const
    {
        if (member_.complex()) {
            array.at(static_cast<std::size_t>(2 * at)) = static_cast<R>(value.real());
            array.at(static_cast<std::size_t>(2 * at + 1)) = static_cast<R>(value.imag());
        } else {
            array.at(static_cast<std::size_t>(at)) = static_cast<R>(value.real());
        }
    }

    template <class R>
    Number read(const std::vector<R>& array, std::int64_t at) const
    {
        const auto element = [&](std::int64_t i) {
            return static_cast<double>(array.at(static_cast<std::size_t>(i)));
        };
        return member_.complex() ? Number(element(2 * at), element(2 * at + 1)) : Number(element(at), 0);
    }

    /// Where element (i, j) of matrix p of a batch stands.
    std::int64_t place_of(const CCall& call, const std::string& name, const Shape& s, std::int64_t p,
                          std::int64_t i, std::int64_t j) const
    {
        const std::int64_t offset = call.has("stride" + name) ? p * call.value("stride" + name) : 0;
        if (name == "x" || name == "y") {
            const std::int64_t increment = call.value("inc" + name);
            return offset + (increment < 0 ? (s.rows - 1 - i) * -increment : i * increment);
        }
        const bool upper = !call.has("uplo") || call.value("uplo") == option_of("uplo")->first;
        const std::int64_t at =
            place(s, call.layout(), upper, call.has("ld" + name) ? call.value("ld" + name) : 0, i, j);
        return at < 0 ? at : offset + at;
    }

    /// Runs one call on the numbers, which the first draws, and gives back all that is stored then.
    Values run(CCall& call, bool first)
    {
        return member_.single() ? run_with<float>(call, first) : run_with<double>(call, first);
    }

    template <class R>
    Values run_with(CCall& call, bool first)
    {
        constexpr std::size_t length = 20000;
        constexpr R untouched = 77;
        std::map<std::string, std::vector<R>> arrays;
        const std::int64_t problems = call.has("batch_size") ? call.value("batch_size") : 1;
        const auto each = [&](const std::string& name, auto visit) {
            const Shape s = shape_of(call, name);
            std::size_t index = 0;
            for (std::int64_t p = 0; p < problems; ++p)
                for (std::int64_t i = 0; i < s.rows; ++i)
                    for (std::int64_t j = 0; j < s.columns; ++j, ++index)
                        visit(index, place_of(call, name, s, p, i, j), i, j);
        };
        for (const std::string& name : call.names()) {
            if (name.size() != 1 || std::string("abcxy").find(name) == std::string::npos)
                continue;
            arrays[name].assign(length, untouched);
            each(name, [&](std::size_t index, std::int64_t at, std::int64_t i, std::int64_t j) {
                if (first)
                    numbers_[name].push_back(draw(name, i, j));
                if (at >= 0)
                    write(arrays[name], at, numbers_[name].at(index));
            });
            call.point(name, arrays[name].data());
        }
        call.run();
        Values got;
        for (const auto& [name, array] : arrays) {
            std::size_t touched = 0;
            each(name, [&](std::size_t, std::int64_t at, std::int64_t, std::int64_t) {
                got[name].push_back(at < 0 ? 0 : read(array, at));
                touched += at < 0 ? 0 : 1;
            });
            // Padding between the elements stays as it was.
            const auto left = std::count(array.begin(), array.end(), untouched);
            EXPECT_GE(left, static_cast<std::ptrdiff_t>(length - touched * (member_.complex() ? 2 : 1)));
        }
        return got;
    }

    const Member& member_;
    std::mt19937& random_;
    Values numbers_;
};

bool has_twins(const Member& member)
{
    // Packed forms and other formats have no elements to compare.
    return member.has_layout() && std::string("sdcz").find(member.letter) != std::string::npos &&
           member.routine.find("pack") == std::string::npos &&
           member.routine.find("compute") == std::string::npos;
}

TEST(Numbers, RowMajorCallsEqualTheirColumnMajorTwins)
{
    std::mt19937 random(20);
    const auto integer = [&](int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(random);
    };
    int compared = 0;
    for (const Member& member : members()) {
        if (!has_twins(member))
            continue;
        SCOPED_TRACE(member.name());
        ++compared;
        for (int round = 0; round < 3; ++round) {
            CCall columns(member, column_major), rows(member, row_major);
            const auto set = [&](const std::string& name, std::int64_t value) {
                if (columns.has(name)) {
                    columns.set(name, value);
                    rows.set(name, value);
                }
            };
            columns.each_choice([&] {
                for (const std::string& name : columns.names()) {
                    if (option_of(name) != nullptr)
                        set(name, columns.value(name));
                    else if (name == "m" || name == "n" || name == "k")
                        set(name, integer(1, 5));
                    else if (name == "kl" || name == "ku")
                        set(name, integer(0, 2));
                    else if (name.starts_with("inc"))
                        set(name, integer(1, 3) * (integer(0, 1) == 0 ? -1 : 1));
                    else if (is_scalar(name)) {
                        const double re = integer(-2, 2), im = integer(-2, 2);
                        columns.scalar(name, re, im);
                        rows.scalar(name, re, im);
                    }
                }
                if (columns.has("k") && !columns.has("ldc")) // of a band matrix
                    set("k", integer(0, 2));
                for (CCall* call : {&columns, &rows}) {
                    call->settle();
                    for (const char* ld : {"lda", "ldb", "ldc"})
                        if (call->has(ld))
                            call->set(ld, call->bound(ld) + integer(0, 3));
                    for (const char* stride : {"stridea", "strideb", "stridec", "stridex", "stridey"})
                        if (call->has(stride))
                            call->set(stride, 200 + integer(0, 3));
                }
                Twins(member, random).compare(columns, rows);
            });
        }
    }
    EXPECT_EQ(compared, 2 * (44 + 66 + 22));
}

} // namespace
} // namespace qnm::tests
