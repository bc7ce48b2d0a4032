#include "call.hpp"
#include "peek.hpp"

#include <algorithm>
#include <ostream>
#include <stdexcept>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#else
#define VALGRIND_MAKE_MEM_DEFINED(address, size) static_cast<void>(0)
#endif

namespace qnm::recording {

Call::Call(std::string_view called, const Arguments& arguments) : name(called), arguments_(arguments)
{
    // Words behind the last argument are anything; looking at them is no error of the caller.
    VALGRIND_MAKE_MEM_DEFINED(&arguments_, sizeof arguments_);
}

std::uint64_t Call::word(std::size_t i) const
{
    if (i >= words)
        throw std::out_of_range("a recorded call keeps " + std::to_string(words) + " words");
    return i < register_words ? arguments_.general[i] : arguments_.stack[i - register_words];
}

void Call::capture()
{
    std::array<Peek, words> requests;
    for (std::size_t i = 0; i < words; ++i)
        requests[i] = {word(i), &behind_[i].bytes, std::min(sizeof behind_[i].bytes, bytes_in_page(word(i)))};
    peek(requests);
    for (std::size_t i = 0; i < words; ++i)
        behind_[i].known = requests[i].done ? requests[i].size : 0;
    VALGRIND_MAKE_MEM_DEFINED(behind_.data(), sizeof behind_);
}

std::ostream& operator<<(std::ostream& out, const Call& call)
{
    constexpr std::size_t shown = 16;
    out << call.name;
    if (!call.text.empty())
        out << " \"" << call.text << '"';
    if (call.name == "qnm_serv_xerbla" || call.name == "qnm_serv_default_xerbla")
        out << " code " << call.code();
    out << " words";
    const auto flags = out.flags();
    for (std::size_t i = 0; i < shown; ++i) {
        const std::int64_t value = call.int64(i);
        out << (i == register_words ? " | " : " ");
        if (value > -100000 && value < 100000) {
            out << std::dec << value;
            continue;
        }
        out << "0x" << std::hex << call.word(i);
        if (const auto behind = call.behind(i); behind && *behind > -100000 && *behind < 100000)
            out << std::dec << "->" << *behind;
    }
    out << std::dec << " xmm0 " << call.real(0);
    out.flags(flags);
    return call.aligned() ? out : out << " (stack misaligned)";
}

} // namespace qnm::recording
