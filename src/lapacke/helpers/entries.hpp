// What generated helpers are made of.
#pragma once

#include "lapacke/helpers/nancheck.hpp"
#include "lapacke/helpers/trans.hpp"
