// What generated entries of the BLAS, and of families in its room, are made of: the templates of their
// classes.
#pragma once

#include "blas/bare.hpp"
#include "blas/checked.hpp"
#include "blas/scratch.hpp"
#include "blas/unchecked.hpp"
#include "frame/jumps.hpp"
#include "frame/statics.hpp"
