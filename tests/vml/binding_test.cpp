// The processor's type, and what ends the process.
#include "unbound.hpp"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <utility>

// A text that is there beside an address, once: in the place of the C library's function for the layer too.
static const char* pending_error = nullptr;
extern "C" [[gnu::visibility("default")]] char* dlerror() noexcept
{
    static const auto real = reinterpret_cast<char* (*)()>(dlsym(RTLD_NEXT, "dlerror"));
    return pending_error == nullptr ? real() : const_cast<char*>(std::exchange(pending_error, nullptr));
}

namespace qnm::tests {
namespace {

class Binding : public Unbound {
protected:
    /// The type, detected anew, with this text in the environment.
    static std::vector<int> types(const std::string& text, int detected)
    {
        core().answers("qnm_serv_getenv").calling([text](Call& call, Answer& answer) {
            EXPECT_EQ(call.word(2), 32U);
            std::strcpy(call.pointer<char>(1), text.c_str());
            answer.returns(static_cast<int>(text.size()));
        });
        core().answers("qnm_serv_vml_cpu_detect").with(detected);
        forget_types();
        return {support::call_words(layer()["qnm_vml_serv_cpu_detect"], {}).int32(),
                support::call_words(layer()["qnm_vml_serv_cpu_detect_legacy"], {}).int32()};
    }
};

TEST_F(Binding, TypeIsToldOrDetected)
{
    const std::vector<int> told[]{{0, 0}, {1, 1}, {0, 2}, {0, 3},   {0, 4},   {2, 5},  {2, 6},
                                  {3, 7}, {4, 8}, {5, 9}, {10, 10}, {12, 12}, {-1, -1}};
    for (const auto& pair : told)
        EXPECT_EQ(types("", pair[1]), pair);
    using Both = std::vector<int>;
    for (const char* refused : {"8", "08", "10", "99", "7x", "x7", "-1"})
        EXPECT_EQ(types(refused, 7), (Both{3, 7})) << refused;
    EXPECT_EQ(types("7", 5), (Both{7, 7}));
    EXPECT_EQ(types("9", 5), (Both{9, 9}));
    EXPECT_EQ(types("09", 5), (Both{9, 9}));
    EXPECT_EQ(types("123", 5), (Both{1, 1}));
    EXPECT_EQ(types("0", 5), (Both{0, 0}));
    // Kept, unless it is -1.
    core().clear();
    support::call_words(layer()["qnm_vml_serv_cpu_detect"], {});
    EXPECT_TRUE(core().calls().empty());
    EXPECT_EQ(types("", -1), (Both{-1, -1}));
    core().clear();
    support::call_words(layer()["qnm_vml_serv_cpu_detect"], {});
    EXPECT_EQ(core().calls("qnm_serv_vml_cpu_detect").size(), 1U);
}

// The exit handler comes back, and still the process ends.
void come_back(int)
{
    std::fputs("handler", stderr);
}

TEST_F(Binding, NoEntryGoesOnWithoutItsKernel)
{
    // What is told of a refused call of vdExp, or of a good one, and how the process ends.
    enum class Missing { library, kernel, nothing_but_a_text };
    const auto call = [](Missing missing, int n) {
        unbind("dExp");
        if (missing == Missing::library)
            core().answers("qnm_serv_load_vml").with(nullptr);
        if (missing == Missing::kernel)
            core().table("qnm_vml_kernel_dExp_ttab", nullptr);
        if (missing == Missing::nothing_but_a_text)
            pending_error = "text";
        support::call_words(layer()["QNM_Set_Exit_Handler"], {come_back});
        core().answers("qnm_serv_xerbla").calling([](Call&, Answer&) { std::fputs("report ", stderr); });
        core().answers("qnm_serv_print").calling([](Call& told, Answer&) {
            std::fprintf(stderr, "%d %d %s ", told.int32(0), told.int32(1),
                         told.int32(2) == 1 ? told.pointer<const char>(3) : "none");
        });
        double a = 0, y = 0;
        support::call_words(layer()["vdExp"], {n, &a, &y});
        std::fputs("goes on", stderr);
        std::exit(0);
    };
    const ::testing::ExitedWithCode fails(2);
    EXPECT_EXIT(call(Missing::library, 1), fails, "^1 771 none handler$");
    EXPECT_EXIT(call(Missing::library, -1), fails, "^report 1 771 none handler$");
    EXPECT_EXIT(call(Missing::kernel, 1), fails, "^1 772 qnm_vml_kernel_dExp_ttab handler$");
    EXPECT_EXIT(call(Missing::nothing_but_a_text, 1), fails, "^1 772 qnm_vml_kernel_dExp_ttab handler$");
}

/// A folder whose path has so many characters, with the process in it, until the object goes.
class Inside {
public:
    explicit Inside(std::size_t length)
    {
        EXPECT_NE(mkdtemp(top_), nullptr);
        EXPECT_EQ(chdir(top_), 0);
        for (std::size_t left = length - std::strlen(top_); left > 0;) {
            const std::size_t step = left > 202 ? 200 : left - 1;
            const std::string part(step, 'x');
            std::filesystem::create_directory(part);
            EXPECT_EQ(chdir(part.c_str()), 0);
            left -= step + 1;
        }
    }
    ~Inside()
    {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(top_);
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    const char* top() const { return top_; }

private:
    std::filesystem::path before_ = std::filesystem::current_path();
    char top_[16] = "/tmp/cwd-XXXXXX";
};

TEST_F(Binding, TheWorkingDirectoryIsKeptAtLoad)
{
    char* const kept = layer().local<char>("DispLibCWD");
    const auto load = [] { support::call_words(layer().local<void>("_Init_QNM_Loader"), {}); };
    for (const std::size_t length : {40U, 4094U, 4095U}) {
        const Inside folder(length);
        core().clear();
        load();
        EXPECT_EQ(strnlen(kept, 4096), length == 40 ? 41 : length);
        const auto calls = core().calls("qnm_serv_strncat_s");
        ASSERT_EQ(calls.size(), length == 4095 ? 0U : 1U);
        if (!calls.empty()) {
            EXPECT_THAT(calls[0], recording::Called("qnm_serv_strncat_s", kept, 4095, ::testing::_, 4096));
            EXPECT_EQ(calls[0].letter(2), '/');
        }
    }
    core().answers("qnm_serv_print").calling([](Call& call, Answer&) {
        if (call.int32(0) == 1 && call.int32(1) == 1 && call.int32(2) == 1)
            std::fputs(call.pointer<const char>(3), stderr);
    });
    const Inside folder(40);
    std::filesystem::remove_all(folder.top());
    EXPECT_EXIT(load(), ::testing::ExitedWithCode(2), "libvml_layer");
}

} // namespace
} // namespace qnm::tests
