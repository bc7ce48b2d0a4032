// What generated entries of the C interface are made of.
#pragma once

#include "cblas/batch.hpp"
#include "cblas/conjugated.hpp"
#include "cblas/jit.hpp"
#include "cblas/layout.hpp"
#include "cblas/level1.hpp"
#include "frame/jumps.hpp"
