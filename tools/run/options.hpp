#pragma once

#include "preload.hpp"
#include "program.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace qnm::run {

/// What users read of an option: --help, the manual page and a shell's completion are made of it.
struct OptionText {
    const char* name;
    char letter; ///< of its short form; '\0': it has none
    enum class Takes { nothing, perhaps, a_value, a_word } takes;
    const char* value; ///< as --help calls it: FILE, or what it may be with `|` between
    const char* help;
};
/// In the order of --help.
std::vector<OptionText> option_texts();

/// Something to be written while the program runs and at its end.
struct Output {
    bool wanted = false;
    std::string file; ///< as it was asked for; empty: standard error
};

struct Options {
    enum class Action { run, check, explain, help, version } action = Action::run;
    Asked asked;
    std::optional<bool> wide_integers; ///< if not told, the program's libraries tell
    Output trace, report, page;
    std::chrono::seconds every{0}; ///< 0: at the end alone
    std::string explained;         ///< a name
    int program = 0;               ///< index of PROGRAM among the arguments
};

/// Throws Refusal with status 125 if there is an option that is not in the table, a value that is missing or
/// too much, or no program where one is wanted.
Options parse_options(int argc, char** argv);

/// With what the program tells where the options do not.
Asked asked_by(const Options& options, const Program& program);

/// What --help shows.
std::string help_text();

} // namespace qnm::run
