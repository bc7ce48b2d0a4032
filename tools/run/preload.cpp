#include "preload.hpp"

#include "refusal.hpp"

#include <array>
#include <cstdlib>
#include <filesystem>

namespace qnm::run {
namespace {

namespace fs = std::filesystem;

struct Library {
    const char* name;
    bool Asked::*by = nullptr; // null: always there
    const char* hint = "";
};

// All of these must be met before the layer, since they take a few of the layer's names over. The watch is
// always there: a program may open what uses FFTW at run time, and where nothing does it is one small library
// more.
constexpr Library libraries[] = {
    {"libqnm_ilp64.so.2", &Asked::wide_integers},
    {"libqnm_gnu.so.2"}, // complex functions of GNU Fortran
    {"libqnm_cdft_fftw.so", &Asked::cluster, "; `make plugins` builds it"},
    {"libqnm_watch.so"}, // planners
    {"libqnm_orvan_lp64.so.2"},
    {"libqnm_core.so.2"},
};

// Relative to the folder of this program: the build's layout and the installed one.
constexpr std::array folders = {"../lib", QNM_LIBDIR_FROM_BINDIR};

std::string find_library(const fs::path& home, const Library& library)
{
    std::string looked_in;
    for (const char* folder : folders) {
        const fs::path place = (home / folder).lexically_normal();
        if (fs::exists(place / library.name))
            return place / library.name;
        if (looked_in != place.string())
            looked_in += (looked_in.empty() ? "" : " and ") + place.string();
    }
    throw Refusal(status_own_failure,
                  std::string(library.name) + " is missing; looked in " + looked_in + library.hint);
}

} // namespace

std::string preload_list(const Asked& asked)
{
    const fs::path home = fs::read_symlink("/proc/self/exe").parent_path();
    std::string list;
    for (const Library& library : libraries) {
        if (library.by != nullptr && !(asked.*library.by))
            continue;
        const std::string path = find_library(home, library);
        if (path.find_first_of(" :") != std::string::npos)
            throw Refusal(status_own_failure,
                          path + ": the dynamic loader cannot preload from a path with a blank or a colon");
        list += (list.empty() ? "" : ":") + path;
    }
    const char* present = std::getenv("LD_PRELOAD");
    if (present != nullptr && *present != '\0')
        list += std::string(":") + present;
    return list;
}

} // namespace qnm::run
