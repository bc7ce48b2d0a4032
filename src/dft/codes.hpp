// The codes of the configuration: what each of them is, told once for all forms of set and get.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

#include "dft/descriptor.hpp"

namespace qnm::dft {

/// From `operation` on, an integer that may be set.
enum class Is : unsigned char {
    nothing,
    version, // of no descriptor
    rank,
    lengths,
    scale,
    strides,
    text,
    operation, // of the core's
    field,
    conjugate_even, // a field with a walk of its own along the chain
    option          // a bit: allowed or avoided
};

/// What a descriptor has to be for some values.
enum class Where : unsigned char { complex_data, one_dimension };

/// Some of the values that a field may have, all below 64.
class Values {
public:
    constexpr Values() = default;
    constexpr Values(std::initializer_list<int> values)
    {
        for (const int value : values)
            bits_ |= std::uint64_t{1} << value;
    }
    constexpr bool have(std::int64_t value) const
    {
        return static_cast<std::uint64_t>(value) < 64 && (bits_ >> value & 1) != 0;
    }

private:
    std::uint64_t bits_ = 0;
};

struct Code {
    Is is = Is::nothing;
    unsigned char at = 0;      // where a field stands in its descriptor
    bool wide = false;         // the C forms have it in 64 bits, with a sign
    bool alone = false;        // not written along the chain
    bool any = false;          // any value of 32 bits will do
    Values accepted = {};      // none: all are refused
    Values unimplemented = {}; // known, and not done
    Where where = {};          // some of those accepted will do alone
    Values there = {};
    std::int64_t (*dft_ops::*get)(dft_descriptor*, std::int64_t*) = nullptr;
    std::int64_t (*dft_ops::*set)(dft_descriptor*, std::int64_t) = nullptr;
    std::int64_t (*dft_ops::*set_all)(dft_descriptor*, const std::int64_t*) = nullptr;
};

constexpr std::size_t code_count = 29;

#define QNM_AT(FIELD) .at = static_cast<unsigned char>(offsetof(dft_descriptor, FIELD))
// clang-format off
constexpr std::array<Code, code_count> codes = [] {
    std::array<Code, code_count> all{};
    all[0] = {.is = Is::field, QNM_AT(domain)};
    all[1] = {.is = Is::rank, QNM_AT(rank), .wide = true};
    all[2] = {.is = Is::lengths, .get = &dft_ops::get_lengths};
    all[3] = {.is = Is::field, QNM_AT(precision)};
    all[4] = {.is = Is::scale};
    all[5] = {.is = Is::scale};
    all[7] = {.is = Is::operation, .wide = true, .get = &dft_ops::get_number_of_transforms,
              .set = &dft_ops::set_number_of_transforms};
    all[8] = {.is = Is::field, QNM_AT(complex_storage), .accepted = {complex_complex, real_real},
              .unimplemented = {complex_real, real_complex}};
    all[9] = {.is = Is::field, QNM_AT(real_storage), .accepted = {real_real}, .unimplemented = {real_complex}};
    all[10] = {.is = Is::conjugate_even, QNM_AT(conjugate_even_storage), .accepted = {complex_complex, complex_real},
               .unimplemented = {real_complex, real_real}};
    all[11] = {.is = Is::field, QNM_AT(placement), .accepted = {in_place, not_in_place}};
    all[12] = {.is = Is::strides, .get = &dft_ops::get_input_strides, .set_all = &dft_ops::set_input_strides};
    all[13] = {.is = Is::strides, .get = &dft_ops::get_output_strides, .set_all = &dft_ops::set_output_strides};
    all[14] = {.is = Is::operation, .wide = true, .get = &dft_ops::get_input_distance,
               .set = &dft_ops::set_input_distance};
    all[15] = {.is = Is::operation, .wide = true, .get = &dft_ops::get_output_distance,
               .set = &dft_ops::set_output_distance};
    all[17] = {.is = Is::field, QNM_AT(workspace), .alone = true, .accepted = {allow, avoid}};
    all[18] = {.is = Is::field, QNM_AT(ordering), .accepted = {ordered, backward_scrambled},
               .unimplemented = {forward_scrambled}, .where = Where::complex_data, .there = {backward_scrambled}};
    all[19] = {.is = Is::field, QNM_AT(transpose)};
    all[20] = {.is = Is::text};
    all[21] = {.is = Is::field, QNM_AT(packed_format), .accepted = {ccs_format, pack_format, perm_format, cce_format},
               .where = Where::one_dimension, .there = {ccs_format, pack_format, perm_format}};
    all[22] = {.is = Is::field, QNM_AT(commit_status)};
    all[23] = {.is = Is::version};
    all[26] = {.is = Is::field, QNM_AT(user_threads), .wide = true, .any = true};
    all[27] = {.is = Is::operation, .wide = true, .get = &dft_ops::get_thread_limit,
               .set = &dft_ops::set_thread_limit};
    all[28] = {.is = Is::option, .accepted = {allow, avoid}};
    return all;
}();
// clang-format on
#undef QNM_AT

/// What stands behind a code that may be any number; a negative one is a large one.
QNM_INLINE const Code& code_of(std::uint64_t number)
{
    constexpr std::uint64_t no_code = 6;
    static_assert(codes[no_code].is == Is::nothing);
    return codes[number < code_count ? number : no_code];
}

/// The field of a descriptor.
QNM_INLINE std::uint32_t& field(dft_descriptor* d, const Code& code)
{
    return *reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(d) + code.at);
}

/// What the entries with addresses look at first: 0 if a code of the descriptor can be looked at.
QNM_INLINE int refused(const dft_handle* handle, const std::int64_t* code, const void* value)
{
    if (handle == nullptr || code == nullptr || value == nullptr)
        return inconsistent_configuration;
    return is_valid(*handle) ? no_error : bad_descriptor;
}

} // namespace qnm::dft
