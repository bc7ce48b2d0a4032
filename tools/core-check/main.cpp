// qnm-core-check: what a core lacks, whether its services hold, and what tests say of it.
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "services.hpp"

namespace qnm::core_check {

namespace {

namespace fs = std::filesystem;

constexpr const char* usage =
    "usage: qnm-core-check [--tests LIST | --no-tests] FILE.so [FAMILY...]\n"
    "Tells which names FILE.so lacks as a core, tries its services, and runs the tests of LIST over it,\n"
    "or those of the list that is installed: published test programs.\n"
    "FAMILY is a folder of the tables, or one table: blas, blas/level1. Without one: all.\n"
    "Each line of LIST is a family, a title, and a command of the shell, which finds the core in the folder\n"
    "$QNM_CHECKED by the names under which programs load one; that folder is ahead in LD_LIBRARY_PATH.\n"
    "$QNM_LISTED is the list's folder, $QNM_CHECKER this program's. Status 77: it cannot be tried here.\n"
    "Status: 0 if all is well, 1 if something is not, 2 if the file cannot be tried.\n";

constexpr int left_out = 77;

/// The verdicts, as they come.
class Verdicts {
public:
    void tell(const std::string& family, const std::string& what, const std::string& wrong)
    {
        print(family, what, wrong.empty() ? "passed" : "FAILED: " + wrong);
        failed_ = failed_ || !wrong.empty();
    }
    void leave_out(const std::string& family, const std::string& what, const std::string& why)
    {
        print(family, what, why.rfind("left out", 0) == 0 ? why : "left out: " + why);
    }
    bool failed() const { return failed_; }

private:
    static void print(const std::string& family, const std::string& what, const std::string& outcome)
    {
        std::printf("%-22s %-24s %s\n", family.c_str(), what.c_str(), outcome.c_str());
        std::fflush(stdout);
    }

    bool failed_ = false;
};

/// Whether what belongs to `family` was asked for by one of these words.
bool asked_for(const std::string& family, const std::vector<std::string>& words)
{
    for (const std::string& word : words)
        if (family == word || family.rfind(word + "/", 0) == 0)
            return true;
    return words.empty();
}

/// Names by family and table: "blas/level1".
std::map<std::string, std::vector<std::string>> imports()
{
    std::map<std::string, std::vector<std::string>> all;
    static constexpr const char* names[][2]{
#define QNM_IMPORT(table, name) {#table, #name},
#include "names.inc"
#undef QNM_IMPORT
    };
    for (const auto& [table, name] : names)
        all[std::string(table, std::string(table).rfind(".tab"))].emplace_back(name);
    return all;
}

/// What a trial in a process of its own says is wrong.
std::string in_a_child(const Trial& trial, void* core)
{
    int ends[2];
    if (pipe(ends) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        const std::string wrong = trial.run(core);
        _exit(write(ends[1], wrong.data(), wrong.size()) == static_cast<ssize_t>(wrong.size()) ? 0 : 1);
    }
    close(ends[1]);
    char text[512];
    std::string wrong;
    for (ssize_t got = 0; (got = read(ends[0], text, sizeof text)) > 0;)
        wrong.append(text, static_cast<std::size_t>(got));
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return "no process";
    if (WIFSIGNALED(status))
        return "ended by signal " + std::to_string(WTERMSIG(status));
    return wrong.empty() && status != 0 ? "ended with status " + std::to_string(WEXITSTATUS(status)) : wrong;
}

/// A folder in which the core has the names that programs ask for, for as long as this lives.
class Folder {
public:
    explicit Folder(const fs::path& core)
    {
        std::string pattern = fs::temp_directory_path() / "qnm-core-check-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no folder for the core's names");
        folder_ = pattern;
        for (const char* name : {"libqnm_core.so", "libqnm_core.so.2"})
            fs::create_symlink(core, folder_ / name);
        setenv("QNM_CHECKED", folder_.c_str(), 1);
        const char* const others = std::getenv("LD_LIBRARY_PATH");
        const std::string path = folder_.string() + (others != nullptr ? ":" + std::string(others) : "");
        setenv("LD_LIBRARY_PATH", path.c_str(), 1); // ahead of a program's own path
    }
    ~Folder()
    {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

private:
    fs::path folder_;
};

struct Outcome {
    int status;
    std::string line; // the last one, or the last that tells of a failure
};

Outcome outcome_of(const std::string& command)
{
    Outcome outcome{-1, {}};
    std::FILE* const output = popen(("exec 2>&1; " + command).c_str(), "r");
    if (output == nullptr)
        return outcome;
    char* line = nullptr;
    std::size_t room = 0;
    bool failure = false;
    for (ssize_t length = 0; (length = getline(&line, &room, output)) > 0;) {
        std::string text(line, static_cast<std::size_t>(length));
        if (text.back() == '\n') // the last line need not end
            text.pop_back();
        const bool tells = text.find("FAIL") != std::string::npos;
        if (tells || (!failure && !text.empty()))
            outcome.line = text;
        failure = failure || tells;
    }
    std::free(line);
    const int status = pclose(output);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

fs::path folder_of_this()
{
    return fs::canonical("/proc/self/exe").parent_path();
}

/// How many tests there were. A family of which none is known is told as such: nothing was proven.
int run_tests(const fs::path& list, const std::vector<std::string>& families, Verdicts& verdicts)
{
    setenv("QNM_LISTED", list.parent_path().c_str(), 1);
    setenv("QNM_CHECKER", folder_of_this().c_str(), 1);
    std::ifstream in(list);
    int count = 0;
    for (std::string family, title, command; in >> family >> title && std::getline(in, command);)
        if (asked_for(family, families)) {
            const auto [status, line] = outcome_of(command);
            if (status == left_out)
                verdicts.leave_out(family, title, line);
            else
                verdicts.tell(family, title, status == 0 ? "" : line + ", see" + command);
            count += status == left_out ? 0 : 1;
        }
    return count;
}

int run(std::vector<std::string> words)
{
    fs::path list = (folder_of_this() / QNM_LIST_FROM_BINDIR).lexically_normal();
    bool has_to_test = false;
    if (words.size() > 2 && words[0] == "--tests") {
        list = fs::absolute(words[1]);
        has_to_test = true;
        words.erase(words.begin(), words.begin() + 2);
    } else if (!words.empty() && words[0] == "--no-tests") {
        list.clear();
        words.erase(words.begin());
    }
    if (words.empty() || words[0].rfind('-', 0) == 0) {
        std::fputs(usage, stderr);
        return 2;
    }
    const fs::path file = fs::absolute(words[0]);
    const std::vector<std::string> families(words.begin() + 1, words.end());
    void* const core = dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (core == nullptr)
        throw std::runtime_error(dlerror());
    Verdicts verdicts;
    bool known = false;
    for (const auto& [family, names] : imports()) {
        if (!asked_for(family, families))
            continue;
        known = true;
        std::string missing;
        std::size_t count = 0;
        for (const std::string& name : names)
            if (dlsym(core, name.c_str()) == nullptr && ++count <= 10)
                missing += " " + name;
        verdicts.tell(
            family, std::to_string(names.size()) + " names",
            count == 0 ? "" : std::to_string(count) + " missing:" + missing + (count > 10 ? " ..." : ""));
    }
    if (!known)
        throw std::runtime_error("no such family: expected a folder or a table, as blas or blas/level1");
    for (const Trial& trial : service_trials()) // every family needs them
        verdicts.tell("services", trial.name, in_a_child(trial, core));
    if (has_to_test || fs::exists(list)) {
        const Folder folder(file);
        if (run_tests(list, families, verdicts) == 0) {
            if (has_to_test)
                throw std::runtime_error(list.string() + ": no tests: expected some of what was asked for");
            std::printf("No test of what was asked for: %s\n", list.c_str());
        }
    }
    return verdicts.failed() ? 1 : 0;
}

} // namespace

} // namespace qnm::core_check

int main(int count, char** words)
{
    try {
        return qnm::core_check::run({words + 1, words + count});
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "qnm-core-check: %s\n", problem.what());
        return 2;
    }
}
