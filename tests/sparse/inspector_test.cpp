// Operations on handles: what reaches the core of each kind of argument, by argument lists told by hand.
#include "support/function_call.hpp"
#include "support/published.hpp"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace qnm::tests {
namespace {

using support::Real;
using support::Word;

/// For each operation how its arguments travel: `h` a handle, `e` an enumeration, `i` an integer, `d` a
/// descriptor, `T` a scalar of the letter; `.` goes on as it came.
constexpr const char* of_each_letter =
    "create_coo .eiii... create_csr .eii.... create_csc .eii.... create_bsr .eeiii.... "
    "export_csr h....... export_csc h....... export_bsr h......... set_value hiiT update_values hi... "
    "set_coo_data_arrays heiii... set_csr_data_arrays heii.... set_csc_data_arrays heii.... "
    "set_bsr_data_arrays heeiii.... mv eThd.T. dotmv eThd.T.. trsv eThd.. mm eThde.iiT.i trsm eThde.ii.i "
    "add ehTh. spmmd ehhe.i sp2md edhedhTT.ei syrkd ehTT.ei syprd eh.eiTT.ei symgs ehdT.. symgs_mv ehdT... "
    "lu_smoother ehd.... sorv edhTT.. do_sp2m edhedhe. do_sp2m_allocate_C_handle eheh. "
    "update_C_handle_data_for_matmat heii.... do_order h do_set_inplace_copy he do_set_is_sycl_cpu he "
    "do_get_sorted_property h.";
constexpr const char* of_no_letter =
    "copy hd. destroy h optimize h order h get_error_info h. convert_csr he. convert_bsr hiee. "
    "set_verbose_mode e set_mv_hint hedi set_dotmv_hint hedi set_symgs_hint hedi set_sv_hint hedi "
    "set_lu_smoother_hint hedi set_mm_hint hedeii set_sm_hint hedeii set_sorv_hint ehdi set_memory_hint he "
    "spmm ehh. sp2m edhedhe. syrk eh. sypr ehhd.e set_inplace_copy he set_is_sycl_cpu he "
    "get_sorted_property h.";
constexpr const char* narrow_of_each_real_letter =
    "qr ehdei.i.i qr_factorize h. qr_solve eh.ei.i.i qr_qmult ehei.i.i qr_rsolve ehei.i.i "
    "gv ..hdhdi.... ev ..hdi.... svd ...hdi.....";
constexpr const char* narrow_of_no_letter = "set_qr_hint he qr_reorder hd ee_init .";

struct Operation {
    std::string name; // of the narrow C form
    std::string kinds;
    char letter;
    bool wide = false;
    std::string core() const { return name + (wide ? "_i8" : "_i4"); }
};

std::vector<Operation> operations()
{
    std::vector<Operation> all;
    const auto add = [&](const std::string& letters, const char* lists, bool narrow_only) {
        const std::vector<std::string> told = words(lists);
        for (std::size_t i = 0; i < told.size(); i += 2)
            for (const char letter : letters)
                for (const bool wide : {false, true})
                    if (!wide || !narrow_only)
                        all.push_back(
                            {"qnm_sparse_" + (letter == ' ' ? "" : std::string(1, letter) + "_") + told[i],
                             told[i + 1], letter, wide});
    };
    add("sdcz", of_each_letter, false);
    add(" ", of_no_letter, false);
    add("sd", narrow_of_each_real_letter, true);
    add(" ", narrow_of_no_letter, true);
    return all;
}

/// Memory that ends where the next byte faults.
class Edge {
public:
    explicit Edge(std::size_t bytes)
        : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          pages_(static_cast<char*>(
              mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
          place(pages_ + page_ - bytes)
    {
        mprotect(pages_ + page_, page_, PROT_NONE);
    }
    ~Edge() { munmap(pages_, 2 * page_); }
    Edge(const Edge&) = delete;
    Edge& operator=(const Edge&) = delete;

private:
    std::size_t page_;
    char* pages_;

public:
    char* place;
};

/// A call of a Fortran form, and what the calling convention makes of its values for the core.
class ByReference {
public:
    explicit ByReference(const Operation& operation)
    {
        for (std::size_t i = 0; i < operation.kinds.size(); ++i) {
            const char kind = operation.kinds[i];
            if (kind == '.') {
                passed_.emplace_back(untouchable_address(i));
                expect({{passed_.back().bits(), ~std::uint64_t{0}}});
                continue;
            }
            const bool is_float = operation.letter == 's' || operation.letter == 'c';
            const std::size_t bytes = kind == 'e'   ? 4
                                      : kind == 'i' ? (operation.wide ? 8 : 4)
                                      : kind == 'd' ? 12
                                      : kind == 'h' ? 8
                                                    : (operation.letter == 's'   ? 4
                                                       : operation.letter == 'z' ? 16
                                                                                 : 8);
            edges_.push_back(std::make_unique<Edge>(bytes));
            char* const place = edges_.back()->place;
            for (std::size_t k = 0; k < bytes; ++k) // negative numbers, and no two of them alike
                place[k] = static_cast<char>(0x80 + 16 * k + i);
            passed_.emplace_back(place);
            std::uint64_t halves[2]{};
            std::memcpy(halves, place, bytes);
            constexpr std::uint64_t all = ~std::uint64_t{0}, low = 0xFFFF'FFFF;
            if (kind == 'T')
                for (std::size_t at = 0; at < bytes; at += 8)
                    reals_.emplace_back(halves[at / 8], is_float && bytes == 4 ? low : all);
            else if (kind == 'd')
                expect({{halves[0], all}, {halves[1], low}});
            else
                expect({{halves[0], bytes == 4 ? low : all}});
        }
    }

    const std::vector<Word>& passed() const { return passed_; }
    void expect_values(const Call& noted) const
    {
        EXPECT_TRUE(noted.aligned());
        for (std::size_t i = 0; i < registers_.size(); ++i)
            EXPECT_EQ(noted.word(i) & registers_[i].second, registers_[i].first) << "register " << i;
        for (std::size_t i = 0; i < stack_.size(); ++i)
            EXPECT_EQ(noted.word(6 + i) & stack_[i].second, stack_[i].first) << "stack word " << i;
        for (std::size_t i = 0; i < reals_.size(); ++i)
            EXPECT_EQ(noted.arguments().vectors.at(i).low & reals_[i].second, reals_[i].first)
                << "real " << i;
    }

private:
    using Bits = std::pair<std::uint64_t, std::uint64_t>; // and which of them count
    /// A record goes into two registers or onto the stack, and what follows may take a register that it left.
    void expect(const std::vector<Bits>& words)
    {
        std::vector<Bits>& place = registers_.size() + words.size() <= 6 ? registers_ : stack_;
        place.insert(place.end(), words.begin(), words.end());
    }

    std::vector<std::unique_ptr<Edge>> edges_;
    std::vector<Word> passed_;
    std::vector<Bits> registers_, stack_, reals_;
};

class Inspector : public recording::RecordedTest {};

TEST_F(Inspector, OperationsCountAsPublishedAndReachTheCoresFunctionOfTheirWidth)
{
    std::set<std::string> wanted, imported;
    for (const Operation& operation : operations())
        wanted.insert(operation.core());
    EXPECT_EQ(wanted.size(), 179U + 160U);
    for (const std::string_view name : core().names())
        if (name.starts_with("qnm_sparse_"))
            imported.insert(std::string(name));
    EXPECT_EQ(imported, wanted);
}

// One instruction in any build, side by side.
TEST_F(Inspector, AFormOfCIsOneJumpThatLeavesEverythingAsItCame)
{
    std::vector<Word> words;
    std::vector<Real> reals;
    for (std::size_t i = 0; i < 20; ++i)
        words.emplace_back(untouchable_address(i));
    for (std::size_t i = 0; i < 8; ++i)
        reals.emplace_back(1.5 + static_cast<double>(i));
    std::set<const unsigned char*> places;
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.core());
        const void* const function = layer()[operation.name + (operation.wide ? "_64" : "")];
        core().clear();
        core().answers(operation.core()).with(-0x7'0000'004D);
        EXPECT_EQ(support::call_words(function, words, reals).int64(), -0x7'0000'004D);
        ASSERT_EQ(story(), std::vector{operation.core()});
        const Call noted = core().calls()[0];
        for (std::size_t i = 0; i < words.size(); ++i)
            EXPECT_EQ(noted.word(i), words[i].bits());
        for (std::size_t i = 0; i < reals.size(); ++i)
            EXPECT_EQ(noted.real(i), reals[i].float64());
        const auto* const code = static_cast<const unsigned char*>(function);
        constexpr unsigned char jump = 0xE9;
        EXPECT_EQ(*code, jump);
        places.insert(code);
    }
    ASSERT_EQ(places.size(), 339U);
    EXPECT_LT(*places.rbegin() - *places.begin(), 5 * 345) << "some of the Fortran forms are jumps too";
}

TEST_F(Inspector, AFortranFormHandsOnValuesAndReadsNothingBehindThem)
{
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.core() + " " + operation.kinds);
        const ByReference call(operation);
        core().clear();
        core().answers(operation.core()).with(6);
        const std::string name = catalogue::to_upper(operation.name) + (operation.wide ? "_64" : "");
        EXPECT_EQ(support::call_words(layer()[name], call.passed()).int32(), 6);
        ASSERT_EQ(story(), std::vector{operation.core()});
        call.expect_values(core().calls()[0]);
    }
}

} // namespace
} // namespace qnm::tests
