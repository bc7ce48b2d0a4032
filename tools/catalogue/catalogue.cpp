// The tables as a whole: which statement a line begins, and what all rows together must hold to.
#include "catalogue.hpp"

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>

#include "reader.hpp"

namespace qnm::catalogue {

void Catalogue::read(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw TableError(path + ":0: cannot be read: expected a table");
    std::ostringstream text;
    text << in.rdbuf();
    read_text(text.str(), path.substr(path.rfind('/') + 1));
}

void Catalogue::read_text(const std::string& text, const std::string& file)
{
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
            lexer.emplace(file, number);
        } else if (!lexer) {
            if (line.find_first_not_of(' ') != std::string::npos && line[line.find_first_not_of(' ')] != '#')
                throw TableError(file + ":" + std::to_string(number) +
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
        return read_family(lexer);
    for (const auto& [word, kind] :
         {std::pair{"forward", ServiceKind::forward}, std::pair{"service", ServiceKind::service},
          std::pair{"internal", ServiceKind::internal}, std::pair{"core", ServiceKind::core},
          std::pair{"chain", ServiceKind::chain}})
        if (lexer.accept(word))
            return add_service(lexer, kind);
    const std::string root = lexer.identifier(
        "the root of a routine's name, 'family', 'service', 'forward', 'internal', 'core' or 'chain'");
    if (family_ != nullptr && !family_->calls.empty())
        return add_c_rows(lexer, root);
    if (family_ != nullptr && family_->frame == "lapacke")
        return add_lapacke_row(lexer, root);
    add_rows(lexer, root);
}

void Catalogue::read_family(Lexer& lexer)
{
    const std::string name = lexer.identifier("the family's name");
    if (lexer.at_end()) { // which family the rows below belong to
        if (families_.count(name) == 0)
            lexer.fail("a family that was told before");
        family_ = &families_.at(name);
        return;
    }
    const auto [place, fresh] = families_.try_emplace(name);
    if (!fresh)
        lexer.fail("a family that was not told before");
    Family& family = place->second;
    family.name = name;
    family.frame = lexer.accept("frame") ? lexer.identifier("the folder of the family's templates") : name;
    if (lexer.accept("calls")) {
        family.calls = lexer.identifier("the family whose entries are called");
    } else if (lexer.accept("core")) {
        family.core = lexer.identifier("the pattern of core names");
    }
    if (lexer.accept("check"))
        family.check = lexer.identifier("the pattern of check names");
    for (const auto& [word, width] : {std::pair{"narrow", Width::narrow}, std::pair{"wide", Width::wide}}) {
        lexer.expect(word);
        while (!lexer.at_end() && lexer.peek().text != "wide")
            family.spellings[width].push_back(lexer.identifier("a spelling"));
    }
}

void Catalogue::add_rows(Lexer& lexer, const std::string& root)
{
    for (Row& row : read_rows(lexer, root, family_, families_)) {
        rows_.push_back(std::move(row));
        for (const Entry& entry : entries(rows_.back())) {
            for (const std::string& spelling : entry.spellings())
                claim(spelling, entry.row->where());
            if (!entry.c_form().empty())
                claim(entry.c_form(), entry.row->where());
        }
    }
}

void Catalogue::add_service(Lexer& lexer, ServiceKind kind)
{
    const Service& s = services_.emplace_back(read_service(lexer, kind));
    for (const std::string& spelling : s.spellings)
        claim(spelling, s.where());
    if (kind == ServiceKind::service)
        claim(s.name, s.where());
}

void Catalogue::add_c_rows(Lexer& lexer, const std::string& root)
{
    const CStatement statement = read_c_statement(lexer, root, *family_);
    const std::string where = lexer.file() + ":" + std::to_string(statement.row.line);
    for (const Head& head : statement.heads)
        for (CRow& row : derive_c_rows(statement, head, rows_, lexer)) {
            c_rows_.push_back(std::move(row));
            for (const CEntry& entry : c_entries(c_rows_.back()))
                claim(entry.name(), where);
        }
}

void Catalogue::add_lapacke_row(Lexer& lexer, const std::string& root)
{
    const LapackeRow& c = lapacke_rows_.emplace_back(read_lapacke_row(lexer, root));
    const auto add = [&](const Row& row, const Precision& letter) {
        for (const Width width : {Width::narrow, Width::wide})
            for (const bool high : {true, false})
                if (high || c.shape != LapackeShape::one_level)
                    claim(lapacke_name(row, letter, width, high), c.where());
        const bool same =
            !lapacke_plans_.empty() && lapacke_plans_.back().c == &c && lapacke_plans_.back().row == &row;
        if (!same) {
            check_lapacke_names(lexer, c, row);
            lapacke_plans_.push_back(derive_plan(row, c));
        }
        lapacke_plans_.back().precisions.push_back(letter);
    };
    for (const Head& head : c.heads)
        for (const Precision& letter : head.letters) {
            const auto row = std::find_if(rows_.rbegin(), rows_.rend(), [&](const Row& r) {
                return r.family->frame == "lapack" && r.root == head.root && r.entry_class != Class::check &&
                       r.has_letter(letter);
            });
            if (row == rows_.rend())
                lexer.fail_at(c.line, "'" + letter.prefix + "' of '" + head.root + "'",
                              "a routine of the LAPACK tables");
            add(*row, letter);
        }
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
    for (const Width width : {Width::narrow, Width::wide})
        for (const Precision& precision : row.precisions)
            if (row.entry_class != Class::check && (width == Width::narrow || row.has_wide()))
                all.push_back({&row, precision, width});
    return all;
}

std::vector<Entry> Catalogue::checks(const Row& row)
{
    std::vector<Entry> all;
    if (row.entry_class == Class::checked || row.entry_class == Class::matcopy)
        return entries(row);
    if (row.entry_class == Class::check)
        for (const Precision& precision : row.precisions)
            all.push_back({&row, precision, Width::wide});
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

Catalogue read_tables(const std::vector<std::string>& paths)
{
    Catalogue catalogue;
    for (const std::string& path : paths)
        catalogue.read(path);
    return catalogue;
}

} // namespace qnm::catalogue
