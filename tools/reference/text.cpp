#include "text.hpp"

#include <sstream>

namespace qnm::reference {

std::string plain(const std::string& text)
{
    std::string out;
    for (const char c : text)
        out += c == '\\' ? "\\e" : c == '"' ? "\\(dq" : std::string(1, c);
    return !out.empty() && (out[0] == '.' || out[0] == '\'') ? "\\&" + out : out;
}

std::string quoted(const std::string& text)
{
    return "\"" + plain(text) + "\"";
}

std::string wrapped(const std::string& text)
{
    constexpr std::size_t widest = 78;
    std::istringstream words(text);
    std::string out, line;
    for (std::string word; words >> word;) {
        if (!line.empty() && line.size() + 1 + word.size() > widest) {
            out += plain(line) + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return out + plain(line);
}

std::string sentence(std::string text)
{
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z' && (text.size() == 1 || text[1] != ' '))
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return wrapped(text + (text.empty() || text.back() == '.' ? "" : "."));
}

} // namespace qnm::reference
