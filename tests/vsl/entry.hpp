// A call of any entry of streams or generators, made from its signature; and the fixture that unbinds
// kernels.
#pragma once

#include "support/function_call.hpp"

namespace qnm::tests {

/// A record that the layer takes for a stream, or for none.
struct Stream {
    unsigned char bytes[16]{0, 0, 0, 0, 1};
    static Stream good, deleted;
};

/// Good arguments that are all different, with junk where nothing is to be read.
class EntryCall {
public:
    explicit EntryCall(const Signature& signature);

    std::size_t index(const std::string& name) const;
    bool is_real(std::size_t i) const { return type(i) == "float" || type(i) == "double"; }
    /// A number, or an address: at a place, from 0.
    EntryCall& set(std::size_t i, double number);
    EntryCall& point(std::size_t i, const void* address);
    /// What the slot or the handle at this place leads to.
    EntryCall& stream(const std::string& name, Stream* stream);
    int run() const;

    /// Expects the kernel's arguments where the signature tells; behind so many words in the call that makes
    /// the line.
    void expect_passed(const Call& noted, std::size_t ahead = 0) const;

private:
    /// The type of what is meant, without the address at which it may stand.
    const std::string& type(std::size_t i) const { return types_[i]; }
    /// Whether a kernel gets 32 bits of it.
    bool is_half(std::size_t i) const;
    bool by_reference(std::size_t i) const { return signature_.parameters[i].travel == Travel::number; }

    const Signature& signature_;
    std::vector<std::string> types_;
    std::vector<std::uint64_t> bits_;
    std::vector<Stream*> slots_;
};

/// Every kernel's cell, and the library's handle, as they were at the start.
class Unbound : public recording::RecordedTest {
protected:
    Unbound();
    /// What was looked up since the core was cleared, and the lines that were printed.
    static std::vector<std::string> looked_up();
    static std::vector<std::string> lines();
    /// Expects that the kernel is looked up by the first form alone, and gets every argument; and these
    /// calls.
    static void expect_handed_on(const Signature& s, const std::string& kernel,
                                 std::vector<std::string> story);
    /// Expects a report of the entry's place and nothing else.
    static void expect_refused(const EntryCall& call, const std::string& name, int place, int status = -3);
};

} // namespace qnm::tests
