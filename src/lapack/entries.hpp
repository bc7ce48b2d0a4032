// What generated LAPACK entries are made of.
#pragma once

#include "frame/statics.hpp"
#include "lapack/entry.hpp"
