#include "forms.hpp"
#include "support/tables.hpp"

#include <algorithm>
#include <random>

namespace qnm::tests {

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

std::vector<Helper> helpers(const std::function<bool(const Helper&)>& kind)
{
    std::vector<Helper> all;
    for (const catalogue::Entry& entry : support::tables().entries())
        if (const Helper helper(entry); entry.row->source.empty() && kind(helper))
            all.push_back(helper);
    return all;
}

long any(long low, long high)
{
    static std::mt19937 generator(19681224);
    return std::uniform_int_distribution<long>(low, high)(generator);
}

Form Form::random(const std::string& name, long largest)
{
    Form form;
    form.name = name;
    form.by_rows = any(0, 1) == 0;
    for (const auto& [option, letters] :
         {std::pair{"uplo", "ul"}, {"diag", "nu"}, {"transr", "ntc"}, {"direct", "fb"}})
        form.options[option] = letters[any(0, static_cast<long>(std::strlen(letters)) - 1)];
    form.n = any(0, largest);
    form.m = name == "ge" || name == "gg" || name == "gb" || name == "tz" ? any(0, largest) : form.n;
    form.kd = any(0, std::min(form.n + 2, 6L));
    const bool triangle = form.is_band() && name != "gb";
    form.kl = !triangle ? any(0, 5) : form.is("uplo", 'l') ? form.kd : 0;
    form.ku = !triangle ? any(0, 5) : form.is("uplo", 'u') ? form.kd : 0;
    form.choose_ld();
    return form;
}

void Form::choose_ld()
{
    ld = std::max(1L, by_rows ? n : is_band() ? kl + ku + 1 : m) + any(0, 3);
}

Form Form::turned() const
{
    Form other = *this;
    other.by_rows = !by_rows;
    other.choose_ld();
    return other;
}

std::string Form::told() const
{
    std::string text = name + (by_rows ? " by rows" : " by columns");
    for (const auto& [option, letter] : options)
        text += " " + option + " " + letter;
    for (const long size : {m, n, kl, ku, ld})
        text += " " + std::to_string(size);
    return text + " (m, n, kl, ku, ld)";
}

long Form::length() const
{
    if (is_packed() || is_full_packed())
        return n * (n + 1) / 2;
    return ld * (!by_rows ? n : is_band() ? kl + ku + 1 : m);
}

bool Form::holds(long i, long j) const
{
    const long diagonal = name == "tz" && is("direct", 'b') ? n - m : 0; // j - i on it
    if (name[0] == 't' && is("diag", 'u') && j - i == diagonal)
        return false;
    if (is_band())
        return i - j <= kl && j - i <= ku;
    if (name == "hs")
        return i <= j + 1;
    return name == "ge" || name == "gg" || (is("uplo", 'u') ? j - i >= diagonal : j - i <= diagonal);
}

long Form::at(long i, long j) const
{
    if (is_band())
        i += ku - j;
    if (!is_packed())
        return by_rows ? i * ld + j : i + j * ld;
    if (by_rows)
        std::swap(i, j);
    return is("uplo", 'u') != by_rows ? i + j * (j + 1) / 2 : i - j + j * (2 * n - j + 1) / 2;
}

std::vector<long> Form::places(bool whole_rectangle) const
{
    if (is_full_packed())
        return full_packed_places(whole_rectangle);
    std::vector<long> all;
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < m; ++i)
            if (holds(i, j))
                all.push_back(at(i, j));
    return all;
}

// LAPACK itself says where: a triangle of numbers is packed, and the numbers looked up.
std::vector<long> Form::full_packed_places(bool whole) const
{
    const bool normal = is("transr", 'n');
    const long rows = normal ? n | 1 : (n + 1) / 2, columns = normal ? (n + 1) / 2 : n | 1;
    const int order = static_cast<int>(n), lda = std::max(order, 1);
    std::vector<double> a(static_cast<std::size_t>(lda * lda), -1),
        packed(static_cast<std::size_t>(rows * columns) + 1);
    std::size_t count = 0;
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < n; ++i)
            if (holds(i, j))
                a[static_cast<std::size_t>(i + j * lda)] = static_cast<double>(count++);
    int info = 0;
    const char form = normal ? 'n' : 't', uplo = options.at("uplo");
    support::call_words(layer()["dtrttf_"], {&form, &uplo, &order, a.data(), &lda, packed.data(), &info});
    EXPECT_EQ(info, 0);
    std::vector<long> all(whole ? static_cast<std::size_t>(rows * columns) : count);
    for (std::size_t p = 0; p < static_cast<std::size_t>(rows * columns); ++p) {
        const long place = static_cast<long>(p);
        if (whole || packed[p] >= 0)
            all.at(whole ? p : static_cast<std::size_t>(packed[p])) =
                by_rows ? place % rows * columns + place / rows : place;
    }
    return all;
}

bool Helper::run(const Form& form, const std::vector<void*>& arrays, const Form* out, long incx,
                 int layout) const
{
    const bool narrow = entry_.width == catalogue::Width::narrow;
    const std::map<std::string, long> integers{{"m", form.m},   {"n", form.n},   {"kl", form.kl},
                                               {"ku", form.ku}, {"kd", form.kd}, {"incx", incx}};
    std::vector<support::Word> words;
    std::size_t next = 0;
    for (const catalogue::Argument& a : arguments()) {
        if (a.array) {
            words.emplace_back(arrays.at(next++));
        } else if (a.name == "matrix_layout") {
            words.emplace_back(layout != 0 ? layout : form.by_rows ? 101 : 102);
        } else if (a.type == "char") {
            const char option = form.options.at(a.name);
            words.emplace_back(any(0, 1) == 0 ? option : static_cast<char>(option & ~0x20)); // in either case
        } else {
            const long value = a.name == "ldout"          ? out->ld
                               : a.name.starts_with("ld") ? form.ld
                                                          : integers.at(a.name);
            words.emplace_back(narrow ? support::Word(static_cast<int>(value)) : support::Word(value));
        }
    }
    const auto returned = support::call_words(layer()[name()], words);
    return narrow ? returned.int32() != 0 : returned.int64() != 0;
}

} // namespace qnm::tests
