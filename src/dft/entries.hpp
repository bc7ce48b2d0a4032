// What generated entries of Fourier transforms are made of.
#pragma once

#include "blas/bare.hpp"
#include "dft/compute.hpp"
#include "frame/jumps.hpp"
#include "frame/statics.hpp"

namespace qnm::dft {

using blas::bare;

} // namespace qnm::dft
