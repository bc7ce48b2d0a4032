#pragma once

#include <cstddef>
#include <elf.h>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace qnm::run {

/// A name by which images find each other, or that one keeps to itself.
struct Symbol {
    std::string_view name;
    bool defined = false;
    bool weak = false;
    bool is_data = false;
};

/// A file seen through a read-only mapping, with the few questions about an ELF image that decide
/// whether the dynamic loader will honour a preload for it. Every access is bounded by the file.
class ElfFile {
public:
    explicit ElfFile(const std::string& path);
    ~ElfFile();
    ElfFile(const ElfFile&) = delete;
    ElfFile& operator=(const ElfFile&) = delete;

    /// False when the file could not be read; errno then has the reason.
    bool readable() const { return readable_; }
    std::string_view bytes() const { return {data_, size_}; }

    bool is_elf() const;
    /// A 64-bit x86-64 program or shared object, the only kind that the libraries can enter.
    bool is_native() const;
    /// Whether it ends ahead of what its head and its segments promise.
    bool is_cut_short() const;
    /// The dynamic loader that the image asks for; nothing if it is statically linked.
    std::optional<std::string_view> interpreter() const;
    /// The first text that the dynamic section has under a tag: DT_SONAME is the name that a shared object
    /// gives itself, DT_NEEDED a library. Empty if there is none.
    std::string_view dynamic_text(Elf64_Sxword tag) const;
    /// A shared object that no kernel starts: one that programs need, or open.
    bool is_library() const;
    /// Those of the tables of one kind: SHT_DYNSYM has what is exported and imported, SHT_SYMTAB, in images
    /// that are not stripped, all; local ones are passed over, and files that are not native have none.
    void symbols(Elf64_Word kind, const std::function<void(const Symbol&)>& visit) const;
    /// Whether the image itself exports a definition of the symbol.
    bool defines(std::string_view symbol) const;
    /// The first name of these that the image takes from a library; empty if there is none.
    std::string_view import(bool (*wanted)(std::string_view)) const;

private:
    /// The name of the first symbol that a visitor says yes to; empty if there is none.
    template <class Wanted>
    std::string_view find_symbol(Elf64_Word kind, const Wanted& wanted) const;
    /// The first program header of this kind; null if there is none.
    const Elf64_Phdr* segment(Elf64_Word kind) const;
    std::string_view text_at(const Elf64_Shdr& strings, std::size_t offset) const;
    template <class T>
    const T* at(std::size_t offset, std::size_t count = 1) const;

    const char* data_ = nullptr;
    std::size_t size_ = 0;
    bool readable_ = false;
};

} // namespace qnm::run
