// `generate --explain NAME`: what an exported name is, for people.
#include <algorithm>
#include <map>
#include <sstream>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

const char* fill_text(Fill fill)
{
    static const std::map<Fill, const char*> texts{{Fill::as_it_is, ""},
                                                   {Fill::widened, "widened "},
                                                   {Fill::copied, "copied "},
                                                   {Fill::addressed, "&"},
                                                   {Fill::read, "*"},
                                                   {Fill::low, "32 bits of "},
                                                   {Fill::letter, "letter of "},
                                                   {Fill::conjugated, "conjugated "},
                                                   {Fill::constant, ""}};
    return texts.at(fill);
}

std::string callee_text(const Callee& callee, const Signature& s)
{
    Words places;
    for (const Place& place : callee.places)
        places.push_back(place.parameter < 0
                             ? place.constant
                             : fill_text(place.fill) +
                                   s.parameters[static_cast<std::size_t>(place.parameter)].name);
    return callee.name + "(" + joined(places) + ")" + (callee.when.empty() ? "" : " when " + callee.when);
}

std::string text(const Signature& s, const Documentation* told)
{
    std::ostringstream out;
    out << s.names.front();
    if (told != nullptr)
        out << "\n  title     " << told->title;
    out << "\n  row       " << s.where() << "\n  steps     " << s.source << "\n  spelled  ";
    for (const std::string& name : s.names)
        out << ' ' << name;
    out << (s.data ? "\n  variable  " : "\n  result    ") << s.result << "\n";
    for (const Callee& callee : s.callees)
        out << "  calls     " << callee_text(callee, s) << "\n";
    if (!s.parameters.empty())
        out << "  arguments\n";
    for (std::size_t i = 0; i < s.parameters.size(); ++i)
        out << "    " << i + 1 << ": " << s.parameters[i].name << ", " << s.parameters[i].type
            << s.parameters[i].note << "\n";
    if (!s.trace.empty())
        out << "  line      " << s.trace << "\n";
    if (!s.cell.empty())
        out << "  cell      " << s.cell << "\n";
    if (!s.check.empty())
        out << "  check     " << s.check << ", reports \"" << s.report_name << "\"\n";
    if (!s.definitions.empty())
        out << "  where\n";
    for (const Definition& d : s.definitions)
        out << "    " << d.name << " = " << to_text(*d.value) << "\n";
    if (!s.tests.empty())
        out << "  tests, in this order\n";
    for (const Test& test : s.tests)
        out << "    " << test.code << ": " << test.text
            << (test.when.empty() ? "" : ", " + test.when + " alone") << (test.goes_on ? ", goes on" : "")
            << (test.name.empty() ? "" : ", as \"" + test.name + "\"") << "\n";
    return out.str();
}

} // namespace

std::string explanation(const Catalogue& tables, const std::vector<Signature>& functions,
                        const std::string& name)
{
    for (const Signature& s : functions)
        if (std::find(s.names.begin(), s.names.end(), name) != s.names.end())
            return text(s, tables.documentation(s));
    return {};
}

} // namespace qnm::generate
