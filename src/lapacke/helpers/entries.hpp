// What generated helpers are made of.
#pragma once

#include "lapacke/helpers/nancheck.hpp"
#include "lapacke/helpers/nancheck_band.hpp"
#include "lapacke/helpers/nancheck_packed.hpp"
#include "lapacke/helpers/trans.hpp"
#include "lapacke/helpers/trans_band.hpp"
#include "lapacke/helpers/trans_packed.hpp"
