// Services: how each form reads its arguments, and leaving the process.
#include "layer.hpp"
#include "published.hpp"

#include <cstdlib>
#include <cstring>

namespace qnm {
namespace {

using ::testing::ElementsAre;

class Services : public LayerTest {};

/// One argument as a Fortran caller stores it: an int with junk of another variable beside it.
struct Slot {
    std::uint64_t bits;
    static constexpr std::uint64_t beside = 0x5EC2E75500000000;

    Slot(int width, std::uint64_t value) : bits(width == 32 ? beside | (value & 0xFFFFFFFF) : value) {}
};

constexpr std::uint64_t values[] = {0x1122334455667788, 0x2233445566778899, 0x33445566778899AA};

/// Calls one spelling and gives back the one call that arrived.
recording::Call arrived(const std::string& spelling, const std::string& target,
                        const std::vector<Word>& words)
{
    core().clear();
    call_entry(spelling, words);
    EXPECT_THAT(core().calls(), ElementsAre(Called(target)));
    return core().calls().empty() ? recording::Call() : core().calls().front();
}

TEST_F(Services, FortranFormsReadThroughPointersAndCFormsTakeValues)
{
    for (const auto& service : published::two_forms()) {
        core().answers(service.core).with(0);
        core().answers(service.c_core).with(0);
        std::vector<Slot> slots;
        for (std::size_t i = 0; i < service.widths.size(); ++i)
            slots.emplace_back(service.widths[i], values[i]);
        std::vector<Word> places, numbers;
        for (std::size_t i = 0; i < slots.size(); ++i) {
            places.emplace_back(&slots[i].bits);
            if (service.widths[i] == 32)
                numbers.emplace_back(static_cast<int>(values[i]));
            else
                numbers.emplace_back(static_cast<wide_int>(values[i]));
        }
        const auto expect_values = [&](const recording::Call& got, bool loaded) {
            for (std::size_t i = 0; i < slots.size(); ++i) {
                if (service.widths[i] == 64) {
                    EXPECT_EQ(got.word(i), values[i]) << "word " << i;
                    continue;
                }
                EXPECT_EQ(got.int32(i), static_cast<int>(values[i])) << "word " << i;
                if (loaded) {
                    EXPECT_NE(got.word(i) & ~std::uint64_t{0xFFFFFFFF}, Slot::beside)
                        << "word " << i << " was read beyond its 32 bits";
                }
            }
        };
        for (const std::string& spelling : service.fortran_spellings()) {
            SCOPED_TRACE(spelling);
            expect_values(arrived(spelling, service.core, places), true);
        }
        SCOPED_TRACE(service.c);
        expect_values(arrived(service.c, service.c_core, numbers), false);
    }
}

TEST_F(Services, FortranFormsHandBackEveryKindOfResult)
{
    Slot slot(64, 3);
    const std::vector<Word> places{&slot.bits, &slot.bits, &slot.bits};
    for (const auto& service : published::two_forms()) {
        SCOPED_TRACE(service.fortran);
        core().answers(service.core).with(wide_int{0x00007FFF12345678});
        EXPECT_EQ(call_entry(service.fortran, places).int64(), 0x00007FFF12345678);
        core().answers(service.core).with(-2.25);
        EXPECT_EQ(call_entry(service.fortran, places).float64(), -2.25);
    }
}

// Behind the arguments that are read others may follow: a library's name here.
TEST_F(Services, ArgumentsThatAreNotReadGoOnAsTheyCame)
{
    const int vendor = 7;
    EXPECT_THAT(arrived("QNM_SET_MPI", "qnm_serv_set_mpi", {&vendor, address(0xabc), wide_int{-2}}),
                Called("qnm_serv_set_mpi", ::testing::_, address(0xabc), -2));
    EXPECT_THAT(arrived("qnm_verbose_output_file_", "qnm_serv_verbose_output_file",
                        {address(0xabc), wide_int{-2}, wide_int{-3}}),
                Called("qnm_serv_verbose_output_file", address(0xabc), -2, -3));
    EXPECT_THAT(arrived("qnm_get_version_string_", "qnm_serv_get_version_string",
                        {address(0xabc), wide_int{-2}, wide_int{-3}}),
                Called("qnm_serv_get_version_string", address(0xabc), -2, -3));
}

TEST_F(Services, MemoryComesAndGoesByBothForms)
{
    const wide_int size = 48;
    const int alignment = 64;
    void* const fortran = reinterpret_cast<void*>(call_entry("qnm_malloc_", {&size, &alignment}).rax);
    void* const c = reinterpret_cast<void*>(call_entry("QNM_malloc", {size, alignment}).rax);
    EXPECT_EQ(core().live_blocks(), 2U);
    call_entry("QNM_FREE", {&c}); // either form frees what the other got
    call_entry("QNM_free", {fortran});
    EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_serv_malloc", 48), Called("qnm_serv_malloc", 48),
                                            Called("qnm_serv_free", c), Called("qnm_serv_free", fortran)));
}

// The way out
// ----------------------------------------------------------------------------------------------------------

int noted_status = 0;

void note_status(int status)
{
    noted_status = status;
}

void set_exit_handler(const std::string& spelling, void (*handler)(int))
{
    support::call_words(layer()[spelling], {handler});
}

class ExitHandler : public LayerTest {
protected:
    ~ExitHandler() override { set_exit_handler("QNM_Set_Exit_Handler", nullptr); }
};

TEST_F(ExitHandler, IsKnownToLayerAndCore)
{
    for (const char* spelling :
         {"QNM_SET_EXIT_HANDLER", "QNM_Set_Exit_Handler", "qnm_set_exit_handler", "qnm_set_exit_handler_"}) {
        SCOPED_TRACE(spelling);
        core().clear();
        noted_status = 0;
        set_exit_handler("QNM_SET_EXIT_HANDLER", nullptr);
        set_exit_handler(spelling, note_status);
        EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_serv_set_exit_handler", nullptr),
                                                Called("qnm_serv_set_exit_handler", note_status)));
        call_entry("qnm_serv_iface_exit", {2}); // comes back, since the handler does
        EXPECT_EQ(noted_status, 2);
    }
}

TEST_F(ExitHandler, WithoutOneTheProcessEnds)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(call_entry("qnm_serv_iface_exit", {17}), ::testing::ExitedWithCode(17), "");
    // By the way that runs what was left to be done at the end.
    EXPECT_EXIT(
        {
            std::atexit([] { std::fputs("left in good order", stderr); });
            call_entry("qnm_serv_iface_exit", {1});
        },
        ::testing::ExitedWithCode(1), "left in good order");
    EXPECT_EXIT(
        {
            set_exit_handler("qnm_set_exit_handler_", note_status);
            set_exit_handler("qnm_set_exit_handler_", nullptr);
            call_entry("qnm_serv_iface_exit", {4});
        },
        ::testing::ExitedWithCode(4), "");
}

} // namespace
} // namespace qnm
