#include "elf_file.hpp"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qnm::run {

ElfFile::ElfFile(const std::string& path)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return;
    struct stat info = {};
    if (fstat(fd, &info) == 0) {
        readable_ = true;
        if (info.st_size > 0) {
            void* map = mmap(nullptr, static_cast<std::size_t>(info.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
            readable_ = map != MAP_FAILED;
            if (readable_) {
                data_ = static_cast<const char*>(map);
                size_ = static_cast<std::size_t>(info.st_size);
            }
        }
    }
    close(fd);
}

ElfFile::~ElfFile()
{
    if (data_ != nullptr)
        munmap(const_cast<char*>(data_), size_);
}

template <class T>
const T* ElfFile::at(std::size_t offset, std::size_t count) const
{
    if (offset > size_ || count > (size_ - offset) / sizeof(T) || offset % alignof(T) != 0)
        return nullptr;
    return reinterpret_cast<const T*>(data_ + offset);
}

bool ElfFile::is_elf() const
{
    return bytes().starts_with(std::string_view(ELFMAG, SELFMAG));
}

bool ElfFile::is_native() const
{
    const auto* head = at<Elf64_Ehdr>(0);
    return is_elf() && head != nullptr && head->e_ident[EI_CLASS] == ELFCLASS64 &&
           head->e_ident[EI_DATA] == ELFDATA2LSB && head->e_machine == EM_X86_64 &&
           (head->e_type == ET_EXEC || head->e_type == ET_DYN);
}

std::optional<std::string_view> ElfFile::interpreter() const
{
    const auto* head = at<Elf64_Ehdr>(0);
    const auto* segments = at<Elf64_Phdr>(head->e_phoff, head->e_phnum);
    for (int i = 0; segments != nullptr && i < head->e_phnum; ++i) {
        const Elf64_Phdr& segment = segments[i];
        const char* text = at<char>(segment.p_offset, segment.p_filesz);
        if (segment.p_type == PT_INTERP && text != nullptr)
            return std::string_view(text, strnlen(text, segment.p_filesz));
    }
    return std::nullopt;
}

template <class Wanted>
std::string_view ElfFile::find_symbol(const Wanted& wanted) const
{
    const auto* head = at<Elf64_Ehdr>(0);
    const auto* sections = at<Elf64_Shdr>(head->e_shoff, head->e_shnum);
    for (int i = 0; sections != nullptr && i < head->e_shnum; ++i) {
        const Elf64_Shdr& table = sections[i];
        if (table.sh_type != SHT_DYNSYM || table.sh_link >= head->e_shnum)
            continue;
        const Elf64_Shdr& strings = sections[table.sh_link];
        const char* names = at<char>(strings.sh_offset, strings.sh_size);
        const std::size_t count = table.sh_size / sizeof(Elf64_Sym);
        const auto* symbols = at<Elf64_Sym>(table.sh_offset, count);
        for (std::size_t k = 0; names != nullptr && symbols != nullptr && k < count; ++k) {
            const Elf64_Sym& entry = symbols[k];
            if (entry.st_name >= strings.sh_size)
                continue;
            const char* name = names + entry.st_name;
            const std::string_view text(name, strnlen(name, strings.sh_size - entry.st_name));
            if (wanted(text, entry.st_shndx != SHN_UNDEF))
                return text;
        }
    }
    return {};
}

bool ElfFile::defines(std::string_view symbol) const
{
    return !find_symbol([&](std::string_view name, bool defined) {
                return defined && name == symbol;
            }).empty();
}

std::string_view ElfFile::import(bool (*wanted)(std::string_view)) const
{
    return find_symbol([&](std::string_view name, bool defined) { return !defined && wanted(name); });
}

} // namespace qnm::run
