// The promise of names: what each takes and gives back, in lines that are kept from release to release and
// read back into names, so that nothing is compared as text.
#include "abi.hpp"

#include <algorithm>
#include <sstream>

namespace qnm::generate {

using namespace catalogue;

namespace {

const std::map<std::string, Width> widths{
    {"narrow", Width::narrow}, {"wide", Width::wide}, {"size", Width::size}};

std::string width_text(Width width)
{
    return std::find_if(widths.begin(), widths.end(), [&](const auto& each) { return each.second == width; })
        ->first;
}

/// Letters as a line tells them: some rooms have letters that are no types.
Precision letter_of(const std::string& prefix)
{
    const Precision letter = prefix == "-" ? Precision{"", ' ', ' '} : find_precision(prefix);
    return letter.element == ' ' ? Precision{prefix == "-" ? "" : prefix, ' ', ' '} : letter;
}

std::string prefix_text(const Precision& letter)
{
    return letter.prefix.empty() ? "-" : letter.prefix;
}

/// A type without what callers may write or leave: "const void* const*" is "void**".
std::string plain(const std::string& type)
{
    std::istringstream in(type);
    std::string text;
    for (std::string word; in >> word;)
        if (word.find_first_not_of('*') == std::string::npos)
            text += word;
        else if (const std::size_t stars = std::min(word.find('*'), word.size());
                 word.substr(0, stars) == "const")
            text += word.substr(stars);
        else
            text += (text.empty() ? "" : " ") + word;
    return text;
}

/// What stands for a type in all letters and widths: T, R, int; int32 is an int of 32 bits in every form.
std::string abstract(const std::string& type, const Argument* argument, bool callers, const Precision& letter,
                     Width width)
{
    const std::string text = plain(type), base = text.substr(0, text.find('*')),
                      stars = text.substr(base.size());
    const auto is = [&](const char* word) {
        return letter.element != ' ' && base == c_type(word, letter, width);
    };
    if (callers && base == c_type("int", letter, width))
        return "int" + stars;
    for (const char* word : {"T", "R"})
        if (is(word) &&
            (letter.is_complex() || *word == 'R' || (argument != nullptr && argument->type == "T")))
            return word + stars;
    return (base == "int" ? "int32" : base) + stars;
}

std::string concrete(const std::string& text, const Precision& letter, Width width)
{
    if (text == "T" || text == "R" || text == "int")
        return c_type(text, letter, width);
    return text == "int32" ? "int" : text;
}

/// What stands for a routine's name in a pattern: as it is, in lower and in upper case.
std::map<std::string, std::string> words_for(const std::string& routine)
{
    return {{"%=", routine}, {"%n", to_lower(routine)}, {"%N", to_upper(routine)}};
}

std::string spelled(const std::string& pattern, const std::string& routine)
{
    const std::size_t at = pattern.find('%');
    if (at == std::string::npos)
        return pattern;
    return pattern.substr(0, at) + words_for(routine)[pattern.substr(at, 2)] +
           pattern.substr(std::min(at + 2, pattern.size()));
}

/// A pattern that spells the name.
std::string pattern_of(const std::string& name, const std::string& routine)
{
    auto words = words_for(routine);
    for (const char* word : {"%n", "%N", "%="})
        if (const std::size_t at = name.find(words[word]); at != std::string::npos && !routine.empty())
            return name.substr(0, at) + word + name.substr(at + routine.size());
    return name;
}

/// What a function takes and gives back, in its letter and form or in all: "void (char*, int*, T*) + 1",
/// where 1 is how many lengths are hidden behind the arguments.
std::string facts_of(const Signature& s, bool abstracted)
{
    const Precision letter = letter_of(prefix_text(s.letter));
    const auto type = [&](const std::string& told, const Argument* a, bool callers) {
        return abstracted ? abstract(told, a, callers, letter, s.form->width) : plain(told);
    };
    if (s.data)
        return "variable " + type(s.result, nullptr, false);
    Words arguments;
    for (const Parameter& p : s.parameters) {
        const bool by_address = p.travel == Travel::integer || p.travel == Travel::integers;
        const bool callers =
            by_address || (p.travel == Travel::value && p.argument != nullptr && p.argument->is_integer());
        arguments.push_back(type(p.type, p.argument, callers));
    }
    if (s.variadic)
        arguments.push_back("...");
    return type(s.result, nullptr, false) + " (" + joined(arguments) + ")" +
           (s.hidden_lengths == 0 ? "" : " + " + std::to_string(s.hidden_lengths));
}

/// Abstract facts in a letter and a width.
std::string concrete_facts(const std::string& facts, const Precision& letter, Width width)
{
    static const std::string ends = " (),*+";
    std::string text;
    for (std::size_t at = 0; at < facts.size();) {
        const std::size_t end = std::min(facts.find_first_of(ends, at), facts.size());
        text += concrete(facts.substr(at, end - at), letter, width);
        at = end;
        if (at < facts.size())
            text += facts[at++];
    }
    return text;
}

/// A line as it is made: who shares the facts, and how they are spelled.
struct Line {
    std::string head;  // family and root
    std::string facts; // in all letters and forms
    std::string rule;  // "narrow %N %n_; wide %N_64"
    std::string letters;
};

/// The line of a key, made at its first mention.
Line& line_of(std::vector<Line>& lines, std::map<std::string, std::size_t>& known, const std::string& key,
              const Line& fresh)
{
    const auto [at, made] = known.emplace(key, lines.size());
    if (made)
        lines.push_back(fresh);
    return lines[at->second];
}

std::vector<Line> lines_of(const std::vector<Signature>& functions, const std::set<std::string>& wanted)
{
    std::vector<Line> of_letters, all;
    std::map<std::string, std::size_t> known;
    for (const Signature& s : functions) {
        const Line told{s.family + " " + s.root, facts_of(s, true), "", prefix_text(s.letter)};
        std::string patterns;
        for (const std::string& name : s.names)
            if (wanted.count(name) != 0)
                patterns += " " + pattern_of(name, with_letter(s.root, letter_of(told.letters)));
        if (patterns.empty())
            continue;
        Line& line = line_of(of_letters, known, told.head + ":" + told.letters + ":" + told.facts, told);
        line.rule += (line.rule.empty() ? "" : "; ") + width_text(s.form->width) + patterns;
    }
    known.clear();
    for (const Line& each : of_letters) {
        Line& line = line_of(all, known, each.head + ":" + each.facts + ":" + each.rule, each);
        if (&line != &all.back() || line.letters != each.letters)
            line.letters += " " + each.letters;
    }
    return all;
}

[[noreturn]] void refuse(const std::string& place, const std::string& expected)
{
    throw TableError(place + ": expected " + expected);
}

} // namespace

Abi promised(const std::string& text, const std::string& path)
{
    Abi abi;
    std::istringstream in(text);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string place = path + ":" + std::to_string(number);
        std::istringstream words(line);
        std::string word;
        if (line.empty() || line[0] == '#')
            continue;
        words >> word;
        if (word == "library") {
            words >> abi.library >> abi.package;
        } else if (word == "since") {
            words >> abi.since;
        } else if (word == "rule") {
            words >> word >> std::ws;
            std::getline(words, abi.rules[word]);
        } else { // FAMILY ROOT LETTERS : RULE : FACTS
            const std::size_t colon = line.find(" : "), second = line.find(" : ", colon + 3);
            if (second == std::string::npos)
                refuse(place, "library, since, rule, or a row with its letters, rule and facts");
            const auto rule = abi.rules.find(line.substr(colon + 3, second - colon - 3));
            if (rule == abi.rules.end())
                refuse(place, "a rule that was told before");
            std::string root, letter;
            words >> root;
            while (words >> letter && letter != ":") {
                const Precision precision = letter_of(letter);
                Width width = Width::narrow;
                std::istringstream patterns(rule->second);
                for (std::string pattern; patterns >> pattern;) {
                    if (const auto told = widths.find(pattern); told != widths.end()) {
                        width = told->second;
                        continue;
                    }
                    if (pattern.back() == ';')
                        pattern.pop_back();
                    abi.names[spelled(pattern, with_letter(root, precision))] = {
                        concrete_facts(line.substr(second + 3), precision, width), abi.since};
                }
            }
        }
    }
    return abi;
}

std::map<std::string, std::string> abi_of(const std::vector<Signature>& functions)
{
    std::map<std::string, std::string> all;
    for (const Signature& s : functions)
        for (const std::string& name : s.names)
            if (s.exported)
                all[name] = facts_of(s, false);
    return all;
}

std::vector<std::string> broken_promises(const Abi& kept, const std::map<std::string, std::string>& built)
{
    std::vector<std::string> all;
    for (const auto& [name, promise] : kept.names)
        if (const auto now = built.find(name); now == built.end())
            all.push_back(name + ": lost; it was " + promise.facts);
        else if (now->second != promise.facts)
            all.push_back(name + ": changed from " + promise.facts + " to " + now->second);
    return all;
}

std::set<std::string> additions(const Abi& kept, const std::map<std::string, std::string>& built)
{
    std::set<std::string> all;
    for (const auto& [name, facts] : built)
        if (kept.names.count(name) == 0)
            all.insert(name);
    return all;
}

std::string additions_text(const Abi& kept, const std::vector<Signature>& functions,
                           const std::string& version)
{
    std::map<std::string, std::string> exported = abi_of(functions), rules;
    for (const auto& [number, rule] : kept.rules)
        rules[rule] = number;
    std::vector<Signature> ours;
    for (const Signature& s : functions)
        if (s.exported)
            ours.push_back(s);
    std::string text;
    for (const Line& line : lines_of(ours, additions(kept, exported))) {
        if (text.empty() && kept.since != version)
            text += "since " + version + "\n";
        const auto [rule, fresh] = rules.emplace(line.rule, std::to_string(rules.size() + 1));
        if (fresh)
            text += "rule " + rule->second + " " + line.rule + "\n";
        text += line.head + " " + line.letters + " : " + rule->second + " : " + line.facts + "\n";
    }
    return text;
}

std::string symbols_text(const Abi& kept)
{
    std::string text = kept.library + " " + kept.package + " #MINVER#\n";
    for (const auto& [name, promise] : kept.names)
        text += " " + name + "@Base " + promise.since + "\n";
    return text;
}

} // namespace qnm::generate
