#include "invoke.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <gtest/gtest.h>
#include <stdexcept>

namespace qnm::support {

namespace {

constexpr std::size_t register_words = 6;
constexpr std::size_t vector_registers = 8;
constexpr std::uint64_t pattern = 0x5A5A5A5A5A5A5A5A;
constexpr std::uint64_t direction_flag = 0x400;
// Of mxcsr the exception flags belong to nobody; the controls are the caller's.
constexpr std::uint32_t mxcsr_controls = 0xFFC0;

// Shared with invoke.S, which knows these offsets.
struct Invocation {
    const void* function;
    const std::uint64_t* words; // at least six
    std::uint64_t count;        // of words, at least six
    const Real* reals;          // eight
    std::uint64_t rax_in;
    std::uint64_t padding;
    std::uint64_t rsp_call;
    std::uint64_t rax, rdx, more_padding;
    Real xmm0, xmm1;
    std::uint64_t saved[5]; // rbx, r12 to r15
    std::uint64_t rbp_lost;
    std::uint64_t rsp_back;
    std::uint64_t flags;
    std::uint32_t mxcsr_call, mxcsr_back;
    std::uint32_t x87_call, x87_back;
};
static_assert(offsetof(Invocation, rax) == 56 && offsetof(Invocation, xmm0) == 80);
static_assert(offsetof(Invocation, saved) == 112 && offsetof(Invocation, rbp_lost) == 152);
static_assert(offsetof(Invocation, mxcsr_call) == 176 && offsetof(Invocation, x87_back) == 188);
static_assert(sizeof(Real) == 16);

} // namespace

extern "C" {
void qnm_support_invoke(Invocation* invocation) __attribute__((visibility("hidden")));
extern __thread Invocation* qnm_support_invocation __attribute__((visibility("hidden")));
__thread Invocation* qnm_support_invocation = nullptr;
}

namespace {

// Calls nest, and exceptions may pass through them.
class Current {
public:
    explicit Current(Invocation& invocation) : outer_(qnm_support_invocation)
    {
        qnm_support_invocation = &invocation;
    }
    ~Current() { qnm_support_invocation = outer_; }
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;

private:
    Invocation* outer_;
};

std::vector<std::string> violations(const Invocation& done)
{
    std::vector<std::string> found;
    constexpr const char* names[] = {"rbx", "r12", "r13", "r14", "r15"};
    for (std::size_t i = 0; i < std::size(names); ++i)
        if (done.saved[i] != pattern + i)
            found.push_back(std::string(names[i]) + " not kept");
    if (done.rbp_lost != 0)
        found.push_back("rbp not kept");
    if (done.rsp_back != done.rsp_call)
        found.push_back("rsp off by " +
                        std::to_string(static_cast<std::int64_t>(done.rsp_back - done.rsp_call)));
    if ((done.flags & direction_flag) != 0)
        found.push_back("direction flag left set");
    if (((done.mxcsr_call ^ done.mxcsr_back) & mxcsr_controls) != 0)
        found.push_back("mxcsr controls changed");
    if (done.x87_call != done.x87_back)
        found.push_back("x87 control word changed");
    return found;
}

} // namespace

Returned invoke(const void* function, const std::vector<Word>& words, const std::vector<Real>& reals,
                std::uint64_t rax)
{
    if (reals.size() > vector_registers)
        throw std::invalid_argument("reals on the stack are not carried");
    std::vector<std::uint64_t> bits(std::max(words.size(), register_words), pattern);
    std::transform(words.begin(), words.end(), bits.begin(), [](Word word) { return word.bits(); });
    std::array<Real, vector_registers> vectors;
    std::copy(reals.begin(), reals.end(), vectors.begin());

    Invocation invocation{};
    invocation.function = function;
    invocation.words = bits.data();
    invocation.count = bits.size();
    invocation.reals = vectors.data();
    invocation.rax_in = rax;
    const Current current(invocation);
    qnm_support_invoke(&invocation);
    return {invocation.rax, invocation.rdx, invocation.xmm0, invocation.xmm1, violations(invocation)};
}

Returned call_words(const void* function, const std::vector<Word>& words, const std::vector<Real>& reals)
{
    Returned returned = invoke(function, words, reals);
    for (const std::string& violation : returned.violations)
        ADD_FAILURE() << "the callee broke the calling convention: " << violation;
    return returned;
}

} // namespace qnm::support
