// qnm-run: runs an unmodified program through the adapter, the layer and the open core.

#include "check.hpp"
#include "elf_file.hpp"
#include "options.hpp"
#include "output.hpp"
#include "page.hpp"
#include "preload.hpp"
#include "program.hpp"
#include "refusal.hpp"
#include "report.hpp"
#include "trace/line.hpp"
#include "traced_run.hpp"

#include "catalogue/linked.hpp"
#include "generate/output.hpp"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

using namespace qnm::run;

// Files that are opened here must not become one of a program's three streams, nor take our own messages.
void hold_closed_streams()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDWR | O_CLOEXEC) < 0)
            throw Refusal(status_own_failure, std::string("/dev/null: ") + std::strerror(errno));
}

int answer(const std::string& text, int status = 0)
{
    std::fputs(text.c_str(), stdout);
    if (std::fflush(stdout) != 0)
        throw Refusal(status_own_failure, std::string("standard output: ") + std::strerror(errno));
    return status;
}

int explain(const std::string& name)
{
    const auto tables = qnm::catalogue::linked_tables();
    const std::string text = qnm::generate::explanation(tables, tables.signatures(), name);
    if (text.empty())
        throw Refusal(status_own_failure, "the layer has no function " + name);
    return answer(text);
}

// The core tells itself and its engine; it takes its functions for granted only when they are called.
int tell_versions(const Asked& asked)
{
    const std::vector<std::string> ours = preloaded(asked);
    std::string text =
        "qnm-run " QNM_VERSION "\nlayer " + ours.at(ours.size() - 2) + "\ncore  " + ours.back();
    void* const core = dlopen(ours.back().c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (core == nullptr)
        throw Refusal(status_own_failure, dlerror());
    using Tell = void (*)(char*, std::int64_t);
    if (const auto tell = reinterpret_cast<Tell>(dlsym(core, "qnm_serv_get_version_string_c"))) {
        char version[512] = "";
        tell(version, sizeof version);
        text += std::string("\n      ") + version;
    }
    return answer(text + "\n");
}

int check(const Options& options, const char* name)
try {
    const Program program = find_checked(name);
    const Check::Verdict verdict = Check(program, preloaded(asked_by(options, program))).verdict();
    return answer(verdict.text, verdict.status);
} catch (const Refusal& refusal) {
    if (refusal.status() == status_own_failure)
        throw;
    return answer(std::string("cannot run: ") + refusal.what() + "\n", 2);
}

RunHead head_of(const Program& program, char** arguments, const Rank& rank)
{
    RunHead head;
    head.program = program.path;
    head.process = rank.heading();
    for (char** word = arguments; *word != nullptr; ++word)
        head.command += (head.command.empty() ? "" : " ") + std::string(*word);
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char date[64] = "";
    if (localtime_r(&now, &parts) != nullptr)
        std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S %z", &parts);
    head.began = date;
    return head;
}

int run_traced(const Options& options, const Program& program, char** arguments, const std::string& preload)
{
    // A test program of the C interface often brings this routine along; its error exits then end there.
    if (ElfFile(program.path).defines("cblas_xerbla"))
        std::fprintf(stderr, "qnm-run: %s has a cblas_xerbla of its own, which takes the layer's place\n",
                     program.path.c_str());
    const auto begin = std::chrono::steady_clock::now();
    Totals totals(std::chrono::nanoseconds(begin.time_since_epoch()).count());
    const std::vector<std::string> ours = preloaded(asked_by(options, program));
    const Rank rank;
    OutputFile trace, table;
    RunHead head = head_of(program, arguments, rank);
    std::string page;
    using Time = std::chrono::steady_clock::time_point;
    const auto look = [&](std::optional<Time> ended) {
        head.goes_on = !ended;
        head.seconds =
            std::chrono::duration<double>(ended.value_or(std::chrono::steady_clock::now()) - begin).count();
    };
    const auto tell = [&] {
        if (!options.report.wanted)
            return;
        std::string whole = "\nqnm-run: " + head_line(totals, head) + "\n" + report_text(totals);
        if (!head.why_nothing.empty())
            whole += "why: " + head.why_nothing + "\n";
        if (!head.passed_by.empty())
            whole += "\npassed by: " + head.passed_by + "\n";
        table.write_anew(whole);
    };
    bool page_is_whole = true;
    // While the program runs, a page that cannot be written is no reason to leave it.
    const auto show = [&] {
        try {
            if (!page.empty())
                write_page(page, page_text(totals, head));
            page_is_whole = true;
        } catch (const Refusal& refusal) {
            std::fprintf(stderr, "qnm-run: %s\n", refusal.what());
            page_is_whole = false;
        }
    };
    const auto tell_so_far = [&] {
        trace.flush();
        look({});
        tell();
        show();
    };
    qnm::trace::LineText text;
    std::uint64_t records = 0;
    std::optional<std::uint64_t> told; // how many of them
    Listener listener;
    listener.started = [&](int process) {
        if (options.trace.wanted)
            trace.open(options.trace.file, process, rank);
        if (options.report.wanted)
            table.open(options.report.file, process, rank);
        if (!options.page.wanted)
            return;
        page = expanded(options.page.file, process, rank);
        look({});
        write_page(page, page_text(totals, head)); // what cannot be written is known ahead
    };
    listener.record = [&](const Record& record) {
        ++records;
        if (options.trace.wanted && !parse_refused_by_engine(record.line))
            trace.write(qnm::trace::line_text(record.line, record.seconds, text));
        if (options.report.wanted || options.page.wanted)
            totals.add(record);
    };
    listener.pause = [&] { trace.flush(); };
    listener.terminated = [&] {
        told = records;
        tell_so_far();
    };
    listener.due = tell_so_far;
    listener.every = options.every;
    const Outcome outcome = traced_run(program.path, arguments, preload, listener);
    if (outcome.lost != 0)
        std::fprintf(stderr, "qnm-run: of %llu calls nothing is known: they ended while they were told\n",
                     static_cast<unsigned long long>(outcome.lost));
    look(outcome.ended);
    if (options.report.wanted || options.page.wanted) { // the program has its whole time for itself
        const Check check(program, ours);
        if (totals.is_empty())
            head.why_nothing = check.reason();
        else
            head.passed_by = check.passed_by();
    }
    if (told != records) // again, if more has come since
        tell();
    show();
    bool whole = page_is_whole;
    for (OutputFile* file : {&trace, &table})
        if (const std::string why = file->close(); !why.empty()) {
            std::fprintf(stderr, "qnm-run: %s\n", why.c_str());
            whole = false;
        }
    constexpr int own_failure = status_own_failure << 8; // as wait() tells it
    return outcome.status != 0 || whole ? outcome.status : own_failure;
}

} // namespace

int main(int argc, char** argv)
try {
    hold_closed_streams();
    const Options options = parse_options(argc, argv);
    switch (options.action) {
    case Options::Action::help:
        return answer(help_text());
    case Options::Action::version:
        return tell_versions(options.asked);
    case Options::Action::explain:
        return explain(options.explained);
    case Options::Action::check:
        return check(options, argv[options.program]);
    case Options::Action::run:
        break;
    }
    char** arguments = argv + options.program;
    const Program program = find_program(arguments[0]);
    const std::string preload = preload_list(preloaded(asked_by(options, program), program));
    if (options.trace.wanted || options.report.wanted || options.page.wanted)
        end_like(run_traced(options, program, arguments, preload));
    become(program.path, arguments, preload, "");
    throw Refusal(status_not_runnable, program.path + ": " + std::strerror(errno));
} catch (const Refusal& refusal) {
    std::fprintf(stderr, "qnm-run: %s\n", refusal.what());
    return refusal.status();
} catch (const std::exception& error) {
    std::fprintf(stderr, "qnm-run: %s\n", error.what());
    return status_own_failure;
}
