// The core's own descriptor of transforms: the head that the layer knows, and what only operations reach.
#pragma once

#include "../services.hpp"
#include "plan.hpp"
#include "qnm/core/dft.h"

namespace qnm::core::dft {

/// Codes of configuration and their values, as far as a core is asked about them.
enum Code : std::uint32_t {
    forward_scale_code = 4,
    backward_scale_code = 5,
    committed = 30,
    uncommitted = 31,
    of_complex = 32,
    of_real = 33,
    of_single = 35,
    of_double = 36,
    complex_complex = 39,
    complex_real = 40,
    real_real = 42,
    in_place = 43,
    not_in_place = 44,
    ordered = 48,
    allow = 51,
    none = 53,
    ccs_format = 54,
    pack_format = 55,
    perm_format = 56,
    cce_format = 57
};

struct Descriptor : dft_descriptor {
    core_int length[most_dimensions];
    core_int input_stride[most_dimensions + 1], output_stride[most_dimensions + 1]; ///< behind the offset
    core_int input_distance, output_distance, transforms, thread_limit;
    char name[256];
    Plan* plan; ///< null until committed

    /// The core's memory, as all of its own.
    static void* operator new(std::size_t bytes) noexcept
    {
        return qnm_serv_malloc(bytes, alignof(dft_descriptor));
    }
    static void operator delete(void* block) noexcept { qnm_serv_free(block); }

    bool is_split() const { return domain == of_complex && complex_storage == real_real; }
    /// The layer does the same where it sets an integer itself.
    void uncommit()
    {
        commit_status = uncommitted;
        forward = backward = nullptr;
        state &= static_cast<std::uint8_t>(~1U);
    }
};

/// Makes the descriptor's plan by an engine and installs what computes with it.
Status commit(Descriptor& d, Engine& engine);

} // namespace qnm::core::dft
