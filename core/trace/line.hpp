// The text form of a trace's lines, as files have it.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace qnm::trace {

/// Four significant digits in the unit that keeps them below 1000; "-" for a time that is not known. No
/// locale has a part in it.
inline std::string_view time_text(double seconds, std::array<char, 48>& text)
{
    struct Unit {
        std::string_view name;
        double scale;
    };
    constexpr std::array<Unit, 4> units{{{"ns", 1e9}, {"us", 1e6}, {"ms", 1e3}, {"s", 1}}};
    if (!(seconds >= 0))
        return "-";
    for (const Unit& unit : units) {
        const double value = seconds * unit.scale + 0.0; // no minus zero
        const int decimals = value < 9.9995 ? 3 : value < 99.995 ? 2 : value < 999.95 ? 1 : 0;
        if (decimals == 0 && &unit != &units.back())
            continue;
        const auto [end, error] = std::to_chars(text.data(), text.data() + text.size() - unit.name.size(),
                                                value, std::chars_format::fixed, decimals);
        if (error == std::errc())
            return {text.data(), std::copy(unit.name.begin(), unit.name.end(), end)};
    }
    return "-";
}

using LineText = std::array<char, 4096>; // the least unit that a pipe takes whole

/// A call's line with its newline; a heading, which begins with '#', stands for itself. What is too long
/// loses its end, but for the time.
inline std::string_view line_text(std::string_view line, double seconds, LineText& text)
{
    char* end = text.data();
    const auto add = [&end](std::string_view more) { end = std::copy(more.begin(), more.end(), end); };
    std::array<char, 48> time;
    const bool is_call = !line.starts_with('#');
    if (is_call)
        add("QNM_VERBOSE ");
    add(line.substr(0, text.size() - time.size() - 16));
    if (is_call) {
        add(" ");
        add(time_text(seconds, time));
    }
    add("\n");
    return {text.data(), end};
}

} // namespace qnm::trace
