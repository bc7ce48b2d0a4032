// Lines of a trace: a program writes what it likes among them.
#include "report.hpp"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    if (const auto call = qnm::run::parse_call(line))
        for (const std::string_view argument : call->arguments)
            if (!argument.empty() && (argument.data() < line.data() ||
                                      argument.data() + argument.size() > line.data() + line.size()))
                __builtin_trap();
    if (const auto plan = qnm::run::parse_refused_plan(line); plan && plan->planner.empty())
        __builtin_trap();
    return 0;
}
