#include "needed.hpp"

#include "elf_file.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qnm::run {
namespace {

// What the loader writes to its standard output, told to list and to run nothing. Its option --list would end
// at the first library that is missing.
std::string list_of(const char* program, char* const* arguments)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> environment;
    for (char** variable = environ; *variable != nullptr; ++variable)
        environment.push_back(*variable);
    std::string listing = "LD_TRACE_LOADED_OBJECTS=1";
    environment.insert(environment.end(), {listing.data(), nullptr});
    pid_t child = 0;
    const int error = posix_spawn(&child, program, &actions, nullptr, arguments, environment.data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string text;
    std::array<char, 1 << 14> buffer;
    for (ssize_t count; error == 0 && (count = read(ends[0], buffer.data(), buffer.size())) != 0;)
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR)
            break;
    close(ends[0]);
    while (error == 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return text;
}

} // namespace

// The loader knows paths, caches and variables that say where libraries are, and lists without running
// anything of the image.
std::vector<Needed> needed_libraries(const std::string& image)
{
    const ElfFile file(image);
    if (!file.is_native())
        return {};
    std::string loader(file.interpreter().value_or("/lib64/ld-linux-x86-64.so.2"));
    std::string program = image;
    char* const arguments[] = {loader.data(), program.data(), nullptr};
    const std::string text = list_of(loader.c_str(), arguments);

    // "\tNAME => PATH (0xADDRESS)", "\tPATH (0xADDRESS)" or "\tNAME => not found"
    std::vector<Needed> libraries;
    constexpr std::string_view arrow = " => ";
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string_view line = std::string_view(text).substr(begin, end - begin);
        begin = end + 1;
        if (!line.starts_with('\t'))
            continue;
        line.remove_prefix(1);
        const std::size_t found = line.find(arrow), address = line.rfind(" (0x");
        const std::string_view name = line.substr(0, std::min(found, address));
        if (found == std::string_view::npos && name.starts_with('/'))
            libraries.push_back({std::string(name), std::string(name)});
        else if (found != std::string_view::npos && address == std::string_view::npos)
            libraries.push_back({std::string(name), {}});
        else if (found != std::string_view::npos && address > found)
            libraries.push_back(
                {std::string(name),
                 std::string(line.substr(found + arrow.size(), address - found - arrow.size()))});
    }
    return libraries;
}

} // namespace qnm::run
