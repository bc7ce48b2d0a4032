// The room of families whose sentences are rows.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "catalogue/catalogue.hpp"
#include "catalogue/reader.hpp"

namespace qnm::generate {

class RowsRoom : public catalogue::Room {
public:
    void read(catalogue::Catalogue& house, catalogue::Lexer& lexer, const std::string& root,
              const catalogue::Family& family) override;
    std::vector<catalogue::Signature> signatures(const catalogue::Catalogue& house,
                                                 const std::string& table) const override;
    std::string source(const catalogue::Catalogue& house, const std::string& table) const override;

protected:
    /// A row's checks and entries, as text; `declared` holds the core's functions that the text above has.
    virtual std::string text(const catalogue::Row& row, std::set<std::string>& declared) const;

private:
    catalogue::Lists lists_;
};

} // namespace qnm::generate
