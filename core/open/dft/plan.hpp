// What a committed descriptor does, and the engine that does it, once for each instruction set.
#pragma once

#include "../core.hpp"
#include "plugin.h"

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

/// Elements of each dimension as it stands on a side.
struct Extents {
    core_int of[most_dimensions];
};

/// Everything that a commit settles.
struct Task {
    bool single, real, in_place, spoils_input;
    int rank;
    core_int length[most_dimensions], transforms;
    Direction forward, backward;
    core_int thread_limit; ///< 0: none

    Extents extents(Kind kind) const;
    /// Without gaps, for arrays of the core's own.
    Layout tight(Kind kind) const;
    /// Whether each line is written where it was read and nowhere else, in one array.
    bool keeps_places(const Direction& way) const;

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
Engine& built_in();

/// That opened at run time, with the built-in one for what it does not know.
extern Engine engine_plugged;

/// The one that was asked for and is there; null: none.
const dft_plugin* plugin();

/// By that engine, and by another what it does not know.
Status plan_by(const dft_plugin& plugin, Engine& otherwise, const Task& task, Plan** made);

/// What commits take.
inline Engine& engine()
{
    return plugin() != nullptr ? engine_plugged : built_in();
}

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
