// The arguments of one call by their names: each in memory of its own, with its type and the way in which it
// travels.
#pragma once

#include "support/invoke.hpp"

#include <utility>

namespace qnm::support {

enum class Type { byte, int32, int64, float32, float64 };

class Arguments {
public:
    static constexpr std::size_t last = ~std::size_t{0};

    /// Elements are `start` and so on by `step`. Two reals by value are a complex number.
    void add(const std::string& name, Type type, std::size_t elements, bool by_value, double start = 0,
             double step = 0);

    const std::vector<std::string>& names() const { return names_; }
    bool has(const std::string& name) const;
    std::size_t size(const std::string& name) const;

    /// An element in its argument's type; without an index the last, which is that of the last group.
    template <class T = std::int64_t>
    T get(const std::string& name, std::size_t i = last) const
    {
        return static_cast<T>(read(name, i));
    }
    void put(const std::string& name, long double value, std::size_t i = last); // holds all types exactly
    /// All elements at once.
    std::vector<double> values(const std::string& name) const;
    void put(const std::string& name, const std::vector<double>& values);
    /// Takes over the values of another call's arguments of the same names.
    void assign(const Arguments& other);

    /// Where an argument stands, and another place for it, null included.
    const char* address(const std::string& name) const;
    void point(const std::string& name, const void* address) { at(name).place = {true, address}; }

    Returned call(const void* function) const;

private:
    struct Slot {
        Type type = Type::byte;
        bool by_value = false;
        std::vector<unsigned char> memory{};
        std::pair<bool, const void*> place{};
    };
    long double read(const std::string& name, std::size_t i) const;
    const Slot& at(const std::string& name) const;
    Slot& at(const std::string& name) { return const_cast<Slot&>(std::as_const(*this).at(name)); }

    std::vector<std::string> names_;
    std::vector<Slot> slots_;
};

} // namespace qnm::support
