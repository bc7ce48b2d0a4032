// Files that qnm-run is told to start: programs, libraries, and whatever else lies under a name.
#include "elf_file.hpp"

#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = memfd_create("image", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        return 1;
    const qnm::run::ElfFile image(path);
    if (!image.readable() || image.bytes().size() != size)
        __builtin_trap();
    if (!image.is_native())
        return 0;
    const auto inside = [&](std::string_view text) {
        const std::string_view all = image.bytes();
        if (!text.empty() &&
            (text.data() < all.data() || text.data() + text.size() > all.data() + all.size()))
            __builtin_trap();
    };
    inside(image.interpreter().value_or(""));
    inside(image.import([](std::string_view name) { return name.ends_with('_'); }));
    image.defines("dgemm_");
    return 0;
}
