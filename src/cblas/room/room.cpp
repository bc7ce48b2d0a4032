// The room of the C interface to BLAS: its sentence is about rows of another family.
#include "cblas/room/source.hpp"

namespace qnm::catalogue {

namespace {

class CblasRoom final : public Room {
public:
    void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) override
    {
        const CStatement statement = read_c_statement(lexer, root, family);
        for (const Head& head : statement.heads)
            for (CRow& row : derive_c_rows(statement, head, house.rows(), lexer)) {
                rows_.push_back(std::move(row));
                for (const CEntry& entry : c_entries(rows_.back()))
                    house.claim(entry.name(), rows_.back().where());
            }
    }

    std::vector<Signature> signatures(const Catalogue& /*house*/, const std::string& table) const override
    {
        std::vector<Signature> all;
        for (const CRow& row : rows_)
            if (row.file == table)
                for (const CEntry& entry : c_entries(row))
                    all.push_back(c_signature(entry));
        return all;
    }

    std::string source(const Catalogue& house, const std::string& table) const override
    {
        return generate::cblas_text(house, table);
    }

    const std::deque<CRow>& rows() const { return rows_; }

private:
    std::deque<CRow> rows_; // entries point at them
};

} // namespace

const std::deque<CRow>& c_rows(const Catalogue& tables)
{
    static const std::deque<CRow> none;
    const auto* room = static_cast<const CblasRoom*>(tables.room("cblas"));
    return room == nullptr ? none : room->rows();
}

std::unique_ptr<Room> make_cblas_room();
std::unique_ptr<Room> make_cblas_room()
{
    return std::make_unique<CblasRoom>();
}

} // namespace qnm::catalogue
