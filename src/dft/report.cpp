#include "dft/report.hpp"

#include "dft/layout.hpp"

namespace qnm::dft {

namespace {

/// Text that is cut where the room ends.
class Line {
public:
    template <class... Values>
    void add(const char* format, Values... values)
    {
        end_ = qnm_serv_sprintf_char_s(end_, &left_, format, values...);
    }
    const char* text() const { return text_; }

private:
    static constexpr std::size_t size = 512;
    char text_[size] = {};
    char* end_ = text_;
    std::size_t left_ = size - 1;
};

const char* domain_label(bool forward, const char* forward_label, const char* backward_label)
{
    return forward ? forward_label : backward_label;
}

/// What a transform worked upon. Strides and distances that were left to the core are those of the two
/// domains, and are labelled so.
struct Transform {
    Layout layout;
    bool strides_of_domains = false;
    bool distances_of_domains = false;

    Transform(dft_descriptor* d, bool forward)
    {
        Layout& l = layout;
        const dft_ops& ops = *d->ops;
        std::int64_t rank = 0;
        ops.get_rank(d, &rank);
        l.rank = sound_rank(rank);
        if (l.rank == 0)
            return;
        l.in_place = d->placement == in_place;
        ops.get_lengths(d, l.lengths);
        ops.get_input_strides(d, l.in.strides);
        ops.get_output_strides(d, l.out.strides);
        ops.get_number_of_transforms(d, &l.transforms);
        ops.get_input_distance(d, &l.in.distance);
        ops.get_output_distance(d, &l.out.distance);
        Side &of_forward = forward ? l.in : l.out, &of_backward = forward ? l.out : l.in;
        const auto none = [&](const Side& side) {
            return std::all_of(side.strides, side.strides + l.rank + 1,
                               [](auto stride) { return stride == 0; });
        };
        strides_of_domains = none(l.in) && none(l.out);
        if (strides_of_domains) {
            ops.get_forward_strides(d, of_forward.strides);
            ops.get_backward_strides(d, of_backward.strides);
        }
        distances_of_domains = l.is_batch() && l.in.distance == 0 && l.out.distance == 0;
        if (distances_of_domains) {
            ops.get_forward_distance(d, &of_forward.distance);
            ops.get_backward_distance(d, &of_backward.distance);
        }
    }
};

void add_dimensions(Line& line, const Layout& l, const Shown& shown)
{
    for (int d = l.rank; d-- > 0;) {
        line.add(d == l.rank - 1 ? "%zu" : "x%zu", l.lengths[d]);
        if (shown.strides)
            line.add(":%ti:%ti", l.in.strides[d + 1], l.out.strides[d + 1]);
    }
    if (!l.is_batch())
        return;
    line.add(shown.interleaved ? "v%zu" : "*%zu", l.transforms);
    if (shown.distances)
        line.add(":%ti:%ti", l.in.distance, l.out.distance);
}

void add_strides(Line& line, const char* label, const Side& side, int rank)
{
    line.add("%s%ti", label, side.strides[0]);
    for (int d = rank; d > 0; --d)
        line.add(",%ti", side.strides[d]);
    line.add("},");
}

void add_layout(Line& line, const dft_descriptor& d, const Transform& transform, bool forward)
{
    const Layout& l = transform.layout;
    const bool is_complex = d.domain == complex_domain;
    const Shown shown = is_complex ? shown_of_complex(l)
                        : forward  ? shown_of_real(l, l.in, l.out)
                                   : shown_of_real(l, l.out, l.in);
    line.add("FFT(%s%s%s%s", d.precision == single_precision ? "s" : "d", is_complex ? "c" : "r",
             forward ? "f" : "b", l.in_place ? "i" : "o");
    if (is_complex && d.complex_storage == real_real)
        line.add("/");
    add_dimensions(line, l, shown);
    line.add(",");

    const char *const fwd = "fwd_strides:{", *const bwd = "bwd_strides:{";
    const bool domains = transform.strides_of_domains;
    add_strides(line, domains ? domain_label(forward, fwd, bwd) : "input_strides:{", l.in, l.rank);
    add_strides(line, domains ? domain_label(!forward, fwd, bwd) : "output_strides:{", l.out, l.rank);
    if (l.is_batch() || l.in.distance != 0 || l.out.distance != 0) {
        const char *const fwd_distance = "fwd_distance:", *const bwd_distance = "bwd_distance:";
        const bool told = transform.distances_of_domains;
        line.add("%s%ti,",
                 told ? domain_label(forward, fwd_distance, bwd_distance) : "input_distance:", l.in.distance);
        line.add("%s%ti,", told ? domain_label(!forward, fwd_distance, bwd_distance) : "output_distance:",
                 l.out.distance);
    }

    if (d.forward_scale != 1.0)
        line.add("%s%lg,", "fScale:", d.forward_scale);
    if (d.backward_scale != 1.0)
        line.add("%s%lg,", "bScale:", d.backward_scale);
    if (!is_complex && d.conjugate_even_storage == complex_real)
        line.add("%s%s,", "pack:",
                 d.packed_format == ccs_format    ? "ccs"
                 : d.packed_format == pack_format ? "pack"
                                                  : "perm");
}

bool is_unaligned(const void* array)
{
    constexpr std::uintptr_t line = 64;
    return reinterpret_cast<std::uintptr_t>(array) % line != 0; // null is aligned
}

} // namespace

void report(dft_descriptor* d, Direction way, const void* first, const void* second, double seconds)
{
    const bool forward = way == Direction::forward;
    const Transform transform(d, forward);
    std::int64_t limit = 0;
    d->ops->get_thread_limit(d, &limit);

    Line line;
    if (transform.layout.rank > 0) // else it ends in a bracket that was never opened
        add_layout(line, *d, transform, forward);
    if (d->workspace != allow)
        line.add("%s%s,", "wSpace:", d->workspace == avoid ? "avoid" : "none");
    if ((d->options & DFT_DESTROY_INPUT) != 0)
        line.add("%s,", "destroy_input:allow");
    line.add("%s%ti,", "tLim:", limit);
    if (is_unaligned(first))
        line.add("%s,", "unaligned_input");
    if (is_unaligned(second))
        line.add("%s,", "unaligned_output");
    line.add("%s%p%s", "desc:", static_cast<const void*>(d), ")");
    qnm_serv_print_verbose_info(0, line.text(), seconds);
}

} // namespace qnm::dft
