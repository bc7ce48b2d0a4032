// What generated entries of solvers are made of.
#pragma once

#include "frame/jumps.hpp"
#include "frame/relay.hpp"
#include "frame/statics.hpp"
#include "solvers/carried.hpp"
