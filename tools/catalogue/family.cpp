#include "family.hpp"

#include <algorithm>
#include <cctype>

namespace qnm::catalogue {

namespace {

std::string replace_all(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string mapped(std::string text, int (*map)(int))
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [&](char c) { return static_cast<char>(map(static_cast<unsigned char>(c))); });
    return text;
}

/// The value of one of a few words.
template <class T>
T read_word(Lexer& lexer, const std::map<std::string, T>& words, const std::string& expected)
{
    const auto found = words.find(lexer.peek().text);
    if (found == words.end())
        lexer.fail(expected);
    lexer.next();
    return found->second;
}

Form read_form(Lexer& lexer)
{
    static const std::map<std::string, Convention> conventions{
        {"reference", Convention::reference}, {"value", Convention::value}, {"codes", Convention::codes}};
    static const std::map<std::string, Width> widths{
        {"int32", Width::narrow}, {"int64", Width::wide}, {"size", Width::size}};
    Form form;
    form.name = lexer.identifier("the form's name");
    form.convention = read_word(lexer, conventions, "a convention (reference, value, codes)");
    form.width = read_word(lexer, widths, "a width of integers (int32, int64, size)");
    while (!lexer.at_end() && lexer.peek().text != "form") {
        if (lexer.accept("level"))
            form.level = lexer.identifier("the level's name");
        else if (lexer.accept("check"))
            form.check = lexer.identifier("the pattern of check names");
        else if (lexer.accept("calls"))
            form.calls = lexer.identifier("the pattern of the entry that is called");
        else
            form.spellings.push_back(lexer.identifier("a spelling, 'level', 'check', 'calls' or 'form'"));
    }
    if (form.spellings.empty())
        lexer.fail("a spelling of the form");
    return form;
}

} // namespace

const Form* Family::find(const std::string& form) const
{
    const auto found =
        std::find_if(forms.begin(), forms.end(), [&](const auto& f) { return f.name == form; });
    return found == forms.end() ? nullptr : &*found;
}

std::string read_source(Lexer& lexer)
{
    std::string source = lexer.identifier("the word of a publication") + " ";
    do {
        if (!is_number(lexer.peek().text))
            lexer.fail("the publication's edition, 1988 or 3.12");
        source += lexer.next().text;
    } while (lexer.accept(".") && (source += ".", true));
    return source;
}

Family read_family(Lexer& lexer, const std::string& name)
{
    static const std::map<std::string, std::string> callbacks{
        {"xerbla", "XERBLA"}, {"progress", "PROGRESS"}, {"pivot", "PIVOT"}};
    Family family;
    family.name = name;
    family.room = lexer.accept("room") ? lexer.identifier("the folder of the family's templates") : name;
    if (lexer.accept("source"))
        family.source = read_source(lexer);
    if (lexer.accept("registers"))
        do
            family.registers.push_back(
                read_word<std::string>(lexer, callbacks, "a callback (xerbla, progress, pivot)"));
        while (callbacks.count(lexer.peek().text) != 0);
    if (lexer.accept("alignment"))
        family.alignment = lexer.number("an alignment in bytes");
    if (lexer.accept("null")) {
        const bool integers = lexer.accept("integers");
        if (!integers)
            lexer.expect("info");
        (integers ? family.null_status : family.null_position) = lexer.number("a status, or a position");
    }
    if (lexer.accept("calls"))
        family.calls = lexer.identifier("the family whose entries are called");
    if (lexer.accept("core")) {
        family.core = lexer.identifier("the pattern of core names");
        if (lexer.accept("wide"))
            family.wide_core = lexer.identifier("the pattern of core names for 64-bit integers");
    } else if ((family.kernels = lexer.accept("kernel"))) {
        family.core = lexer.identifier("the pattern of kernels' names");
        family.kernel_each = lexer.accept("each");
    }
    do {
        lexer.expect("form");
        family.forms.push_back(read_form(lexer));
        if (family.find(family.forms.back().name) != &family.forms.back())
            lexer.fail_at(lexer.first_line(), "'" + family.forms.back().name + "'", "each form's name once");
    } while (!lexer.at_end());
    return family;
}

Precision find_precision(const std::string& prefix)
{
    static const std::vector<Precision> precisions{
        {"s", 's', 's'},  {"d", 'd', 'd'},  {"c", 'c', 's'},  {"z", 'z', 'd'},  {"sc", 'c', 's'},
        {"dz", 'z', 'd'}, {"cs", 'c', 's'}, {"zd", 'z', 'd'}, {"is", 's', 's'}, {"id", 'd', 'd'},
        {"ic", 'c', 's'}, {"iz", 'z', 'd'}, {"ds", 's', 'd'}, {"sds", 's', 's'}};
    const auto found = std::find_if(precisions.begin(), precisions.end(),
                                    [&](const Precision& p) { return p.prefix == to_lower(prefix); });
    return found == precisions.end() ? Precision{prefix, ' ', ' '}
                                     : Precision{prefix, found->element, found->real};
}

std::string with_letter(const std::string& root, const Precision& precision)
{
    return root.find('?') == std::string::npos ? precision.prefix + root
                                               : replace_all(root, "?", precision.prefix);
}

std::string spell(const std::string& pattern, const std::string& name)
{
    // A name is not looked at again: one of them may hold another's word.
    std::string text;
    for (std::size_t at = 0; at < pattern.size();) {
        const std::string word = pattern.substr(at, 4);
        if (to_lower(word) != "name") {
            text += pattern[at++];
            continue;
        }
        text += word == "NAME" ? to_upper(name) : word == "name" ? to_lower(name) : name;
        at += word.size();
    }
    return text;
}

std::string to_upper(std::string text)
{
    return mapped(std::move(text), std::toupper);
}

std::string to_lower(std::string text)
{
    return mapped(std::move(text), std::tolower);
}

} // namespace qnm::catalogue
