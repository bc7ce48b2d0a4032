#include "prototypes.hpp"

#include <regex>
#include <sstream>

namespace qnm::headers {

namespace {

Type read_type(const std::string& text)
{
    static const std::regex word("[A-Za-z_][A-Za-z_0-9]*|\\*");
    Type type;
    for (std::sregex_token_iterator at(text.begin(), text.end(), word), end; at != end; ++at) {
        if (*at == "*")
            ++type.stars;
        else if (*at == "const")
            type.constant = type.constant || type.stars == 0;
        else if (type.element.empty())
            type.element = *at;
    }
    return type;
}

// The library's own matching goes as deep as a text is long, which a sanitized stack does not bear: comments
// and directives are taken out by hand.
std::string without_comments(const std::string& source)
{
    std::string text;
    std::size_t at = 0;
    for (std::size_t open = 0; (open = source.find("/*", at)) != std::string::npos;) {
        text.append(source, at, open - at).push_back(' ');
        at = source.find("*/", open) + 2;
    }
    return text.append(source, at);
}

std::string without_directives(const std::string& source)
{
    std::string text;
    std::istringstream lines(source);
    bool goes_on = false;
    for (std::string line; std::getline(lines, line);) {
        const bool directive = goes_on || line.find_first_not_of(" \t") == line.find('#');
        goes_on = directive && line.ends_with('\\');
        if (!directive && line.find("extern \"C\" {") == std::string::npos)
            text += line.substr(0, line.find("//")) + '\n';
    }
    return text;
}

} // namespace

std::vector<Prototype> read_prototypes(const std::string& source)
{
    std::vector<Prototype> all;
    std::istringstream statements(without_directives(without_comments(source)));
    for (std::string statement; std::getline(statements, statement, ';');) {
        statement.erase(0, statement.rfind('}') + 1); // the end of a struct or an enum lies ahead of it
        const auto open = statement.find('('), close = statement.find(')');
        if (statement.find("typedef") != std::string::npos || close == std::string::npos ||
            statement.find('(', open + 1) != std::string::npos ||
            statement.find_first_not_of(" \n", close + 1) != std::string::npos)
            continue;
        const auto last = statement.find_last_not_of(" \n\t", open - 1);
        const auto name = statement.find_last_of(" *\n\t", last) + 1;
        Prototype prototype{
            statement.substr(name, last + 1 - name), read_type(statement.substr(0, name)), {}};
        std::istringstream list(statement.substr(open + 1, close - open - 1));
        for (std::string argument; std::getline(list, argument, ',');)
            if (const Type type = read_type(argument); type.element != "void" || type.stars > 0)
                prototype.arguments.push_back(type);
        all.push_back(std::move(prototype));
    }
    return all;
}

std::ostream& operator<<(std::ostream& out, const Type& type)
{
    return out << (type.constant ? "const " : "") << type.element
               << std::string(static_cast<std::size_t>(type.stars), '*');
}

std::ostream& operator<<(std::ostream& out, const Prototype& prototype)
{
    out << prototype.result << ' ' << prototype.name << '(';
    for (const Type& type : prototype.arguments)
        out << (&type == &prototype.arguments.front() ? "" : ", ") << type;
    return out << ')';
}

} // namespace qnm::headers
