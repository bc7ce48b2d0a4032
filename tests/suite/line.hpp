// The trace line of a call, by a formatter of our own.
#pragma once

#include "support/function_call.hpp"

namespace qnm::tests {

/// The line that a signature tells, cut to the room that there is: addresses as this call has them, integers,
/// letters and numbers from another one, 0 for integers that are not there.
inline std::string line_of(const FunctionCall& call, const FunctionCall& values)
{
    const std::string& format = call.signature().trace;
    std::string line;
    std::size_t i = 0, from = 0;
    char text[64];
    for (std::size_t at; (at = format.find('%', from)) != std::string::npos; ++i) {
        line += format.substr(from, at - from);
        const std::size_t end = format.find_first_of("cdipfu", at);
        from = end + 1;
        if (call.parameters()[i].name == "result_length")
            ++i;
        if (format[end] == 'p')
            std::snprintf(text, sizeof text, "%p",
                          call.parameters()[i].travel == Travel::number // the handle itself
                              ? *reinterpret_cast<void* const*>(call.word(i).bits())
                              : reinterpret_cast<void*>(call.word(i).bits()));
        else if (format[end] == 'c')
            std::snprintf(text, sizeof text, "%c", values.letter(i));
        else if (format[end] == 'f')
            std::snprintf(text, sizeof text, "%.6f", static_cast<double>(values.number(i)));
        else
            std::snprintf(text, sizeof text, format[end] == 'u' ? "%llu" : "%lld",
                          call.is_null(i) ? 0LL : static_cast<long long>(values.integer(i)));
        line += text;
    }
    return (line + format.substr(from)).substr(0, 449);
}

/// The end of a traced call: the line with its time, which is that between readings at 2 and 5 seconds.
inline void expect_line(const FunctionCall& call, const std::string& line)
{
    const auto& calls = core().calls();
    ASSERT_GE(calls.size(), 3U);
    const Call& formatted = calls[calls.size() - 2];
    EXPECT_EQ(formatted.name, "qnm_serv_snprintf_s");
    EXPECT_EQ(formatted.text, call.signature().trace);
    EXPECT_EQ(formatted.word(1), 450U);
    EXPECT_EQ(formatted.word(2), 449U);
    EXPECT_THAT(calls.back(), recording::Printed(line, 3.0));
}
inline void expect_line(const FunctionCall& call)
{
    expect_line(call, line_of(call, call));
}

} // namespace qnm::tests
