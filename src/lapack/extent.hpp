// How long an array of integers is, counted in 64 bits, and where its wide copy lives.
#pragma once

#include "frame/check.hpp"
#include "frame/scratch.hpp"

namespace qnm::lapack {

class Extent {
public:
    QNM_INLINE explicit Extent(core_int elements)
        : length_(elements), elements_(elements), bytes_(elements * static_cast<core_int>(sizeof(core_int)))
    {
    }
    /// n times its natural logarithm, a real number: the trees of a merge are sized so. A block
    /// ends inside its last element, which is not copied then.
    static Extent n_log_n(core_int n);

    QNM_INLINE core_int elements() const { return elements_; }
    QNM_INLINE bool allocated() const { return length_ > stack_elements; }
    QNM_INLINE core_int bytes() const { return bytes_; }

private:
    QNM_INLINE Extent(core_int length, core_int elements, core_int bytes)
        : length_(length), elements_(elements), bytes_(bytes)
    {
    }
    core_int length_;
    core_int elements_;
    core_int bytes_;
};

/// An integer argument as a size.
template <class P>
QNM_INLINE core_int size(P& place)
{
    park(place);
    return *place;
}

/// An option letter, without regard to case. Unlike a check this is no call of the core: nobody is told
/// anything.
QNM_INLINE bool option(const char*& place, char letter)
{
    park(place);
    return (*place & ~0x20) == letter;
}

/// The smallest k with 2^k >= n.
QNM_INLINE core_int lg(core_int n)
{
    return n <= 1 ? 0 : 64 - __builtin_clzll(static_cast<unsigned long long>(n - 1));
}

/// Levels of a divide-and-conquer tree: the binary logarithm of n/(leaf+1), cut towards zero.
core_int depth(core_int n, core_int leaf);

/// The leaf size of the tree, by the published inquiry under the routine's own name, asked for once a call.
class LeafSize {
public:
    QNM_INLINE explicit LeafSize(const char* name) : name_(name) {}
    QNM_INLINE core_int operator()()
    {
        if (size_ < 0)
            size_ = ask(name_);
        return size_;
    }

private:
    static core_int ask(const char* name);
    const char* name_;
    core_int size_ = -1;
};

} // namespace qnm::lapack
