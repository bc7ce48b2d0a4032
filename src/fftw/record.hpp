// What stands behind a plan, and the settings of both precisions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fftw/types.hpp"
#include "frame/types.hpp"
#include "qnm/core/dft.h"

namespace qnm::fftw {

/// A plan: a committed descriptor, the arrays it was made for, and what runs it. New arrays are tried on a
/// copy, so nothing that runs a plan may need more than this.
struct Plan {
    dft_handle descriptor; // its address, the plan's too, is the handle that functions of descriptors take
    void* arrays[4];       // in and out; split: real and imaginary parts of the input, then of the output
    int* integers;         // of a trigonometric plan, else null; so are its numbers
    double* doubles;
    float* floats;
    void (*execute)(Plan*);
    void (*destroy)(Plan*);
    void* reserved;
};
static_assert(offsetof(Plan, descriptor) == 0 && sizeof(Plan) == 88);

struct Settings {
    int verbose;
    int threads; // of each new plan, if it is not negative
    double time_limit;
    int user_threads;
    Plan* (*new_plan)();
    int alignment;
};
static_assert(offsetof(Settings, new_plan) == 24 && sizeof(Settings) == 40);

extern "C" {
// An executable may hold a copy of it.
QNM_EXPORT extern Settings fftw3_qnm;

void* QNM_malloc(std::size_t bytes, int alignment);
void QNM_free(void* block);
int QNM_Domain_Get_Max_Threads(int domain);
}

/// Of a plan that could not be finished: it ends as by its owner. Gives null.
QNM_INLINE Plan* given_up(Plan* plan)
{
    if (plan->destroy != nullptr)
        plan->destroy(plan);
    return nullptr;
}

/// A record to fill; null if there is none.
QNM_INLINE Plan* fresh_plan()
{
    Plan* (*const make)() = fftw3_qnm.new_plan;
    return make != nullptr ? make() : nullptr;
}

} // namespace qnm::fftw
