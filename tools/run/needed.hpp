#pragma once

#include <string>
#include <vector>

namespace qnm::run {

/// The libraries that the dynamic loader will bring for an image that has one, in its order, as the loader
/// itself tells them. Empty if it does not tell.
std::vector<std::string> needed_libraries(const std::string& image);

} // namespace qnm::run
