// What generated entries of vector mathematics are made of.
#pragma once

#include "frame/jumps.hpp"
#include "frame/statics.hpp"
#include "vml/vector.hpp"
