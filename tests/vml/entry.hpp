// A call of any vector entry, made from its signature, and the fixture that unbinds what it bound.
#pragma once

#include "support/invoke.hpp"
#include "support/recorded.hpp"
#include "support/tables.hpp"

namespace qnm::tests {

using catalogue::Signature;

/// Every cell of the layer as it was at the start; tables whose element 3 alone is something.
class Unbound : public ::testing::Test {
protected:
    static constexpr int index = 3, type = 5, saved_mode = 0x7A5;
    static constexpr float companion = 1.25F;

    void SetUp() override;
    /// As it was when the process began: all cells of a typed root, of control, the handle and the type.
    static void unbind(const std::string& root);
};

/// Arguments that are all different, with junk where nothing is to be read.
class EntryCall {
public:
    explicit EntryCall(const Signature& signature);

    /// In place of an integer's 32 bits, or of a vector's address.
    void set(std::size_t parameter, std::int32_t number);
    void clear(std::size_t parameter);
    void operator()() const;

    std::size_t mode() const { return mode_; } ///< its place; 0: none
    /// What the threader, or the kernel, gets between kernel or n, and handle.
    std::vector<std::uint64_t> words() const;
    std::vector<std::uint64_t> reals() const;
    std::int32_t number(std::size_t parameter) const
    {
        return static_cast<std::int32_t>(bits_[parameter][0]);
    }

private:
    const Signature& signature_;
    std::size_t mode_ = 0;
    std::vector<std::array<std::uint64_t, 2>> bits_; ///< values, or addresses
};

/// "dExpI" of "vdExpI_64": what stands in the names of its kernels.
std::string typed_root(const Signature& signature);
std::vector<Signature> entries();

} // namespace qnm::tests
