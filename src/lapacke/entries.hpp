// What generated entries of the C interface are made of.
#pragma once

#include "frame/check.hpp"
#include "helpers/exported.hpp"
#include "lapacke/high.hpp"
#include "lapacke/member.hpp"
