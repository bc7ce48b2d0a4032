#pragma once

#include "call.hpp"
#include "record.hpp"

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qnm::run {

/// What the calls of a run come to, added up while they are read. Memory is bounded: it does not grow with
/// the number of calls.
class Totals {
public:
    static constexpr std::size_t most_routines = 1000, most_lanes = 40, most_longest = 200, most_bad = 400;
    static constexpr std::size_t bin_count = 240;

    struct Routine {
        std::uint64_t calls = 0;   ///< that did what they are for
        std::uint64_t queries = 0; ///< for the size of work arrays
        std::uint64_t refused = 0; ///< for a bad argument
        double seconds = 0;        ///< of the calls alone
        std::vector<std::string> size_names;
        std::vector<std::int64_t> largest; ///< each size by itself
        std::int64_t batch = 0;            ///< the largest
        /// Calls by octave of their largest size (0 for none) and by half decade of their time.
        struct Cell {
            std::uint64_t calls = 0;
            double seconds = 0;
        };
        std::map<std::pair<int, int>, Cell> cells;
    };
    struct Bad {
        std::uint64_t calls = 0;
        std::string argument; ///< its name
        std::string first;    ///< line
        double first_second = 0;
    };
    struct Plan {
        std::uint64_t plans = 0;
        std::string first; ///< shape
    };
    /// A thread of a process; the last one takes all that are too many, and has no numbers.
    struct Lane {
        int process = 0, thread = 0;
        std::uint64_t calls = 0;
        double seconds = 0;
        struct Bin {
            std::uint64_t calls = 0; ///< begun
            double seconds = 0;
        };
        std::array<Bin, bin_count> bins{};
    };
    struct Long {
        double seconds, begin; ///< since the start of the run
        int process, thread;
        std::string routine, line;
        int octave;
    };

    /// `begin`: of the run, in nanoseconds of CLOCK_MONOTONIC. The reader has the catalogue, which several
    /// runs may share.
    explicit Totals(std::int64_t begin = 0,
                    std::shared_ptr<CallReader> reader = std::make_shared<CallReader>())
        : reader_(std::move(reader)), begin_(begin)
    {
    }

    /// Records that tell no call are passed over. The time of one that is not known counts as none.
    void add(const Record& record);

    /// Whether nothing was told, neither a call nor a refused plan.
    bool is_empty() const { return routines_.empty() && plans_.empty(); }
    const std::map<std::string, Routine, std::less<>>& routines() const { return routines_; }
    /// By routine and position.
    const std::map<std::pair<std::string, int>, Bad>& bad() const { return bad_; }
    const std::map<std::string, Plan, std::less<>>& refused_plans() const { return plans_; }
    const std::deque<Lane>& lanes() const { return lanes_; }
    double bin_seconds() const { return static_cast<double>(bin_) * 1e-9; }
    /// Longest first.
    std::vector<Long> longest() const;
    /// Seconds of the run in which at least one thread was inside of the library.
    double inside() const;
    /// The first heading, without its mark: core, engine, process, threads; empty: there was none.
    const std::string& heading() const { return heading_; }

private:
    using Interval = std::pair<std::int64_t, std::int64_t>;

    Routine& routine(const std::string& name);
    Lane& lane(const Record& record);
    void add_bad(const TracedCall& call, const Record& record, const RefusedByEngine* by_engine);
    void add_time(const Record& record);
    void add_inside(std::int64_t begin, std::int64_t end);
    void add_long(const Record& record, const TracedCall& call, int octave);

    std::shared_ptr<CallReader> reader_;
    std::int64_t begin_;
    std::map<std::string, Routine, std::less<>> routines_;
    std::map<std::pair<std::string, int>, Bad> bad_;
    std::map<std::string, Plan, std::less<>> plans_;
    std::map<int, std::pair<std::string, int>> refused_by_engine_; // by thread: of the call that is to come
    std::deque<Lane> lanes_;
    std::map<std::pair<int, int>, Lane*> lane_of_;
    std::int64_t bin_ = 1000;        // nanoseconds
    std::vector<Long> longest_;      // a heap, the shortest first
    std::deque<Interval> intervals_; // apart from each other, and in order
    std::int64_t inside_ = 0;        // of those that are too old to be touched
    std::string heading_;
};

/// The octave of a size, from 1: 1, 2 to 3, 4 to 7 ...; 0 for none.
int octave_of(std::int64_t size);
/// The half decade of a time, counted from 10 ns.
int half_decade_of(double seconds);
inline constexpr int most_octaves = 40, most_half_decades = 24;

} // namespace qnm::run
