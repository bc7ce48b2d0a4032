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

// What a program writes to its standard output.
std::string output_of(const char* program, char* const* arguments)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = posix_spawn(&child, program, &actions, nullptr, arguments, environ);
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

// The loader knows paths, caches and variables that say where libraries are; `--list` runs nothing of the
// image.
std::vector<std::string> needed_libraries(const std::string& image)
{
    const ElfFile file(image);
    const auto interpreter = file.interpreter();
    if (!interpreter)
        return {};
    std::string loader(*interpreter), list = "--list", program = image;
    char* const arguments[] = {loader.data(), list.data(), program.data(), nullptr};
    const std::string text = output_of(loader.c_str(), arguments);

    std::vector<std::string> libraries;
    constexpr std::string_view arrow = " => ";
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = std::string_view(text).substr(begin, end - begin);
        const std::size_t found = line.find(arrow), address = line.rfind(" (0x");
        if (found != std::string_view::npos && address != std::string_view::npos && address > found)
            libraries.emplace_back(line.substr(found + arrow.size(), address - found - arrow.size()));
        begin = end + 1;
    }
    return libraries;
}

} // namespace qnm::run
