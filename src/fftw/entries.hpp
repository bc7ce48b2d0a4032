// What generated entries of the FFTW3 interface are made of.
#pragma once

#include "fftw/execute.hpp"
#include "fftw/exported.hpp"
#include "fftw/fortran.hpp"
#include "fftw/planner.hpp"
#include "fftw/reduce.hpp"
#include "fftw/utilities.hpp"
#include "frame/jumps.hpp"
