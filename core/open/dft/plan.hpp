// What a committed descriptor does, and the engine that does it, once for each instruction set.
#pragma once

#include "../core.hpp"

namespace qnm::core::dft {

enum Status : std::int64_t { done = 0, no_memory = 1, invalid = 2, inconsistent = 3, unable = 6, failed = 7 };

inline constexpr int most_dimensions = 7;

/// What the elements of a side are. Of a conjugate-even side the first half of the spectrum of one line
/// stands in one of the forms from `pairs` on; the last three are of one dimension and made of reals.
enum class Kind {
    complex, ///< real and imaginary parts side by side
    split,   ///< in two arrays
    real,
    pairs, ///< as complex
    ccs,   ///< pairs as well, each part a stride from the next
    pack,  ///< without the parts that are zero
    perm   ///< as pack, but the last real part of an even length stands second
};

/// Where the elements of a side lie, counted in reals.
struct Layout {
    Kind kind;
    core_int offset, stride[most_dimensions], distance;
};

struct Direction {
    Layout in, out;
    double scale;
};

/// Everything that a commit settles.
struct Task {
    bool single, real, in_place, spoils_input;
    int rank;
    core_int length[most_dimensions], transforms;
    Direction forward, backward;
    core_int thread_limit; ///< 0: none

    /// Elements of all transforms on the real or complex side.
    core_int elements() const
    {
        core_int product = transforms;
        for (int i = 0; i < rank; ++i)
            product *= length[i];
        return product;
    }
};

/// Arrays of one call; the second ones are imaginary parts.
struct Arrays {
    void *in[2], *out[2];
};

/// Only read by its runs: several threads may be at it.
class Plan {
public:
    virtual ~Plan();
    virtual Status run(bool forward, const Arrays& arrays) const noexcept = 0;
};

/// No exception leaves it.
using Engine = Status(const Task& task, Plan** made) noexcept;
extern Engine engine_sse2, engine_avx2, engine_avx512;

/// That of this processor.
Engine& engine();

/// How many threads may work at a task of so many elements.
int threads_for(core_int elements, core_int limit);

/// Work that can be divided: items `first` to `last` of it.
class Divisible {
public:
    virtual Status part(core_int first, core_int last) const noexcept = 0;

protected:
    ~Divisible() = default;
};

/// All items, by so many threads at most; the first failure is told.
Status divide(const Divisible& work, core_int items, int threads);

} // namespace qnm::core::dft
