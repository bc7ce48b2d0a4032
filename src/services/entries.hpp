// What generated services are made of.
#pragma once

#include "frame/jumps.hpp"
