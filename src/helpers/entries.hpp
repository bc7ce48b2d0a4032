// What generated helpers are made of.
#pragma once

#include "helpers/exported.hpp"
#include "helpers/nancheck.hpp"
#include "helpers/nancheck_band.hpp"
#include "helpers/nancheck_packed.hpp"
#include "helpers/trans.hpp"
#include "helpers/trans_band.hpp"
#include "helpers/trans_packed.hpp"
