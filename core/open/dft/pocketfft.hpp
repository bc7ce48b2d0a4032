// The plans of pocketfft: for sources that are compiled once for each instruction set, which gives pocketfft
// a namespace.
#pragma once

#include "room.hpp"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

// Memory is the core's: counted, bounded, quick where it is small. Blocks that an engine takes for one call,
// last taken and first given back, may come of one piece that its caller holds: the system would take back
// large ones each time.
namespace pocketfft {

class Piece {
public:
    Piece(void* from, std::size_t bytes)
        : before_(current), next_(static_cast<char*>(from)), end_(next_ + bytes)
    {
        current = this;
    }
    ~Piece() { current = before_; }
    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

    static void* take(std::size_t alignment, std::size_t bytes)
    {
        Piece* const piece = current;
        const std::size_t whole = (bytes + line - 1) / line * line;
        if (piece == nullptr || alignment > line ||
            static_cast<std::size_t>(piece->end_ - piece->next_) < whole)
            return qnm_serv_malloc(bytes, static_cast<int>(alignment));
        char* const block = piece->next_;
        piece->next_ += whole;
        return block;
    }
    static void release(void* block)
    {
        Piece* const piece = current;
        auto* const at = static_cast<char*>(block);
        if (piece != nullptr && at >= piece->first_ && at < piece->end_)
            piece->next_ = at;
        else
            qnm_serv_free(block);
    }

private:
    static constexpr std::size_t line = 64; // the piece begins with one
    inline static thread_local Piece* current = nullptr;
    Piece* before_;
    char *next_, *first_ = next_, *end_;
};

} // namespace pocketfft

// Threads and plans are kept by the core.
#define POCKETFFT_NO_MULTITHREADING
#define POCKETFFT_CACHE_SIZE 0
#define aligned_alloc pocketfft::Piece::take
#define free pocketfft::Piece::release
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
