// Where the library lives: what the core lends, and the environment.
#include "pardiso.hpp"

#include <cstdlib>
#include <string_view>

namespace qnm::core::solvers {

const Host* host = nullptr;

} // namespace qnm::core::solvers

// The engine's orderings look at variables, which are not for a program with rights that its caller has not.
// Several threads would order one matrix now this way and now that: there is one unless somebody asks for
// more.
extern "C" char* __wrap_getenv(const char* name);
extern "C" char* __wrap_getenv(const char* name)
{
    static char one[] = "1";
    char* const value = secure_getenv(name);
    return value == nullptr && name == std::string_view("SCOTCH_PTHREAD_NUMBER") ? one : value;
}
