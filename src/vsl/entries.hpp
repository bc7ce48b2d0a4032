// What generated entries of statistics, convolution and fitting are made of.
#pragma once

#include "frame/jumps.hpp"
#include "vsl/compute.hpp"
#include "vsl/fitting.hpp"
#include "vsl/generator.hpp"
