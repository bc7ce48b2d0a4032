// The tables that a test was compiled for, QNM_TABLES: paths with colons between them.
#pragma once

#include "catalogue/catalogue.hpp"

#include <sstream>

namespace qnm::support {

inline const catalogue::Catalogue& tables()
{
    static const catalogue::Catalogue all = [] {
        std::vector<std::string> paths;
        std::istringstream in(QNM_TABLES);
        for (std::string path; std::getline(in, path, ':');)
            paths.push_back(path);
        return catalogue::read_tables(paths);
    }();
    return all;
}

} // namespace qnm::support
