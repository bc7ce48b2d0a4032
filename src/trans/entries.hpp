// What generated entries of matrix copy are made of.
#pragma once

#include "frame/statics.hpp"
#include "trans/entry.hpp"
