// Writes the reference: a page for each title, and the page that lists and finds them.
//   reference FOLDER DATE CARRIED KERNELS HEADERS TABLES...
// CARRIED.list tells who carries each function of the open core, CARRIED.own and KERNELS what nm tells of its
// own code and of its kernels. HEADERS are the templates of public headers, with commas between.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "catalogue/tool.hpp"
#include "generate/output.hpp"
#include "page.hpp"

namespace {

using namespace qnm;
namespace fs = std::filesystem;

std::ifstream opened(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw catalogue::TableError(path + ":0: cannot be read: expected a file");
    return in;
}

reference::Build build_of(const std::vector<std::string>& words)
{
    reference::Build build;
    build.date = words[1];
    std::ifstream carried = opened(words[2] + ".list");
    for (std::string name, word; carried >> name >> word;)
        build.carried[name] = word;
    for (const auto& [path, word] : {std::pair{words[2] + ".own", "own"}, {words[3], "kernel"}}) {
        std::ifstream symbols = opened(path);
        for (std::string line; std::getline(symbols, line);) {
            std::istringstream parts(line);
            const std::vector<std::string> columns{std::istream_iterator<std::string>(parts), {}};
            if (columns.size() == 3)
                build.carried.emplace(columns[2], word);
        }
    }
    std::istringstream headers(words[4]);
    for (std::string path; std::getline(headers, path, ',');) {
        std::ifstream in = opened(path);
        for (std::string line; std::getline(in, line);)
            if (line.rfind("@prototypes ", 0) == 0) {
                std::istringstream marked(line);
                std::string mark, table;
                marked >> mark >> table;
                build.headers[table] = "qnm/" + fs::path(path).stem().string();
            }
    }
    return build;
}

int run(const std::vector<std::string>& words)
{
    if (words.size() < 6) {
        std::fputs("usage: reference FOLDER DATE CARRIED KERNELS HEADERS TABLES...\n", stderr);
        return 2;
    }
    const reference::Build build = build_of(words);
    const catalogue::Catalogue tables = catalogue::read_tables({words.begin() + 5, words.end()});
    const std::vector<reference::Page> pages = reference::pages_of(tables);
    const fs::path folder = words[0];
    fs::create_directories(folder / "man3");
    fs::create_directories(folder / "html");
    for (const reference::Page& page : pages)
        generate::write_if_changed((folder / "man3" / page.file()).string(),
                                   reference::mdoc(page, tables, build));
    generate::write_if_changed((folder / "html" / "index.html").string(), reference::index_html(pages));
    return 0;
}

} // namespace

int main(int count, char** words)
{
    return catalogue::run_tool(run, count, words);
}
