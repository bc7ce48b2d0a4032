// Writes what an engine asks of a BLAS and a LAPACK with 32-bit integers: hidden functions that widen and
// call the core's.
//   shims SOURCE WANTED-SYMBOLS TABLES...
// What is wanted is what nm tells of undefined symbols; names of which no row knows are others' to define.
#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

#include "catalogue/catalogue.hpp"
#include "catalogue/tool.hpp"

namespace {

using namespace qnm::catalogue;

bool is_written(const Parameter& p)
{
    return p.argument != nullptr && p.argument->direction != Direction::none &&
           p.argument->direction != Direction::in;
}

/// As a kind of the frame's: integers are read or come back.
std::string type_of(const Parameter& p)
{
    switch (p.travel) {
    case Travel::letter:
        return "const char*";
    case Travel::integer:
        return is_written(p) ? "int*" : "const int*";
    case Travel::number:
    case Travel::address:
        return "const void*";
    default:
        throw std::runtime_error(p.name + ": no shim has such an argument");
    }
}

std::string shim(const Signature& s, const std::string& name)
{
    std::string here, core, given;
    for (const Parameter& p : s.parameters) {
        const std::string separator = given.empty() ? "" : ", ";
        const std::string type = type_of(p);
        here += separator + type + " " + p.name;
        core += separator + (type == "int*" ? "core_int*" : type == "const int*" ? "const core_int*" : type);
        given += separator + p.name;
    }
    for (int k = 0; k < s.hidden_lengths; ++k)
        core += ", hidden_length";
    const bool real = s.result == "float" || s.result == "double";
    const std::string result = s.result == "void" || real ? s.result : "int";
    const std::string& callee = s.callees.front().name;
    return "extern \"C\" " + result + " " + callee + "(" + core + ");\nextern \"C\" " + result + " " + name +
           "(" + here + ")\n{\n    return blas::bare<" + callee + ">(" + given + ");\n}\n";
}

int run(const std::vector<std::string>& words)
{
    if (words.size() < 3) {
        std::fputs("usage: shims SOURCE WANTED-SYMBOLS TABLES...\n", stderr);
        return 2;
    }
    std::ifstream in(words[1]);
    std::set<std::string> wanted;
    for (std::string word; in >> word;)
        wanted.insert(word);
    const Catalogue tables = read_tables({words.begin() + 2, words.end()});
    std::ostringstream text;
    text << "#include \"shims.hpp\"\n\nnamespace qnm {\n\n";
    for (const Signature& s : tables.signatures())
        for (const std::string& name : s.names)
            if (wanted.erase(name) != 0)
                text << shim(s, name);
    text << "\n} // namespace qnm\n";
    std::ofstream out(words[0]);
    out << text.str();
    return out.flush() ? 0 : 1;
}

} // namespace

int main(int count, char** words)
{
    return qnm::catalogue::run_tool(run, count, words);
}
