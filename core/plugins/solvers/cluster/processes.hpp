// The processes that work on a system: those of a communicator. What is said of all is called by all.
#pragma once

#include "open/guarded.hpp"
#include "open/solvers/controls.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#define OMPI_SKIP_MPICXX 1
#include <mpi.h>

namespace qnm::core::solvers {

class Processes {
public:
    static constexpr bool are_several = true;
    /// The engine's archives of several processes have PORD, which ends the program where a graph is not to
    /// its taste, and not Scotch: approximate minimum fill instead.
    static constexpr int nested_dissection = 2;

    explicit Processes(int of_caller) : comm_(MPI_Comm_f2c(of_caller))
    {
        if (are_known())
            MPI_Comm_rank(comm_, &rank_);
    }
    bool are_known() const { return comm_ != nullptr && comm_ != MPI_COMM_NULL; }

    static void begin_engine() {}

    /// The same under a communicator of their own, which outlives the caller's. All call it, and all end it.
    Processes kept() const
    {
        Processes made(*this);
        const auto make = [&] {
            made.own_ = std::make_shared<Own>();
            return no_error;
        };
        if (agreed(make) != no_error)
            throw std::bad_alloc();
        MPI_Comm_dup(comm_, &made.own_->comm);
        made.comm_ = made.own_->comm;
        return made;
    }
    int communicator() const { return MPI_Comm_c2f(comm_); }
    bool is_first() const { return rank_ == 0; }
    bool are_same(const Processes& of) const
    {
        int how = MPI_UNEQUAL;
        MPI_Comm_compare(comm_, of.comm_, &how);
        return how == MPI_IDENT || how == MPI_CONGRUENT;
    }
    bool have_in_common(core_int number) const
    {
        std::array<core_int, 2> largest{number, -number};
        MPI_Allreduce(MPI_IN_PLACE, largest.data(), 2, MPI_INT64_T, MPI_MAX, comm_);
        return largest[0] == -largest[1];
    }
    bool all(bool here) const
    {
        int everywhere = here ? 1 : 0;
        MPI_Allreduce(MPI_IN_PLACE, &everywhere, 1, MPI_INT, MPI_MIN, comm_);
        return everywhere == 1;
    }
    /// An error of one is everybody's: what a process does for itself ends so, ahead of what all do together.
    template <class Work>
    Error agreed(const Work& work) const
    {
        int worst = guarded<no_memory, internal>(work);
        MPI_Allreduce(MPI_IN_PLACE, &worst, 1, MPI_INT, MPI_MIN, comm_);
        return static_cast<Error>(worst);
    }
    /// From the first to all.
    template <class X>
    void hand_out(X* x, core_int count) const
    {
        in_pieces(x, count, [&](X* piece, int length) {
            MPI_Bcast(piece, length * static_cast<int>(sizeof(X)), MPI_BYTE, 0, comm_);
        });
    }
    /// To the first, in place.
    template <class X>
    void add_up(X* x, core_int count) const
    {
        using R = real_t<X>;
        const MPI_Datatype type = sizeof(R) == 4 ? MPI_FLOAT : MPI_DOUBLE;
        in_pieces(x, count, [&](X* piece, int length) {
            MPI_Reduce(is_first() ? MPI_IN_PLACE : piece, is_first() ? piece : nullptr,
                       length * static_cast<int>(sizeof(X) / sizeof(R)), type, MPI_SUM, 0, comm_);
        });
    }

private:
    struct Own {
        MPI_Comm comm = MPI_COMM_NULL;
        Own() = default;
        Own(const Own&) = delete;
        ~Own()
        {
            if (comm != MPI_COMM_NULL)
                MPI_Comm_free(&comm);
        }
    };

    /// Counts are of 32 bits there.
    template <class X, class Pass>
    static void in_pieces(X* x, core_int count, const Pass& pass)
    {
        constexpr core_int most = core_int{1} << 26;
        for (core_int at = 0; at < count; at += most)
            pass(x + at, static_cast<int>(std::min(most, count - at)));
    }

    MPI_Comm comm_;
    std::shared_ptr<Own> own_;
    int rank_ = 0;
};

} // namespace qnm::core::solvers
