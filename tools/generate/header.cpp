// Public headers: prototypes with types, put where a hand-written header asks for them.
#include <algorithm>
#include <fstream>
#include <sstream>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

bool written(const Argument& a)
{
    return a.direction == Direction::out || a.direction == Direction::inout || a.direction == Direction::work;
}

std::string parameter(const Argument& a, const Entry& entry)
{
    const std::string type = c_type(a.type, entry.precision, entry.width);
    if (a.kind == Kind::value)
        return type + " " + a.name;
    if (a.kind == Kind::handle)
        return "void* " + a.name;
    if (a.pointers)
        return std::string(written(a) ? "" : "const ") + type + "* const* " + a.name;
    return std::string(written(a) ? "" : "const ") + type + "* " + a.name;
}

std::string result(const Entry& entry)
{
    const Result& r = entry.row->result;
    if (r.kind != ResultKind::value)
        return "void";
    return r.type == "index" ? "int" : c_type(r.type, entry.precision, entry.width);
}

std::string prototype(const Entry& entry, const std::string& spelling)
{
    std::string list;
    if (entry.row->result.kind == ResultKind::hidden)
        list = c_type(entry.row->result.type, entry.precision, entry.width) + "* result";
    for (const Argument& a : entry.row->arguments)
        list += (list.empty() ? "" : ", ") + parameter(a, entry);
    return result(entry) + " " + spelling + "(" + (list.empty() ? "void" : list) + ");\n";
}

std::string service_list(const Service& s, bool by_reference)
{
    std::string list;
    for (const ServiceArgument& a : s.arguments) {
        const std::string type = service_type(a.type);
        list += (list.empty() ? "" : ", ") + (by_reference && !a.untouched ? type + " const*" : type) + " " +
                a.name;
    }
    return "(" + (list.empty() ? "void" : list) + ");\n";
}

std::string service_prototypes(const Service& s)
{
    std::string text;
    const bool own_form = s.kind == ServiceKind::service;
    for (const std::string& spelling : s.spellings)
        text += service_type(s.result) + " " + spelling + service_list(s, own_form);
    if (own_form)
        text += service_type(s.result) + " " + s.name + service_list(s, false);
    return text;
}

std::string prototypes(const Catalogue& tables, const std::string& file)
{
    std::string text;
    for (const Row& row : tables.rows())
        if (row.file == file)
            for (const Entry& entry : Catalogue::entries(row))
                for (const std::string& spelling : entry.spellings())
                    text += prototype(entry, spelling);
    for (const Service& s : tables.services())
        if (s.file == file)
            text += service_prototypes(s);
    if (text.empty())
        throw TableError(file + ":0: no prototypes: expected the name of a table that was read");
    return text;
}

} // namespace

std::string header_text(const Catalogue& tables, const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw TableError(path + ":0: cannot be read: expected a header");
    std::string text;
    const std::string mark = "@prototypes ";
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(mark, 0) == 0)
            text += prototypes(tables, line.substr(mark.size(), line.rfind('@') - mark.size()));
        else
            text += line + "\n";
    }
    return text;
}

} // namespace qnm::generate
