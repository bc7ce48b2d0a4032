#include "report.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace qnm::run {
namespace {

struct Unit {
    const char* name;
    double seconds;
};
constexpr std::array units = {Unit{"ns", 1e-9}, Unit{"us", 1e-6}, Unit{"ms", 1e-3}, Unit{"s", 1.0}};

// The whole text as a number of the type, or nothing.
template <class T>
std::optional<T> number(std::string_view text)
{
    T value = {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

bool is_address(std::string_view text)
{
    return text.starts_with("0x") || text == "(nil)";
}

std::string join(const std::vector<std::int64_t>& values)
{
    std::string text;
    for (const std::int64_t value : values) {
        if (!text.empty())
            text += ' ';
        text += std::to_string(value);
    }
    return text;
}

// In the published argument lists the sizes stand ahead of the first array; leading dimensions and
// increments follow theirs. The result pointer of a complex function is no array.
std::vector<std::int64_t> sizes_of(const std::vector<std::string_view>& arguments)
{
    std::vector<std::int64_t> sizes;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i != 0 && is_address(arguments[i]))
            break;
        if (const auto value = number<std::int64_t>(arguments[i]))
            sizes.push_back(*value);
    }
    return sizes;
}

// A Fourier transform tells all in its first argument: letters, lengths, and how many at once. Behind colons
// stand strides and distances: "dcfo/64:100:100x32:1:1*8:6400:6400".
bool read_transform(std::string_view text, TracedCall& call)
{
    const std::size_t letters = std::min(text.find_first_of("/0123456789"), text.size());
    call.name += ' ' + std::string(text.substr(0, letters));
    text.remove_prefix(std::min(text.find_first_not_of('/', letters), text.size()));
    for (char before = 'x'; before != '\0';) {
        const std::size_t end = std::min(text.find_first_of(":x*v"), text.size());
        const auto value = number<std::int64_t>(text.substr(0, end));
        if (!value)
            return false;
        if (before == 'x')
            call.sizes.push_back(*value);
        else if (before != ':')
            call.batch = *value;
        before = end < text.size() ? text[end] : '\0';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

} // namespace

std::optional<RefusedPlan> parse_refused_plan(std::string_view line)
{
    constexpr std::string_view mark = "no plan: ";
    if (!line.starts_with(mark))
        return std::nullopt;
    line.remove_prefix(mark.size());
    const std::size_t open = line.find('(');
    if (open == 0 || open == std::string_view::npos)
        return std::nullopt;
    return RefusedPlan{line.substr(0, open), line.substr(open)};
}

std::optional<TracedCall> parse_call(std::string_view line)
{
    const std::size_t open = line.find('(');
    const std::size_t close = line.rfind(')');
    if (open == 0 || open == std::string_view::npos || close == std::string_view::npos || close < open ||
        line.find(' ') < open)
        return std::nullopt;
    TracedCall call{std::string(line.substr(0, open)), {}, {}, 0};
    std::string_view rest = line.substr(open + 1, close - open - 1);
    while (!rest.empty()) {
        const std::size_t comma = rest.find(',');
        call.arguments.push_back(rest.substr(0, comma));
        rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
    }
    if (call.name != "FFT")
        call.sizes = sizes_of(call.arguments);
    else if (call.arguments.empty() || !read_transform(call.arguments[0], call))
        return std::nullopt;
    return call;
}

std::string duration_text(double seconds)
{
    std::size_t k = 0;
    // 999.5 is where three digits round up to the next unit's 1.00
    while (k + 1 < units.size() && seconds >= 999.5 * units[k].seconds)
        ++k;
    const double value = seconds / units[k].seconds;
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.*f%s",
                  value < 9.995   ? 2
                  : value < 99.95 ? 1
                                  : 0,
                  value, units[k].name);
    return text.data();
}

void Report::add(const Record& record)
{
    if (const auto plan = parse_refused_plan(record.line)) {
        Refused& refused = refused_[std::string(plan->planner)];
        if (refused.plans++ == 0)
            refused.first = plan->shape;
        return;
    }
    const auto call = parse_call(record.line);
    if (!call)
        return;
    auto found = routines_.find(call->name);
    if (found == routines_.end())
        found = routines_.emplace(call->name, Totals{}).first;
    Totals& totals = found->second;
    ++totals.calls;
    totals.seconds += std::max(record.seconds, 0.0);
    totals.largest.resize(std::max(totals.largest.size(), call->sizes.size()));
    for (std::size_t i = 0; i < call->sizes.size(); ++i)
        totals.largest[i] = std::max(totals.largest[i], call->sizes[i]);
    totals.batch = std::max(totals.batch, call->batch);
}

std::string Report::text() const
{
    return routines_text() + refused_text();
}

std::string Report::refused_text() const
{
    if (refused_.empty())
        return {};
    std::uint64_t sum = 0;
    for (const auto& [planner, refused] : refused_)
        sum += refused.plans;
    const auto row = [](const char* name, std::uint64_t plans, const std::string& shape) {
        std::array<char, 128> line;
        std::snprintf(line.data(), line.size(), "%-28.60s %7llu  ", name,
                      static_cast<unsigned long long>(plans));
        return line.data() + shape + '\n';
    };
    std::string table = "\n" + row("refused plans", sum, "the first by each planner");
    for (const auto& [planner, refused] : refused_)
        table += row(planner.c_str(), refused.plans, refused.first);
    return table;
}

std::string Report::routines_text() const
{
    if (routines_.empty())
        return "no traced call was made\n";
    using Row = std::pair<std::string, Totals>;
    std::vector<Row> rows(routines_.begin(), routines_.end());
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.second.seconds > b.second.seconds; });
    Row sum{"total", {}};
    std::size_t width = 7;
    for (const auto& [name, totals] : rows) {
        sum.second.calls += totals.calls;
        sum.second.seconds += totals.seconds;
        width = std::max(width, name.size());
    }
    rows.push_back(sum);

    std::array<char, 256> line;
    const int name_width = static_cast<int>(std::min<std::size_t>(width, 60));
    std::snprintf(line.data(), line.size(), "%-*s %12s %10s %10s %7s  %s\n", name_width, "routine", "calls",
                  "total", "mean", "share", "largest sizes");
    std::string table = line.data();
    for (const auto& [name, totals] : rows) {
        const double share = sum.second.seconds > 0 ? 100 * totals.seconds / sum.second.seconds : 0;
        const std::string mean = duration_text(totals.seconds / static_cast<double>(totals.calls));
        std::snprintf(line.data(), line.size(), "%-*s %12llu %10s %10s %6.1f%%", name_width, name.c_str(),
                      static_cast<unsigned long long>(totals.calls), duration_text(totals.seconds).c_str(),
                      mean.c_str(), share);
        const std::string largest =
            join(totals.largest) + (totals.batch > 0 ? " *" + std::to_string(totals.batch) : "");
        table += line.data();
        if (!largest.empty())
            table += "  " + largest;
        table += '\n';
    }
    return table;
}

} // namespace qnm::run
