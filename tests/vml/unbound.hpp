// A layer of vector mathematics as it was when its process began.
#pragma once

#include "support/function_call.hpp"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace qnm::tests {

/// The core's answers, and how to forget what the layer has bound. Tables have something in one element
/// alone.
class Unbound : public ::testing::Test {
protected:
    static constexpr int index = 3, type = 5, saved_mode = 0x7A5;
    static constexpr float companion = 1.25F;

    void SetUp() override
    {
        core().reset();
        core().ignore("qnm_serv_strnlen_s");
        core().answers("qnm_serv_vml_cpu_detect").with(9); // which is told as 5
        core().answers("qnm_vml_kernel_GetTTableIndex").with(index);
        core().answers("qnm_vml_kernel_SetMode").with(saved_mode);
    }

    static void forget(const std::string& cell) { *layer().local<void*>(cell) = nullptr; }
    static void forget_types()
    {
        for (const char* function : {"qnm_vml_serv_cpu_detect", "qnm_vml_serv_cpu_detect_legacy"})
            *layer().local<int>(std::string(function) + ".vml_cpu_type") = -1;
    }
    /// All cells of a typed root, of control as far as entries call it, the handle and the type.
    static void unbind(const std::string& root)
    {
        const std::string kernel = "qnm_vml_kernel_" + root;
        for (const std::string& cell : {kernel + "_ttab", kernel + "_ctab", root + ".func_adr1"})
            forget(cell);
        for (const char* cell : {"vml_dll_handle", "qnm_vml_kernel_SetMode", "qnm_vml_kernel_SetErrStatus"})
            forget(cell);
        forget_types();
        static const void* kernels[index + 1];
        static const float companions[index + 1]{0, 0, 0, companion};
        kernels[index] = core().kernel(kernel + "_ttab");
        core().table(kernel + "_ttab", kernels);
        core().table(kernel + "_ctab", companions);
    }
};

/// 32 bits with memory behind them that nobody may touch, one place for each argument.
inline const void* at_an_edge(std::size_t argument, std::int32_t value)
{
    constexpr std::size_t page = 4096, most = 16;
    static char* const pages = [] {
        auto* const all =
            static_cast<char*>(mmap(nullptr, 2 * most * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        for (std::size_t i = 0; i < most; ++i)
            mprotect(all + 2 * i * page, page, PROT_READ | PROT_WRITE);
        return all;
    }();
    char* const place = pages + (2 * argument + 1) * page - sizeof value;
    std::memcpy(place, &value, sizeof value);
    return place;
}

} // namespace qnm::tests
