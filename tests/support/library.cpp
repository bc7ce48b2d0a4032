#include "library.hpp"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <link.h>
#include <stdexcept>

namespace qnm::support {

namespace {

using Bytes = std::span<const char>;

Bytes part(Bytes bytes, std::uint64_t offset, std::uint64_t size)
{
    if (offset > bytes.size() || size > bytes.size() - offset)
        throw std::runtime_error("a part of the file lies behind its end");
    return bytes.subspan(offset, size);
}

template <class T>
std::vector<T> records(Bytes bytes, std::uint64_t offset, std::uint64_t size)
{
    std::vector<T> all(size / sizeof(T));
    const Bytes source = part(bytes, offset, all.size() * sizeof(T));
    std::memcpy(all.data(), source.data(), source.size());
    return all;
}

std::string text_at(Bytes strings, std::uint64_t offset)
{
    const Bytes rest =
        part(strings, offset, strings.size() - std::min<std::uint64_t>(offset, strings.size()));
    return {rest.begin(), std::find(rest.begin(), rest.end(), '\0')};
}

} // namespace

ElfFile::ElfFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path + ": cannot be read");
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    if (bytes.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes.data(), ELFMAG, SELFMAG) != 0 ||
        bytes[EI_CLASS] != ELFCLASS64)
        throw std::runtime_error(path + ": no 64-bit ELF file");
    const auto header = records<Elf64_Ehdr>(bytes, 0, sizeof(Elf64_Ehdr)).front();
    const auto sections =
        records<Elf64_Shdr>(bytes, header.e_shoff, std::uint64_t{header.e_shnum} * sizeof(Elf64_Shdr));
    for (const Elf64_Shdr& section : sections) {
        if (section.sh_type == SHT_DYNSYM || section.sh_type == SHT_SYMTAB)
            read_symbols(bytes, section, sections.at(section.sh_link));
        if (section.sh_type == SHT_DYNAMIC)
            read_dynamic(bytes, section, sections.at(section.sh_link));
    }
}

void ElfFile::read_symbols(Bytes bytes, const Elf64_Shdr& section, const Elf64_Shdr& strings)
{
    const Bytes names = part(bytes, strings.sh_offset, strings.sh_size);
    for (const Elf64_Sym& entry : records<Elf64_Sym>(bytes, section.sh_offset, section.sh_size)) {
        Symbol symbol{text_at(names, entry.st_name),
                      entry.st_value,
                      entry.st_size,
                      ELF64_ST_TYPE(entry.st_info),
                      ELF64_ST_BIND(entry.st_info),
                      ELF64_ST_VISIBILITY(entry.st_other),
                      entry.st_shndx != SHN_UNDEF};
        if (symbol.name.empty())
            continue;
        if (section.sh_type == SHT_DYNSYM)
            dynamic_symbols_.push_back(std::move(symbol));
        else if (symbol.binding == STB_LOCAL &&
                 (symbol.type == STT_OBJECT || symbol.type == STT_FUNC || symbol.type == STT_NOTYPE))
            locals_.emplace(symbol.name, symbol);
    }
}

void ElfFile::read_dynamic(Bytes bytes, const Elf64_Shdr& section, const Elf64_Shdr& strings)
{
    const Bytes names = part(bytes, strings.sh_offset, strings.sh_size);
    for (const Elf64_Dyn& entry : records<Elf64_Dyn>(bytes, section.sh_offset, section.sh_size)) {
        if (entry.d_tag == DT_NULL)
            break;
        dynamic_.emplace_back(entry.d_tag, entry.d_un.d_val);
        if (entry.d_tag == DT_NEEDED)
            needed_.push_back(text_at(names, entry.d_un.d_val));
        if (entry.d_tag == DT_SONAME)
            soname_ = text_at(names, entry.d_un.d_val);
    }
}

std::vector<Symbol> ElfFile::exported() const
{
    std::vector<Symbol> found;
    std::copy_if(dynamic_symbols_.begin(), dynamic_symbols_.end(), std::back_inserter(found),
                 [](const Symbol& symbol) { return symbol.defined && symbol.binding != STB_LOCAL; });
    return found;
}

std::vector<Symbol> ElfFile::undefined() const
{
    std::vector<Symbol> found;
    std::copy_if(dynamic_symbols_.begin(), dynamic_symbols_.end(), std::back_inserter(found),
                 [](const Symbol& symbol) { return !symbol.defined; });
    return found;
}

std::optional<std::uint64_t> ElfFile::dynamic(std::int64_t tag) const
{
    const auto found = std::find_if(dynamic_.begin(), dynamic_.end(),
                                    [tag](const auto& entry) { return entry.first == tag; });
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
