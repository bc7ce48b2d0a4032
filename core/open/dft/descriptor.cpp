// Descriptors of transforms: creation, the operations of the contract, copies, release.
#include "descriptor.hpp"

#include "../version.hpp"

#include <cstdio>
#include <cstring>

namespace qnm::core::dft {
namespace {

Descriptor& own(dft_descriptor* d)
{
    return *static_cast<Descriptor*>(d);
}

std::int64_t commit_it(dft_descriptor* d)
{
    return commit(own(d), engine());
}

// ---- fields: one getter and one setter each, by place in the record

template <core_int Descriptor::*field>
std::int64_t get(dft_descriptor* d, std::int64_t* value)
{
    *value = own(d).*field;
    return done;
}

template <core_int Descriptor::*field>
std::int64_t set(dft_descriptor* d, std::int64_t value)
{
    own(d).uncommit();
    own(d).*field = value;
    return done;
}

template <auto field, int offset>
std::int64_t get_all(dft_descriptor* d, std::int64_t* values)
{
    std::copy_n(own(d).*field, d->rank + offset, values);
    return done;
}

template <auto field>
std::int64_t set_strides(dft_descriptor* d, const std::int64_t* strides)
{
    own(d).uncommit();
    std::copy_n(strides, d->rank + 1, own(d).*field);
    return done;
}

std::int64_t get_rank(dft_descriptor* d, std::int64_t* rank)
{
    *rank = d->rank;
    return done;
}

std::int64_t set_thread_limit(dft_descriptor* d, std::int64_t limit)
{
    if (limit < 0)
        return inconsistent;
    return set<&Descriptor::thread_limit>(d, limit);
}

double* scale_of(dft_descriptor* d, int code)
{
    return code == forward_scale_code    ? &d->forward_scale
           : code == backward_scale_code ? &d->backward_scale
                                         : nullptr;
}

std::int64_t get_scale(dft_descriptor* d, double* scale, int code)
{
    const double* const found = scale_of(d, code);
    if (found == nullptr)
        return inconsistent;
    *scale = *found;
    return done;
}

std::int64_t set_scale(dft_descriptor* d, int code, double scale)
{
    double* const found = scale_of(d, code);
    if (found == nullptr)
        return inconsistent;
    own(d).uncommit();
    *found = scale;
    return done;
}

// A name is padded as its language pads: C gets the end of its text back, Fortran its blanks.
std::int64_t get_name(dft_descriptor* d, char* name, std::int64_t length)
{
    const auto room = std::clamp<std::int64_t>(length, 0, sizeof own(d).name);
    memccpy(name, own(d).name, '\0', static_cast<std::size_t>(room));
    return done;
}

std::int64_t set_name(dft_descriptor* d, const char* name, std::int64_t length, int pad)
{
    char* const end = std::copy_n(name, std::clamp<std::int64_t>(length, 0, sizeof own(d).name), own(d).name);
    std::fill(end, std::end(own(d).name), static_cast<char>(pad));
    return done;
}

// ---- lives

void end(dft_descriptor* d)
{
    d->magic = 0; // a handle that is used again is seen to be none
    delete own(d).plan;
    delete &own(d);
}

std::int64_t release(dft_descriptor* d)
{
    end(d);
    return done;
}

// What is configured, not what is committed.
std::int64_t copy(dft_descriptor* d, dft_handle* made)
{
    auto* const twin = new Descriptor(own(d));
    if (twin == nullptr)
        return no_memory;
    twin->plan = nullptr;
    twin->uncommit();
    *made = twin;
    return done;
}

constexpr dft_ops operations{
    .commit = commit_it,
    .get_input_strides = get_all<&Descriptor::input_stride, 1>,
    .get_output_strides = get_all<&Descriptor::output_stride, 1>,
    .set_input_strides = set_strides<&Descriptor::input_stride>,
    .set_output_strides = set_strides<&Descriptor::output_stride>,
    .get_lengths = get_all<&Descriptor::length, 0>,
    .get_name = get_name,
    .set_name = set_name,
    .get_scale = get_scale,
    .set_scale = set_scale,
    .copy = copy,
    .get_input_distance = get<&Descriptor::input_distance>,
    .get_output_distance = get<&Descriptor::output_distance>,
    .get_number_of_transforms = get<&Descriptor::transforms>,
    .set_input_distance = set<&Descriptor::input_distance>,
    .set_output_distance = set<&Descriptor::output_distance>,
    .set_number_of_transforms = set<&Descriptor::transforms>,
    .get_thread_limit = get<&Descriptor::thread_limit>,
    .set_thread_limit = set_thread_limit,
    .get_rank = get_rank,
    .release = release,
    // Forward comes in and backward goes out, in the direction that a program sets strides for.
    .get_forward_distance = get<&Descriptor::input_distance>,
    .get_backward_distance = get<&Descriptor::output_distance>,
    .get_forward_strides = get_all<&Descriptor::input_stride, 1>,
    .get_backward_strides = get_all<&Descriptor::output_stride, 1>,
};

// Lengths are looked at by the commit: what they are is configuration like the rest.
Status create(dft_handle* made, Code precision, Code domain, core_int rank, const core_int* lengths)
{
    *made = nullptr;
    if (rank < 1 || rank > most_dimensions)
        return invalid;
    auto* const d = new Descriptor{};
    if (d == nullptr)
        return no_memory;
    const bool formatted = domain == of_real && rank == 1;
    d->magic = DFT_MAGIC;
    d->commit_status = uncommitted;
    d->array_count = 1;
    d->rank = static_cast<std::int32_t>(rank);
    d->free = end;
    d->ops = &operations;
    d->domain = domain;
    d->precision = precision;
    d->complex_storage = complex_complex;
    d->real_storage = real_real;
    d->conjugate_even_storage = formatted ? complex_real : complex_complex;
    d->packed_format = formatted ? ccs_format : cce_format;
    d->placement = in_place;
    d->workspace = allow;
    d->ordering = ordered;
    d->transpose = none;
    d->forward_scale = d->backward_scale = 1;
    d->user_threads = 1;
    d->transforms = 1;
    core_int stride = 1;
    for (core_int i = 0; i < rank; ++i) {
        d->length[i] = lengths[i];
        d->input_stride[i + 1] = d->output_stride[i + 1] = stride;
        if (__builtin_mul_overflow(stride, lengths[i], &stride))
            stride = 0; // no commit takes such lengths
    }
    *made = d;
    return done;
}

} // namespace
} // namespace qnm::core::dft

using namespace qnm::core::dft;

#define CREATE(letters, precision, domain)                                                                   \
    QNM_CORE std::int64_t qnm_dft_dfti_create_##letters##1d(dft_handle * made, std::int64_t length,          \
                                                            std::int64_t)                                    \
    {                                                                                                        \
        return create(made, precision, domain, 1, &length);                                                  \
    }                                                                                                        \
    QNM_CORE std::int64_t qnm_dft_dfti_create_##letters##md(dft_handle* made, std::int64_t rank,             \
                                                            const std::int64_t* lengths, std::int64_t)       \
    {                                                                                                        \
        return create(made, precision, domain, rank, lengths);                                               \
    }
CREATE(dc, of_double, of_complex)
CREATE(sc, of_single, of_complex)
CREATE(dr, of_double, of_real)
CREATE(sr, of_single, of_real)

// Descriptors of this core ask for their threads at each transform.
QNM_CORE void qnm_dft_bless_node_thr(dft_descriptor*) {}

// Neither ended nor filled up: the caller has done so.
QNM_CORE void qnm_dft_dfti_get_version_string(char* text, std::int64_t length)
{
    const dft_plugin* const other = plugin();
    char whole[256];
    const int all =
        std::snprintf(whole, sizeof whole, "QNM open core " QNM_CORE_VERSION ", transforms by %.128s",
                      other != nullptr ? other->version : "pocketfft");
    std::copy_n(whole, std::clamp<std::int64_t>(length, 0, all), text);
}

// No communicator of C is other than that of Fortran where there are none.
QNM_CORE const dft_mpi_wrappers* qnm_serv_get_mpi_wrappers()
{
    return nullptr;
}
