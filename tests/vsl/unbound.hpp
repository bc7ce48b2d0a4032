// A layer of these entries as it was when its process began.
#pragma once

#include "support/function_call.hpp"

namespace qnm::tests {

/// Every kernel's cell, and the library's handle, as they were at the start.
class Unbound : public recording::RecordedTest {
protected:
    Unbound();
    static void forget();
    /// Expects that an entry finds its kernel at the first call, if no other form has done so, and makes
    /// these calls ahead of it; and that the kernel gets every argument at each call.
    static void expect_handed_on(const FunctionCall& call, bool first, std::vector<std::string> story = {});
    /// Expects that a traced call between readings of 1.5 and 4 seconds printed one line at its end.
    static void expect_printed(const std::string& name, const std::string& format, const std::string& line);
    /// Expects that a call tells of a kernel that is not there, or of the library where none is named, and
    /// ends the process.
    static void expect_ended(const std::string& kernel, const std::function<void()>& call);
    /// Expects a report of the entry's place and nothing else.
    static void expect_refused(const FunctionCall& call, const std::string& name, int place, int status = -3);
};

} // namespace qnm::tests
