#include "calls.hpp"

namespace qnm::tests {

bool is_number(const std::string& name)
{
    return name.ends_with("alpha") || name.ends_with("beta") || name.ends_with("cos") ||
           name.ends_with("sin");
}

bool is_matrix(const std::string& name)
{
    return name == "ap" || (name.size() == 1 && std::string("abcxy").find(name) != std::string::npos);
}

std::vector<std::string> names(const FunctionCall& call)
{
    std::vector<std::string> all;
    for (const Parameter& p : call.parameters())
        all.push_back(p.name.substr(0, p.name.find("_array")));
    return all;
}

int position(const FunctionCall& call, const std::string& argument)
{
    return static_cast<int>(call.index(argument)) + 1;
}

FunctionCall filled(const Member& member, int layout, int groups)
{
    FunctionCall call(member.name(), layout, groups > 0 ? groups : 2);
    for (std::size_t i = 0; i < call.parameters().size(); ++i) {
        const std::string name = call.parameters()[i].name;
        const bool numbers = is_number(name.substr(0, name.find("_array")));
        if (call.parameters()[i].travel == Travel::address && (groups > 0 || !numbers))
            call.fill(name, groups == 0 ? 1024 : static_cast<std::size_t>(2 * groups + (numbers ? 0 : 1)));
        for (int group = 0; name == "group_size" && group < groups; ++group)
            call.set(name, group % 2 + 1, group);
    }
    return call;
}

} // namespace qnm::tests
