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
    for (std::string word; in >> word;)
        if (word == "=>") {
            all.emplace_back(std::exchange(side, ""), "");
        } else if (side += (side.empty() ? "" : " ") + word; side.back() == ';') {
            side.pop_back();
            all.back().second = std::exchange(side, "");
        }
    return all;
}

} // namespace qnm::tests
