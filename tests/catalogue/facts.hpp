// Facts written down as `name => fact; name => fact`, in as many lines as they take.
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace qnm::tests {

using Facts = std::vector<std::pair<std::string, std::string>>;

inline Facts facts(const std::string& text)
{
    Facts all;
    std::istringstream in(text);
    std::string side;
    for (std::string word; in >> word;) {
        const bool last = word.back() == ';';
        if (last)
            word.pop_back();
        if (word == "=>") {
            all.emplace_back(side, "");
            side.clear();
        } else if (!word.empty()) {
            side += (side.empty() ? "" : " ") + word;
        }
        if (last)
            all.back().second = std::exchange(side, "");
    }
    return all;
}

} // namespace qnm::tests
