// Lines of a trace: a program writes what it likes among them.
#include "call.hpp"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    static qnm::run::CallReader reader;
    if (const auto call = reader.read(line); call && (call->name.empty() || call->refused < 0))
        __builtin_trap();
    if (const auto refused = qnm::run::parse_refused_by_engine(line);
        refused && (refused->routine.data() < line.data() ||
                    refused->routine.data() + refused->routine.size() > line.data() + line.size()))
        __builtin_trap();
    if (const auto plan = qnm::run::parse_refused_plan(line); plan && plan->planner.empty())
        __builtin_trap();
    return 0;
}
