#include "prototypes.hpp"

#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace qnm::headers {

namespace {

std::vector<std::string> words(const std::string& text)
{
    static const std::regex word("[A-Za-z_][A-Za-z_0-9]*|\\*");
    return {std::sregex_token_iterator(text.begin(), text.end(), word), {}};
}

Type read_type(const std::string& text)
{
    Type type;
    for (const std::string& word : words(text)) {
        if (word == "*")
            ++type.stars;
        else if (word == "const")
            type.constant = type.constant || type.stars == 0;
        else if (type.element.empty())
            type.element = word;
    }
    return type;
}

void erase_all(std::string& text, const char* pattern)
{
    text = std::regex_replace(text, std::regex(pattern), " ");
}

} // namespace

std::vector<Prototype> read_prototypes(const std::string& source)
{
    std::string text;
    std::size_t at = 0;
    for (std::size_t open = 0; (open = source.find("/*", at)) != std::string::npos;) {
        text.append(source, at, open - at).push_back(' ');
        at = source.find("*/", open) + 2;
    }
    text.append(source, at);
    erase_all(text, "//[^\\n]*");
    erase_all(text, "#[^\\n]*(\\\\\\n[^\\n]*)*");
    erase_all(text, "extern \"C\" \\{");

    std::vector<Prototype> all;
    static const std::regex declaration("^\\s*([\\w\\s*]+?[\\s*])(\\w+)\\s*\\(([^()]*)\\)\\s*$");
    std::istringstream statements(text);
    for (std::string statement; std::getline(statements, statement, ';');) {
        std::smatch parts;
        const auto close = statement.rfind('}'); // the end of a struct or an enum lies ahead of it
        const std::string last = close == std::string::npos ? statement : statement.substr(close + 1);
        if (last.find("typedef") != std::string::npos || !std::regex_match(last, parts, declaration))
            continue;
        Prototype prototype{parts[2], read_type(parts[1]), {}};
        std::istringstream list(parts[3]);
        for (std::string argument; std::getline(list, argument, ',');)
            if (const Type type = read_type(argument); type.element != "void" || type.stars > 0)
                prototype.arguments.push_back(type);
        all.push_back(std::move(prototype));
    }
    return all;
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error(path + " cannot be read");
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace qnm::headers
