// A shared library seen from outside: its file's symbol tables and dynamic section, and its functions as
// loaded.
#pragma once

#include <cstdint>
#include <elf.h>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::support {

struct Symbol {
    std::string name;
    std::uint64_t value; ///< offset from the load base
    unsigned type, binding, visibility;
};

/// The facts of an ELF file, read from the file itself.
class ElfFile {
public:
    /// Throws std::runtime_error with the path if the file cannot be read or is no 64-bit ELF file.
    explicit ElfFile(const std::string& path);

    /// The dynamic symbols that the library defines for others, and those that it wants from others.
    std::vector<Symbol> exported() const { return exported_; }
    std::vector<Symbol> undefined() const { return undefined_; }
    /// Local symbols (statics), by name; empty in a stripped file.
    const std::multimap<std::string, Symbol, std::less<>>& locals() const { return locals_; }

    /// DT_NEEDED names, the DT_SONAME, and the first value of any tag of the dynamic section.
    const std::vector<std::string>& needed() const { return needed_; }
    const std::string& soname() const { return soname_; }
    std::optional<std::uint64_t> dynamic(std::int64_t tag) const;

private:
    std::vector<Symbol> exported_, undefined_;
    std::multimap<std::string, Symbol, std::less<>> locals_;
    std::map<std::int64_t, std::uint64_t> dynamic_;
    std::vector<std::string> needed_;
    std::string soname_;
};

/// A loaded library. Stays loaded as long as the object lives, and longer if the program is linked with it.
class Library {
public:
    /// A path or a soname, bound lazily; throws std::runtime_error with the loader's message.
    explicit Library(const std::string& name);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// Address of a name that this library itself exports, or null.
    void* find(std::string_view name) const;
    /// The same; throws std::out_of_range if there is none.
    void* operator[](std::string_view name) const;
    /// Address of the one static of that name, for instance "dgemm.verbose_ptr"; throws std::out_of_range if
    /// there is none or more than one.
    template <class T>
    T* local(std::string_view name) const
    {
        return static_cast<T*>(local_address(name));
    }

    std::uintptr_t base() const { return base_; }
    const std::string& path() const { return path_; }
    const ElfFile& file() const { return *file_; }

private:
    void* local_address(std::string_view name) const;

    void* handle_ = nullptr;
    std::uintptr_t base_ = 0;
    std::string path_;
    std::optional<ElfFile> file_;
    std::map<std::string, std::uint64_t, std::less<>> exported_;
};

} // namespace qnm::support
