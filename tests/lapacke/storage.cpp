#include "storage.hpp"

#include <algorithm>
#include <cctype>

namespace qnm::tests {

namespace {

bool is(char letter, char upper)
{
    return std::toupper(static_cast<unsigned char>(letter)) == upper;
}

/// The place of a triangle's element, its columns (of the upper one) or rows one behind the other.
std::int64_t packed(bool upper_by_columns, std::int64_t i, std::int64_t j, std::int64_t n)
{
    return upper_by_columns ? i + j * (j + 1) / 2 : i - j + j * (2 * n - j + 1) / 2;
}

/// Whether element (i,j) of an m by n matrix belongs to the trapezoid of direction and triangle.
bool in_trapezoid(const Storage& s, std::int64_t i, std::int64_t j)
{
    const bool forward = is(s.letters[0], 'F'), lower = is(s.letters[1], 'L');
    const bool tall = s.m > s.n;
    const std::int64_t surplus = tall ? s.m - s.n : s.n - s.m;
    // The triangle is the first square or the last one; the rest is a rectangle, held on one side alone.
    const std::int64_t down = forward || !tall ? 0 : surplus;
    const std::int64_t right = forward || tall ? 0 : surplus;
    const std::int64_t k = std::min(s.m, s.n);
    const std::int64_t ti = i - down, tj = j - right;
    if (ti < 0 || tj < 0 || ti >= k || tj >= k)
        return forward ? lower == tall : lower != tall;
    return ti == tj ? !is(s.letters[2], 'U') : (lower ? ti > tj : ti < tj);
}

} // namespace

void for_each_element(const Storage& s, std::int64_t row_ld, std::int64_t column_ld,
                      const std::function<void(std::int64_t, std::int64_t)>& visit)
{
    const std::string& form = s.form;
    const auto letter = [&](std::size_t i) { return i < s.letters.size() ? s.letters[i] : ' '; };
    if (form == "pf" || form == "tf") { // a rectangle, whatever it holds
        const std::int64_t high = s.n | 1, wide = (s.n + 1) / 2;
        const bool turned = !is(letter(0), 'N');
        const std::int64_t rows = turned ? wide : high, columns = turned ? high : wide;
        for (std::int64_t i = 0; s.n > 0 && i < rows; ++i)
            for (std::int64_t j = 0; j < columns; ++j)
                visit(i * columns + j, i + j * rows);
        return;
    }
    const bool band = form[1] == 'b';
    const bool is_packed = form[1] == 'p';
    const bool triangular = !is_packed && form[0] == 't' && form != "tz";
    const bool unit = (triangular || form == "tp") && is(letter(1), 'U');
    const bool upper = is(letter(0), 'U');
    for (std::int64_t i = 0; i < s.m; ++i)
        for (std::int64_t j = 0; j < s.n; ++j) {
            if (band) {
                if (j - i > s.ku || i - j > s.kl || (unit && i == j))
                    continue;
                const std::int64_t line = s.ku + i - j;
                visit(line * row_ld + j, line + j * column_ld);
                continue;
            }
            if (form == "tz" && !in_trapezoid(s, i, j))
                continue;
            if (form == "hs" && i > j + 1)
                continue;
            if (form != "ge" && form != "tz" && form != "hs") // a triangle
                if ((upper ? i > j : i < j) || (unit && i == j))
                    continue;
            if (is_packed) // by rows, the upper triangle is the lower one of the transpose
                visit(packed(!upper, j, i, s.n), packed(upper, i, j, s.n));
            else
                visit(i * row_ld + j, i + j * column_ld);
        }
}

} // namespace qnm::tests
