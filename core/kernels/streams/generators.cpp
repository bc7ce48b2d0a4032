// The basic generators, as one instruction set compiles them, in the order of their numbers.
#include "combined.hpp"
#include "counters.hpp"
#include "digital.hpp"
#include "multiplicative.hpp"
#include "outside.hpp"
#include "twisters.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

extern const Generator generators[];
constinit const Generator generators[built_in] = {
    Made<Mcg31>::generator(),
    Made<R250>::generator(),
    Made<Mrg32k3a>::generator(),
    Made<Mcg59>::generator(),
    Made<WichmannHill>::generator(),
    Made<Sobol>::generator(),
    Made<Niederreiter>::generator(),
    Made<Mt19937>::generator(),
    Made<Mt2203>::generator(),
    Made<AbstractWords>::generator(),
    Made<AbstractDoubles>::generator(),
    Made<AbstractFloats>::generator(),
    Made<Sfmt19937>::generator(),
    Made<Entropy>::generator(),
    Made<Ars5>::generator(),
    Made<Philox4x32x10>::generator(),
};

} // namespace qnm::vsl::QNM_NAMESPACE
