#pragma once

#include "catalogue/catalogue.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::run {

/// What a routine's row tells of its lines.
struct Routine {
    enum class Shown { letter, integer, other };
    struct Argument {
        std::string name; // empty: the hidden result
        Shown shown = Shown::other;
        bool is_size = false, is_query = false;
    };
    const catalogue::Row* row = nullptr; ///< null: its tests are not told as expressions
    std::vector<Argument> arguments;
    std::vector<const catalogue::Argument*> tests; ///< in their order; those that a line has the values for
};

/// One traced call, as its line tells it: "DGEMM(N,N,4,4,4,0x1,...)".
struct TracedCall {
    std::string name;                ///< of the routine; of Fourier transforms with their letters: "FFT dcfo"
    std::vector<std::int64_t> sizes; ///< that say how much work it had, in their order: m, n, k, lengths
    std::int64_t batch = 0;          ///< how many transforms at once, if there are several
    bool is_query = false;           ///< it asked for the size of its work arrays
    int refused = 0;                 ///< position of the argument that its tests refuse; 0: none
};

/// Reads lines by the catalogue.
class CallReader {
public:
    /// Nothing if the line does not tell a call (the heading, or text of another origin). Of a routine that
    /// the catalogue does not know, only the name is read.
    std::optional<TracedCall> read(std::string_view line);

    /// Null if the catalogue does not know the name.
    const Routine* find(std::string_view name);
    std::vector<std::string> size_names(std::string_view name);
    /// The argument at a published position; empty if that is not known.
    std::string argument_name(std::string_view routine, int position);

private:
    void read_catalogue();
    void index_rooms();

    std::unique_ptr<catalogue::Catalogue> catalogue_; // read at the first call
    bool rooms_read_ = false;
    std::map<std::string, catalogue::Entry, std::less<>> entries_;
    std::map<std::string, Routine, std::less<>> routines_;
};

/// A plan that was refused, as its line tells it: "no plan: fftw_plan_r2r_1d(n=8,...)".
struct RefusedPlan {
    std::string_view planner;
    std::string_view shape;
};

/// Nothing if the line does not tell a refused plan.
std::optional<RefusedPlan> parse_refused_plan(std::string_view line);

/// A call that the core's engine refuses, told ahead of its line: "# refused DGESV 2".
struct RefusedByEngine {
    std::string_view routine;
    int position = 0;
};
std::optional<RefusedByEngine> parse_refused_by_engine(std::string_view line);

} // namespace qnm::run
