// What the kernels promise: one table for the tests and for the page that docs/ has of it.
#pragma once

#include "witness.hpp"

#include <span>
#include <string>

namespace qnm::witness {

/// How many inputs, scalars and outputs, and whether they are complex.
struct Form {
    int inputs, scalars, outputs;
    bool complex_in = false, complex_out = false;
};

/// Arguments between which points are taken, those of single precision where they differ; and a distance at
/// whose multiples, and next to them, many points lie;
/// whether they are whole, and whether the edges of the type come ahead of them.
struct Range {
    double low, high;
    double low_s = low, high_s = high;
    double every = 0;
    bool whole = false;
    bool edges = !whole;
};

/// Greatest errors in units of the last place; of complex results in those of the larger part.
struct Bounds {
    double high, low;
    double high_s = high, low_s = low;
    double more_without_fma = 0;

    double of(char letter, bool low_level, bool fma) const
    {
        const bool single = letter == 's' || letter == 'c';
        return (low_level ? single ? low_s : low : single ? high_s : high) + (fma ? 0 : more_without_fma);
    }
};

/// Results of arguments, scalars behind vectors.
using Function = void (*)(Number* y, const Number* x);

struct Promise {
    std::string root;
    Form form;
    Function exact;
    Range range[2]; // the second one that of a second input or of all scalars
    Bounds bounds;
    Function size = nullptr; // what an error is measured by where it is greater than the result

    const char* letters() const { return form.complex_in || form.complex_out ? "cz" : "sd"; }
};

std::span<const Promise> promises();

} // namespace qnm::witness
