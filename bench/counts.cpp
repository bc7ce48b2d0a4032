#include "counts.hpp"

#include <sstream>

namespace qnm::bench {
namespace {

bool starts(const std::string& line, const char* with)
{
    return line.rfind(with, 0) == 0;
}

std::string behind(const std::string& line, const char* start)
{
    return line.substr(std::string(start).size());
}

} // namespace

Counts read_counts(std::istream& file, const Section& linkage_table)
{
    static const char part_line[] = "desc: Trigger: Client Request: ";
    Counts counts;
    std::string line, object, function, part;
    while (std::getline(file, line)) {
        if (starts(line, "desc: Trigger: "))
            part = starts(line, part_line) ? behind(line, part_line) : "";
        else if (starts(line, "ob="))
            object = behind(line, "ob=");
        else if (starts(line, "fn="))
            function = behind(line, "fn=");
        else if (starts(line, "calls="))
            std::getline(file, line); // what the callee took, counted there
        else if (starts(line, "0x") && !part.empty()) {
            std::uint64_t address = 0, source_line = 0, instructions = 0;
            std::istringstream(line) >> std::hex >> address >> std::dec >> source_line >> instructions;
            Count& count = counts[part];
            const double per_call = static_cast<double>(instructions) / counted_calls;
            count.all += per_call;
            if (starts(function, "_dl_tlsdesc")) // where the core finds a thread's memory
                continue;
            if (object.find("/ld-linux") != std::string::npos)
                count.binding += per_call;
            else if (object.find("libqnm_orvan_lp64") != std::string::npos)
                count.own += per_call;
            else if (address >= linkage_table.begin && address < linkage_table.end)
                count.linkage += per_call; // an object of its own to callgrind, without a name
        }
    }
    return counts;
}

} // namespace qnm::bench
