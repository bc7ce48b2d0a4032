#include "linked.hpp"

#include <string>

namespace {

/// As the assembler lays them out; the last one is null.
struct Linked {
    const char *name, *begin, *end;
};

} // namespace

extern "C" const Linked qnm_linked_tables[];

namespace qnm::catalogue {

Catalogue linked_tables()
{
    Catalogue catalogue;
    for (const Linked* table = qnm_linked_tables; table->name != nullptr; ++table)
        catalogue.read_text({table->begin, table->end}, table->name);
    return catalogue;
}

} // namespace qnm::catalogue
