// Writes what the core exports of its own accord for each name that the layer imports: one jump where the
// engine has the published routine, one stub where nobody has it. Names that the core's own sources define
// are left out.
//   carried ASSEMBLY LIST ENGINE-SYMBOLS OWN-SYMBOLS TABLES...
// The symbols are what nm tells. LIST gets a line for each name and who carries it.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

#include "catalogue/catalogue.hpp"
#include "catalogue/tool.hpp"

namespace {

using namespace qnm::catalogue;

// Third column of nm's lines; the others name members of an archive.
std::set<std::string> symbols_of(const std::string& path)
{
    std::ifstream in(path);
    std::set<std::string> symbols;
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string address, type, name;
        if (words >> address >> type >> name)
            symbols.insert(name);
    }
    if (symbols.empty())
        throw std::runtime_error(path + ": no symbols: expected the output of nm");
    return symbols;
}

void write(const std::string& path, const std::string& text)
{
    std::ofstream out(path);
    out << text;
    if (!out.flush())
        throw std::runtime_error(path + ": cannot be written");
}

// One-based place of a parameter in the core's call; 0 if there is none of that name that points to integers.
int place(const Signature& s, const std::string& name)
{
    const std::vector<Place>& places = s.callees.front().places;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (places[i].parameter < 0)
            continue;
        const Parameter& p = s.parameters[static_cast<std::size_t>(places[i].parameter)];
        if (p.name == name)
            return p.travel == Travel::integer || p.travel == Travel::integers ? static_cast<int>(i) + 1 : 0;
    }
    return 0;
}

std::string stub(const Signature& s)
{
    // Group batches have an info of the caller's width for each problem: nothing of one width can be stored
    // there. Some functions read an INFO that another routine has set.
    const auto info = std::find_if(s.parameters.begin(), s.parameters.end(), [](const Parameter& p) {
        return p.name == "info" && p.argument != nullptr;
    });
    const bool groups = place(s, "group_count") != 0;
    const bool written =
        info != s.parameters.end() && info->argument->direction != Direction::none && !groups;
    const int at = written ? place(s, "info") : 0;
    const int count = at != 0 && info->argument->array ? place(s, "batch_size") : 0;
    return "        stub    " + s.callees.front().name + ", \"" + to_upper(s.names.front()) + "\", " +
           std::to_string(at) + ", " + std::to_string(count) + "\n";
}

int run(const std::vector<std::string>& words)
{
    if (words.size() < 5) {
        std::fputs("usage: carried ASSEMBLY LIST ENGINE-SYMBOLS OWN-SYMBOLS TABLES...\n", stderr);
        return 2;
    }
    const std::set<std::string> engine = symbols_of(words[2]), own = symbols_of(words[3]);
    const Catalogue tables = read_tables({words.begin() + 4, words.end()});
    std::string code = "#include \"carried.inc\"\n        .text\n", list;
    std::set<std::string> told;
    for (const Signature& s : tables.signatures()) {
        const Family& family = tables.families().at(s.family);
        const bool wide = s.form->width == Width::wide;
        const std::string& pattern = wide ? family.wide_core : family.core;
        if (s.callees.empty() || pattern.empty() || family.kernels || !family.calls.empty())
            continue;
        const std::string core = s.callees.front().name;
        const std::string prefix = pattern.substr(0, to_lower(pattern).find("name"));
        if (core.rfind(prefix, 0) != 0 || !told.insert(core).second) // a chain's links jump to each other
            continue;
        const std::string stem = core.substr(prefix.size());
        if (own.count(core) != 0) {
            list += core + " own\n";
        } else if (!s.complex_result && engine.count(stem + "_") != 0) {
            code += "        carry   " + core + ", " + stem + "_\n";
            list += core + " engine\n";
        } else {
            code += stub(s);
            list += core + " stub\n";
        }
    }
    write(words[0], code + "        .section .note.GNU-stack, \"\", @progbits\n");
    write(words[1], list);
    return 0;
}

} // namespace

int main(int count, char** words)
{
    return qnm::catalogue::run_tool(run, count, words);
}
