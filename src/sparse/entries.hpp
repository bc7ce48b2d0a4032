// What generated entries of sparse BLAS are made of.
#pragma once

#define QNM_JUMP_ALIGNMENT 0 // hundreds side by side, none of them in a loop of the layer's
#include "frame/complex.hpp"
#include "frame/jumps.hpp"
#include "qnm/sparse_types.h"
#include "sparse/relayed.hpp"
