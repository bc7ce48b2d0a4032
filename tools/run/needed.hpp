#pragma once

#include <string>
#include <vector>

namespace qnm::run {

struct Needed {
    std::string name; ///< as images ask for it
    std::string path; ///< empty if the loader does not find it
};

/// The libraries that the dynamic loader will bring for an image, a program's own loader or that of this
/// system for a library, in its order, as the loader itself tells them. Empty if it does not tell.
std::vector<Needed> needed_libraries(const std::string& image);

} // namespace qnm::run
