// The generator: reads the tables and writes what the compiler and the linker need of them.
#include <cstdio>
#include <map>

#include "catalogue/tool.hpp"
#include "output.hpp"

namespace {

constexpr const char* usage = "usage: generate source TABLE OUTPUT TABLES...\n"
                              "       generate header TEMPLATE OUTPUT TABLES...\n"
                              "       generate --explain NAME TABLES...\n"
                              "TABLE is the folder and name of one of TABLES: blas/level2.tab.\n";

int run(const std::vector<std::string>& words)
{
    using namespace qnm;
    if (words.size() >= 3 && words[0] == "--explain") {
        const auto tables = catalogue::read_tables({words.begin() + 2, words.end()});
        const std::string text = generate::explanation(tables.signatures(), words[1]);
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
