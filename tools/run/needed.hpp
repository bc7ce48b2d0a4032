#pragma once

#include <string>
#include <vector>

namespace qnm::run {

struct Needed {
    std::string name; ///< as images ask for it
    std::string path; ///< empty if the loader does not find it
};

/// The libraries that the dynamic loader will bring for an image that has one, in its order, as the loader
/// itself tells them. Empty if it does not tell.
std::vector<Needed> needed_libraries(const std::string& image);
/// The same for an image that has none of its own, a library, by this loader.
std::vector<Needed> needed_libraries(const std::string& image, std::string loader);

} // namespace qnm::run
