// The room of the helpers: they declare each other, since their templates call them by their exported names.
#include "generate/output.hpp"
#include "generate/rows_room.hpp"

namespace qnm::catalogue {

namespace {

class HelpersRoom final : public generate::RowsRoom {
public:
    std::string source(const Catalogue& house, const std::string& table) const override
    {
        return generate::helpers_text(house, table);
    }
};

} // namespace

std::unique_ptr<Room> make_helpers_room();
std::unique_ptr<Room> make_helpers_room()
{
    return std::make_unique<HelpersRoom>();
}

} // namespace qnm::catalogue
