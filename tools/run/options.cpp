#include "options.hpp"

#include "refusal.hpp"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace qnm::run {
namespace {

using Takes = OptionText::Takes;

struct Option : OptionText {
    void (*apply)(Options&, const std::string& value);
};

void act(Options& options, Options::Action action)
{
    options.action = action;
}

void set_integers(Options& options, const std::string& bits)
{
    if (bits != "32" && bits != "64")
        throw Refusal(status_own_failure, "--integers=" + bits + ": integers have 32 or 64 bits");
    options.wide_integers = bits == "64";
}

void set_every(Options& options, const std::string& text)
{
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 1)
        throw Refusal(status_own_failure, "--every=" + text + ": not a number of seconds");
    options.every = std::chrono::seconds(seconds);
}

constexpr Option table[] = {
    {"report", 0, Takes::perhaps, "FILE",
     "a table of the calls by routine at the end, to standard error or FILE",
     [](Options& o, const std::string& file) {
         o.report = {true, file};
     }},
    {"page", 0, Takes::a_value, "FILE", "the report with pictures, a page of HTML",
     [](Options& o, const std::string& file) {
         o.page = {true, file};
     }},
    {"every", 0, Takes::a_value, "SECONDS", "report, page or both, as they are wanted, that often, too",
     set_every},
    {"trace", 0, Takes::perhaps, "FILE", "a line for each traced call, to standard error or FILE",
     [](Options& o, const std::string& file) {
         o.trace = {true, file};
     }},
    {"check", 0, Takes::nothing, "", "runs nothing; tells what becomes of the names that PROGRAM calls",
     [](Options& o, const std::string&) { act(o, Options::Action::check); }},
    {"core", 0, Takes::a_value, "FILE", "another core than the open one",
     [](Options& o, const std::string& file) { o.asked.core = file; }},
    {"integers", 0, Takes::a_value, "32|64",
     "integers of plain names (dgemm_, cblas_dgemm), where PROGRAM's libraries do not tell", set_integers},
    {"cluster", 0, Takes::nothing, "",
     "Fourier transforms on several processes ahead of the layer (`make plugins` builds them)",
     [](Options& o, const std::string&) { o.asked.cluster = true; }},
    {"explain", 0, Takes::a_word, "NAME", "runs nothing; tells what the function NAME takes, tests and calls",
     [](Options& o, const std::string& name) { o.explained = name, act(o, Options::Action::explain); }},
    {"help", 'h', Takes::nothing, "", "this text",
     [](Options& o, const std::string&) { act(o, Options::Action::help); }},
    {"version", 'V', Takes::nothing, "", "what qnm-run, layer, core and its engine are",
     [](Options& o, const std::string&) { act(o, Options::Action::version); }},
};

std::string spelled(const OptionText& option)
{
    const std::string value = option.value;
    switch (option.takes) {
    case Takes::perhaps:
        return std::string("--") + option.name + "[=" + value + "]";
    case Takes::a_value:
        return std::string("--") + option.name + "=" + value;
    case Takes::a_word:
        return std::string("--") + option.name + " " + value;
    case Takes::nothing:
        break;
    }
    return (option.letter != 0 ? std::string("-") + option.letter + ", --" : "--") + option.name;
}

// "--name", "--name=value" or "-n".
const Option& find(std::string_view word)
{
    for (const Option& option : table)
        if (word.starts_with("--") ? word.substr(2, word.find('=') - 2) == option.name
                                   : word.size() == 2 && word[1] == option.letter)
            return option;
    throw Refusal(status_own_failure, "unknown option " + std::string(word) + "; --help lists them");
}

} // namespace

std::vector<OptionText> option_texts()
{
    return {std::begin(table), std::end(table)};
}

Options parse_options(int argc, char** argv)
{
    Options options;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        const std::string word = argv[i];
        if (word == "--") {
            ++i;
            break;
        }
        const Option& option = find(word);
        const std::size_t equals = word.find('=');
        bool given = equals != std::string::npos;
        std::string value = given ? word.substr(equals + 1) : "";
        if (!given && option.takes == Takes::a_word && i + 1 < argc) {
            value = argv[++i];
            given = true;
        }
        const bool bad = option.takes == Takes::nothing   ? given
                         : option.takes == Takes::perhaps ? given && value.empty()
                                                          : value.empty();
        if (bad)
            throw Refusal(status_own_failure, word + ": expected " + spelled(option));
        option.apply(options, value);
        if (options.action == Options::Action::help || options.action == Options::Action::version)
            return options; // whatever follows
    }
    if (options.action == Options::Action::explain)
        return options;
    if (options.every.count() > 0 && !options.page.wanted)
        options.report.wanted = true;
    const std::string& trace = options.trace.file;
    if (!trace.empty() && !trace.starts_with("/dev/") &&
        (trace == options.report.file || trace == options.page.file))
        throw Refusal(status_own_failure, trace + ": expected a file for the trace alone");
    if (i >= argc)
        throw Refusal(status_own_failure, "no program given; --help tells the usage");
    options.program = i;
    return options;
}

Asked asked_by(const Options& options, const Program& program)
{
    Asked asked = options.asked;
    asked.wide_integers = options.wide_integers ? *options.wide_integers : has_wide_integers(program);
    return asked;
}

std::string help_text()
{
    std::string text =
        "Usage: qnm-run [OPTION...] PROGRAM [ARGUMENT...]\n"
        "       qnm-run --check PROGRAM\n"
        "       qnm-run --explain NAME\n\n"
        "Runs an unmodified program, linked against any BLAS, through the interface layer over "
        "the open core.\n\n";
    std::size_t width = 0;
    for (const Option& option : table)
        width = std::max(width, spelled(option).size());
    for (const Option& option : table) {
        const std::string name = spelled(option);
        text += "  " + name + std::string(width + 2 - name.size(), ' ') + option.help + "\n";
    }
    return text +
           "\nIn the names of files %p is the process of PROGRAM, %r its rank under MPI, %% a %.\n\n"
           "Exit status: that of PROGRAM, or its signal; 127 if PROGRAM is missing, 126 if it cannot be run "
           "this way,\n125 if qnm-run itself fails or could not write all that it was asked for. Of --check: "
           "0 if all names are the\nlayer's, 1 if some are not, 2 if PROGRAM cannot run.\n";
}

} // namespace qnm::run
