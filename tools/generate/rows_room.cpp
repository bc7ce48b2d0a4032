#include "rows_room.hpp"

#include "catalogue/row_signatures.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

void RowsRoom::read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family)
{
    if (root == "list")
        return read_list(lexer, lists_);
    for (Row& row : read_rows(lexer, root, family, house.families(), lists_)) {
        const Row& added = house.add(std::move(row));
        for (const Entry& entry : Catalogue::entries(added))
            for (const std::string& spelling : entry.spellings())
                house.claim(spelling, added.where());
    }
}

std::vector<Signature> RowsRoom::signatures(const Catalogue& house, const std::string& table) const
{
    std::vector<Signature> all;
    for (const Row& row : house.rows())
        if (row.file == table)
            for (Signature& signature : row_signatures(row))
                all.push_back(std::move(signature));
    return all;
}

std::string RowsRoom::source(const Catalogue& house, const std::string& table) const
{
    std::string body, room;
    std::set<std::string> declared;
    for (const Row& row : house.rows())
        if (row.file == table) {
            room = row.family->room;
            body += text(row, declared);
        }
    return source_head(table, room, "qnm::" + room) + body + "} // namespace qnm::" + room + "\n";
}

std::string RowsRoom::text(const Row& row, std::set<std::string>& declared) const
{
    const Class told = row.entry_class;
    const bool frameless = told == Class::called || told == Class::passed || told == Class::chain ||
                           told == Class::own || told == Class::handed;
    return frameless ? jumps_text(row, declared) : framed_text(row, declared);
}

} // namespace qnm::generate

namespace qnm::catalogue {

std::unique_ptr<Room> make_rows_room()
{
    return std::make_unique<generate::RowsRoom>();
}

} // namespace qnm::catalogue
