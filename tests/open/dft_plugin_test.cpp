// Engines of transforms that are opened at run time: which one runs, what it is given, and what it leaves
// behind. The numbers are those of dft_test.cpp, run once more with QNM_FFT_ENGINE=fftw.
#include "core.hpp"
#include "open/dft/descriptor.hpp"
#include "open/services.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/resource.h>

void qnm::core::print_to(int fd, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    vdprintf(fd, format, arguments);
    va_end(arguments);
}

namespace qnm::test {
namespace {

using namespace core::dft;
using testing::HasSubstr;

// What a command writes anywhere.
std::string output_of(const std::string& command)
{
    std::string text;
    std::FILE* const pipe = popen(command.c_str(), "r");
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;)
        text += static_cast<char>(c);
    pclose(pipe);
    return text;
}

// What this program says of itself with a core that lies in `folder`.
std::string said_in(const std::filesystem::path& folder, const std::string& environment)
{
    return output_of(
        "LD_LIBRARY_PATH=" + folder.string() + " " + environment + " " +
        std::filesystem::read_symlink("/proc/self/exe").string() +
        " --gtest_also_run_disabled_tests --gtest_filter=DftPlugin.DISABLED_Said 2>&1 | grep ^QNM");
}

// What the test below runs as a program of its own, with another folder and environment.
TEST(DftPlugin, DISABLED_Said)
{
    for (int twice = 0; twice < 2; ++twice) {
        char text[128] = {};
        qnm_dft_dfti_get_version_string(text, sizeof text);
        std::puts(text);
    }
    dft_handle d = nullptr;
    qnm_dft_dfti_create_dc1d(&d, 2, 0);
    cdouble x[] = {{3, 0}, {1, 0}};
    if (d->ops->commit(d) == done && d->forward(d, x, nullptr, nullptr, nullptr, nullptr) == done)
        std::printf("QNM %g %g\n", x[0].real(), x[1].real());
    d->ops->release(d);
}

TEST(DftPlugin, IsTheOneAskedForAndElseOneLineTellsWhy)
{
    namespace fs = std::filesystem;
    std::string name = fs::temp_directory_path() / "qnm-XXXXXX";
    const fs::path folder = mkdtemp(name.data()), plugin = folder / "libqnm_core_fftw.so";
    // A link would lead to the folder of its own.
    fs::copy_file(QNM_CORE_FILE, folder / fs::path(QNM_CORE_FILE).filename());
    const std::string own = "QNM open core 2.0.0, transforms by pocketfft\n", numbers = "QNM 4 2\n";
    const auto expect_line = [&](const char* engine, const std::string& why) {
        const std::string said = said_in(folder, std::string("QNM_FFT_ENGINE=") + engine);
        EXPECT_THAT(said, testing::StartsWith(std::string("QNM ERROR: QNM_FFT_ENGINE=") + engine + ": "));
        EXPECT_THAT(said, testing::HasSubstr(why));
        EXPECT_EQ(said.substr(std::min(said.size(), said.find('\n') + 1)), own + own + numbers);
    };
    EXPECT_EQ(said_in(folder, "QNM_FFT_ENGINE="), own + own + numbers);
    expect_line("other", "no such");
    // Nowhere else is looked: neither where libraries are found nor where the program stands.
    expect_line("fftw", plugin);
    std::ofstream(plugin) << "none";
    expect_line("fftw", plugin);
    fs::remove(plugin);
    fs::create_symlink(QNM_LAYER, plugin); // a library without the function
    expect_line("fftw", "qnm_core_plugin");
#ifdef QNM_PLUGIN_FILE
    fs::remove(plugin);
    fs::create_symlink(QNM_PLUGIN_FILE, plugin);
    EXPECT_THAT(said_in(folder, "QNM_FFT_ENGINE=fftw"),
                testing::AllOf(testing::StartsWith("QNM open core 2.0.0, transforms by fftw-3."),
                               testing::EndsWith("\n" + numbers)));
    if (!QNM_SANITIZED) { // which leave names of their own
        EXPECT_EQ(output_of("nm -D --defined-only " QNM_PLUGIN_FILE " | awk '{ print $3 }'"),
                  "qnm_core_plugin\n");
        EXPECT_EQ(output_of("nm -D " QNM_PLUGIN_FILE " | grep -iE 'fftw|getenv'"), "");
    }
#endif
    fs::remove_all(folder);
}

// ---- the engine itself, where it was asked for

class DftPlugged : public testing::Test {
protected:
    void SetUp() override
    {
        if (std::getenv("QNM_FFT_ENGINE") == nullptr)
            GTEST_SKIP() << "is run again with this engine";
        ASSERT_NE(plugin(), nullptr);
    }
    void TearDown() override { EXPECT_EQ(in_use(), use_); }

private:
    Use use_ = in_use();
};

Status refuse(const Task&, Plan**) noexcept
{
    return unable;
}

// What it knows, it does in both directions, and not another engine for it.
TEST_F(DftPlugged, DoesWhatItKnows)
{
    using Change = void (*)(Task&);
    static const auto real = [](Task& t, Kind half) {
        t.real = true;
        t.forward = {t.tight(Kind::real), t.tight(half), 1};
        t.backward = {t.tight(half), t.tight(Kind::real), 1};
    };
    static const auto line = [](Task& t, Kind half) {
        t.rank = 1;
        real(t, half);
    };
    const std::pair<Status, Change> cases[] = {
        {done, [](Task&) {}},
        {done, [](Task& t) { t.single = t.in_place = true; }},
        {done, [](Task& t) { t.forward.in.stride[1] = -40, t.backward.out.distance = 90; }},
        {unable, [](Task& t) { t.forward.in.kind = t.forward.out.kind = Kind::split; }},
        {unable, [](Task& t) { t.transforms = 0; }},
        {done, [](Task& t) { real(t, Kind::pairs); }},
        {done, [](Task& t) { line(t, Kind::pairs); }},
        {done, [](Task& t) { t.transforms = 1, line(t, Kind::ccs); }},
        {done, [](Task& t) { t.transforms = 1, t.in_place = true, line(t, Kind::ccs); }},
        {unable, [](Task& t) { t.in_place = true, line(t, Kind::pairs); }}, // rows without room
        {unable, [](Task& t) { line(t, Kind::pack); }},
        {unable, [](Task& t) { line(t, Kind::perm); }}};
    for (const auto& [status, change] : cases) {
        Task task{.single = false,
                  .real = false,
                  .in_place = false,
                  .spoils_input = false,
                  .rank = 2,
                  .length = {8, 6},
                  .transforms = 3,
                  .forward = {},
                  .backward = {},
                  .thread_limit = 1};
        for (Direction* way : {&task.forward, &task.backward})
            *way = {task.tight(Kind::complex), task.tight(Kind::complex), 1};
        change(task);
        Plan* plan = nullptr;
        EXPECT_EQ(plan_by(*plugin(), refuse, task, &plan), status) << &change - &cases[0].second;
        delete plan;
    }
}

struct Release {
    void operator()(dft_descriptor* d) const { d->ops->release(d); }
};
using Handle = std::unique_ptr<dft_descriptor, Release>;
using Numbers = std::vector<double>;

// Lines of a length that is prime: each takes memory of its own in a run.
Handle lines(core_int length, core_int transforms)
{
    dft_handle d = nullptr;
    EXPECT_EQ(qnm_dft_dfti_create_dc1d(&d, length, 0), done);
    d->ops->set_input_distance(d, length);
    d->ops->set_number_of_transforms(d, transforms);
    return Handle(d);
}

std::int64_t transformed(const Handle& d, Numbers& x)
{
    return d->forward(d.get(), x.data(), nullptr, nullptr, nullptr, nullptr);
}

Numbers numbers(core_int count)
{
    Numbers x(static_cast<std::size_t>(2 * count));
    for (double& each : x)
        each = random_integer(-9, 9);
    return x;
}

// By FFTW's own threads nothing would be told, and by its own memory the program would end.
TEST_F(DftPlugged, ARunWithoutMemoryTellsSoAndLosesNothing)
{
    for (const auto& [transforms, threads] : {std::pair{1, 1}, {200, 3}}) {
        service("domain_set_num_threads", threads, 2);
        const Handle d = lines(1009, transforms);
        ASSERT_EQ(d->ops->commit(d.get()), done);
        Numbers x = numbers(1009 * transforms), y = x;
        ASSERT_EQ(transformed(d, x), done);
        const Use before = in_use();
        for (std::size_t more = 1;; more *= 2) {
            service("set_memory_limit", 1, static_cast<std::size_t>(before.first) + more);
            Numbers z = y;
            const std::int64_t status = transformed(d, z);
            service("set_memory_limit", 1, std::size_t{0});
            EXPECT_EQ(in_use(), before);
            if (status == done) {
                EXPECT_GT(more, 1);
                EXPECT_TRUE(z == x);
                break;
            }
            ASSERT_EQ(status, no_memory);
        }
    }
    service("domain_set_num_threads", 1, 2);
}

// The planner's memory is the process's. It comes to itself again, and plans that stand are good.
TEST_F(DftPlugged, APlanWithoutMemoryTellsSoAndTheNextOneIsMade)
{
    if (QNM_SANITIZED)
        GTEST_SKIP() << "address space is the sanitizer's";
    const auto child = [] {
        const Handle d = lines(1009, 1), large = lines(16777259, 1); // prime, too
        Numbers x = numbers(1009), y = x, z = x;
        ASSERT_EQ(d->ops->commit(d.get()), done);
        ASSERT_EQ(transformed(d, x), done);
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        const rlimit none{1, limit.rlim_max};
        setrlimit(RLIMIT_AS, &none);
        const std::int64_t status = large->ops->commit(large.get());
        setrlimit(RLIMIT_AS, &limit);
        EXPECT_EQ(status, no_memory);
        EXPECT_EQ(transformed(d, y), done);
        ASSERT_EQ(d->ops->commit(d.get()), done);
        EXPECT_EQ(transformed(d, z), done);
        EXPECT_TRUE(y == x);
        EXPECT_TRUE(z == x);
        std::_Exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

// Measuring needs room, the core's; and what it finds computes the same.
TEST_F(DftPlugged, PlansAreMeasuredIfAskedFor)
{
    service("domain_set_num_threads", 3, 2);
    const Handle d = lines(1009, 100);
    Numbers x = numbers(1009 * 100), y = x;
    ASSERT_EQ(d->ops->commit(d.get()), done);
    ASSERT_EQ(transformed(d, x), done);
    setenv("QNM_FFT_EFFORT", "measure", 1);
    EXPECT_EQ(d->ops->commit(d.get()), done);
    EXPECT_EQ(transformed(d, y), done);
    for (std::size_t i = 0; i < x.size(); ++i)
        ASSERT_NEAR(x[i], y[i], 1e-11);
    service("set_memory_limit", 1, static_cast<std::size_t>(in_use().first) + 8192);
    EXPECT_EQ(d->ops->commit(d.get()), no_memory);
    unsetenv("QNM_FFT_EFFORT");
    EXPECT_EQ(d->ops->commit(d.get()), done);
    service("set_memory_limit", 1, std::size_t{0});
    service("domain_set_num_threads", 1, 2);
}

} // namespace
} // namespace qnm::test
