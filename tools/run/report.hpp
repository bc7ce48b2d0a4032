#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::run {

/// One traced call, as its line tells it: "QNM_VERBOSE DGEMM(N,N,4,4,4,0x1,...) 1.234us".
struct TracedCall {
    std::string_view name;
    std::vector<std::string_view> arguments;
    double seconds = 0;
};

/// Nothing if the line does not tell a call (the heading, or text of another origin).
std::optional<TracedCall> parse_call(std::string_view line);

/// The arguments of a call that say how much work it had, in their order: m, n, k and the like.
std::vector<std::int64_t> sizes_of(std::string_view name, const std::vector<std::string_view>& arguments);

/// A duration with three significant digits and its unit, such as "12.3ms".
std::string duration_text(double seconds);

/// Totals by routine. Memory grows with the number of routines, never with the number of calls.
class Report {
public:
    /// Takes a line of the trace; lines that tell no call are passed over.
    void add(std::string_view line);
    /// The table, longest total time first, and its total line.
    std::string text() const;

private:
    struct Totals {
        std::uint64_t calls = 0;
        double seconds = 0;
        std::vector<std::int64_t> largest; ///< each size by itself
    };
    std::map<std::string, Totals, std::less<>> routines_;
};

} // namespace qnm::run
