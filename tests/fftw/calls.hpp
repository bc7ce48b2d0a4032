// Calls of the FFTW3 interface as text, and what becomes of them: this program defines the functions that
// plans are made of, so that the layer calls these in place of its own.
#pragma once

#include "support/invoke.hpp"
#include "support/recorded.hpp"

#include <functional>
#include <map>

namespace qnm::tests {

/// The settings, as an application sees them.
struct Settings {
    int verbose, threads;
    double time_limit;
    int user_threads;
    void* (*new_plan)();
    int alignment;
};
extern "C" Settings fftw3_qnm;

/// A plan, for those who look into it.
struct Record {
    void *descriptor, *arrays[4];
    int* integers;
    double* doubles;
    float* floats;
    void (*execute)(Record*);
    void (*destroy)(Record*);
    void* reserved;
};

/// What was asked for since, in one line: "d_1d 32 8; 12 0 1; commit".
std::string asked();
/// The status of the n-th function from now on, but for those that end something.
void fail(int n, std::int64_t status = 7);

/// Arrays that calls name: in, out, ri, ii, ro, io, a, b. Of doubles or of floats: 1, 2, 3 ...
constexpr std::size_t elements = 16;
void* array(const std::string& name);
template <class R>
R* fresh(const std::string& name)
{
    R* const all = static_cast<R*>(array(name));
    for (std::size_t i = 0; i < elements; ++i)
        all[i] = static_cast<R>(i + 1);
    return all;
}

/// Calls a function by what stands behind its prefix, "plan_dft_2d 2 3 in out -1 0". A word is an array's
/// name, `null`, a number, numbers `[2,3]`, or dimensions: `(8:1:1)`, of 64 bits `{8:1:1}`. What stands
/// `ahead` is passed ahead. In Fortran numbers go by address.
support::Returned call(const std::string& prefix, const std::string& text,
                       std::vector<support::Word> ahead = {});
Record* planned(const std::string& prefix, const std::string& text);
/// In Fortran, where the variable had a value of its own.
inline Record* const untouched = reinterpret_cast<Record*>(0x77);
Record* fortran_planned(const std::string& prefix, const std::string& text);

/// What a plan does when it runs and ends; "null" if it is none.
std::string life(const std::string& prefix, Record* plan);

class Fftw : public recording::RecordedTest {
protected:
    Fftw();
};

} // namespace qnm::tests
