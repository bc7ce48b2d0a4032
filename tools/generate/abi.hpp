// What the library promises of each name from release to release: abi/2.txt, which is written of the tables
// once, and then only added to.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "text.hpp"

namespace qnm::generate {

struct Promise {
    std::string facts; // "void (char*, int*, double*) + 1"
    std::string since; // the release
};

/// A file of promises, read: rules of spelling by their numbers, and every name.
struct Abi {
    std::string library, package, since;
    std::map<std::string, std::string> rules;
    std::map<std::string, Promise> names;
};

Abi promised(const std::string& text, const std::string& path);
/// The same of what the tables say now.
std::map<std::string, std::string> abi_of(const std::vector<catalogue::Signature>& functions);

/// Names that were promised and are lost or changed, with a few words each.
std::vector<std::string> broken_promises(const Abi& kept, const std::map<std::string, std::string>& built);
/// Names that nobody promised yet.
std::set<std::string> additions(const Abi& kept, const std::map<std::string, std::string>& built);
/// The lines that promise them, as of a release.
std::string additions_text(const Abi& kept, const std::vector<catalogue::Signature>& functions,
                           const std::string& version);

/// The names and their releases as Debian's tools read them.
std::string symbols_text(const Abi& kept);

} // namespace qnm::generate
