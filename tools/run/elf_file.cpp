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

bool ElfFile::is_cut_short() const
{
    const auto* head = at<Elf64_Ehdr>(0);
    if (head == nullptr || !is_native())
        return is_elf() && head == nullptr;
    const auto* segments = at<Elf64_Phdr>(head->e_phoff, head->e_phnum);
    for (int i = 0; segments != nullptr && i < head->e_phnum; ++i)
        if (segments[i].p_type == PT_LOAD && at<char>(segments[i].p_offset, segments[i].p_filesz) == nullptr)
            return true;
    return segments == nullptr;
}

const Elf64_Phdr* ElfFile::segment(Elf64_Word kind) const
{
    const auto* head = at<Elf64_Ehdr>(0);
    const auto* segments = at<Elf64_Phdr>(head->e_phoff, head->e_phnum);
    for (int i = 0; segments != nullptr && i < head->e_phnum; ++i)
        if (segments[i].p_type == kind)
            return segments + i;
    return nullptr;
}

std::optional<std::string_view> ElfFile::interpreter() const
{
    const Elf64_Phdr* asked = segment(PT_INTERP);
    const char* text = asked != nullptr ? at<char>(asked->p_offset, asked->p_filesz) : nullptr;
    if (text == nullptr)
        return std::nullopt;
    return std::string_view(text, strnlen(text, asked->p_filesz));
}

std::string_view ElfFile::dynamic_text(Elf64_Sxword tag) const
{
    const auto* head = at<Elf64_Ehdr>(0);
    const auto* sections = at<Elf64_Shdr>(head->e_shoff, head->e_shnum);
    for (int i = 0; sections != nullptr && i < head->e_shnum; ++i) {
        const Elf64_Shdr& table = sections[i];
        const std::size_t count = table.sh_size / sizeof(Elf64_Dyn);
        const auto* entries = at<Elf64_Dyn>(table.sh_offset, count);
        if (table.sh_type != SHT_DYNAMIC || table.sh_link >= head->e_shnum)
            continue;
        for (std::size_t k = 0; entries != nullptr && k < count; ++k)
            if (entries[k].d_tag == tag)
                return text_at(sections[table.sh_link], entries[k].d_un.d_val);
    }
    return {};
}

bool ElfFile::is_library() const
{
    return !interpreter() && (!dynamic_text(DT_SONAME).empty() || !dynamic_text(DT_NEEDED).empty());
}

std::string_view ElfFile::text_at(const Elf64_Shdr& strings, std::size_t offset) const
{
    const char* texts = at<char>(strings.sh_offset, strings.sh_size);
    if (texts == nullptr || offset >= strings.sh_size)
        return {};
    return {texts + offset, strnlen(texts + offset, strings.sh_size - offset)};
}

template <class Wanted>
std::string_view ElfFile::find_symbol(Elf64_Word kind, const Wanted& wanted) const
{
    if (!is_native())
        return {};
    const auto* head = at<Elf64_Ehdr>(0);
    const auto* sections = at<Elf64_Shdr>(head->e_shoff, head->e_shnum);
    for (int i = 0; sections != nullptr && i < head->e_shnum; ++i) {
        const Elf64_Shdr& table = sections[i];
        if (table.sh_type != kind || table.sh_link >= head->e_shnum)
            continue;
        const std::size_t count = table.sh_size / sizeof(Elf64_Sym);
        const auto* entries = at<Elf64_Sym>(table.sh_offset, count);
        for (std::size_t k = 0; entries != nullptr && k < count; ++k) {
            const Elf64_Sym& entry = entries[k];
            const std::string_view name = text_at(sections[table.sh_link], entry.st_name);
            const auto binding = ELF64_ST_BIND(entry.st_info);
            if (!name.empty() && binding != STB_LOCAL &&
                wanted(Symbol{name, entry.st_shndx != SHN_UNDEF, binding == STB_WEAK,
                              ELF64_ST_TYPE(entry.st_info) == STT_OBJECT}))
                return name;
        }
    }
    return {};
}

void ElfFile::symbols(Elf64_Word kind, const std::function<void(const Symbol&)>& visit) const
{
    find_symbol(kind, [&](const Symbol& symbol) { return visit(symbol), false; });
}

bool ElfFile::defines(std::string_view name) const
{
    return !find_symbol(SHT_DYNSYM, [&](const Symbol& symbol) {
                return symbol.defined && symbol.name == name;
            }).empty();
}

std::string_view ElfFile::import(bool (*wanted)(std::string_view)) const
{
    return find_symbol(SHT_DYNSYM,
                       [&](const Symbol& symbol) { return !symbol.defined && wanted(symbol.name); });
}

} // namespace qnm::run
