#include "report.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

namespace qnm::run {
namespace {

struct Unit {
    const char* name;
    double seconds;
};
constexpr std::array units = {Unit{"ns", 1e-9}, Unit{"us", 1e-6}, Unit{"ms", 1e-3}, Unit{"s", 1.0}};

std::string decimal(double value, int decimals, const char* unit)
{
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%.*f%s", decimals, value, unit);
    return text.data();
}

std::string sizes_text(const Totals::Routine& routine)
{
    std::string text;
    for (std::size_t i = 0; i < routine.largest.size(); ++i)
        text += (text.empty() ? "" : " ") +
                (i < routine.size_names.size() ? routine.size_names[i] + "=" : std::string()) +
                std::to_string(routine.largest[i]);
    return text + (routine.batch > 0 ? " *" + std::to_string(routine.batch) : "");
}

std::vector<std::string> row(const std::string& name, const Totals::Routine& routine, double all)
{
    const bool timed = routine.calls != 0;
    return {name,
            std::to_string(routine.calls),
            std::to_string(routine.queries),
            std::to_string(routine.refused),
            duration_text(routine.seconds),
            timed ? duration_text(routine.seconds / static_cast<double>(routine.calls)) : "-",
            share_text(routine.seconds, all),
            sizes_text(routine)};
}

std::string text_of(const Table& table)
{
    std::vector<std::size_t> widths;
    for (const Table::Column& column : table.columns)
        widths.push_back(column.name.size());
    for (const auto& row : table.rows)
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    std::string text;
    const auto add = [&](std::size_t i, const std::string& cell) {
        const bool last = i + 1 == widths.size();
        const std::string room(last ? 0 : widths[i] - std::min(widths[i], cell.size()), ' ');
        text += (i == 0 ? "" : "  ") + (table.columns[i].is_number ? room + cell : cell + room);
        if (!last)
            return;
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    };
    for (std::size_t i = 0; i < widths.size(); ++i)
        add(i, table.columns[i].name);
    for (const auto& row : table.rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            add(i, row[i]);
    return text;
}

} // namespace

std::string duration_text(double seconds)
{
    std::size_t k = 0;
    // 999.5 is where three digits round up to the next unit's 1.00
    while (k + 1 < units.size() && seconds >= 999.5 * units[k].seconds)
        ++k;
    const double value = seconds / units[k].seconds;
    return decimal(value, value < 9.995 ? 2 : value < 99.95 ? 1 : 0, units[k].name);
}

std::string share_text(double part, double whole)
{
    return decimal(whole > 0 ? 100 * part / whole : 0, 1, "%");
}

Table routines_table(const Totals& totals)
{
    Table table{{{"routine"},
                 {"calls", true},
                 {"queries", true},
                 {"refused", true},
                 {"total", true},
                 {"mean", true},
                 {"share", true},
                 {"largest sizes"}},
                {}};
    using Entry = std::pair<const std::string, Totals::Routine>;
    std::vector<const Entry*> order;
    Totals::Routine sum;
    for (const Entry& entry : totals.routines()) {
        order.push_back(&entry);
        sum.calls += entry.second.calls;
        sum.queries += entry.second.queries;
        sum.refused += entry.second.refused;
        sum.seconds += entry.second.seconds;
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const Entry* a, const Entry* b) { return a->second.seconds > b->second.seconds; });
    for (const Entry* entry : order)
        table.rows.push_back(row(entry->first, entry->second, sum.seconds));
    if (!order.empty())
        table.rows.push_back(row("total", sum, sum.seconds));
    return table;
}

Table bad_table(const Totals& totals)
{
    Table table{{{"refused calls of"}, {"position", true}, {"argument"}, {"calls", true}, {"the first"}}, {}};
    using Entry = std::pair<const std::pair<std::string, int>, Totals::Bad>;
    std::vector<const Entry*> order;
    for (const Entry& entry : totals.bad())
        order.push_back(&entry);
    std::stable_sort(order.begin(), order.end(),
                     [](const Entry* a, const Entry* b) { return a->second.calls > b->second.calls; });
    for (const Entry* entry : order) {
        const Totals::Bad& bad = entry->second;
        table.rows.push_back({entry->first.first, std::to_string(entry->first.second), bad.argument,
                              std::to_string(bad.calls),
                              "at " + duration_text(bad.first_second) + ": " + bad.first});
    }
    return table;
}

Table plans_table(const Totals& totals)
{
    Table table{{{"refused plans"}, {"plans", true}, {"the first by each planner"}}, {}};
    for (const auto& [planner, plan] : totals.refused_plans())
        table.rows.push_back({planner, std::to_string(plan.plans), plan.first});
    return table;
}

std::string head_line(const Totals& totals, const RunHead& head)
{
    const double inside = totals.inside();
    return head.process + head.program + (head.goes_on ? " has run " : " ran ") +
           duration_text(head.seconds) + ", " + duration_text(inside) + " of it (" +
           share_text(inside, head.seconds) + ") inside of the library";
}

std::string report_text(const Totals& totals)
{
    std::string text;
    for (const Table& table : {routines_table(totals), bad_table(totals), plans_table(totals)})
        if (!table.rows.empty())
            text += (text.empty() ? "" : "\n") + text_of(table);
    if (totals.routines().empty())
        text = "no traced call was made\n" + (text.empty() ? "" : "\n" + text);
    return text;
}

} // namespace qnm::run
