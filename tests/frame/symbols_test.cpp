// The library's file: what it exports and at which addresses, what it needs, how it binds. A core is there
// for its start hook alone.
#include "lapacke/room/plan.hpp"
#include "published.hpp"
#include "support/library.hpp"
#include "support/tables.hpp"

#include "catalogue/catalogue.hpp"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace qnm {
namespace {

using Names = std::set<std::string>;
using support::tables;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

std::vector<std::string> missing(const Names& wanted, const Names& from)
{
    std::vector<std::string> rest;
    std::set_difference(wanted.begin(), wanted.end(), from.begin(), from.end(), std::back_inserter(rest));
    return rest;
}

const Names& exported()
{
    static const Names all = [] {
        Names names;
        for (const auto& symbol : layer().file().exported())
            names.insert(symbol.name);
        return names;
    }();
    return all;
}

// The relocations of a table of the loaded library, with the names that they bind.
struct Relocation {
    unsigned type;
    std::string name;
};

std::vector<Relocation> relocations(std::int64_t table, std::int64_t size)
{
    const auto& file = layer().file();
    const auto at = [&](std::int64_t tag) { return layer().base() + file.dynamic(tag).value_or(0); };
    const auto* symbols = reinterpret_cast<const Elf64_Sym*>(at(DT_SYMTAB));
    const auto* strings = reinterpret_cast<const char*>(at(DT_STRTAB));
    const auto* first = reinterpret_cast<const Elf64_Rela*>(at(table));
    std::vector<Relocation> all;
    for (std::uint64_t i = 0; i < file.dynamic(size).value_or(0) / sizeof(Elf64_Rela); ++i)
        all.push_back({static_cast<unsigned>(ELF64_R_TYPE(first[i].r_info)),
                       strings + symbols[ELF64_R_SYM(first[i].r_info)].st_name});
    return all;
}

TEST(Census, TheLibraryCountsAsPublished)
{
    constexpr unsigned checked = 2 * 210, unchecked = 208, scratch = 24, bare = 36;
    constexpr unsigned lapack = 2 * 2253, lapack_checks = 2 * 80 + 8, lapacke = 2 * (1281 + 1280);
    constexpr unsigned copies = 4 * 9, helpers = 2 * 152, solvers = 49 + 14 + 30 + 31;
    // Of Fourier transforms C entries, entries by address, tags by direction, and a constant.
    constexpr unsigned dfti = 18, by_address = 21, tags = 24;
    constexpr unsigned transforms = 2 * dfti + by_address + 2 * tags + 5 * (by_address + tags) + 1;
    constexpr unsigned distributed = 4 * 6 + 13 * 5 + 11;
    // FFTW3, in two precisions: planners, execution, utilities, stubs, Fortran names and texts; settings.
    constexpr unsigned fftw = 2 * (34 + 9 + 10 + 16 + 46 + 3) + 1;
    // Of vector mathematics roots with a letter, eight bodies each under twelve names; control; what finds
    // kernels.
    constexpr unsigned vectors = 480, control = 8, kernels = 5;
    // Names of generators, of streams and the look at one, of statistics, of convolution, of fitting.
    constexpr unsigned statistics = 153 + 73 + 1 + 98 + 304 + 87;
    static_assert(statistics == 716);
    // Of sparse matrices operations on handles, in C and Fortran; routines on arrays, each with a check.
    constexpr unsigned handles = 2 * (179 + 160), arrays = 216;
    constexpr unsigned direct = 53 + 33; // solvers of sparse systems, those over several processes the latter
    // Level 3, level 2, strided and group batches, variants, level 1, sparse level 1 and products made at run
    // time in both widths; eight names that are narrow alone.
    constexpr unsigned c = 2 * (44 + 66 + 30 + 30 + 34 + 54 + 24 + 4) + 8;

    const auto& locals = layer().file().locals();
    EXPECT_EQ(std::count_if(locals.begin(), locals.end(),
                            [](const auto& local) { return local.first.ends_with(".verbose_ptr"); }),
              checked + unchecked + scratch + lapack);
    std::set<std::uint64_t> addresses;
    for (const auto& symbol : layer().file().exported())
        addresses.insert(symbol.value);
    // Two forms of 20 services, 30 forwards, three chains of five, eight others. A matrix copy has two forms
    // and a check. Tags of as many arrays share two bodies, in each direction; distributed transforms are
    // four in C, 13 of Fortran, and one that stands for all others.
    EXPECT_EQ(addresses.size(), checked + unchecked + scratch + bare + checked + lapack + lapack_checks + c +
                                    lapacke + 3 * copies + helpers + 40U + 30U + 15U + 8U + dfti +
                                    2 * by_address + tags + 2 * 8U + 1U + 4U + 13U + 1U + solvers + fftw +
                                    8 * vectors + 4 * control + kernels + 3 * 38U + 53U + 1U + 98U + 152U +
                                    58U + handles + 2 * arrays + direct);
    // Four spellings of each LAPACK entry, but for the eight private extras, which have three wide ones.
    EXPECT_EQ(layer().file().exported().size(), 3042U + 4 * lapack - 8 + lapack_checks + c + lapacke +
                                                    5 * copies + helpers + transforms + distributed +
                                                    3 * solvers + fftw + 12 * vectors + 6 * control +
                                                    kernels + statistics + handles + 4 * arrays + 6 * direct);
}

TEST(Exports, AreThePublishedNamesAndThoseOfSignaturesAndNoOther)
{
    Names published, told;
    for (const auto& spellings : published::bodies())
        published.insert(spellings.begin(), spellings.end());
    // Which routines have a C interface, the tables tell, and a published header elsewhere.
    for (const auto& plan : catalogue::lapacke_plans(tables()))
        for (const auto& precision : plan.precisions)
            published.merge(published::of_lapacke(catalogue::routine_name(*plan.row, precision),
                                                  plan.c->shape != catalogue::LapackeShape::one_level));
    for (const auto& signature : tables().signatures())
        if (signature.exported)
            told.insert(signature.names.begin(), signature.names.end());
    for (const Names& wanted : {published, told}) {
        EXPECT_THAT(missing(wanted, exported()), IsEmpty());
        EXPECT_THAT(missing(exported(), wanted), IsEmpty());
    }
    const Names weak(published::replaceable().begin(), published::replaceable().end());
    const Names variables(published::variables().begin(), published::variables().end());
    for (const auto& symbol : layer().file().exported())
        EXPECT_TRUE(symbol.type == (variables.contains(symbol.name) ? STT_OBJECT : STT_FUNC) &&
                    symbol.binding == (weak.contains(symbol.name) ? STB_WEAK : STB_GLOBAL) &&
                    symbol.visibility == STV_DEFAULT)
            << symbol.name;
}

TEST(Exports, SpellingsOfOneFunctionShareItsAddressAlone)
{
    std::map<void*, std::string> owners;
    for (const auto& spellings : published::bodies()) {
        void* const address = layer().find(spellings.front());
        for (const std::string& spelling : spellings)
            EXPECT_EQ(layer().find(spelling), address) << spelling;
        const auto [place, fresh] = owners.emplace(address, spellings.front());
        EXPECT_TRUE(fresh) << spellings.front() << " shares its address with " << place->second;
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

TEST(Linking, BindsLazilyNotToItselfAndPacksRelativeRelocations)
{
    constexpr std::int64_t relr = 36, relr_size = 35;
    const auto& file = layer().file();
    EXPECT_EQ(file.dynamic(DT_SYMBOLIC), std::nullopt);
    EXPECT_EQ(file.dynamic(DT_BIND_NOW), std::nullopt);
    EXPECT_EQ(file.dynamic(DT_FLAGS).value_or(0) & (DF_SYMBOLIC | DF_BIND_NOW), 0U);
    EXPECT_EQ(file.dynamic(DT_FLAGS_1).value_or(0) & DF_1_NOW, 0U);
    EXPECT_TRUE(file.dynamic(relr).has_value());
    EXPECT_GT(file.dynamic(relr_size).value_or(0), 0U);
    EXPECT_LT(file.dynamic(relr_size).value_or(0), 4498U); // a byte each, where plain ones take 24
    for (const auto& relocation : relocations(DT_RELA, DT_RELASZ))
        EXPECT_NE(relocation.type, unsigned{R_X86_64_RELATIVE});
}

TEST(Linking, TheCoreAndReplaceableNamesAreReachedByCallsThroughTheSymbolTable)
{
    Names core, called,
        wanted{"qnm_set_xerbla_interface", "cblas_xerbla", "cblas_xerbla_malloc_error",
               "qnm_serv_iface_malloc"};
    for (const std::string& name : published::replaceable())
        if (name.starts_with("qnm_"))
            wanted.insert(name);
    for (const auto& symbol : layer().file().undefined())
        if (symbol.name.starts_with("qnm_"))
            core.insert(symbol.name);
    EXPECT_GT(core.size(), 300U);
    for (const auto& relocation : relocations(DT_JMPREL, DT_PLTRELSZ)) {
        EXPECT_EQ(relocation.type, unsigned{R_X86_64_JUMP_SLOT}) << relocation.name;
        called.insert(relocation.name);
    }
    Names addressed; // what kernels get; it may be missing
    for (const auto& symbol : layer().file().undefined())
        if (symbol.binding == STB_WEAK && symbol.name.starts_with("qnm_"))
            addressed.insert(symbol.name);
    EXPECT_EQ(addressed, (Names{"qnm_vsl_serv_threader_for", "qnm_df_serv_threader_for"}));
    EXPECT_EQ(missing(core, called), std::vector(addressed.begin(), addressed.end()));
    // An entry calls another by one published spelling in each width, a link of a chain the next one.
    Names blas;
    for (const auto& signature : tables().signatures()) {
        for (const auto& callee : signature.callees)
            if (exported().contains(callee.name))
                wanted.insert(callee.name);
        if (signature.family == "blas")
            blas.insert(signature.names.begin(), signature.names.end());
    }
    EXPECT_THAT(missing(wanted, called), IsEmpty());
    for (const std::string& name : called)
        EXPECT_TRUE(!blas.contains(name) || wanted.contains(name)) << name << ": not the published spelling";
    bool head = false;
    for (const auto& relocation : relocations(DT_RELA, DT_RELASZ)) {
        EXPECT_FALSE(core.contains(relocation.name) && !addressed.contains(relocation.name))
            << relocation.name << " would have to be found when the library is loaded";
        head = head || (relocation.name == "cdecl_xerbla" && relocation.type == R_X86_64_GLOB_DAT);
    }
    EXPECT_TRUE(head);
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
    const auto writable = [](const int* address) { // the kernel writes there what it read there, or refuses
        std::array<int, 2> ends{};
        const bool good = pipe(ends.data()) == 0 && write(ends[1], address, 4) == 4 &&
                          read(ends[0], const_cast<int*>(address), 4) == 4;
        close(ends[0]);
        close(ends[1]);
        return good;
    };
    EXPECT_FALSE(writable(layer().local<const int>("dgemm.verbose_unknown")));
    EXPECT_FALSE(writable(layer().local<const int>("daxpyi.verbose_unknown")));
    EXPECT_TRUE(writable(layer().local<const int>("dgemm.verbose_ptr")));
}

} // namespace
} // namespace qnm
