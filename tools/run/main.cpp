// qnm-run: runs an unmodified program through the adapter, the layer and the open core.

#include "elf_file.hpp"
#include "preload.hpp"
#include "program.hpp"
#include "refusal.hpp"
#include "report.hpp"
#include "trace/line.hpp"
#include "traced_run.hpp"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace qnm::run;

constexpr const char* help =
    R"(Usage: qnm-run [--cluster] [--integers=64] [--trace[=FILE]] [--report] PROGRAM [ARGUMENT...]

Runs an unmodified program, linked against any BLAS, through the interface layer over the open core.

  --cluster       puts Fourier transforms on several processes ahead of the layer (`make plugins` builds them)
  --integers=64   for programs whose integers have 64 bits under plain names (dgemm_, cblas_dgemm)
  --trace         writes a line for each traced call to standard error
  --trace=FILE    writes these lines to FILE
  --report        writes a table of the calls by routine to standard error at the end
  --help          shows this text
  --version       shows the version

Exit status: that of PROGRAM, or its signal; 127 if PROGRAM is missing, 126 if it cannot be run this way,
125 if qnm-run itself fails.
)";

struct Options {
    Asked asked;
    bool trace = false;
    bool report = false;
    std::string trace_file;
    int program = 0; // index of PROGRAM among the arguments
};

// Nothing is run when --help or --version answered already: program stays 0.
Options parse_options(int argc, char** argv)
{
    Options options;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        const std::string_view word = argv[i];
        constexpr std::string_view trace_to = "--trace=";
        if (word == "--") {
            ++i;
            break;
        } else if (word == "--help") {
            std::fputs(help, stdout);
            return options;
        } else if (word == "--version") {
            std::puts("qnm-run " QNM_VERSION);
            return options;
        } else if (word == "--cluster") {
            options.asked.cluster = true;
        } else if (word == "--integers=64") {
            options.asked.wide_integers = true;
        } else if (word == "--report") {
            options.report = true;
        } else if (word == "--trace") {
            options.trace = true;
            options.trace_file.clear();
        } else if (word.starts_with(trace_to) && word.size() > trace_to.size()) {
            options.trace = true;
            options.trace_file = word.substr(trace_to.size());
        } else {
            throw Refusal(status_own_failure, "unknown option " + std::string(word) + "; --help lists them");
        }
    }
    if (i >= argc)
        throw Refusal(status_own_failure, "no program given; --help tells the usage");
    options.program = i;
    return options;
}

/// Of several processes that Open MPI started, each with a qnm-run of its own; empty elsewhere.
struct Process {
    std::string number = text_of("OMPI_COMM_WORLD_RANK"), count = text_of("OMPI_COMM_WORLD_SIZE");

    static std::string text_of(const char* variable)
    {
        const char* const value = std::getenv(variable);
        return value != nullptr ? value : "";
    }
    bool is_one_of_several() const { return !number.empty() && !count.empty() && count != "1"; }
};

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// Processes do not write over each other's traces.
File open_trace(const Options& options, const Process& process)
{
    if (options.trace_file.empty())
        return {stderr, std::fflush};
    const std::string name = options.trace_file + (process.is_one_of_several() ? "." + process.number : "");
    File file(std::fopen(name.c_str(), "we"), std::fclose);
    if (!file)
        throw Refusal(status_own_failure, name + ": " + std::strerror(errno));
    return file;
}

int run_traced(const Options& options, const Program& program, char** arguments, const std::string& preload)
{
    // A test program of the C interface often brings this routine along; its error exits then end there.
    if (ElfFile(program.path).is_native() && ElfFile(program.path).defines("cblas_xerbla"))
        std::fprintf(stderr, "qnm-run: %s has a cblas_xerbla of its own, which takes the layer's place\n",
                     program.path.c_str());
    Report report;
    const Process process;
    const File trace = open_trace(options, process);
    const auto begin = std::chrono::steady_clock::now();
    qnm::trace::LineText text;
    std::uint64_t records = 0;
    std::optional<std::uint64_t> told;
    const auto tell = [&] { // again, if more has come since
        std::fflush(trace.get());
        if (!options.report || told == records)
            return;
        told = records;
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
        std::fprintf(stderr, "\nqnm-run: %s%s ran %s\n%s",
                     process.is_one_of_several()
                         ? ("process " + process.number + " of " + process.count + ": ").c_str()
                         : "",
                     program.path.c_str(), duration_text(elapsed.count()).c_str(), report.text().c_str());
    };
    const Outcome outcome = traced_run(program.path, arguments, preload,
                                       {[&](const Record& record) {
                                            ++records;
                                            if (options.trace) {
                                                const std::string_view line =
                                                    qnm::trace::line_text(record.line, record.seconds, text);
                                                std::fwrite(line.data(), 1, line.size(), trace.get());
                                            }
                                            if (options.report)
                                                report.add(record);
                                        },
                                        [&] { std::fflush(trace.get()); }, tell});
    if (std::ferror(trace.get()))
        std::fprintf(stderr, "qnm-run: the trace could not be written whole\n");
    if (outcome.lost != 0)
        std::fprintf(stderr, "qnm-run: of %llu calls nothing is known: they ended while they were told\n",
                     static_cast<unsigned long long>(outcome.lost));
    tell();
    return outcome.status;
}

} // namespace

int main(int argc, char** argv)
try {
    const Options options = parse_options(argc, argv);
    if (options.program == 0)
        return 0;
    char** arguments = argv + options.program;
    const Program program = find_program(arguments[0]);
    const std::string preload = preload_list(options.asked);
    if (options.trace || options.report)
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
