// Memory of the core for the length of one call.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// Where a family's scratch comes from and goes back to: one of the core's two pairs, and the alignment that
/// it asks for.
template <auto* obtain, auto* give_back, int alignment>
struct Source {
    /// Null if there is no memory.
    template <class T>
    QNM_INLINE static T* take(core_int bytes)
    {
        return static_cast<T*>(obtain(static_cast<std::size_t>(bytes), alignment));
    }
    QNM_INLINE static void release(void* block) { give_back(block); }
};
template <int alignment>
using Allocated = Source<qnm_serv_iface_allocate, qnm_serv_iface_deallocate, alignment>;
template <int alignment>
using Malloced = Source<qnm_serv_iface_malloc, qnm_serv_iface_free, alignment>;

/// A block of elements, released at the end of its scope at the latest.
template <class T, class From>
class Block {
public:
    Block() = default;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    QNM_INLINE ~Block() { release(); }

    /// False if there is no memory.
    QNM_INLINE bool take(core_int count)
    {
        place_ = From::template take<T>(count * static_cast<core_int>(sizeof(T)));
        return place_ != nullptr;
    }
    QNM_INLINE void release()
    {
        if (place_ != nullptr)
            From::release(place_);
        place_ = nullptr;
    }
    /// Leaves the block to the caller.
    QNM_INLINE T* give()
    {
        T* given = place_;
        place_ = nullptr;
        return given;
    }
    QNM_INLINE T* get() const { return place_; }
    QNM_INLINE T& operator[](core_int i) const { return place_[i]; }

private:
    T* place_ = nullptr;
};

/// Up to so many integers of a copy live on the entry's stack.
inline constexpr core_int stack_elements = 16;

/// Where 64-bit copies of integers lie: on the entry's stack, or in the core's memory if there are many.
template <class From>
struct Copies {
    core_int* place; // on the stack

    /// False if there is no memory.
    QNM_INLINE bool take(core_int bytes)
    {
        place = From::template take<core_int>(bytes);
        return place != nullptr;
    }
    QNM_INLINE void release() { From::release(place); }
};

} // namespace qnm
