// Creation. C callers give lengths with the slowest dimension first, the core and Fortran callers with the
// fastest.
#include "dft/reference.hpp"

#include <optional>

namespace qnm::dft {

namespace {

enum class Kind { none, double_complex, single_complex, double_real, single_real };

Kind kind_of(std::int64_t precision, std::int64_t domain)
{
    if (domain != complex_domain && domain != real_domain)
        return Kind::none;
    if (precision == double_precision)
        return domain == complex_domain ? Kind::double_complex : Kind::double_real;
    if (precision == single_precision)
        return domain == complex_domain ? Kind::single_complex : Kind::single_real;
    return Kind::none;
}

Status blessed(Status status, dft_handle* made)
{
    if (status == no_error)
        qnm_dft_bless_node_thr(*made);
    return status;
}

Status create_line(dft_handle* made, Kind kind, std::int64_t length)
{
    if (length < 1)
        return invalid_configuration;
    switch (kind) {
    case Kind::double_complex:
        return blessed(qnm_dft_dfti_create_dc1d(made, length, 0), made);
    case Kind::single_complex:
        return blessed(qnm_dft_dfti_create_sc1d(made, length, 0), made);
    case Kind::double_real:
        return blessed(qnm_dft_dfti_create_dr1d(made, length, 0), made);
    case Kind::single_real:
        return blessed(qnm_dft_dfti_create_sr1d(made, length, 0), made);
    default:
        return invalid_configuration;
    }
}

enum class From { slowest, fastest };

/// A length of zero is refused, a negative one is the core's to judge.
Status create_box(dft_handle* made, Kind kind, std::int64_t rank, const std::int64_t* lengths, From from)
{
    if (rank < 1 || rank > most_dimensions)
        return invalid_configuration;
    if (lengths == nullptr)
        return inconsistent_configuration;
    std::int64_t fastest_first[most_dimensions];
    for (std::int64_t i = 0; i < rank; ++i) {
        fastest_first[i] = lengths[from == From::fastest ? i : rank - 1 - i];
        if (fastest_first[i] == 0)
            return invalid_configuration;
    }
    switch (kind) {
    case Kind::double_complex:
        return blessed(qnm_dft_dfti_create_dcmd(made, rank, fastest_first, 0), made);
    case Kind::single_complex:
        return blessed(qnm_dft_dfti_create_scmd(made, rank, fastest_first, 0), made);
    case Kind::double_real:
        return blessed(qnm_dft_dfti_create_drmd(made, rank, fastest_first, 0), made);
    case Kind::single_real:
        return blessed(qnm_dft_dfti_create_srmd(made, rank, fastest_first, 0), made);
    default:
        return invalid_configuration;
    }
}

/// Null until all is well. False if there is no place for a handle.
bool cleared(dft_handle* made)
{
    if (made == nullptr)
        return false;
    *made = nullptr;
    return true;
}

Status line_of(dft_handle* made, int precision, int domain, std::int64_t length)
{
    return cleared(made) ? create_line(made, kind_of(precision, domain), length) : inconsistent_configuration;
}

Status box_of(dft_handle* made, int precision, int domain, std::int64_t rank, const std::int64_t* lengths)
{
    return cleared(made) ? create_box(made, kind_of(precision, domain), rank, lengths, From::slowest)
                         : inconsistent_configuration;
}

/// The precision's code at an address: an integer as it stands, a tag if it is `wanted` and nothing else.
auto code_at(const std::int64_t* precision)
{
    return [precision] { return std::optional(*precision); };
}
template <class T>
auto tag_at(const T* tag, std::int64_t wanted)
{
    return [tag, wanted] { return *tag == static_cast<T>(wanted) ? std::optional(wanted) : std::nullopt; };
}

/// By addresses. The precision is read behind the handle's clearing; where it is no tag, nothing else is
/// looked at.
template <class Precision>
int line_at(dft_handle* made, Precision precision, const std::int64_t* domain, const std::int64_t* rank,
            const std::int64_t* length)
{
    if (!cleared(made))
        return inconsistent_configuration;
    const auto code = precision();
    return !code || *rank != 1 ? invalid_configuration
                               : static_cast<int>(create_line(made, kind_of(*code, *domain), *length));
}

template <class Precision>
int box_at(dft_handle* made, Precision precision, const std::int64_t* domain, const std::int64_t* rank,
           const std::int64_t* lengths)
{
    if (!cleared(made))
        return inconsistent_configuration;
    const auto code = precision();
    return !code ? invalid_configuration
                 : static_cast<int>(create_box(made, kind_of(*code, *domain), *rank, lengths, From::fastest));
}

} // namespace

extern "C" {

QNM_EXPORT extern const int qnm_dfti_is_ilp64;
const int qnm_dfti_is_ilp64 = 0;

// Published with `...`: the last argument is a length or the address of lengths, and stands in the fifth
// register of integers.
QNM_EXPORT Status DftiCreateDescriptor(dft_handle* made, int precision, int domain, std::int64_t rank,
                                       std::int64_t length_or_lengths)
{
    if (rank != 1)
        return box_of(made, precision, domain, rank,
                      reinterpret_cast<const std::int64_t*>(length_or_lengths));
    // Always a core's function for any rank.
    if (length_or_lengths < 1)
        return cleared(made) ? invalid_configuration : inconsistent_configuration;
    return box_of(made, precision, domain, rank, &length_or_lengths);
}

QNM_EXPORT Status DftiCreateDescriptor_d_1d(dft_handle* made, int domain, std::int64_t length)
{
    return line_of(made, double_precision, domain, length);
}
QNM_EXPORT Status DftiCreateDescriptor_s_1d(dft_handle* made, int domain, std::int64_t length)
{
    return line_of(made, single_precision, domain, length);
}
QNM_EXPORT Status DftiCreateDescriptor_d_md(dft_handle* made, int domain, std::int64_t rank,
                                            const std::int64_t* lengths)
{
    return box_of(made, double_precision, domain, rank, lengths);
}
QNM_EXPORT Status DftiCreateDescriptor_s_md(dft_handle* made, int domain, std::int64_t rank,
                                            const std::int64_t* lengths)
{
    return box_of(made, single_precision, domain, rank, lengths);
}

QNM_EXPORT int qnm_dft_dfti_create_descriptor_1d(dft_handle* made, const std::int64_t* precision,
                                                 const std::int64_t* domain, const std::int64_t* rank,
                                                 const std::int64_t* length)
{
    return line_at(made, code_at(precision), domain, rank, length);
}
QNM_EXPORT int qnm_dft_dfti_create_descriptor_highd(dft_handle* made, const std::int64_t* precision,
                                                    const std::int64_t* domain, const std::int64_t* rank,
                                                    const std::int64_t* lengths)
{
    return box_at(made, code_at(precision), domain, rank, lengths);
}
QNM_EXPORT int qnm_dft_dfti_create_descriptor_d_1d(dft_handle* made, const double* tag,
                                                   const std::int64_t* domain, const std::int64_t* rank,
                                                   const std::int64_t* length)
{
    return line_at(made, tag_at(tag, double_precision), domain, rank, length);
}
QNM_EXPORT int qnm_dft_dfti_create_descriptor_s_1d(dft_handle* made, const float* tag,
                                                   const std::int64_t* domain, const std::int64_t* rank,
                                                   const std::int64_t* length)
{
    return line_at(made, tag_at(tag, single_precision), domain, rank, length);
}
QNM_EXPORT int qnm_dft_dfti_create_descriptor_d_md(dft_handle* made, const double* tag,
                                                   const std::int64_t* domain, const std::int64_t* rank,
                                                   const std::int64_t* lengths)
{
    return box_at(made, tag_at(tag, double_precision), domain, rank, lengths);
}
QNM_EXPORT int qnm_dft_dfti_create_descriptor_s_md(dft_handle* made, const float* tag,
                                                   const std::int64_t* domain, const std::int64_t* rank,
                                                   const std::int64_t* lengths)
{
    return box_at(made, tag_at(tag, single_precision), domain, rank, lengths);
}

QNM_TWIN(qnm_dft_dfticreatedescriptor, DftiCreateDescriptor)
QNM_TWIN(qnm_dft_dfticreatedescriptor_d_1d, DftiCreateDescriptor_d_1d)
QNM_TWIN(qnm_dft_dfticreatedescriptor_s_1d, DftiCreateDescriptor_s_1d)
QNM_TWIN(qnm_dft_dfticreatedescriptor_d_md, DftiCreateDescriptor_d_md)
QNM_TWIN(qnm_dft_dfticreatedescriptor_s_md, DftiCreateDescriptor_s_md)
}

} // namespace qnm::dft
