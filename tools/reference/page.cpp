#include "page.hpp"

#include <algorithm>
#include <set>

namespace qnm::reference {

using namespace catalogue;

namespace {

/// Names with `__` within, behind our own prefix, are the library's own.
bool is_private(const std::string& name)
{
    const std::size_t at = name.find("__");
    return name.rfind("qnm_", 0) == 0 && at != std::string::npos && at + 2 != name.size();
}

/// The checks that entries make themselves: the page of the entry tells them.
std::set<std::string> checks(const std::vector<Signature>& all)
{
    std::set<std::string> names;
    for (const Signature& s : all)
        names.insert(s.check);
    return names;
}

} // namespace

bool Page::has_info() const
{
    return std::any_of(functions.begin(), functions.end(), [](const Signature& s) {
        return std::any_of(s.parameters.begin(), s.parameters.end(), [](const Parameter& p) {
            return p.name == "info" && p.argument != nullptr && p.argument->direction == Direction::out;
        });
    });
}

std::vector<std::pair<int, std::string>> Page::statuses() const
{
    bool workspace = false, layout = false, copies = false;
    for (const Signature& s : functions) {
        for (const Parameter& p : s.parameters)
            layout = layout || (s.form->level == "work" && !p.note.empty());
        for (const Callee& callee : s.callees)
            for (const Place& place : callee.places) {
                workspace = workspace || (s.form->level == "high" && place.fill == Fill::constant);
                copies = copies || (!s.cell.empty() && place.fill == Fill::copied);
            }
    }
    std::vector<std::pair<int, std::string>> all;
    if (workspace)
        all.push_back({-1010, "the C interface has no memory for workspace"});
    if (layout)
        all.push_back({-1011, "the C interface has no memory for copies in the other layout"});
    if (copies)
        all.push_back({-1023, "there is no memory for copies of integers; the error handler is told 1102"});
    return all;
}

std::string alternatives(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : &word == &words.back() ? " or " : ", ") + word;
    return text;
}

std::vector<std::string> codes_of(const Signature& s, std::size_t parameter)
{
    const Parameter& p = s.parameters[parameter];
    if (p.travel != Travel::code && p.travel != Travel::codes)
        return {};
    if (p.argument == nullptr)
        return {"101 (row-major)", "102 (column-major)"};
    std::vector<std::string> all;
    for (const Callee& callee : s.callees)
        for (const Place& place : callee.places)
            if (all.empty() && place.parameter == static_cast<int>(parameter))
                for (const auto& [code, letter] : place.letters)
                    all.push_back(std::to_string(code) + " (" + letter + ")");
    return all;
}

std::string requirement(const Signature& s, const Test& test)
{
    const auto at = static_cast<std::size_t>(test.parameter);
    const Parameter& p = s.parameters[at];
    const std::string letters = p.argument != nullptr ? p.argument->letters : "",
                      asked = p.name + " in " + letters;
    std::vector<std::string> allowed = codes_of(s, at);
    if (allowed.empty())
        for (const char letter : letters)
            allowed.emplace_back(1, letter);
    std::string text = test.text;
    if (text == p.name && allowed.empty())
        text += " is not null";
    else if (text == p.name)
        text += " is " + alternatives(allowed);
    else if (!letters.empty() && text.rfind(asked, 0) == 0)
        text.replace(0, asked.size(), p.name + " is " + alternatives(allowed));
    else if (text == p.name + " != 0" && p.travel == Travel::address)
        text = p.name + " is not null";
    if (p.argument != nullptr && p.argument->unless && text.find(" unless ") == std::string::npos)
        text += " unless " + to_text(*p.argument->unless);
    return text + (test.when.empty() ? "" : " in " + test.when);
}

std::vector<std::pair<int, std::string>> Page::codes() const
{
    std::vector<std::pair<int, std::string>> all;
    if (has_info())
        all = statuses();
    for (const Signature& s : functions)
        for (const Test& test : s.tests)
            if (const std::pair code{test.code, requirement(s, test)};
                std::find(all.begin(), all.end(), code) == all.end())
                all.push_back(code);
    return all;
}

std::vector<Page> pages_of(const Catalogue& tables)
{
    const std::vector<Signature> all = tables.signatures();
    const std::set<std::string> inner = checks(all);
    std::map<const Documentation*, Page> by_title;
    for (const Signature& s : all) {
        const Documentation* d = tables.documentation(s);
        if (d == nullptr || !s.exported || (!s.published && inner.count(s.names.front()) != 0))
            continue;
        Page& page = by_title[d];
        page.told = d;
        page.functions.push_back(s);
        for (const std::string& name : s.names)
            if (!is_private(name) &&
                std::find(page.names.begin(), page.names.end(), name) == page.names.end())
                page.names.push_back(name);
    }
    std::vector<Page> pages;
    std::map<std::string, std::string> taken;
    for (const Documentation& d : tables.titles()) {
        const auto found = by_title.find(&d);
        if (found == by_title.end() || found->second.names.empty())
            continue;
        pages.push_back(std::move(found->second));
        const auto [other, fresh] = taken.emplace(pages.back().name(), d.where());
        if (!fresh)
            throw TableError(d.where() + ": '" + pages.back().name() + "': expected a page that " +
                             other->second + " does not have");
    }
    return pages;
}

} // namespace qnm::reference
