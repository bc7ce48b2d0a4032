// A descriptor of distributed transforms. Its head is that of all descriptors, so that neither kind is taken
// for the other: the magic tells them apart, and there is nothing in it for the layer to call.
#pragma once

#include "engine.hpp"

#include <cstdint>

#include "qnm/core/dft.h"
#include "qnm/dfti.h"
#include "services/core.hpp"

namespace qnm::cdft {

using Status = std::int64_t;

/// A status that dfti.h has no name for.
constexpr Status no_memory = 1;

constexpr int most_dimensions = 7;
constexpr std::uint32_t distributed_magic = 0x4d4454;

/// What of an array is on this process: rows of the slowest dimension, or of the second one where the forward
/// result stays transposed. A line has rows of one element.
struct Slabs {
    std::ptrdiff_t
        size; ///< complex numbers that an array must have room for: its rows, and what the engine needs
    std::ptrdiff_t first, rows;         ///< of what goes forward
    std::ptrdiff_t first_out, rows_out; ///< of what comes of it
};

struct Descriptor : dft_descriptor {
    std::int64_t length[most_dimensions]; ///< slowest first
    MPI_Comm comm;
    void* given_workspace;
    const Engine* engine;
    Slabs slabs;        ///< of the commit, as are the plans
    fftw_plan plans[2]; ///< forward, backward

    /// The core's memory; it may fail.
    static void* operator new(std::size_t bytes) noexcept
    {
        return qnm_serv_malloc(bytes, alignof(dft_descriptor));
    }
    static void operator delete(void* block) noexcept { qnm_serv_free(block); }

    bool is_single() const { return precision == DFTI_SINGLE; }
    bool is_real() const { return domain == DFTI_REAL; }
    bool two_arrays() const { return placement == DFTI_NOT_INPLACE; }
    bool is_transposed() const { return transpose == DFTI_ALLOW && rank > 1; }
};

enum class Way { forward, backward };

/// By the configuration as it is; no other process is asked.
Slabs slabs_of(const Descriptor& d);

/// These three are collective.
Status commit(Descriptor& d);
Status compute(const Descriptor& d, Way way, void* in, void* out);
void release_plans(Descriptor& d);

} // namespace qnm::cdft
