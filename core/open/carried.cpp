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

// The engine returns these in registers. A character result has an address and a length ahead of the
// arguments on both sides.
bool complex_result(const Row& row)
{
    return row.result.kind == ResultKind::hidden && row.result.type != "char";
}

// One-based place of an argument in the core's call; 0 if the row has none of that name that points to
// integers.
int place(const Row& row, const std::string& name)
{
    int at = complex_result(row) ? 1 : row.result.kind == ResultKind::hidden ? 2 : 0;
    for (const Argument& argument : row.arguments) {
        at += argument.kept ? 0 : 1;
        if (argument.name == name)
            return argument.kind == Kind::integer || argument.kind == Kind::integers ? at : 0;
    }
    return 0;
}

std::string stub(const Entry& entry)
{
    // Group batches have an info of the caller's width for each problem: nothing of one width can be stored
    // there.
    // Some functions read an INFO that another routine has set.
    const Argument* argument = entry.row->find("info");
    const bool written = argument != nullptr && argument->direction != Direction::none && !entry.row->groups;
    const int info = written ? place(*entry.row, "info") : 0;
    const int count = info != 0 && argument->array ? place(*entry.row, "batch_size") : 0;
    return "        stub    " + entry.core() + ", \"" + to_upper(entry.cell()) + "\", " +
           std::to_string(info) + ", " + std::to_string(count) + "\n";
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
    for (const Entry& entry : tables.entries()) {
        const std::string core = entry.core();
        if (core.empty() || entry.width == Width::wide || !told.insert(core).second)
            continue;
        const std::string pattern = entry.row->family->core;
        const std::string stem = core.substr(pattern.size() - std::string("name").size());
        if (own.count(core) != 0) {
            list += core + " own\n";
        } else if (!complex_result(*entry.row) && engine.count(stem + "_") != 0) {
            code += "        carry   " + core + ", " + stem + "_\n";
            list += core + " engine\n";
        } else {
            code += stub(entry);
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
