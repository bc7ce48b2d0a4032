#include "totals.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qnm::run {
namespace {

constexpr const char* others = "(others)";
constexpr std::size_t most_intervals = 4096, most_waiting = 4096;

bool is_longer(const Totals::Long& a, const Totals::Long& b)
{
    return a.seconds > b.seconds;
}

// A map takes no more than so many keys; a further one is told as another.
template <class Map>
auto& bounded(Map& map, const typename Map::key_type& key, std::size_t most,
              const typename Map::key_type& instead)
{
    const auto found = map.find(key);
    return found != map.end() ? found->second : map[map.size() + 1 < most ? key : instead];
}

} // namespace

int octave_of(std::int64_t size)
{
    return std::min(
        static_cast<int>(std::bit_width(static_cast<std::uint64_t>(std::max<std::int64_t>(size, 0)))),
        most_octaves);
}

int half_decade_of(double seconds)
{
    return seconds <= 1e-8 ? 0
                           : std::min(static_cast<int>(2 * (std::log10(seconds) + 8)), most_half_decades - 1);
}

Totals::Routine& Totals::routine(const std::string& name)
{
    const bool is_new = !routines_.contains(name);
    Routine& routine = bounded(routines_, name, most_routines, others);
    if (is_new && routine.size_names.empty())
        routine.size_names = reader_->size_names(name);
    return routine;
}

Totals::Lane& Totals::lane(const Record& record)
{
    const auto key = std::pair(record.process, record.thread);
    if (const auto found = lane_of_.find(key); found != lane_of_.end())
        return *found->second;
    if (lanes_.size() == most_lanes)
        return lanes_.back(); // of all the others
    Lane& lane = lanes_.emplace_back();
    if (lanes_.size() < most_lanes) {
        lane.process = record.process;
        lane.thread = record.thread;
        lane_of_[key] = &lane;
    }
    return lane;
}

void Totals::add(const Record& record)
{
    if (const auto plan = parse_refused_plan(record.line)) {
        Plan& refused = bounded(plans_, std::string(plan->planner), most_routines, others);
        if (refused.plans++ == 0)
            refused.first = plan->shape;
        return;
    }
    if (const auto by_engine = parse_refused_by_engine(record.line)) {
        if (refused_by_engine_.size() < most_waiting)
            refused_by_engine_.try_emplace(record.thread, by_engine->routine, by_engine->position);
        return;
    }
    if (constexpr std::string_view mark = "# QNM_VERBOSE "; record.line.starts_with(mark)) {
        if (heading_.empty())
            heading_ = record.line.substr(mark.size());
        return;
    }
    const auto call = reader_->read(record.line);
    if (!call)
        return;
    Routine& totals = routine(call->name);
    const auto by_engine = refused_by_engine_.extract(record.thread);
    add_time(record);
    if (call->refused != 0 || !by_engine.empty()) {
        ++totals.refused;
        const RefusedByEngine told =
            by_engine.empty() ? RefusedByEngine{}
                              : RefusedByEngine{by_engine.mapped().first, by_engine.mapped().second};
        add_bad(*call, record, by_engine.empty() ? nullptr : &told);
        return;
    }
    if (call->is_query) {
        ++totals.queries;
        return;
    }
    const double seconds = std::max(record.seconds, 0.0);
    ++totals.calls;
    totals.seconds += seconds;
    totals.largest.resize(std::max(totals.largest.size(), call->sizes.size()));
    for (std::size_t i = 0; i < call->sizes.size(); ++i)
        totals.largest[i] = std::max(totals.largest[i], call->sizes[i]);
    totals.batch = std::max(totals.batch, call->batch);
    const auto largest = std::max_element(call->sizes.begin(), call->sizes.end());
    const int octave = largest == call->sizes.end() ? 0 : octave_of(*largest);
    Routine::Cell& cell = totals.cells[{octave, half_decade_of(seconds)}];
    ++cell.calls;
    cell.seconds += seconds;
    add_long(record, *call, octave);
}

void Totals::add_bad(const TracedCall& call, const Record& record, const RefusedByEngine* by_engine)
{
    const int position = by_engine != nullptr ? by_engine->position : call.refused;
    Bad& bad = bounded(bad_, {call.name, position}, most_bad, {others, 0});
    if (bad.calls++ != 0)
        return;
    // A driver's fault may be found by a routine that it calls.
    const bool elsewhere = by_engine != nullptr && by_engine->routine != call.name &&
                           call.name != std::string(by_engine->routine) + "_64";
    bad.argument = reader_->argument_name(elsewhere ? by_engine->routine : call.name, position);
    if (elsewhere)
        bad.argument += " of " + std::string(by_engine->routine);
    bad.first = record.line;
    bad.first_second = static_cast<double>(record.start - begin_) * 1e-9;
}

void Totals::add_time(const Record& record)
{
    const std::int64_t nanoseconds = std::llround(std::max(record.seconds, 0.0) * 1e9);
    const std::int64_t begin = std::max<std::int64_t>(record.start - begin_, 0), end = begin + nanoseconds;
    Lane& at = lane(record);
    ++at.calls;
    at.seconds += static_cast<double>(nanoseconds) * 1e-9;
    while (end / bin_ >= static_cast<std::int64_t>(bin_count)) { // bins become twice as wide
        for (Lane& lane : lanes_) {
            std::array<Lane::Bin, bin_count> folded{};
            for (std::size_t k = 0; k < bin_count; ++k) {
                folded[k / 2].calls += lane.bins[k].calls;
                folded[k / 2].seconds += lane.bins[k].seconds;
            }
            lane.bins = folded;
        }
        bin_ *= 2;
    }
    ++at.bins[static_cast<std::size_t>(begin / bin_)].calls;
    for (std::int64_t k = begin / bin_; k <= end / bin_; ++k) {
        const std::int64_t within = std::min(end, (k + 1) * bin_) - std::max(begin, k * bin_);
        at.bins[static_cast<std::size_t>(k)].seconds += static_cast<double>(within) * 1e-9;
    }
    add_inside(begin, end);
}

// Records come nearly in the order of their ends: what overlaps is near the end of the list.
void Totals::add_inside(std::int64_t begin, std::int64_t end)
{
    auto at = intervals_.end();
    while (at != intervals_.begin() && std::prev(at)->first > end)
        --at;
    while (at != intervals_.begin() && std::prev(at)->second >= begin) {
        --at;
        begin = std::min(begin, at->first);
        end = std::max(end, at->second);
        at = intervals_.erase(at);
    }
    intervals_.insert(at, {begin, end});
    if (intervals_.size() > most_intervals) {
        inside_ += intervals_.front().second - intervals_.front().first;
        intervals_.pop_front();
    }
}

double Totals::inside() const
{
    std::int64_t all = inside_;
    for (const auto& [begin, end] : intervals_)
        all += end - begin;
    return static_cast<double>(all) * 1e-9;
}

void Totals::add_long(const Record& record, const TracedCall& call, int octave)
{
    if (longest_.size() == most_longest) {
        if (record.seconds <= longest_.front().seconds)
            return;
        std::pop_heap(longest_.begin(), longest_.end(), is_longer);
        longest_.pop_back();
    }
    longest_.push_back({std::max(record.seconds, 0.0), static_cast<double>(record.start - begin_) * 1e-9,
                        record.process, record.thread, call.name, std::string(record.line), octave});
    std::push_heap(longest_.begin(), longest_.end(), is_longer);
}

std::vector<Totals::Long> Totals::longest() const
{
    auto all = longest_;
    std::sort_heap(all.begin(), all.end(), is_longer);
    return all;
}

} // namespace qnm::run
