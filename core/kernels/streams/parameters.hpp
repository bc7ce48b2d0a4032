// Parameters that were searched for, or are tables of the literature.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qnm::vsl {

struct WichmannHillPart {
    std::uint32_t modulus, factor;
};
inline constexpr int wichmann_hill_sets = 273;
extern const WichmannHillPart wichmann_hill[wichmann_hill_sets][4];

/// The matrix of a twister and the masks of its tempering.
struct TwisterParameters {
    std::uint32_t multiplier, b, c;
};
/// Those of degree 2203.
inline constexpr int twister_sets = 6024;
extern const TwisterParameters twisters[twister_sets];

/// Direction numbers of base 2, a row for each bit of the Gray code.
inline constexpr int sobol_dimensions = 40, niederreiter_dimensions = 318, digits = 32;
const std::uint32_t (*sobol_directions())[sobol_dimensions];
const std::uint32_t (*niederreiter_directions())[niederreiter_dimensions];

/// Replaces the words of a twister of degree 19937 by those that come `steps` later, one at least.
int jump_twister(std::uint32_t* word, std::uint64_t steps);

} // namespace qnm::vsl
