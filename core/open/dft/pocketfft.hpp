// The plans of pocketfft: for sources that are compiled once for each instruction set, which gives pocketfft
// a namespace.
#pragma once

#include "room.hpp"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

// Memory is the core's: counted, bounded, quick where it is small.
namespace pocketfft {
inline void* engine_block(std::size_t alignment, std::size_t bytes)
{
    return qnm_serv_malloc(bytes, static_cast<int>(alignment));
}
} // namespace pocketfft

// Threads and plans are kept by the core.
#define POCKETFFT_NO_MULTITHREADING
#define POCKETFFT_CACHE_SIZE 0
#define aligned_alloc pocketfft::engine_block
#define free qnm_serv_free
#include <pocketfft_hdronly.h>
#undef aligned_alloc
#undef free

namespace qnm::core::dft {
namespace {

namespace fft = pocketfft::detail;

/// Lines that go through one vector each.
template <class R>
constexpr int lanes = static_cast<int>(fft::VLEN<R>::val);
template <class R, int L>
using Number = typename std::conditional_t<L == 1, std::type_identity<R>, fft::VTYPE<R>>::type;

} // namespace
} // namespace qnm::core::dft
