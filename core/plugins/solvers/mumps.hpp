// The engine, MUMPS, by element type.
#pragma once

#include "processes.hpp"

#include <complex>
#include <cstring>
#include <mutex>

#include <cmumps_c.h>
#include <dmumps_c.h>
#include <smumps_c.h>
#include <zmumps_c.h>

namespace qnm::core::solvers {

template <class T>
struct Mumps;

#define QNM_MUMPS(l, L, T)                                                                                   \
    template <>                                                                                              \
    struct Mumps<T> {                                                                                        \
        using Words = L##MUMPS_STRUC_C;                                                                      \
        using Element = L##MUMPS_COMPLEX;                                                                    \
        static constexpr auto call = l##mumps_c;                                                             \
    };
QNM_ALL_LETTERS(QNM_MUMPS)
#undef QNM_MUMPS

/// It keeps data in variables of its own: one call at a time, whatever the type.
inline std::mutex& engine()
{
    static std::mutex one;
    return one;
}

/// One matrix of the engine's. All its processes run a job, begin and end it together.
template <class T>
class Instance {
public:
    using Element = typename Mumps<T>::Element;

    Instance(int symmetry, const Processes& processes)
    {
        std::memset(&words, 0, sizeof words);
        words.sym = symmetry;
        words.par = 1; // the first process has a share of the work
        words.comm_fortran = processes.communicator();
    }
    ~Instance()
    {
        if (begun_)
            run(-2);
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    /// 0, or the engine's error.
    int begin()
    {
        if (begun_)
            return 0;
        if (const int told = run(-1); told != 0)
            return told;
        begun_ = true;
        for (const int stream : {1, 2, 3, 4})
            control(stream) = stream == 4 ? 0 : -1; // it prints nothing
        return 0;
    }
    int run(int job)
    {
        const std::lock_guard one_at_a_time(engine());
        Processes::begin_engine();
        words.job = job;
        Mumps<T>::call(&words);
        return words.infog[0] < 0 ? words.infog[0] : 0;
    }
    /// Counted from 1, as documented.
    int& control(int k) { return words.icntl[k - 1]; }
    int told(int k) const { return words.infog[k - 1]; }
    /// A count that may be too large for its place: then it is told in millions, below zero.
    core_int counted(int k) const { return told(k) < 0 ? core_int{told(k)} * -1000000 : told(k); }

    static Element* elements(const T* of_caller)
    {
        return reinterpret_cast<Element*>(
            const_cast<T*>(of_caller)); // which are only read, right sides apart
    }

    typename Mumps<T>::Words words;

private:
    bool begun_ = false;
};

} // namespace qnm::core::solvers
