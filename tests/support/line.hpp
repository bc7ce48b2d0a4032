// The trace line of a call, by a formatter of our own.
#pragma once

#include "support/sample_call.hpp"

namespace qnm::tests {

inline std::string address(std::uint64_t bits)
{
    char text[32];
    std::snprintf(text, sizeof text, "%p", reinterpret_cast<void*>(bits));
    return text;
}

/// Arguments as they stand behind the caller's pointers now, cut to the room that a line has; or the format
/// that they are printed with.
inline std::string line_of(const SampleCall& call, bool formats = false)
{
    std::string list;
    const auto show = [&](const char* format, const std::string& text) {
        list += (list.empty() ? "" : ",") + (formats ? format : text);
    };
    if (call.words_of_result() > 0)
        show("%p", address(support::Word(SampleCall::hidden_result()).bits()));
    for (const Argument& a : call.row().arguments)
        if (a.kind == Kind::character || a.kind == Kind::letters)
            show("%c", std::string(1, call.letter(a)));
        else if (a.kind == Kind::value || (a.kind == Kind::integer && !call.row().groups))
            show(call.narrow() ? "%d" : "%lli", call.is_null(a) ? "0" : std::to_string(call.integer(a)));
        else
            show("%p", address(call.word(a).bits()));
    return (call.entry().name() + "(" + list + ")").substr(0, 449);
}

/// The end of a traced call: the line with its time, which is that between readings at 2 and 5 seconds.
inline void expect_line(const std::string& line, const std::string& format)
{
    const auto& calls = core().calls();
    ASSERT_GE(calls.size(), 3U);
    const Call& formatted = calls[calls.size() - 2];
    EXPECT_EQ(formatted.name, "qnm_serv_snprintf_s");
    EXPECT_EQ(formatted.text, format);
    EXPECT_EQ(formatted.word(1), 450U);
    EXPECT_EQ(formatted.word(2), 449U);
    EXPECT_THAT(calls.back(), recording::Printed(line, 3.0));
}
inline void expect_line(const SampleCall& call)
{
    expect_line(line_of(call), line_of(call, true));
}

/// What a refused call does while tracing is on.
inline const std::vector<std::string> refused_story{"qnm_serv_set_xerbla_interface",
                                                    "qnm_serv_xerbla",
                                                    "qnm_serv_dsecnd",
                                                    "qnm_serv_dsecnd",
                                                    "qnm_serv_snprintf_s",
                                                    "qnm_serv_print_verbose_info"};

} // namespace qnm::tests
