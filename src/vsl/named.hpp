// Kernels of entries written by hand, for both types: their names, and a cell for each entry.
#pragma once

#include "vsl/kernel.hpp"

namespace qnm::vsl {

/// A text as a template's argument.
template <std::size_t size>
struct Text {
    char letters[size]{};
    constexpr Text() = default;
    constexpr Text(const char (&text)[size])
    {
        for (std::size_t i = 0; i < size; ++i)
            letters[i] = text[i];
    }
};

/// What stands ahead of a type's letter, the letter, and what stands behind.
template <class T, Text ahead, Text behind>
inline constexpr auto lettered = [] {
    constexpr std::size_t first = sizeof ahead.letters - 1;
    Text<first + 1 + sizeof behind.letters> text;
    for (std::size_t i = 0; i < first; ++i)
        text.letters[i] = ahead.letters[i];
    text.letters[first] = std::is_same_v<T, float> ? 's' : 'd';
    for (std::size_t i = 0; i < sizeof behind.letters; ++i)
        text.letters[first + 1 + i] = behind.letters[i];
    return text;
}();

/// The kernel of an entry for a type.
template <class T, Text entry, Text ahead, Text behind, class F>
struct Named {
    using Type = F;
    static inline constinit F* cell = nullptr;
    static constexpr const char* name = lettered<T, ahead, behind>.letters;
};

} // namespace qnm::vsl
