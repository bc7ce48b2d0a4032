#include "page.hpp"

#include "check.hpp"
#include "page_parts.hpp"
#include "refusal.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace qnm::run {
namespace {

constexpr std::size_t room_of_sizes = 600'000;
constexpr std::size_t most_text = 400; // of a line

std::string escaped(std::string_view text, std::size_t most = most_text)
{
    std::string safe;
    for (const char c : text.substr(0, most)) {
        if (c == '&')
            safe += "&amp;";
        else if (c == '<')
            safe += "&lt;";
        else if (c == '>')
            safe += "&gt;";
        else if (c == '"')
            safe += "&quot;";
        else // lines are what a program gave: bytes beyond ASCII need not be letters
            safe += static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7e ? '?' : c;
    }
    return safe + (text.size() > most ? "..." : "");
}

std::string number(double value)
{
    char text[32];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 1);
    return error == std::errc() ? std::string(text, end) : "0";
}

std::string element(const std::string& tag, const std::string& inner, const std::string& more = {})
{
    return "<" + tag + (more.empty() ? "" : " " + more) + ">" + inner + "</" + tag + ">";
}

std::string rectangle(double x, double y, double width, double height, const std::string& more = {})
{
    return "<rect x=\"" + number(x) + "\" y=\"" + number(y) + "\" width=\"" + number(width) + "\" height=\"" +
           number(height) + "\"" + (more.empty() ? "" : " " + more) + "/>";
}

// Shades stand for logarithms: 1 to 9, 10 to 99, and so on, in five steps.
constexpr int shades = 5;
int shade_of(double value, double most)
{
    return most <= 1 ? shades - 1
                     : std::clamp(static_cast<int>(shades * std::log(value) / std::log(most)), 0, shades - 1);
}
std::string opacity(int shade)
{
    return "fill-opacity=\"" + number(0.2 * (shade + 1)) + "\"";
}

std::string head_row(const std::vector<Table::Column>& columns)
{
    std::string cells;
    for (const Table::Column& column : columns)
        cells += element("th", escaped(column.name), column.is_number ? "scope=col class=n" : "scope=col");
    return element("thead", element("tr", cells));
}

/// A table that scrolls by itself, by keys too.
std::string scrolled(const std::string& name, const std::string& table)
{
    return "<div class=scroll tabindex=0 role=region aria-label=\"" + name + "\">" + table + "</div>\n";
}

class Page {
public:
    Page(const Totals& totals, const RunHead& head)
        : totals_(totals), head_(head), routines_(routines_table(totals))
    {
        for (const auto& row : routines_.rows)
            ids_.emplace(row.front(), ids_.size());
    }

    std::string text() const
    {
        std::string page = "<!DOCTYPE html>\n<html lang=en>\n<meta charset=utf-8>\n"
                           "<meta http-equiv=Content-Security-Policy content=\"default-src 'none'; style-src "
                           "'unsafe-inline'; "
                           "script-src 'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
                           "<meta name=viewport content=\"width=device-width, initial-scale=1\">\n" +
                           element("title", escaped("qnm-run: " + head_.program)) + "\n" +
                           element("style", page_style) + "\n<body>\n";
        page += head();
        page += "<div id=filter role=status hidden>Only <b id=filtered></b>"
                "<button id=clear type=button>Show all (Esc)</button></div>\n<main>\n";
        page += section("routines", "Time by routine", routines());
        if (!totals_.bad().empty() || !totals_.refused_plans().empty())
            page += section("errors", "Errors", errors());
        if (!totals_.routines().empty()) {
            page += section("sizes", "Sizes", sizes());
            page += section("time", "Calls over time, and threads", lanes());
            page += section("long", "The longest calls", longest());
        }
        return page + "</main>\n" + element("script", page_script) + "\n</body>\n</html>\n";
    }

private:
    std::string id(const std::string& routine) const
    {
        const auto found = ids_.find(routine);
        return std::to_string(found != ids_.end() ? found->second : 0);
    }
    std::string of(const std::string& routine) const { return "data-r=" + id(routine); }
    /// A word that filters by routine; without a script, it leads to the routine's sizes.
    std::string filter(const std::string& routine, const std::string& words) const
    {
        return element("a", words,
                       "class=f href=\"#s" + id(routine) + "\" " + of(routine) + " data-t=\"" +
                           escaped(routine) + "\"");
    }

    static std::string section(const std::string& name, const std::string& title, const std::string& inner)
    {
        return "<section id=" + name + ">\n" + element("h2", title) + "\n" + inner +
               "<p class=\"none soft\" hidden>Nothing here of what is filtered.</p>\n</section>\n";
    }

    std::string head() const
    {
        std::string facts;
        const auto fact = [&](const std::string& name, const std::string& value) {
            if (!value.empty())
                facts += element("dt", name) + element("dd", escaped(value, 2000)) + "\n";
        };
        fact("program", head_.command);
        fact("begun", head_.began);
        fact("machine", machine());
        // "open core 2.0.0, engine ..., process 1, 2 threads"
        const std::string_view heading = totals_.heading();
        const std::size_t engine = heading.find(", engine "), process = heading.find(", process ");
        if (engine != heading.npos && process != heading.npos && process > engine) {
            fact("core", std::string(heading.substr(0, engine)));
            fact("engine", std::string(heading.substr(engine + 9, process - engine - 9)));
            const std::size_t threads = heading.find(", ", process + 2);
            if (threads != heading.npos)
                fact("threads",
                     std::string(heading.substr(threads + 2, heading.find(" threads") - threads - 2)));
        } else {
            fact("core", totals_.heading());
        }
        fact("why nothing", head_.why_nothing);
        if (!head_.goes_on && head_.why_nothing.empty())
            fact("passed by",
                 head_.passed_by.empty() ? std::string("nothing by its files; ") + unseen : head_.passed_by);
        return "<header>\n" + element("h1", escaped(head_line(totals_, head_), 2000), "id=head") + "\n" +
               element("dl", facts) +
               "<nav aria-label=\"parts of the page\"><a href=\"#routines\">routines</a> " +
               (totals_.bad().empty() && totals_.refused_plans().empty()
                    ? ""
                    : "<a href=\"#errors\">errors</a> ") +
               (totals_.routines().empty()
                    ? ""
                    : "<a href=\"#sizes\">sizes</a> <a href=\"#time\">time and threads</a> "
                      "<a href=\"#long\">longest calls</a>") +
               "</nav>\n</header>\n";
    }

    static std::string machine()
    {
        utsname name{};
        std::string text;
        std::ifstream processors("/proc/cpuinfo");
        for (std::string line; std::getline(processors, line);)
            if (line.starts_with("model name") && line.find(": ") != line.npos) {
                text = line.substr(line.find(": ") + 2) + ", ";
                break;
            }
        text += std::to_string(std::thread::hardware_concurrency()) + " processors";
        if (uname(&name) == 0)
            text += std::string(", ") + name.sysname + " " + name.release + " " + name.machine + ", " +
                    name.nodename;
        return text;
    }

    std::string routines() const
    {
        if (routines_.rows.empty())
            return "<p>No traced call was made.</p>\n";
        std::vector<Table::Column> columns = routines_.columns;
        columns.insert(columns.end() - 1, Table::Column{"", false});
        std::string body, foot;
        double most = 0;
        for (const auto& [name, routine] : totals_.routines())
            most = std::max(most, routine.seconds);
        for (std::size_t r = 0; r < routines_.rows.size(); ++r) {
            const auto& row = routines_.rows[r];
            const bool last = r + 1 == routines_.rows.size();
            std::string cells;
            for (std::size_t i = 0; i < row.size(); ++i) {
                const bool bad = columns[i].name == "refused" && row[i] != "0";
                if (i == 0)
                    cells += element("th", last ? row[i] : filter(row[i], escaped(row[i])), "scope=row");
                else if (i + 1 < row.size())
                    cells += element("td", escaped(row[i]), bad ? "class=\"n bad\"" : "class=n");
                else
                    cells += bar(last ? 0 : totals_.routines().find(row.front())->second.seconds, most) +
                             element("td", escaped(row[i]), "class=code");
            }
            (last ? foot : body) += element("tr", cells, last ? "" : of(row.front())) + "\n";
        }
        return "<p>Time is that of calls; queries for work arrays and refused calls are counted by "
               "themselves. A "
               "routine's name filters the page.</p>\n" +
               scrolled("Time by routine", "<table id=by-routine>" + head_row(columns) +
                                               element("tbody", body) + element("tfoot", foot) + "</table>");
    }

    static std::string bar(double value, double most)
    {
        return element("td",
                       "<svg viewBox=\"0 0 100 8\" preserveAspectRatio=none aria-hidden=true class=bars>" +
                           rectangle(0, 0, most > 0 && value > 0 ? std::max(100 * value / most, 0.3) : 0, 8) +
                           "</svg>",
                       "class=bar");
    }

    std::string errors() const
    {
        std::string text;
        if (const Table table = bad_table(totals_); !table.rows.empty()) {
            std::string body;
            for (const auto& row : table.rows) {
                std::string cells = element("th", filter(row[0], escaped(row[0])), "scope=row");
                for (std::size_t i = 1; i < row.size(); ++i)
                    cells += element("td", escaped(row[i]),
                                     table.columns[i].is_number ? "class=n"
                                     : i + 1 == row.size()      ? "class=wide"
                                                                : "");
                body += element("tr", cells, of(row[0])) + "\n";
            }
            text += scrolled("Refused calls", "<table id=bad>" + head_row(table.columns) +
                                                  element("tbody", body) + "</table>");
        }
        if (const Table table = plans_table(totals_); !table.rows.empty()) {
            std::string body;
            for (const auto& row : table.rows)
                body += element("tr", element("th", escaped(row[0]), "scope=row") +
                                          element("td", escaped(row[1]), "class=n") +
                                          element("td", escaped(row[2]), "class=wide")) +
                        "\n";
            text += scrolled("Refused plans", "<table id=plans>" + head_row(table.columns) +
                                                  element("tbody", body) + "</table>");
        }
        return text;
    }

    std::string sizes() const
    {
        std::string cards;
        std::size_t left_out = 0;
        for (const auto& row : routines_.rows) {
            const auto found = totals_.routines().find(row.front());
            if (found == totals_.routines().end() || found->second.calls == 0)
                continue;
            const std::string made = cards.size() < room_of_sizes ? card(found->first, found->second) : "";
            if (made.empty() || cards.size() + made.size() > room_of_sizes)
                ++left_out;
            else
                cards += made;
        }
        return "<p>Across: the largest size of a call, by octaves. Up: its time. The stronger the colour, "
               "the more calls. "
               "A square "
               "filters the page by routine and size.</p>\n<div class=grid>\n" +
               cards + "</div>\n" +
               (left_out > 0
                    ? element("p", std::to_string(left_out) + " routines with less time have no picture.",
                              "class=soft") +
                          "\n"
                    : "");
    }

    static std::string size_text(int octave)
    {
        if (octave == 0)
            return "0";
        const auto from = std::int64_t{1} << (octave - 1), to = 2 * from - 1;
        return from == to ? std::to_string(from) : std::to_string(from) + " to " + std::to_string(to);
    }
    static std::string short_size(int octave)
    {
        if (octave == 0)
            return "0";
        const int power = octave - 1;
        return std::to_string(1 << (power % 10)) + (power < 10   ? ""
                                                    : power < 20 ? "k"
                                                    : power < 30 ? "M"
                                                                 : "G");
    }

    std::string card(const std::string& name, const Totals::Routine& routine) const
    {
        constexpr double left = 44, top = 6, width = 210, height = 110;
        int low = most_octaves, high = 0, fast = most_half_decades, slow = 0;
        std::uint64_t most = 1;
        std::map<int, Totals::Routine::Cell> by_size;
        for (const auto& [at, cell] : routine.cells) {
            low = std::min(low, at.first);
            high = std::max(high, at.first);
            fast = std::min(fast, at.second);
            slow = std::max(slow, at.second);
            most = std::max(most, cell.calls);
            by_size[at.first].calls += cell.calls;
            by_size[at.first].seconds += cell.seconds;
        }
        // A picture of one square tells nothing of its neighbourhood.
        for (int side = 0; high - low < 7; ++side)
            side % 2 == 0 && high<most_octaves ? ++high : low> 0 ? --low : ++high;
        for (int side = 0; slow - fast < 5; ++side)
            side % 2 == 0 && slow<most_half_decades - 1 ? ++slow : fast> 0 ? --fast : ++slow;
        const double across = width / (high - low + 1), up = height / (slow - fast + 1);
        std::string drawn = "<path class=axis d=\"M" + number(left) + " " + number(top) + "v" +
                            number(height) + "h" + number(width) + "\"/>";
        const auto word = [](double x, double y, const char* anchor, const std::string& text) {
            return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" text-anchor=" + anchor + ">" +
                   text + "</text>";
        };
        for (int octave = low; octave <= high; octave += high - low > 15 ? 4 : 2)
            drawn +=
                word(left + across * (octave - low + 0.5), top + height + 12, "middle", short_size(octave));
        for (int half = fast + fast % 2; half <= slow + 1; half += 2)
            drawn += word(left - 4, top + height - up * (half - fast) + 3, "end",
                          duration_tick(std::pow(10.0, half / 2 - 8)));
        for (const auto& [at, cell] : routine.cells)
            drawn +=
                "<g class=f " + of(name) + " data-s=" + std::to_string(at.first) + " data-t=\"" +
                escaped(name) + ", size " + size_text(at.first) + "\">" +
                element("title", std::to_string(cell.calls) + " calls of size " + size_text(at.first) + ", " +
                                     duration_text(cell.seconds)) +
                rectangle(left + across * (at.first - low) + 0.5, top + up * (slow - at.second) + 0.5,
                          across - 1, up - 1,
                          opacity(shade_of(static_cast<double>(cell.calls), static_cast<double>(most)))) +
                "</g>";
        std::string rows;
        for (const auto& [octave, cell] : by_size)
            rows += element("tr", element("th",
                                          element("a", size_text(octave),
                                                  "class=f href=\"#long\" " + of(name) +
                                                      " data-s=" + std::to_string(octave) + " data-t=\"" +
                                                      escaped(name) + ", size " + size_text(octave) + "\""),
                                          "scope=row") +
                                      element("td", std::to_string(cell.calls), "class=n") +
                                      element("td", duration_text(cell.seconds), "class=n"));
        return "<div class=card id=s" + id(name) + " " + of(name) + ">" +
               element("h3", filter(name, escaped(name))) +
               "<svg viewBox=\"0 0 260 136\" role=img aria-label=\"Calls of " + escaped(name) +
               " by size and time; the table below has the numbers\" class=bars>" + drawn + "</svg>" +
               element("details",
                       element("summary", "Table") +
                           element("table", head_row({{"size"}, {"calls", true}, {"total", true}}) +
                                                element("tbody", rows))) +
               "</div>\n";
    }

    static std::string duration_tick(double seconds)
    {
        const std::string text = duration_text(seconds); // "10.0us", "1.00ms": the power alone
        const std::size_t unit = text.find_first_not_of("0123456789.");
        return std::to_string(std::lround(std::strtod(text.c_str(), nullptr))) + text.substr(unit);
    }

    static std::string lane_name(const Totals::Lane& lane)
    {
        return lane.process == 0
                   ? "all others"
                   : std::to_string(lane.process) +
                         (lane.thread == lane.process ? "" : " thread " + std::to_string(lane.thread));
    }

    /// By process; that of all others last.
    std::vector<const Totals::Lane*> ordered_lanes() const
    {
        std::vector<const Totals::Lane*> all;
        for (const Totals::Lane& lane : totals_.lanes())
            all.push_back(&lane);
        std::sort(all.begin(), all.end(), [](const Totals::Lane* a, const Totals::Lane* b) {
            return std::tuple(a->process == 0, a->process, a->thread) <
                   std::tuple(b->process == 0, b->process, b->thread);
        });
        return all;
    }

    /// How much of the run each lane spent inside, and when; the longest calls stand out.
    std::string lanes() const
    {
        const double wide = totals_.bin_seconds(), end = std::max(head_.seconds, 1e-9);
        const auto shown = static_cast<std::size_t>(
            std::clamp(std::ceil(end / wide), 1.0, static_cast<double>(Totals::bin_count)));
        double most = 1;
        for (const Totals::Lane& lane : totals_.lanes())
            for (const Totals::Lane::Bin& bin : lane.bins)
                most = std::max(most, static_cast<double>(bin.calls));
        const auto longest = totals_.longest();
        const std::string box = "<svg viewBox=\"0 0 " + std::to_string(shown) +
                                " 10\" preserveAspectRatio=none role=img class=bars aria-label=\"";
        std::string text =
            "<p>One row for each process and thread. Upper half: how many calls began, in pieces of " +
            duration_text(wide) +
            "; the stronger the colour, the more. Lower half: the part of that time spent inside of the "
            "library. "
            "Orange: the longest calls. To the right: occupation over the whole run.</p>\n<p class=soft>" +
            legend(most) + "</p>\n<div class=lanes>\n";
        for (const Totals::Lane* const one : ordered_lanes()) {
            const Totals::Lane& lane = *one;
            std::string paths[shades], busy, marks;
            for (std::size_t i = 0; i < shown; ++i) {
                const Totals::Lane::Bin& bin = lane.bins[i];
                const std::string at = "M" + std::to_string(i);
                if (bin.calls > 0)
                    paths[shade_of(static_cast<double>(bin.calls), most)] += at + " 0h1v4h-1z";
                if (const double part = std::min(bin.seconds / wide, 1.0); part > 0) {
                    const std::string high = number(std::max(5 * part, 0.1));
                    busy += at + " 10v-" + high + "h1v" + high + "z";
                }
            }
            for (const Totals::Long& call : longest)
                if (call.process == lane.process && call.thread == lane.thread)
                    marks += "<g " + of(call.routine) + " data-s=" + std::to_string(call.octave) + ">" +
                             rectangle(call.begin / wide, 4, std::max(call.seconds / wide, 0.3), 1) + "</g>";
            std::string drawn;
            for (int i = 0; i < shades; ++i)
                if (!paths[i].empty())
                    drawn += "<path " + opacity(i) + " d=\"" + paths[i] + "\"/>";
            drawn += "<path d=\"" + busy + "\"/><g class=long>" + marks + "</g>";
            const std::string name = lane_name(lane);
            text += element("span", name) + box + "Calls and occupation of " + name +
                    " over time; the tables below have the numbers\">" + drawn + "</svg>" +
                    element("span", share_text(lane.seconds, end), "class=n") + "\n";
        }
        text += "<span></span><span class=ends><span>0</span><span>" +
                duration_text(wide * static_cast<double>(shown)) + "</span></span><span></span>\n</div>\n";
        return text + lanes_table(end) + bins_table(shown);
    }

    static std::string legend(double most)
    {
        std::string text;
        for (int i = 0; i < shades; ++i) {
            const double from = std::ceil(std::pow(most, static_cast<double>(i) / shades));
            text += element("span",
                            "<svg viewBox=\"0 0 1 1\" class=bars aria-hidden=true>" +
                                rectangle(0, 0, 1, 1, opacity(i)) + "</svg> from " +
                                std::to_string(std::llround(from)),
                            "class=legend");
            if (most <= 1)
                return element("span",
                               "<svg viewBox=\"0 0 1 1\" class=bars aria-hidden=true>" +
                                   rectangle(0, 0, 1, 1, opacity(shades - 1)) + "</svg> one call",
                               "class=legend");
        }
        return "Calls: " + text;
    }

    std::string lanes_table(double end) const
    {
        std::string rows;
        for (const Totals::Lane* const one : ordered_lanes()) {
            const Totals::Lane& lane = *one;
            rows +=
                element("tr", element("th", lane.process == 0 ? "all others" : std::to_string(lane.process),
                                      "scope=row") +
                                  element("td", std::to_string(lane.thread), "class=n") +
                                  element("td", std::to_string(lane.calls), "class=n") +
                                  element("td", duration_text(lane.seconds), "class=n") +
                                  element("td", share_text(lane.seconds, end), "class=n")) +
                "\n";
        }
        return element("details", element("summary", "Table by thread") +
                                      scrolled("Threads", "<table id=by-thread>" +
                                                              head_row({{"process"},
                                                                        {"thread", true},
                                                                        {"calls, all kinds", true},
                                                                        {"inside", true},
                                                                        {"of the run", true}}) +
                                                              element("tbody", rows) + "</table>"));
    }

    std::string bins_table(std::size_t shown) const
    {
        std::string rows;
        for (std::size_t i = 0; i < shown; ++i) {
            Totals::Lane::Bin sum;
            std::size_t lanes = 0;
            for (const Totals::Lane& lane : totals_.lanes()) {
                sum.calls += lane.bins[i].calls;
                sum.seconds += lane.bins[i].seconds;
                lanes += lane.bins[i].seconds > 0 || lane.bins[i].calls > 0;
            }
            if (lanes > 0)
                rows +=
                    element("tr", element("th", duration_text(static_cast<double>(i) * totals_.bin_seconds()),
                                          "scope=row") +
                                      element("td", std::to_string(sum.calls), "class=n") +
                                      element("td", duration_text(sum.seconds), "class=n") +
                                      element("td", std::to_string(lanes), "class=n")) +
                    "\n";
        }
        return element(
            "details",
            element("summary", "Table by time") +
                scrolled(
                    "Calls over time",
                    "<table>" +
                        head_row({{"from"}, {"calls begun", true}, {"inside", true}, {"threads", true}}) +
                        element("tbody", rows) + "</table>"));
    }

    std::string longest() const
    {
        std::string rows;
        for (const Totals::Long& call : totals_.longest())
            rows += element("tr",
                            element("td", duration_text(call.seconds), "class=n") +
                                element("td", duration_text(call.begin), "class=n") +
                                element("td",
                                        std::to_string(call.process) +
                                            (call.thread == call.process ? ""
                                                                         : "/" + std::to_string(call.thread)),
                                        "class=n") +
                                element("td", escaped(call.line), "class=wide"),
                            of(call.routine) + " data-s=" + std::to_string(call.octave)) +
                    "\n";
        return scrolled(
            "The longest calls",
            "<table id=longest>" +
                head_row({{"time", true}, {"begun at", true}, {"process/thread", true}, {"call"}}) +
                element("tbody", rows) + "</table>");
    }

    const Totals& totals_;
    const RunHead& head_;
    Table routines_;
    std::map<std::string, std::size_t> ids_;
};

} // namespace

std::string page_text(const Totals& totals, const RunHead& head)
{
    return Page(totals, head).text();
}

void write_page(const std::string& file, const std::string& text)
{
    // Devices and pipes stay what they are.
    struct stat status {};
    const bool replaces = lstat(file.c_str(), &status) != 0 || S_ISREG(status.st_mode);
    const std::string beside = replaces ? file + "." + std::to_string(getpid()) : file;
    std::FILE* const out = std::fopen(beside.c_str(), "we");
    bool good = out != nullptr && std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (out != nullptr)
        good = std::fclose(out) == 0 && good;
    if (good && (!replaces || std::rename(beside.c_str(), file.c_str()) == 0))
        return;
    const int error = errno;
    if (out != nullptr && replaces)
        unlink(beside.c_str());
    throw Refusal(status_own_failure, file + ": " + std::strerror(error));
}

} // namespace qnm::run
