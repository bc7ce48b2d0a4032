// The tables as a whole: which statement a line begins, and what all rows together must hold to.
#include "catalogue.hpp"

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>

namespace qnm::catalogue {

namespace {

/// "blas/level2.tab" of a path.
std::string table_name(const std::string& path)
{
    const std::size_t file = path.rfind('/');
    const std::size_t folder = file == std::string::npos || file == 0 ? file : path.rfind('/', file - 1);
    return folder == std::string::npos ? path : path.substr(folder + 1);
}

} // namespace

void Catalogue::read(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw TableError(path + ":0: cannot be read: expected a table");
    std::ostringstream text;
    text << in.rdbuf();
    const std::string name = table_name(path);
    if (std::find(tables_.begin(), tables_.end(), name) != tables_.end())
        throw TableError(path + ":0: '" + name + "': expected a folder and a name that no other table has");
    read_text(text.str(), name);
}

void Catalogue::read_text(const std::string& text, const std::string& table)
{
    if (std::find(tables_.begin(), tables_.end(), table) == tables_.end())
        tables_.push_back(table);
    family_ = nullptr;
    std::istringstream in(text);
    std::optional<Lexer> lexer;
    const auto finish = [&] {
        if (lexer && !lexer->at_end())
            statement(*lexer);
    };
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const bool continues = line.empty() || line[0] == ' ' || line[0] == '#';
        if (!continues) {
            finish();
            lexer.emplace(table, number);
        } else if (!lexer) {
            if (line.find_first_not_of(' ') != std::string::npos && line[line.find_first_not_of(' ')] != '#')
                throw TableError(table + ":" + std::to_string(number) +
                                 ": an indented line: expected a row to go on");
            continue;
        }
        lexer->add_line(line, number);
    }
    finish();
}

void Catalogue::statement(Lexer& lexer)
{
    if (lexer.accept("family"))
        return family(lexer);
    if (lexer.accept("type"))
        return read_type_statement(lexer);
    const std::string root = lexer.identifier("the root of a routine's name, 'family' or 'type'");
    if (family_ == nullptr)
        lexer.fail_at(lexer.first_line(), "'" + root + "'", "a line 'family NAME' above the first row");
    Room& room = room_of(*family_);
    room_of_tables_[lexer.file()].insert(&room);
    if (room_of_tables_[lexer.file()].size() > 1)
        lexer.fail_at(lexer.first_line(), "'" + family_->name + "'", "families of one room in a table");
    room.read(*this, lexer, root, *family_);
}

void Catalogue::family(Lexer& lexer)
{
    const std::string name = lexer.identifier("the family's name");
    if (lexer.at_end()) { // which family the rows below belong to
        if (families_.count(name) == 0)
            lexer.fail("a family that was told before");
        family_ = &families_.at(name);
        return;
    }
    if (families_.count(name) != 0)
        lexer.fail("a family that was not told before");
    families_.emplace(name, read_family(lexer, name));
}

Room& Catalogue::room_of(const Family& family)
{
    std::unique_ptr<Room>& room = rooms_[family.room];
    if (!room) {
        const auto& makers = room_makers();
        const auto own = std::find_if(makers.begin(), makers.end(),
                                      [&](const RoomMaker& maker) { return maker.name == family.room; });
        room = own != makers.end() ? own->make() : make_rows_room();
    }
    return *room;
}

void Catalogue::claim(const std::string& spelling, const std::string& where)
{
    const auto [at, fresh] = claimed_.emplace(spelling, where);
    if (!fresh)
        throw TableError(where + ": '" + spelling + "': expected a name that " + at->second +
                         " does not export");
}

std::vector<Entry> Catalogue::entries(const Row& row)
{
    std::vector<Entry> all;
    if (row.entry_class != Class::check && row.entry_class != Class::called)
        for (const Form* form : row.forms())
            for (const Precision& precision : row.precisions)
                all.emplace_back(row, precision, *form);
    return all;
}

std::vector<Entry> Catalogue::checks(const Row& row)
{
    std::vector<Entry> all;
    for (const Form& form : row.family->forms)
        if (row.has_check() && !form.check.empty())
            for (const Precision& precision : row.precisions)
                all.emplace_back(row, precision, form);
    return all;
}

std::vector<Entry> Catalogue::entries() const
{
    std::vector<Entry> all;
    for (const Row& row : rows_)
        for (const Entry& entry : entries(row))
            all.push_back(entry);
    return all;
}

const Room* Catalogue::room(const std::string& name) const
{
    const auto found = rooms_.find(name);
    return found == rooms_.end() ? nullptr : found->second.get();
}

const Room& Catalogue::room_of_table(const std::string& table) const
{
    const auto found = room_of_tables_.find(table);
    if (found == room_of_tables_.end())
        throw TableError(table + ":0: no rows: expected the name of a table that was read");
    return **found->second.begin();
}

std::vector<Signature> Catalogue::signatures(const std::string& table) const
{
    return room_of_table(table).signatures(*this, table);
}

std::vector<Signature> Catalogue::signatures() const
{
    std::vector<Signature> all;
    for (const std::string& table : tables_)
        if (room_of_tables_.count(table) != 0)
            for (Signature& signature : signatures(table))
                all.push_back(std::move(signature));
    return all;
}

std::string Catalogue::source(const std::string& table) const
{
    return room_of_table(table).source(*this, table);
}

Catalogue read_tables(const std::vector<std::string>& paths)
{
    Catalogue catalogue;
    for (const std::string& path : paths)
        catalogue.read(path);
    return catalogue;
}

} // namespace qnm::catalogue
