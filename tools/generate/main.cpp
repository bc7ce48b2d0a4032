// The generator: reads the tables and writes what the compiler and the linker need of them.
#include <cstdio>
#include <fstream>
#include <sstream>

#include "catalogue/tool.hpp"
#include "output.hpp"

namespace qnm::generate {

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

void write_if_changed(const std::string& path, const std::string& text)
{
    std::ifstream in(path);
    std::ostringstream old;
    old << in.rdbuf();
    if (in && old.str() == text)
        return;
    std::ofstream out(path);
    out << text;
    if (!out.flush())
        throw catalogue::TableError(path + ":0: cannot be written: expected a folder that exists");
}

} // namespace qnm::generate

namespace {

constexpr const char* usage =
    "usage: generate entries|services|cblas|lapacke TABLE OUTPUT TABLES...\n"
    "       generate header TEMPLATE OUTPUT TABLES...\n"
    "       generate --explain NAME TABLES...\n"
    "TABLE is the file name of one of TABLES, for cblas and lapacke behind its folder.\n";

int run(const std::vector<std::string>& words)
{
    using namespace qnm;
    if (words.size() >= 3 && words[0] == "--explain") {
        const auto tables = catalogue::read_tables({words.begin() + 2, words.end()});
        const std::string text = generate::explanation(tables, words[1]);
        if (text.empty())
            std::fprintf(stderr, "generate: no row exports the name %s\n", words[1].c_str());
        std::fputs(text.c_str(), stdout);
        return text.empty() ? 1 : 0;
    }
    if (words.size() < 4) {
        std::fputs(usage, stderr);
        return 2;
    }
    const auto tables = catalogue::read_tables({words.begin() + 3, words.end()});
    if (words[0] == "entries")
        generate::write_if_changed(words[2], generate::entries_text(tables, words[1]));
    else if (words[0] == "services")
        generate::write_if_changed(words[2], generate::services_text(tables, words[1]));
    else if (words[0] == "cblas")
        generate::write_if_changed(words[2], generate::cblas_text(tables, words[1]));
    else if (words[0] == "lapacke")
        generate::write_if_changed(words[2], generate::lapacke_text(tables, words[1]));
    else if (words[0] == "header")
        generate::write_if_changed(words[2], generate::header_text(tables, words[1]));
    else {
        std::fputs(usage, stderr);
        return 2;
    }
    return 0;
}

} // namespace

int main(int count, char** words)
{
    return qnm::catalogue::run_tool(run, count, words);
}
