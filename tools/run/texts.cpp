// Writes the manual page and the completion of qnm-run: a template, whose marks stand for its options.
//   texts TEMPLATE OUTPUT DATE
#include "options.hpp"

#include "catalogue/tool.hpp"
#include "generate/output.hpp"
#include "reference/text.hpp"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>

namespace {

using namespace qnm;
using run::OptionText;
using Takes = OptionText::Takes;

bool takes_a_file(const OptionText& option)
{
    return option.value == std::string("FILE");
}

/// Items of a list, in the mdoc language.
std::string items()
{
    std::string text;
    for (const OptionText& o : run::option_texts()) {
        text +=
            std::string(".It Fl ") + (o.letter != 0 ? std::string(1, o.letter) + " , Fl -" : "-") + o.name;
        if (o.takes != Takes::nothing)
            text += std::string(o.takes == Takes::perhaps   ? " Ns Op = Ns Ar "
                                : o.takes == Takes::a_value ? " Ns = Ns Ar "
                                                            : " Ar ") +
                    o.value;
        std::string help = o.help;
        help[0] = static_cast<char>(std::toupper(help[0]));
        text += "\n" + reference::sentence(help) + "\n";
    }
    return text;
}

/// The words that an option may be, and with `=` where a value follows.
std::string words()
{
    std::string text;
    for (const OptionText& o : run::option_texts()) {
        if (o.letter != 0)
            text += std::string("-") + o.letter + " ";
        if (o.takes != Takes::a_value)
            text += std::string("--") + o.name + " ";
        if (o.takes == Takes::perhaps || o.takes == Takes::a_value)
            text += std::string("--") + o.name + "= ";
    }
    return text.substr(0, text.size() - 1);
}

/// Options of one kind as a pattern of the shell's.
template <class Wanted>
std::string pattern(Wanted wanted)
{
    std::string text;
    for (const OptionText& o : run::option_texts())
        if (wanted(o))
            text += (text.empty() ? "--" : " | --") + std::string(o.name);
    return text;
}

/// Branches for values that are told: "--integers) words='32 64' ;;".
std::string choices()
{
    std::string text;
    for (const OptionText& o : run::option_texts())
        if (std::string values = o.value; values.find('|') != std::string::npos) {
            std::replace(values.begin(), values.end(), '|', ' ');
            text +=
                std::string(text.empty() ? "" : "\n") + "        --" + o.name + ") words='" + values + "' ;;";
        }
    return text;
}

int write(const std::vector<std::string>& arguments)
{
    if (arguments.size() != 3) {
        std::fputs("usage: texts TEMPLATE OUTPUT DATE\n", stderr);
        return 2;
    }
    std::ifstream in(arguments[0]);
    if (!in)
        throw catalogue::TableError(arguments[0] + ":0: cannot be read: expected a template");
    std::string text{std::istreambuf_iterator<char>(in), {}};
    for (const auto& [mark, meaning] :
         {std::pair{"@items@", items()},
          {"@words@", words()},
          {"@files@", pattern(takes_a_file)},
          {"@next@", pattern([](const OptionText& o) { return o.takes == Takes::a_word; })},
          {"@choices@", choices()},
          {"@date@", arguments[2]}})
        for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += meaning.size())
            text.replace(at, std::string(mark).size(), meaning);
    generate::write_if_changed(arguments[1], text);
    return 0;
}

} // namespace

int main(int count, char** words)
{
    return catalogue::run_tool(write, count, words);
}
