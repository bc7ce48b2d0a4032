// The room of the C interface to LAPACK: its sentence is about rows of another family.
#include <algorithm>
#include <deque>

#include "catalogue/catalogue.hpp"
#include "lapacke/room/plan.hpp"
#include "lapacke/room/text.hpp"

namespace qnm::catalogue {

namespace {

class LapackeRoom final : public Room {
public:
    void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) override
    {
        const LapackeRow& c = rows_.emplace_back(read_lapacke_row(lexer, root));
        for (const Head& head : c.heads)
            for (const Precision& letter : head.letters) {
                const auto row = std::find_if(house.rows().rbegin(), house.rows().rend(), [&](const Row& r) {
                    return r.family->room == family.calls && r.root == head.root &&
                           r.entry_class != Class::check && r.has_letter(letter);
                });
                if (row == house.rows().rend())
                    lexer.fail_at(c.line, "'" + letter.prefix + "' of '" + head.root + "'",
                                  "a routine of the LAPACK tables");
                add(house, lexer, c, *row, letter, family);
            }
    }

    std::vector<Signature> signatures(const Catalogue& /*house*/, const std::string& table) const override
    {
        return lapacke_signatures(plans_, table);
    }

    std::string source(const Catalogue& house, const std::string& table) const override
    {
        return generate::lapacke_text(house, table);
    }

    const std::vector<LapackePlan>& plans() const { return plans_; }

private:
    void add(Catalogue& house, const Lexer& lexer, const LapackeRow& c, const Row& row,
             const Precision& letter, const Family& family)
    {
        if (plans_.empty() || plans_.back().c != &c || plans_.back().row != &row) {
            check_lapacke_names(lexer, c, row);
            plans_.push_back(derive_plan(row, c));
            plans_.back().family = &family;
        }
        plans_.back().precisions.push_back(letter);
        for (const Form* form : lapacke_forms(plans_.back()))
            house.claim(lapacke_name(plans_.back(), letter, *form), c.where());
    }

    std::deque<LapackeRow> rows_; // plans point at them
    std::vector<LapackePlan> plans_;
};

} // namespace

const std::vector<LapackePlan>& lapacke_plans(const Catalogue& tables)
{
    static const std::vector<LapackePlan> none;
    const auto* room = static_cast<const LapackeRoom*>(tables.room("lapacke"));
    return room == nullptr ? none : room->plans();
}

std::unique_ptr<Room> make_lapacke_room();
std::unique_ptr<Room> make_lapacke_room()
{
    return std::make_unique<LapackeRoom>();
}

} // namespace qnm::catalogue
