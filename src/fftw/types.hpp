// The types of the FFTW3 interface, as prototypes name them. Nobody here looks at a complex number.
#pragma once

#include <cstdint>
#include <cstdio>

namespace qnm::fftw {

struct Plan;
template <class R>
struct Complex;

struct Dimension {
    std::int64_t n, is, os;
};
struct NarrowDimension {
    int n, is, os;
};
enum class Kind : unsigned {}; // any number may come

using WriteCharacter = void (*)(char, void*);
using ReadCharacter = int (*)(void*);

using fftw_plan = Plan*;
using fftw_complex = Complex<double>;
using fftw_iodim = NarrowDimension;
using fftw_iodim64 = Dimension;
using fftw_r2r_kind = Kind;
using fftw_write_char_func = WriteCharacter;
using fftw_read_char_func = ReadCharacter;

using fftwf_plan = Plan*;
using fftwf_complex = Complex<float>;
using fftwf_iodim = NarrowDimension;
using fftwf_iodim64 = Dimension;
using fftwf_r2r_kind = Kind;
using fftwf_write_char_func = WriteCharacter;
using fftwf_read_char_func = ReadCharacter;

} // namespace qnm::fftw
