// Entries of descriptors and of trigonometric transforms, which are called as an application calls them.
// Those with `...` are told as they are called here: a value of another type stands in the same register.
#pragma once

#include "dft/compute.hpp"

namespace qnm::fftw {

using dft::Status;

constexpr int storage_of_complex = 8;
constexpr int storage_of_conjugate_even = 10;
constexpr int placement = 11;
constexpr int input_strides = 12;
constexpr int output_strides = 13;
constexpr int number_of_transforms = 7;
constexpr int input_distance = 14;
constexpr int output_distance = 15;
constexpr int workspace = 17;
constexpr int thread_limit = 27;

extern "C" {
Status DftiCreateDescriptor_d_1d(dft_handle* made, int domain, std::int64_t length);
Status DftiCreateDescriptor_s_1d(dft_handle* made, int domain, std::int64_t length);
Status DftiCreateDescriptor_d_md(dft_handle* made, int domain, std::int64_t rank,
                                 const std::int64_t* lengths);
Status DftiCreateDescriptor_s_md(dft_handle* made, int domain, std::int64_t rank,
                                 const std::int64_t* lengths);
Status DftiCommitDescriptor(dft_handle d);
Status DftiFreeDescriptor(dft_handle* handle);
Status DftiErrorClass(Status status, std::int64_t error_class);
Status set_number(dft_handle d, int code, std::int64_t value) asm("DftiSetValue");
Status set_numbers(dft_handle d, int code, const std::int64_t* values) asm("DftiSetValue");
}

Status compute_forward(dft_handle d, void* a) asm("DftiComputeForward");
Status compute_forward(dft_handle d, void* a, void* b) asm("DftiComputeForward");
Status compute_forward(dft_handle d, void* a, void* b, void* c, void* e) asm("DftiComputeForward");
Status compute_backward(dft_handle d, void* a) asm("DftiComputeBackward");
Status compute_backward(dft_handle d, void* a, void* b) asm("DftiComputeBackward");

template <dft::Direction way, class... Arrays>
QNM_INLINE void compute(dft_handle d, Arrays... arrays)
{
    if constexpr (way == dft::Direction::forward)
        compute_forward(d, arrays...);
    else
        compute_backward(d, arrays...);
}

} // namespace qnm::fftw
