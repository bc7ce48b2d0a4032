#include "forms.hpp"

#include <algorithm>
#include <sstream>

namespace qnm::tests {

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

const std::vector<catalogue::Entry>& helpers()
{
    static const catalogue::Catalogue tables = [] {
        std::vector<std::string> paths;
        std::istringstream in(QNM_TABLES);
        for (std::string path; std::getline(in, path, ':');)
            paths.push_back(path);
        return catalogue::read_tables(paths);
    }();
    static const std::vector<catalogue::Entry> all = tables.entries();
    return all;
}

std::mt19937& chance()
{
    static std::mt19937 generator(19681224);
    return generator;
}

long any(long low, long high)
{
    return std::uniform_int_distribution<long>(low, high)(chance());
}

Form Form::random(const std::string& name, long largest)
{
    const auto letter = [](const std::string& letters) {
        return letters[static_cast<std::size_t>(any(0, static_cast<long>(letters.size()) - 1))];
    };
    Form form;
    form.name = name;
    form.by_rows = any(0, 1) == 0;
    form.uplo = letter("ulUL");
    form.diag = letter("nuNU");
    form.transr = letter("ntcNTC");
    form.direct = letter("fbFB");
    form.n = any(0, largest);
    form.m = name == "ge" || name == "gg" || name == "gb" || name == "tz" ? any(0, largest) : form.n;
    form.kd = any(0, std::min(form.n + 2, 6L));
    form.kl = any(0, 5);
    form.ku = any(0, 5);
    for (char* option : {&form.uplo, &form.diag, &form.transr, &form.direct})
        *option = static_cast<char>(*option | 0x20); // how the model spells it; calls use either case
    if (name[1] == 'b' && name != "gb") {
        form.kl = form.uplo == 'l' ? form.kd : 0;
        form.ku = form.uplo == 'u' ? form.kd : 0;
    }
    form.choose_ld();
    return form;
}

void Form::choose_ld()
{
    ld = std::max(1L, least_ld()) + any(0, 3);
}

Form Form::turned() const
{
    Form other = *this;
    other.by_rows = !by_rows;
    other.choose_ld();
    return other;
}

long Form::least_ld() const
{
    return by_rows ? n : is_band() ? kl + ku + 1 : m;
}

long Form::length() const
{
    if (is_packed() || is_full_packed())
        return n * (n + 1) / 2;
    const long lines = !by_rows ? n : is_band() ? kl + ku + 1 : m;
    return ld * lines;
}

bool Form::holds(long i, long j) const
{
    if (has_unit_diagonal() && (name == "tz" && direct == 'b' ? j - i == n - m : i == j))
        return false;
    if (is_band())
        return i - j <= kl && j - i <= ku;
    if (name == "hs")
        return i <= j + 1;
    if (name == "ge" || name == "gg")
        return true;
    const long diagonal = name == "tz" && direct == 'b' ? n - m : 0; // j - i on it
    return uplo == 'u' ? j - i >= diagonal : j - i <= diagonal;
}

long Form::at(long i, long j) const
{
    if (is_band())
        i += ku - j;
    if (!is_packed())
        return by_rows ? i * ld + j : i + j * ld;
    bool upper = uplo == 'u';
    if (by_rows) {
        std::swap(i, j);
        upper = !upper;
    }
    return upper ? i + j * (j + 1) / 2 : i - j + j * (2 * n - j + 1) / 2;
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
    const long rows = transr == 'n' ? n | 1 : (n + 1) / 2, columns = transr == 'n' ? (n + 1) / 2 : n | 1;
    const auto in_layout = [&](long p) { return by_rows ? p % rows * columns + p / rows : p; };
    std::vector<long> all;
    if (whole) {
        for (long p = 0; p < rows * columns; ++p)
            all.push_back(in_layout(p));
        return all;
    }
    const int order = static_cast<int>(n), lda = std::max(order, 1);
    std::vector<double> a(static_cast<std::size_t>(lda) * static_cast<std::size_t>(lda), -1),
        packed(static_cast<std::size_t>(rows * columns) + 1);
    double number = 0;
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < n; ++i)
            if (holds(i, j))
                a[static_cast<std::size_t>(i + j * lda)] = number++;
    int info = 0;
    const char form = transr == 'n' ? 'n' : 't';
    support::call_words(layer()["dtrttf_"], {&form, &uplo, &order, a.data(), &lda, packed.data(), &info});
    EXPECT_EQ(info, 0);
    all.resize(static_cast<std::size_t>(number));
    for (long p = 0; p < rows * columns; ++p)
        if (const double element = packed[static_cast<std::size_t>(p)]; element >= 0)
            all.at(static_cast<std::size_t>(element)) = in_layout(p);
    return all;
}

std::string HelperCall::form() const
{
    const std::string& root = entry_->row->root;
    return root.substr(1, root.find('_') - 1);
}

bool HelperCall::run(const Form& form, const std::vector<void*>& arrays, const Form* out, long incx,
                     int layout) const
{
    const bool narrow = entry_->width == catalogue::Width::narrow;
    const auto integer = [&](long value) {
        return narrow ? support::Word(static_cast<int>(value)) : support::Word(value);
    };
    std::vector<support::Word> words;
    std::size_t next = 0;
    for (const catalogue::Argument& a : entry_->row->arguments) {
        const std::string& name = a.name;
        if (a.array)
            words.emplace_back(arrays.at(next++));
        else if (name == "matrix_layout")
            words.emplace_back(layout != 0 ? layout : form.by_rows ? 101 : 102);
        else if (a.type == "char") {
            const char option = name == "uplo"     ? form.uplo
                                : name == "diag"   ? form.diag
                                : name == "transr" ? form.transr
                                                   : form.direct;
            const bool upper = option >= 'a' && any(0, 1) == 0;
            words.emplace_back(static_cast<char>(upper ? option - ('a' - 'A') : option));
        } else if (name == "ldout")
            words.emplace_back(integer(out->ld));
        else if (name.starts_with("ld"))
            words.emplace_back(integer(form.ld));
        else
            words.emplace_back(integer(name == "m"    ? form.m
                                       : name == "n"  ? form.n
                                       : name == "kl" ? form.kl
                                       : name == "ku" ? form.ku
                                       : name == "kd" ? form.kd
                                                      : incx));
    }
    const auto returned = support::call_words(layer()[entry_->spellings()[0]], words);
    return narrow ? returned.int32() != 0 : returned.int64() != 0;
}

} // namespace qnm::tests
