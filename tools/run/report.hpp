#pragma once

#include "record.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::run {

/// One traced call, as its line tells it: "DGEMM(N,N,4,4,4,0x1,...)".
struct TracedCall {
    std::string name; ///< of the routine; of Fourier transforms with their letters: "FFT dcfo"
    std::vector<std::string_view> arguments;
    std::vector<std::int64_t> sizes; ///< that say how much work it had, in their order: m, n, k, lengths
    std::int64_t batch = 0;          ///< how many transforms at once, if there are several
};

/// Nothing if the line does not tell a call (the heading, or text of another origin).
std::optional<TracedCall> parse_call(std::string_view line);

/// A plan that was refused, as its line tells it: "no plan: fftw_plan_r2r_1d(n=8,...)".
struct RefusedPlan {
    std::string_view planner;
    std::string_view shape;
};

/// Nothing if the line does not tell a refused plan.
std::optional<RefusedPlan> parse_refused_plan(std::string_view line);

/// A duration with three significant digits and its unit, such as "12.3ms".
std::string duration_text(double seconds);

/// Totals by routine, and refused plans by planner. Memory grows with the number of these, never with the
/// number of calls.
class Report {
public:
    /// Records that tell no call are passed over. The time of one that is not known counts as none.
    void add(const Record& record);
    /// Whether nothing was told, neither a call nor a refused plan.
    bool is_empty() const { return routines_.empty() && refused_.empty(); }
    /// The table, longest total time first, and its total line; then the refused plans, if there are any.
    std::string text() const;

private:
    struct Totals {
        std::uint64_t calls = 0;
        double seconds = 0;
        std::vector<std::int64_t> largest; ///< each size by itself
        std::int64_t batch = 0;            ///< the largest
    };
    struct Refused {
        std::uint64_t plans = 0;
        std::string first; ///< shape
    };

    std::string routines_text() const;
    std::string refused_text() const;

    std::map<std::string, Totals, std::less<>> routines_;
    std::map<std::string, Refused, std::less<>> refused_;
};

} // namespace qnm::run
