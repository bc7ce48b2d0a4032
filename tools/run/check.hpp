#pragma once

#include "program.hpp"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace qnm::run {

/// What files do not tell.
inline constexpr const char* unseen = "what it opens or starts while it runs is not seen";

/// What becomes of the names that a program takes from libraries, seen from its files: nothing of it runs.
/// Names are followed from the program to the library that the dynamic loader would take each from, and on
/// from there.
class Check {
public:
    /// `preloaded` as they would stand ahead of the program's own libraries, the core last.
    Check(const Program& program, const std::vector<std::string>& preloaded);
    ~Check();

    struct Verdict {
        std::string text; ///< names by image and fate, and a line that sums up
        int status = 0;   ///< 0: all are ours, 1: some pass by, 2: the program cannot run
    };
    Verdict verdict() const;
    /// What passes by, in one line; empty if nothing does.
    std::string passed_by() const;
    /// Why a run that was traced has told nothing, in one line.
    std::string reason() const;

private:
    class Scope;

    using Names = std::vector<std::string>;
    struct Image {
        std::string path;
        std::map<int, Names> taken; ///< by the image that has them
    };

    void look_for_own();
    void follow();
    /// Functions that the layer takes from its core, and that are nowhere.
    Names lacking() const;
    /// The first of them that a name leads to; empty if none.
    std::string lack_of(const Names& lacking, const std::string& name) const;
    Names passing() const;

    std::unique_ptr<const Scope> scope_;
    std::vector<Image> images_;
    std::set<std::string> ours_, own_;             ///< of all images: by us, by the program
    std::map<int, std::set<std::string>> passing_; ///< by the image that has them
    Names missing_libraries_;
};

} // namespace qnm::run
