// Matrices as a model has them: which elements a storage form holds and where they lie; and arrays of any
// type.
#pragma once

#include "catalogue/catalogue.hpp"

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace qnm::tests {

inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double inf = std::numeric_limits<double>::infinity();

/// One matrix in one form.
struct Storage {
    std::string form; // ge, tr, ...
    /// Letters and sizes by the names that the helpers have for them.
    std::map<std::string, long> options;
    bool by_rows = false;
    long ld = 0;

    /// The places of all elements that the form holds, in an order that is the same in both layouts. The
    /// diagonal of ones is left out.
    std::vector<long> places() const;
    /// What changes of layout move: of a full packed form its rectangle, whatever that holds.
    Storage moved() const;
    bool is_band() const { return form[1] == 'b'; }
    bool is_packed() const { return form[1] == 'p' || form[1] == 'f'; }
};

/// The type of numbers: bytes of a part, and how many parts.
struct Element {
    std::size_t bytes = 0, parts = 1;
    bool integer = false;

    /// Of a function's array, which its row gives this type.
    static Element of(const std::string& type, const catalogue::Signature& function);
    std::size_t size() const { return bytes * parts; }
    void store_part(void* array, long k, std::size_t part, double number) const;
    /// The imaginary part is the opposite number.
    void store(void* array, long k, double number) const;
};

/// Numbers at addresses of their own.
struct Array {
    Element element;
    std::vector<unsigned char> bytes;

    Array(const Element& of, long count, double number);
    unsigned char* data() { return bytes.data(); }
    const unsigned char* data() const { return bytes.data(); }
    long size() const { return static_cast<long>(element.size()); }
    void set(long k, double number) { element.store(data(), k, number); }
    double part(long k, std::size_t part) const;
    void copy(long k, const Array& from, long i)
    {
        std::memcpy(data() + k * size(), from.data() + i * size(), element.size());
    }
    /// A NaN in the real or the imaginary part, as chance has it.
    void spoil(long k, unsigned long chance) { element.store_part(data(), k, chance % element.parts, nan); }
    /// The first element that differs from those of another array, or -1.
    long difference(const unsigned char* other) const;
};

} // namespace qnm::tests
