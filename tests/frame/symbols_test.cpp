// The library's file: what it exports and at which addresses, what it needs, how it binds. No core is
// present.
#include "published.hpp"
#include "support/library.hpp"

#include "catalogue/catalogue.hpp"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace qnm {
namespace {

using Names = std::set<std::string>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using ::testing::IsSupersetOf;

// Opening it lazily has to work where nothing of the core can be found.
const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

const catalogue::Catalogue& tables()
{
    static const catalogue::Catalogue all = [] {
        std::vector<std::string> paths;
        std::istringstream in(QNM_TABLES);
        for (std::string path; std::getline(in, path, '|');)
            paths.push_back(path);
        return catalogue::read_tables(paths);
    }();
    return all;
}

Names exported()
{
    Names all;
    for (const auto& symbol : layer().file().exported())
        all.insert(symbol.name);
    return all;
}

std::vector<std::string> missing(const Names& wanted, const Names& from)
{
    std::vector<std::string> rest;
    std::set_difference(wanted.begin(), wanted.end(), from.begin(), from.end(), std::back_inserter(rest));
    return rest;
}

template <class Keep>
Names entries_where(Keep keep)
{
    Names all;
    for (const auto& entry : tables().entries())
        if (keep(entry))
            all.insert(entry.cell());
    return all;
}

Names cells(const std::vector<std::string>& names, const std::string& suffix = "")
{
    Names all;
    for (const std::string& name : names)
        all.insert(name + suffix);
    return all;
}

Names united(Names a, const Names& b)
{
    a.insert(b.begin(), b.end());
    return a;
}

// The relocations of a table of the loaded library, with the names that they bind.
struct Relocation {
    unsigned type;
    std::string name;
    bool defined;
};

std::vector<Relocation> relocations(std::int64_t table, std::int64_t size)
{
    const auto& file = layer().file();
    const auto at = [&](std::int64_t tag) { return layer().base() + file.dynamic(tag).value_or(0); };
    const auto* symbols = reinterpret_cast<const Elf64_Sym*>(at(DT_SYMTAB));
    const auto* strings = reinterpret_cast<const char*>(at(DT_STRTAB));
    const auto* first = reinterpret_cast<const Elf64_Rela*>(at(table));
    std::vector<Relocation> all;
    for (std::uint64_t i = 0; i < file.dynamic(size).value_or(0) / sizeof(Elf64_Rela); ++i) {
        const Elf64_Sym& symbol = symbols[ELF64_R_SYM(first[i].r_info)];
        all.push_back({static_cast<unsigned>(ELF64_R_TYPE(first[i].r_info)), strings + symbol.st_name,
                       symbol.st_shndx != SHN_UNDEF});
    }
    return all;
}

// LAPACK has a census of its own; here its entries count only where the whole library is counted.
constexpr unsigned lapack_entries = 2 * 2249;
constexpr unsigned lapack_checks = 2 * 80 + 8;
constexpr unsigned matrix_copies = 4 * 9; // counted in tests/trans
constexpr unsigned helpers = 2 * 152;     // of the C interface to LAPACK, as published

// The C interface: level 3, level 2, strided and group batches, variants, level 1, sparse level 1 and
// products made at run time in both widths; eight names that are narrow alone.
constexpr unsigned c_entries = 2 * (44 + 66 + 30 + 30 + 34 + 54 + 24 + 4) + 8;
constexpr unsigned lapacke_entries = 2 * (1281 + 1280); // high level and work level

/// The spellings, and the C form of a matrix copy, which is a function of its own.
std::vector<std::string> names_of(const catalogue::Entry& entry)
{
    std::vector<std::string> names = entry.spellings();
    if (!entry.c_form().empty())
        names.push_back(entry.c_form());
    return names;
}

/// High level and work level of the C interface to LAPACK.
Names lapacke_names()
{
    Names names;
    for (const auto& plan : tables().lapacke_plans())
        for (const auto& precision : plan.precisions)
            for (const auto width : {catalogue::Width::narrow, catalogue::Width::wide})
                for (const bool high : {true, false})
                    if (high || plan.c->shape != catalogue::LapackeShape::one_level)
                        names.insert(catalogue::lapacke_name(*plan.row, precision, width, high));
    return names;
}

bool of_blas(const catalogue::Entry& entry)
{
    return entry.row->family->frame == "blas";
}

TEST(Census, EveryClassHasItsMembers)
{
    using catalogue::Class;
    using catalogue::Entry;
    using catalogue::Width;
    const auto members = [](Class frame, Width width) {
        return entries_where([=](const Entry& entry) {
            return of_blas(entry) && entry.frame() == frame && entry.width == width;
        });
    };
    const auto checked = published::checked(), unchecked = published::unchecked();
    const auto scratch = published::scratch(), bare = published::bare(), jit = published::bare_as_wide();
    EXPECT_EQ(members(Class::checked, Width::narrow), cells(checked));
    EXPECT_EQ(members(Class::checked, Width::wide), cells(checked, "_64"));
    EXPECT_EQ(members(Class::unchecked, Width::narrow), cells(unchecked));
    EXPECT_EQ(members(Class::unchecked, Width::wide), united(cells(unchecked, "_64"), cells(scratch, "_64")));
    EXPECT_EQ(members(Class::scratch, Width::narrow), cells(scratch));
    EXPECT_THAT(members(Class::scratch, Width::wide), IsEmpty());
    EXPECT_EQ(members(Class::bare, Width::narrow), united(cells(bare), cells(jit)));
    EXPECT_EQ(members(Class::bare, Width::wide), cells(jit, "_64"));
}

TEST(Census, TheTablesCountAsPublished)
{
    std::map<catalogue::Class, int> entries;
    for (const auto& entry : tables().entries())
        if (of_blas(entry))
            ++entries[entry.frame()];
    EXPECT_EQ(entries[catalogue::Class::checked], 420);
    EXPECT_EQ(entries[catalogue::Class::unchecked], 208); // 184, and 24 wide ones of sparse level 1
    EXPECT_EQ(entries[catalogue::Class::scratch], 24);
    EXPECT_EQ(entries[catalogue::Class::bare], 36);
}

TEST(Census, TheLibraryCountsAsPublished)
{
    int checks = 0, wide_checks = 0;
    for (const std::string& name : exported())
        if (name.starts_with("qnm_blas_errchk_"))
            ++(name.ends_with("_ilp64") ? wide_checks : checks);
    EXPECT_EQ(checks, 210);
    EXPECT_EQ(wide_checks, 210);

    const auto& locals = layer().file().locals();
    EXPECT_EQ(std::count_if(locals.begin(), locals.end(),
                            [](const auto& local) { return local.first.ends_with(".verbose_ptr"); }),
              420 + 208 + 24 + lapack_entries);

    std::set<std::uint64_t> addresses;
    for (const auto& symbol : layer().file().exported())
        addresses.insert(symbol.value);
    // Entries, their checks; two forms of 20 services, 30 forwards, three chains of five, four others.
    EXPECT_EQ(addresses.size(), 688U + 420U + lapack_entries + lapack_checks + c_entries + 40U + 30U + 15U +
                                    8U + 3 * matrix_copies + helpers + lapacke_entries);
    // Four spellings of each LAPACK entry, but for the four private extras, which have three wide ones. A
    // matrix copy has three of its Fortran form, one of its C form, and a check.
    EXPECT_EQ(layer().file().exported().size(), 3038U + 4U + 4 * lapack_entries - 4 + lapack_checks +
                                                    c_entries + 5 * matrix_copies + helpers +
                                                    lapacke_entries);
}

TEST(Exports, AreThePublishedNamesAndNoOther)
{
    Names wanted;
    for (const auto& spellings : published::bodies())
        wanted.insert(spellings.begin(), spellings.end());
    EXPECT_THAT(missing(wanted, exported()), IsEmpty());
    for (const auto& row : tables().rows())
        if (row.family->frame != "blas") {
            for (const auto& entry : catalogue::Catalogue::entries(row))
                for (const std::string& spelling : names_of(entry))
                    wanted.insert(spelling);
            for (const auto& entry : catalogue::Catalogue::checks(row))
                wanted.insert(entry.check());
        }
    wanted.merge(lapacke_names());
    EXPECT_THAT(missing(exported(), wanted), IsEmpty());
}

TEST(Exports, AreTheNamesOfTheTablesAndTheWrittenServices)
{
    Names wanted;
    for (const auto& row : tables().rows()) {
        for (const auto& entry : catalogue::Catalogue::entries(row))
            for (const std::string& spelling : names_of(entry))
                wanted.insert(spelling);
        for (const auto& entry : catalogue::Catalogue::checks(row))
            wanted.insert(entry.check());
    }
    for (const auto& row : tables().c_rows())
        for (const auto& entry : catalogue::c_entries(row))
            wanted.insert(entry.name());
    wanted.merge(lapacke_names());
    for (const auto& service : tables().services()) {
        wanted.insert(service.spellings.begin(), service.spellings.end());
        wanted.insert(service.name);
    }
    for (const auto& spellings : published::others())
        wanted.insert(spellings.begin(), spellings.end());
    EXPECT_THAT(missing(wanted, exported()), IsEmpty());
    EXPECT_THAT(missing(exported(), wanted), IsEmpty());
}

TEST(Exports, AreGlobalFunctionsOfDefaultVisibility)
{
    for (const auto& symbol : layer().file().exported()) {
        SCOPED_TRACE(symbol.name);
        EXPECT_EQ(symbol.type, unsigned{STT_FUNC});
        EXPECT_EQ(symbol.binding, unsigned{STB_GLOBAL});
        EXPECT_EQ(symbol.visibility, unsigned{STV_DEFAULT});
    }
}

TEST(Exports, SpellingsOfOneFunctionShareItsAddress)
{
    std::map<void*, std::string> owners;
    for (const auto& spellings : published::bodies()) {
        SCOPED_TRACE(spellings.front());
        void* const address = layer().find(spellings.front());
        EXPECT_NE(address, nullptr);
        for (const std::string& spelling : spellings)
            EXPECT_EQ(layer().find(spelling), address) << spelling;
        const auto [place, fresh] = owners.emplace(address, spellings.front());
        EXPECT_TRUE(fresh) << "shares its address with " << place->second;
    }
    for (const auto& entry : tables().entries()) {
        SCOPED_TRACE(entry.row->where() + " " + entry.name());
        for (const std::string& spelling : entry.spellings())
            EXPECT_EQ(layer().find(spelling), layer().find(entry.spellings()[0])) << spelling;
    }
}

TEST(Linking, NeedsTheCLibraryAlone)
{
    EXPECT_EQ(layer().file().soname(), "libqnm_orvan_lp64.so.2");
    if (QNM_SANITIZED)
        GTEST_SKIP() << "a sanitizer brings its own libraries";
    const support::Library c("libc.so.6"), mathematics("libm.so.6");
    EXPECT_THAT(layer().file().needed(), IsSubsetOf({"libc.so.6", "libm.so.6"}));
    for (const auto& symbol : layer().file().undefined())
        if (!symbol.name.starts_with("qnm_") && symbol.binding != STB_WEAK) {
            EXPECT_TRUE(c.find(symbol.name) != nullptr || mathematics.find(symbol.name) != nullptr)
                << symbol.name;
        }
}

TEST(Linking, BindsLazilyAndNotToItself)
{
    const auto& file = layer().file();
    EXPECT_EQ(file.dynamic(DT_SYMBOLIC), std::nullopt);
    EXPECT_EQ(file.dynamic(DT_BIND_NOW), std::nullopt);
    EXPECT_EQ(file.flags() & (DF_SYMBOLIC | DF_BIND_NOW), 0U);
    EXPECT_EQ(file.flags1() & DF_1_NOW, 0U);
}

TEST(Linking, TheCoreIsReachedByCallsAlone)
{
    Names wanted, called;
    for (const auto& symbol : layer().file().undefined())
        if (symbol.name.starts_with("qnm_"))
            wanted.insert(symbol.name);
    EXPECT_GT(wanted.size(), 300U);
    for (const auto& relocation : relocations(DT_RELA, DT_RELASZ))
        EXPECT_FALSE(wanted.contains(relocation.name))
            << relocation.name << " would have to be found when the library is loaded";
    for (const auto& relocation : relocations(DT_JMPREL, DT_PLTRELSZ)) {
        EXPECT_EQ(relocation.type, unsigned{R_X86_64_JUMP_SLOT}) << relocation.name;
        called.insert(relocation.name);
    }
    EXPECT_THAT(missing(wanted, called), IsEmpty());
}

TEST(Linking, ReplaceableNamesAreReachedThroughTheSymbolTable)
{
    Names called;
    for (const auto& relocation : relocations(DT_JMPREL, DT_PLTRELSZ))
        if (relocation.defined)
            called.insert(relocation.name);
    Names replaceable{"qnm_set_xerbla_interface"};
    for (const auto& chain : published::chains())
        replaceable.insert(chain.links.begin() + 1, chain.links.end());
    EXPECT_THAT(called, IsSupersetOf(replaceable));
    const auto data = relocations(DT_RELA, DT_RELASZ);
    EXPECT_TRUE(std::any_of(data.begin(), data.end(), [](const Relocation& relocation) {
        return relocation.name == "cdecl_xerbla" && relocation.type == R_X86_64_GLOB_DAT;
    }));
}

TEST(Linking, TheCInterfaceCallsFortranEntriesThroughTheSymbolTable)
{
    Names called;
    for (const auto& relocation : relocations(DT_JMPREL, DT_PLTRELSZ))
        if (relocation.defined)
            called.insert(relocation.name);
    Names wanted;
    for (const std::string& callee : published::cblas_callees()) {
        wanted.insert(callee);
        const std::string_view hidden = "qnm_blas__";
        wanted.insert((callee.starts_with(hidden) ? callee.substr(hidden.size()) : callee) + "_64");
    }
    for (const std::string& name : published::cblas_narrow()) // one jump each, by name
        wanted.insert("qnm_blas__" + name.substr(6));
    for (const char* name : {"cblas_xerbla", "cblas_xerbla_malloc_error", "qnm_serv_iface_malloc"})
        wanted.insert(name);
    EXPECT_THAT(missing(wanted, called), IsEmpty());
    Names blas;
    for (const auto& entry : tables().entries())
        if (of_blas(entry))
            for (const std::string& spelling : entry.spellings())
                blas.insert(spelling);
    Names others;
    for (const std::string& name : called)
        if (blas.count(name) != 0 && wanted.count(name) == 0)
            others.insert(name);
    EXPECT_THAT(others, IsEmpty()) << "called by another spelling than the published one";
}

TEST(Linking, RelativeRelocationsArePacked)
{
    constexpr std::int64_t relr = 36, relr_size = 35;
    EXPECT_TRUE(layer().file().dynamic(relr).has_value());
    EXPECT_GT(layer().file().dynamic(relr_size).value_or(0), 0U);
    EXPECT_LT(layer().file().dynamic(relr_size).value_or(0),
              lapack_entries); // a byte each, where plain ones take 24
    for (const auto& relocation : relocations(DT_RELA, DT_RELASZ))
        EXPECT_NE(relocation.type, unsigned{R_X86_64_RELATIVE});
}

// Whether the page of an address can be written.
bool writable(const void* address)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t from = 0, to = 0;
        char dash = 0;
        std::string rights;
        std::istringstream(line) >> std::hex >> from >> dash >> to >> rights;
        const auto place = reinterpret_cast<std::uintptr_t>(address);
        if (from <= place && place < to)
            return rights.at(1) == 'w';
    }
    ADD_FAILURE() << "no memory at " << address;
    return false;
}

TEST(Cells, StartAtAConstantUnknown)
{
    for (const std::string& name : published::traced()) {
        SCOPED_TRACE(name);
        const int* const unknown = layer().local<const int>(name + ".verbose_unknown");
        const int* const* const cell = layer().local<const int*>(name + ".verbose_ptr");
        EXPECT_EQ(*unknown, -1);
        EXPECT_EQ(*cell, unknown);
    }
    EXPECT_FALSE(writable(layer().local<const int>("dgemm.verbose_unknown")));
    EXPECT_FALSE(writable(layer().local<const int>("daxpyi.verbose_unknown")));
    EXPECT_TRUE(writable(layer().local<const int*>("dgemm.verbose_ptr")));
}

} // namespace
} // namespace qnm
