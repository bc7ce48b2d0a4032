// One recorded call of a core function, read back by position and type.
#pragma once

#include "recording/frame.hpp"

#include <cstring>
#include <iosfwd>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#define QNM_RECORDING_API __attribute__((visibility("default")))

namespace qnm::recording {

/// Integer and pointer arguments are *words*, counted from 0 through rdi, rsi, rdx, rcx, r8, r9 and on
/// through the stack; real arguments by value are counted apart, from 0 through xmm0 to xmm7. The recorder
/// knows no signature: words behind the last argument hold whatever stood there.
class QNM_RECORDING_API Call {
public:
    static constexpr std::size_t words = register_words + stack_words;

    Call() = default;
    Call(std::string_view name, const Arguments& arguments);

    std::string name;
    /// Text behind the call's pointers, where the core is known to read text: the routine's name of a report
    /// (exactly as long as told), the line of a trace, the format of the formatter, the measured string, the
    /// name looked up, the first insert of a message.
    std::string text;
    /// Byte at index 449 behind the line of a trace, if that can be read: the end of the frame's line buffer.
    std::optional<char> last_byte;

    /// Word i as it came, as the low 32 bits (an int by value leaves the rest undefined), and as a pointer.
    std::uint64_t word(std::size_t i) const;
    std::int64_t int64(std::size_t i) const { return static_cast<std::int64_t>(word(i)); }
    std::int32_t int32(std::size_t i) const { return static_cast<std::int32_t>(word(i)); }
    template <class T>
    T* pointer(std::size_t i) const
    {
        return reinterpret_cast<T*>(word(i));
    }

    /// Vector register i read as a double or as a float.
    double real(std::size_t i) const { return std::bit_cast<double>(arguments_.vectors.at(i).low); }
    float real32(std::size_t i) const
    {
        return std::bit_cast<float>(static_cast<std::uint32_t>(arguments_.vectors.at(i).low));
    }

    /// What stood behind pointer i *when the call was made*, for instance the value of a widened copy that
    /// died with its entry: T of at most 8 bytes. Nothing if word i did not point at readable memory.
    template <class T = std::int64_t>
    std::optional<T> behind(std::size_t i) const;
    /// The character behind pointer i when the call was made, 0 if there was none.
    char letter(std::size_t i) const { return behind<char>(i).value_or('\0'); }

    /// The code of a report (qnm_serv_xerbla and the default handlers): its 32 defined bits, and the whole
    /// slot.
    std::int32_t code() const { return behind<std::int32_t>(1).value_or(0); }
    std::int64_t code64() const { return behind<std::int64_t>(1).value_or(0); }

    /// Number of vector registers that a variadic caller announced (al).
    unsigned vector_count() const { return static_cast<unsigned char>(arguments_.rax); }
    /// Whether the stack was aligned as the calling convention asks.
    bool aligned() const { return arguments_.rsp % 16 == 8; }

    const Arguments& arguments() const { return arguments_; }

    /// Reads what stands behind the words. The recorder does this as the call arrives.
    void capture();

private:
    struct Glance {
        std::uint64_t bytes = 0;
        std::size_t known = 0; ///< how many of the bytes could be read
    };

    Arguments arguments_;
    std::array<Glance, words> behind_{};
};

/// One line: name, text, code where there is one, and the words.
QNM_RECORDING_API std::ostream& operator<<(std::ostream& out, const Call& call);

template <class T>
std::optional<T> Call::behind(std::size_t i) const
{
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(std::uint64_t));
    const Glance& glance = behind_.at(i);
    if (glance.known < sizeof(T))
        return std::nullopt;
    T value;
    std::memcpy(&value, &glance.bytes, sizeof value);
    return value;
}

} // namespace qnm::recording
