#include "preload.hpp"

#include "elf_file.hpp"
#include "program.hpp"
#include "refusal.hpp"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <sys/auxv.h>

namespace qnm::run {
namespace {

namespace fs = std::filesystem;

struct Library {
    const char* name;
    bool Asked::*by = nullptr; // null: always there
    const char* hint = "";
};

constexpr const char* jumps = "libqnm_ilp64.so.2"; // from plain names to 64-bit integers
constexpr const char* layer = "libqnm_orvan_lp64.so.2";

// All of these must be met before the layer, since they take a few of the layer's names over. The watch is
// always there: a program may open what uses FFTW at run time, and where nothing does it is one small library
// more.
constexpr Library libraries[] = {
    {jumps, &Asked::wide_integers},
    {"libqnm_gnu.so.2"}, // complex functions of GNU Fortran
    {"libqnm_cdft_fftw.so", &Asked::cluster, "; `make plugins` builds it"},
    {"libqnm_watch.so.2"}, // planners
    {layer},
};
constexpr Library open_core = {"libqnm_core.so.2"};

// Relative to the folder of this program: the build's layout and the installed one.
constexpr std::array folders = {"../lib", QNM_LIBDIR_FROM_BINDIR};

fs::path program_of_ours()
{
    std::error_code none;
    for (const fs::path& path :
         {fs::path("/proc/self/exe"), fs::path(reinterpret_cast<const char*>(getauxval(AT_EXECFN)))})
        if (const fs::path real = fs::canonical(path, none); !none)
            return real;
    return fs::path(QNM_BINDIR) / "qnm-run";
}

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

std::string core_of(const fs::path& home, const Asked& asked)
{
    if (asked.core.empty())
        return find_library(home, open_core);
    std::error_code error;
    const fs::path path = fs::canonical(asked.core, error);
    if (error)
        throw Refusal(status_own_failure, asked.core + ": " + error.message());
    const ElfFile file(path);
    if (!file.is_native() || (file.interpreter() && file.dynamic_text(DT_SONAME).empty())) // or a program
        throw Refusal(status_own_failure, asked.core + ": is not a library of this machine");
    return path;
}

// The runtimes of compilers' sanitizers, which refuse to be behind anything.
bool is_sanitizer(std::string_view name)
{
    for (const char* begin : {"libasan.", "libtsan.", "liblsan.", "libhwasan.", "libclang_rt.asan",
                              "libclang_rt.tsan", "libclang_rt.hwasan"})
        if (name.starts_with(begin))
            return true;
    return false;
}

} // namespace

// Whose names come first is the first of them.
bool has_wide_integers(const Program& program)
{
    for (const Needed& library : program.needed) {
        for (const char* wide : {jumps, "libblas64.so.3", "liblapack64.so.3", "libopenblas64.so.0"})
            if (library.name == wide)
                return true;
        for (const char* narrow : {layer, "libblas.so.3", "liblapack.so.3", "libopenblas.so.0"})
            if (library.name == narrow)
                return false;
    }
    return false;
}

std::vector<std::string> preloaded(const Asked& asked)
{
    const fs::path home = program_of_ours().parent_path();
    std::vector<std::string> list;
    for (const Library& library : libraries)
        if (library.by == nullptr || asked.*library.by)
            list.push_back(find_library(home, library));
    list.push_back(core_of(home, asked));
    return list;
}

std::vector<std::string> preloaded(const Asked& asked, const Program& program)
{
    std::vector<std::string> list = preloaded(asked), first;
    for (const Needed& library : program.needed)
        if (is_sanitizer(library.name) && !library.path.empty())
            first.push_back(library.path);
    list.insert(list.begin(), first.begin(), first.end());
    return list;
}

std::string preload_list(const std::vector<std::string>& libraries)
{
    std::string list;
    for (const std::string& path : libraries) {
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
