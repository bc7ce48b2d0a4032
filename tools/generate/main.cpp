// The generator: reads the tables and writes what the compiler and the linker need of them.
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>

#include "abi.hpp"
#include "catalogue/tool.hpp"
#include "output.hpp"

namespace {

constexpr const char* usage =
    "usage: generate source TABLE OUTPUT TABLES...\n"
    "       generate header TEMPLATE OUTPUT TABLES...\n"
    "       generate --explain NAME TABLES...\n"
    "       generate abi check PROMISES TABLES...\n"
    "       generate abi VERSION PROMISES TABLES...   (adds what is new in VERSION)\n"
    "       generate symbols PROMISES OUTPUT\n"
    "TABLE is the folder and name of one of TABLES: blas/level2.tab.\n";

std::string text_of(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw qnm::catalogue::TableError(path + ":0: cannot be read: expected promises");
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

/// Holds promises against the tables, or adds what they say besides.
int run_abi(const std::string& version, const std::string& path, const std::vector<std::string>& tables)
{
    using namespace qnm;
    const std::string text = text_of(path);
    const generate::Abi kept = generate::promised(text, path);
    const auto read = catalogue::read_tables(tables);
    const auto functions = read.signatures();
    const auto built = generate::abi_of(functions);
    const auto broken = generate::broken_promises(kept, built);
    for (const std::string& each : broken)
        std::fprintf(stderr, "%s: %s\n", path.c_str(), each.c_str());
    if (version != "check" && broken.empty())
        generate::write_if_changed(path, text + generate::additions_text(kept, functions, version));
    const auto fresh = version == "check" ? generate::additions(kept, built) : std::set<std::string>{};
    if (!fresh.empty())
        std::fprintf(stderr, "%s: %zu names are not promised yet, %s the first: 'make abi' adds them\n",
                     path.c_str(), fresh.size(), fresh.begin()->c_str());
    return broken.empty() && fresh.empty() ? 0 : 1;
}

int run(const std::vector<std::string>& words)
{
    using namespace qnm;
    if (words.size() >= 4 && words[0] == "abi")
        return run_abi(words[1], words[2], {words.begin() + 3, words.end()});
    if (words.size() == 3 && words[0] == "symbols") {
        generate::write_if_changed(words[2],
                                   generate::symbols_text(generate::promised(text_of(words[1]), words[1])));
        return 0;
    }
    if (words.size() >= 3 && words[0] == "--explain") {
        const auto tables = catalogue::read_tables({words.begin() + 2, words.end()});
        const std::string text = generate::explanation(tables, tables.signatures(), words[1]);
        if (text.empty())
            std::fprintf(stderr, "generate: no row exports the name %s\n", words[1].c_str());
        std::fputs(text.c_str(), stdout);
        return text.empty() ? 1 : 0;
    }
    if (words.size() < 4) {
        std::fputs(usage, stderr);
        return 2;
    }
    using Output = std::string (*)(const catalogue::Catalogue&, const std::string&);
    static const std::map<std::string, Output> outputs{{"source", generate::source_text},
                                                       {"header", generate::header_text}};
    const auto tables = catalogue::read_tables({words.begin() + 3, words.end()});
    const auto output = outputs.find(words[0]);
    if (output == outputs.end()) {
        std::fputs(usage, stderr);
        return 2;
    }
    generate::write_if_changed(words[2], output->second(tables, words[1]));
    return 0;
}

} // namespace

int main(int count, char** words)
{
    return qnm::catalogue::run_tool(run, count, words);
}
