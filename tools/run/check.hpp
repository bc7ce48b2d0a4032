#pragma once

#include "program.hpp"

#include <map>
#include <string>
#include <vector>

namespace qnm::run {

/// What becomes of the names that a program takes from libraries, seen from its files: nothing of it runs.
/// Names are followed from the program to the library that the dynamic loader would take each from, and on
/// from there.
class Check {
public:
    /// `preloaded` as they would stand ahead of the program's own libraries, the core last.
    Check(const Program& program, const std::vector<std::string>& preloaded);

    /// Lists of names by image and fate, and a line that sums up.
    std::string text() const;
    /// 0: all are ours, 1: some pass by, 2: the program cannot run.
    int status() const;
    /// Why a run that was traced has told nothing, in one line.
    std::string reason() const;

private:
    class Scope;

    using Names = std::vector<std::string>;
    struct Image {
        std::string path;
        std::map<std::string, Names> fates; ///< by what is told of them
    };

    void follow(const Scope& scope);
    void look_for_own(const Scope& scope);
    void ask_core(const Scope& scope);
    /// What the core lacks of all that a name leads to; empty if nothing.
    std::string lack_of(const Scope& scope, const std::string& name) const;

    std::vector<Image> images_;
    Names traced_, untraced_, own_, passing_; ///< of all images: ours with a trace and without, and not ours
    Names missing_libraries_;
    std::string core_;
    Names lacking_;                           ///< functions that the layer takes from its core
    std::map<std::string, std::string> ends_; ///< names that are called, and what is lacking to them
};

} // namespace qnm::run
