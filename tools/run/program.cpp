#include "program.hpp"

#include "elf_file.hpp"
#include "refusal.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace qnm::run {
namespace {

[[noreturn]] void not_runnable(const std::string& path, const std::string& why)
{
    throw Refusal(status_not_runnable, path + ": " + why);
}

// 0 if the file can be executed, otherwise the errno that execve would give.
int executable(const std::string& path)
{
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0)
        return errno;
    if (S_ISDIR(info.st_mode))
        return EISDIR;
    if (!S_ISREG(info.st_mode) || faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) != 0)
        return EACCES;
    return 0;
}

bool absent(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

std::string look_up(const std::string& name)
{
    if (name.find('/') != std::string::npos) {
        const int error = executable(name);
        if (absent(error))
            throw Refusal(status_not_found, name + ": no such program");
        if (error != 0)
            not_runnable(name, std::strerror(error));
        return name;
    }
    const char* variable = std::getenv("PATH");
    const std::string folders = variable != nullptr ? variable : "/bin:/usr/bin";
    std::string unusable;
    for (std::size_t begin = 0; !name.empty() && begin <= folders.size();) {
        const std::size_t end = std::min(folders.find(':', begin), folders.size());
        // an empty element stands for the working directory
        const std::string folder = begin == end ? "." : folders.substr(begin, end - begin);
        const std::string candidate = folder + '/' + name;
        const int error = executable(candidate);
        if (error == 0)
            return candidate;
        if (!absent(error) && unusable.empty())
            unusable = candidate;
        begin = end + 1;
    }
    if (!unusable.empty())
        not_runnable(unusable, std::strerror(executable(unusable)));
    throw Refusal(status_not_found, name + ": no such program along PATH");
}

// The loader ignores LD_PRELOAD paths when the kernel marks a start as one that raises privileges.
void check_privileges(const std::string& path, const std::string& who)
{
    struct stat info = {};
    struct statvfs volume = {};
    if (stat(path.c_str(), &info) != 0 || statvfs(path.c_str(), &volume) != 0)
        not_runnable(who, std::strerror(errno));
    if ((volume.f_flag & ST_NOSUID) != 0)
        return;
    const char* why = nullptr;
    if ((info.st_mode & S_ISUID) != 0 && info.st_uid != getuid())
        why = "set-user-id";
    else if ((info.st_mode & (S_ISGID | S_IXGRP)) == (S_ISGID | S_IXGRP) && info.st_gid != getgid())
        why = "set-group-id";
    else if (getuid() != 0 && getxattr(path.c_str(), "security.capability", nullptr, 0) > 0)
        why = "given file capabilities";
    if (why != nullptr)
        not_runnable(who, std::string("is ") + why + ", and the dynamic loader ignores preloads for it");
}

bool is_loader(std::string_view name)
{
    return name.starts_with("ld-") || name.starts_with("ld.");
}

// Only glibc's loader can bring libraries that were made for it.
void check_loader(const ElfFile& file, const std::string& path, const std::string& who)
{
    const std::string_view own_name = file.dynamic_text(DT_SONAME);
    if (is_loader(own_name) || is_loader(path.substr(path.rfind('/') + 1)))
        not_runnable(who, "is the dynamic loader; name the program itself, which brings its loader along");
    const auto interpreter = file.interpreter();
    if (file.is_library())
        not_runnable(who, "is a library, no program");
    if (!interpreter)
        not_runnable(who, "is statically linked; nothing can be loaded ahead of its own routines");
    const std::string_view loader = interpreter->substr(interpreter->rfind('/') + 1);
    if (!loader.starts_with("ld-linux"))
        not_runnable(who, "is a program of " +
                              std::string(loader.starts_with("ld-musl") ? "musl, another C library"
                                                                        : "another dynamic loader") +
                              " (" + std::string(*interpreter) + "); the libraries need that of glibc");
}

// What the kernel, or execvp after it, starts for a file that is no ELF image; empty if nothing does.
std::string interpreter_of(std::string_view text)
{
    text = text.substr(0, 256);
    if (text.starts_with("#!")) {
        text = text.substr(0, text.find('\n'));
        const std::size_t begin = std::min(text.find_first_not_of(" \t", 2), text.size());
        return std::string(text.substr(begin, text.find_first_of(" \t", begin) - begin));
    }
    return text.find('\0') == std::string_view::npos ? "/bin/sh" : "";
}

std::string find_image(const std::string& path)
{
    constexpr int deepest = 5; // the kernel's own limit of scripts run by scripts
    std::string current = path;
    std::string who = path;
    for (int depth = 0; depth <= deepest; ++depth) {
        if (const int error = executable(current))
            not_runnable(who, std::strerror(error));
        const ElfFile file(current);
        if (!file.readable())
            not_runnable(who, std::string("cannot be read: ") + std::strerror(errno));
        if (file.is_elf()) {
            if (file.is_cut_short())
                not_runnable(who, "is cut short: the file ends ahead of what its head promises");
            if (!file.is_native())
                not_runnable(who, "is not a 64-bit x86-64 program");
            check_loader(file, current, who);
            check_privileges(current, who);
            return current;
        }
        current = interpreter_of(file.bytes());
        if (current.empty())
            not_runnable(path, "is neither a program of this machine nor a script");
        who = path + ": its interpreter " + current;
    }
    not_runnable(path, "too many interpreters, one behind the other");
}

// FFTW's functions whose plans the layer's functions of the same program would get, and that call those
// themselves.
bool is_fftw_alone(std::string_view name)
{
    return name.starts_with("fftw_mpi_") || name.starts_with("fftwf_mpi_") ||
           ((name.starts_with("dfftw_") || name.starts_with("sfftw_")) && name.ends_with("__"));
}

void check_mixture(const Program& program)
{
    const auto check = [&](const std::string& file) {
        const ElfFile elf(file);
        const std::string_view name = elf.import(is_fftw_alone);
        if (!name.empty())
            not_runnable(program.path,
                         (file == program.path ? "calls " : file + " calls ") + std::string(name) +
                             ", which only FFTW has; its plans cannot be mixed with the layer's");
    };
    check(program.image);
    for (const Needed& library : program.needed)
        check(library.path);
}

} // namespace

Program find_program(const std::string& name)
{
    const std::string path = look_up(name);
    const std::string image = find_image(path);
    Program program{path, image, needed_libraries(image)};
    check_mixture(program);
    return program;
}

Program find_checked(const std::string& name)
{
    if (const ElfFile file(name);
        name.find('/') != std::string::npos && file.is_native() && file.is_library())
        return {name, name, needed_libraries(name)};
    return find_program(name);
}

} // namespace qnm::run
