// What plans are made of: this program defines these functions, so that the layer calls them in place of its
// own.
#pragma once

#include "fftw/calls.hpp"
#include "support/recorded.hpp"

#include <sstream>

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

/// What was asked for since, in one line: "d_1d 32 8; 12 0 1; commit".
std::string asked();
/// The status of the n-th function from now on, but for those that end something.
void fail(int n, std::int64_t status = 7);

/// An array with 1, 2, 3 ...
template <class R>
R* fresh(const std::string& name)
{
    R* const all = static_cast<R*>(array(name));
    for (int i = 0; i < 16; ++i)
        all[i] = static_cast<R>(i + 1);
    return all;
}

/// What a plan does when it runs and ends; "null" if it is none.
std::string life(const std::string& prefix, Record* plan);

class Fftw : public recording::RecordedTest {
protected:
    Fftw();
};

} // namespace qnm::tests
