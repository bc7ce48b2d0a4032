// Reading memory that may not be there, or that a sanitizer guards: the kernel does it, and says no politely.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qnm::recording {

struct Peek {
    std::uint64_t address;
    void* into;
    std::size_t size;
    bool done = false;
};

/// Carries out all requests and marks those that could be read whole. Ends the process with a message if the
/// system refuses this kind of reading altogether.
void peek(std::span<Peek> requests);

/// Text at the address: up to limit characters, or to the first zero if stop_at_zero. Ends early where memory
/// ends.
std::string peek_text(std::uint64_t address, std::size_t limit, bool stop_at_zero);

/// Bytes from the address to the end of its page.
std::size_t bytes_in_page(std::uint64_t address);

} // namespace qnm::recording
