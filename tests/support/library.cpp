#include "library.hpp"

#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <link.h>
#include <span>
#include <stdexcept>

namespace qnm::support {

ElfFile::ElfFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path + ": cannot be read");
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    if (bytes.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes.data(), ELFMAG, SELFMAG) != 0 ||
        bytes[EI_CLASS] != ELFCLASS64)
        throw std::runtime_error(path + ": no 64-bit ELF file");
    const auto records = [&]<class T>(T, std::uint64_t offset, std::uint64_t size) {
        return std::span(reinterpret_cast<const T*>(bytes.data() + offset), size / sizeof(T));
    };
    const Elf64_Ehdr header = records(Elf64_Ehdr(), 0, sizeof(Elf64_Ehdr)).front();
    const auto sections = records(Elf64_Shdr(), header.e_shoff, header.e_shnum * sizeof(Elf64_Shdr));
    for (const Elf64_Shdr& section : sections) {
        const char* const names = bytes.data() + sections[section.sh_link].sh_offset;
        if (section.sh_type == SHT_DYNSYM || section.sh_type == SHT_SYMTAB)
            for (const Elf64_Sym& entry : records(Elf64_Sym(), section.sh_offset, section.sh_size)) {
                const Symbol symbol{names + entry.st_name, entry.st_value, ELF64_ST_TYPE(entry.st_info),
                                    ELF64_ST_BIND(entry.st_info), ELF64_ST_VISIBILITY(entry.st_other)};
                const bool local = symbol.binding == STB_LOCAL;
                if (section.sh_type == SHT_SYMTAB && local && symbol.type <= STT_FUNC)
                    locals_.emplace(symbol.name, symbol);
                else if (section.sh_type == SHT_DYNSYM && !local)
                    (entry.st_shndx != SHN_UNDEF ? exported_ : undefined_).push_back(symbol);
            }
        if (section.sh_type == SHT_DYNAMIC)
            for (const Elf64_Dyn& entry : records(Elf64_Dyn(), section.sh_offset, section.sh_size)) {
                dynamic_.emplace(entry.d_tag, entry.d_un.d_val);
                if (entry.d_tag == DT_NEEDED)
                    needed_.emplace_back(names + entry.d_un.d_val);
                if (entry.d_tag == DT_SONAME)
                    soname_ = names + entry.d_un.d_val;
            }
    }
}

std::optional<std::uint64_t> ElfFile::dynamic(std::int64_t tag) const
{
    const auto found = dynamic_.find(tag);
    return found == dynamic_.end() ? std::nullopt : std::optional(found->second);
}

Library::Library(const std::string& name) : handle_(dlopen(name.c_str(), RTLD_LAZY))
{
    if (handle_ == nullptr)
        throw std::runtime_error(dlerror());
    try {
        link_map* map = nullptr;
        if (dlinfo(handle_, RTLD_DI_LINKMAP, &map) != 0)
            throw std::runtime_error(dlerror());
        base_ = map->l_addr;
        path_ = map->l_name;
        file_.emplace(path_);
        for (const Symbol& symbol : file_->exported())
            exported_.emplace(symbol.name, symbol.value);
    } catch (...) {
        dlclose(handle_);
        throw;
    }
}

Library::~Library()
{
    dlclose(handle_);
}

void* Library::find(std::string_view name) const
{
    const auto found = exported_.find(name);
    return found == exported_.end() ? nullptr : reinterpret_cast<void*>(base_ + found->second);
}

void* Library::operator[](std::string_view name) const
{
    void* address = find(name);
    if (address == nullptr)
        throw std::out_of_range(path_ + ": exports no " + std::string(name));
    return address;
}

void* Library::local_address(std::string_view name) const
{
    const auto [first, last] = file_->locals().equal_range(name);
    if (first == last || std::next(first) != last)
        throw std::out_of_range(path_ + (first == last ? ": no static " : ": several statics ") +
                                std::string(name));
    return reinterpret_cast<void*>(base_ + first->second.value);
}

} // namespace qnm::support
