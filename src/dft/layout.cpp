#include "dft/layout.hpp"

namespace qnm::dft {

namespace {

/// Whether each further stride is what `next` makes of the place below it; of an output that is there.
template <class Next>
bool follow(const Layout& l, Next next)
{
    for (int d = 0; d + 2 <= l.rank; ++d)
        if (l.in.strides[d + 2] != next(l.in, d) || (!l.in_place && l.out.strides[d + 2] != next(l.out, d)))
            return false;
    return true;
}

/// The elements of the first dimensions.
std::int64_t elements(const Layout& l, int dimensions)
{
    std::int64_t product = 1;
    for (int d = 0; d < dimensions; ++d)
        product *= l.lengths[d];
    return product;
}

/// The elements of one transform lie as far apart as there are transforms.
bool is_interleaved(const Layout& l)
{
    return l.in.distance == 1 && l.in.strides[1] == l.transforms &&
           (l.in_place || (l.out.distance == 1 && l.out.strides[1] == l.in.strides[1])) &&
           follow(l, [&](const Side& side, int d) { return side.strides[d + 1] * l.lengths[d]; });
}

bool is_tight(const Layout& l)
{
    return l.in.strides[1] == 1 && (l.in_place || l.out.strides[1] == 1) &&
           follow(l, [&](const Side&, int d) { return elements(l, d + 1); });
}

/// One side of a transform of real data, whose lines have `line` elements.
void show_side(const Layout& l, const Side& side, std::int64_t line, Shown& shown)
{
    std::int64_t expected = 1;
    for (int d = 1; d <= l.rank; ++d) {
        if (d > 1)
            expected *= d == 2 ? line : l.lengths[d - 2];
        if (side.strides[d] != expected) {
            shown.strides = shown.distances = true;
            return;
        }
    }
    const std::int64_t total = expected * (l.rank == 1 ? line : l.lengths[l.rank - 1]);
    if (side.distance != total)
        shown.distances = true;
}

} // namespace

Shown shown_of_complex(const Layout& l)
{
    if (is_interleaved(l))
        return {.interleaved = true};
    if (!is_tight(l))
        return {.strides = true, .distances = true};
    const bool dense =
        l.in.distance == elements(l, l.rank) && (l.in_place || l.out.distance == l.in.distance);
    return {.distances = !dense};
}

Shown shown_of_real(const Layout& l, const Side& real, const Side& conjugate_even)
{
    const std::int64_t length = l.lengths[0];
    // In place, a line of reals has room for its transform.
    const std::int64_t padded = l.in_place ? (length & ~std::int64_t{1}) + 2 : length;
    Shown shown;
    show_side(l, real, padded, shown);
    show_side(l, conjugate_even, length / 2 + 1, shown);
    return shown;
}

} // namespace qnm::dft
