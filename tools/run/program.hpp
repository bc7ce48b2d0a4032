#pragma once

#include "needed.hpp"

#include <string>
#include <vector>

namespace qnm::run {

/// A program that can be run with libraries loaded ahead of its own.
struct Program {
    std::string path;           ///< the file to execute; always with a slash
    std::string image;          ///< the ELF file behind it: itself, or the interpreter of a script
    std::vector<Needed> needed; ///< libraries of the image
};

/// Looks the name up as execvp does (a name with a slash as it stands, others along PATH) and makes
/// sure that the dynamic loader will honour a preload for it, and that neither it nor a library that it needs
/// calls functions of FFTW that the layer lacks and that would mix with the layer's.
/// Throws Refusal: 127 if there is no such program; 126 if it is not executable, a directory, not of
/// this machine's kind, cut short, statically linked, a library, if it has another dynamic loader than
/// glibc's or is one, if its privileges make the loader ignore preloads, or if it would mix.
Program find_program(const std::string& name);
/// The same to be looked at: a library may be named too, by a path, as programs open it while they run.
Program find_checked(const std::string& name);

} // namespace qnm::run
