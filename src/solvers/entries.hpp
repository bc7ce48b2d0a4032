// What generated entries of solvers are made of.
#pragma once

#include "frame/statics.hpp"
#include "solvers/carried.hpp"
