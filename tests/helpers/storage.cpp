#include "storage.hpp"

#include <algorithm>
#include <span>

namespace qnm::tests {

std::vector<long> Storage::places() const
{
    const auto option = [this](const char* name) {
        const auto found = options.find(name);
        return found == options.end() ? 0 : found->second;
    };
    const auto is = [&](const char* name, char upper) { return (option(name) & ~0x20) == upper; };
    const bool full = form == "ge" || form == "gg", two_sizes = full || form == "gb" || form == "tz";
    const bool upper = is("uplo", 'U'), unit = form[0] == 't' && is("diag", 'U');
    const long n = option("n"), m = two_sizes ? option("m") : n, half = n / 2, rest = n - half;
    const long kl = form == "gb" ? option("kl") : upper ? 0 : option("kd");
    const long ku = form == "gb" ? option("ku") : upper ? option("kd") : 0;
    const long diagonal = form == "tz" && is("direct", 'B') ? n - m : 0; // j - i on it
    const auto holds = [&](long i, long j) {
        if (unit && j - i == diagonal)
            return false;
        if (is_band())
            return i - j <= kl && j - i <= ku;
        return full || (form == "hs" ? i <= j + 1 : upper ? j - i >= diagonal : j - i <= diagonal);
    };
    const auto place = [&](long i, long j, bool rows, long step) {
        return rows ? i * step + j : i + j * step;
    };
    const auto at = [&](long i, long j) {
        if (form[1] == 'p') { // by rows, a triangle is the other one of the transpose
            const long line = by_rows ? i : j, within = by_rows ? j : i;
            return upper != by_rows ? within + line * (line + 1) / 2
                                    : within - line + line * (2 * n - line + 1) / 2;
        }
        if (form[1] != 'f')
            return place(is_band() ? i + ku - j : i, j, by_rows, ld);
        // One part of a full packed triangle stands in its rectangle as it is, the other one beside it
        // turned.
        const bool as_it_is = upper ? j >= half : j < rest;
        const long row = as_it_is ? (upper ? i : i + 1 - n % 2) : upper ? half + 1 + j : j - rest;
        const long column = as_it_is ? (upper ? j - half : j) : upper ? i : i - half;
        const bool turned = !is("transr", 'N');
        return place(row, column, turned != by_rows, turned != by_rows ? rest : n | 1);
    };
    std::vector<long> all;
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < m; ++i)
            if (holds(i, j))
                all.push_back(at(i, j));
    return all;
}

Storage Storage::moved() const
{
    Storage all = *this;
    if (form[1] == 'f')
        all.options["diag"] = 'N';
    return all;
}

Element Element::of(const std::string& type, const catalogue::Signature& function)
{
    const std::string c = catalogue::c_type(type, function.letter, function.form->width);
    const bool four = c == "int" || c == "float" || c == "qnm_complex8";
    const bool integer = type == "char" || type == "int" || type == "logical";
    return {type == "char" ? 1U : four ? 4U : 8U, c.starts_with("qnm_complex") ? 2U : 1U, integer};
}

void Element::store_part(void* array, long k, std::size_t part, double number) const
{
    const std::int64_t whole = integer ? static_cast<std::int64_t>(number) : 0;
    const auto single = static_cast<float>(number);
    const void* const from = integer                  ? &whole
                             : bytes == sizeof single ? static_cast<const void*>(&single)
                                                      : &number;
    std::memcpy(static_cast<unsigned char*>(array) + static_cast<std::size_t>(k) * size() + part * bytes,
                from, bytes);
}

void Element::store(void* array, long k, double number) const
{
    for (std::size_t part = 0; part < parts; ++part)
        store_part(array, k, part, part == 0 ? number : -number);
}

Array::Array(const Element& of, long count, double number)
    : element(of), bytes(static_cast<std::size_t>(count) * of.size())
{
    for (long k = 0; k < count; ++k)
        set(k, number);
}

double Array::part(long k, std::size_t part) const
{
    const unsigned char* const at = data() + k * size() + part * element.bytes;
    return element.bytes == sizeof(float) ? *reinterpret_cast<const float*>(at)
                                          : *reinterpret_cast<const double*>(at);
}

long Array::difference(const unsigned char* other) const
{
    const auto at = std::ranges::mismatch(bytes, std::span(other, bytes.size())).in1;
    return at == bytes.end() ? -1 : (at - bytes.begin()) / size();
}

} // namespace qnm::tests
