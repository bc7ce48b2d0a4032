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
    source_.clear();
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
    if (lexer.accept("title"))
        return title(lexer);
    if (lexer.accept("positive"))
        return phrase(lexer, positives_);
    if (lexer.accept("source"))
        return phrase(lexer, sources_);
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
    const bool told = families_.count(name) != 0;
    if (lexer.at_end() || (told && lexer.peek().text == "source")) { // which family the rows below belong to
        if (!told)
            lexer.fail("a family that was told before");
        family_ = &families_.at(name);
        source_ = lexer.accept("source") ? read_source(lexer) : family_->source;
        check_source(lexer, source_);
        if (!lexer.at_end())
            lexer.fail("the end of the statement");
        return;
    }
    if (told)
        lexer.fail("a family that was not told before");
    check_source(lexer, families_.emplace(name, read_family(lexer, name)).first->second.source);
}

void Catalogue::title(Lexer& lexer)
{
    if (family_ == nullptr)
        lexer.fail_at(lexer.first_line(), "'title'", "a line 'family NAME' above the first title");
    const Documentation& d = titles_.emplace_back(read_title(lexer, *family_, source_));
    check_source(lexer, d.source);
    if (!d.positive.empty() && positives_.count(d.positive) == 0)
        lexer.fail_at(d.line, "'" + d.positive + "'", "a word that 'positive' told before");
    for (const std::string& root : d.roots)
        if (!title_of_.emplace(std::pair(d.family, root), &d).second)
            lexer.fail_at(d.line, "'" + root + "'", "one title for a root");
}

void Catalogue::phrase(Lexer& lexer, Phrases& phrases)
{
    const std::string word = lexer.identifier("a word");
    if (!phrases.emplace(word, lexer.quoted("what the word stands for")).second || !lexer.at_end())
        lexer.fail_at(lexer.first_line(), "'" + word + "'", "a word and what it stands for, once");
}

void Catalogue::check_source(const Lexer& lexer, const std::string& source) const
{
    if (!source.empty() && sources_.count(source.substr(0, source.find(' '))) == 0)
        lexer.fail_at(lexer.first_line(), "'" + source + "'", "a publication that 'source' told before");
}

const Documentation* Catalogue::documentation(const Signature& signature) const
{
    const auto find = [&](const std::string& family, const std::string& root) {
        const auto found = title_of_.find({family, root});
        return found == title_of_.end() ? nullptr : found->second;
    };
    const Documentation* d = find(signature.family, signature.root);
    const std::string& calls = families_.at(signature.family).calls;
    const std::string& root = signature.called_root.empty() ? signature.root : signature.called_root;
    for (auto at = families_.begin(); d == nullptr && !calls.empty() && at != families_.end(); ++at)
        if (at->first == calls || at->second.room == calls)
            d = find(at->first, root);
    return d;
}

void Catalogue::check_titles(const std::string& table) const
{
    std::set<std::pair<std::string, std::string>> told;
    for (const Signature& s : signatures(table)) {
        const Documentation* d = documentation(s);
        if (d == nullptr && s.exported && !s.declared().empty())
            throw TableError(s.where() + ": '" + s.root + "': expected a title");
        const auto has_info = [](const Parameter& p) { return p.name == "info"; };
        if (d != nullptr && !d->positive.empty() && d->table == table &&
            std::none_of(s.parameters.begin(), s.parameters.end(), has_info))
            throw TableError(d->where() + ": '" + d->positive + "': expected a routine with info");
        told.emplace(s.family, s.root);
    }
    for (const Documentation& d : titles_)
        for (const std::string& root : d.roots)
            if (d.table == table && told.count({d.family, root}) == 0)
                throw TableError(d.where() + ": '" + root + "': expected a row of this table");
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
