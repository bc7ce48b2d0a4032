#include "arguments.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace qnm::support {

namespace {

/// Visits a type with a value of it.
template <class Visit>
auto as(Type type, Visit visit)
{
    switch (type) {
    case Type::byte:
        return visit(char{});
    case Type::int32:
        return visit(std::int32_t{});
    case Type::int64:
        return visit(std::int64_t{});
    case Type::float32:
        return visit(float{});
    default:
        return visit(double{});
    }
}

std::size_t bytes(Type type)
{
    return as(type, [](auto value) { return sizeof value; });
}

} // namespace

void Arguments::add(const std::string& name, Type type, std::size_t elements, bool by_value, double start,
                    double step)
{
    Slot slot{type, by_value};
    as(type, [&](auto element) {
        slot.memory.resize(elements * sizeof element);
        for (std::size_t i = 0; i < elements; ++i) {
            element = static_cast<decltype(element)>(start + step * static_cast<double>(i));
            std::memcpy(&slot.memory[i * sizeof element], &element, sizeof element);
        }
    });
    names_.push_back(name);
    slots_.push_back(std::move(slot));
}

bool Arguments::has(const std::string& name) const
{
    return std::find(names_.begin(), names_.end(), name) != names_.end();
}

const Arguments::Slot& Arguments::at(const std::string& name) const
{
    const auto found = std::find(names_.begin(), names_.end(), name);
    if (found == names_.end())
        throw std::out_of_range("no argument " + name);
    return slots_[static_cast<std::size_t>(found - names_.begin())];
}

std::size_t Arguments::size(const std::string& name) const
{
    return at(name).memory.size() / bytes(at(name).type);
}

long double Arguments::read(const std::string& name, std::size_t i) const
{
    const Slot& a = at(name);
    return as(a.type, [&](auto value) {
        std::memcpy(&value, &a.memory.at(std::min(i, size(name) - 1) * sizeof value), sizeof value);
        return static_cast<long double>(value);
    });
}

void Arguments::put(const std::string& name, long double value, std::size_t i)
{
    Slot& a = at(name);
    as(a.type, [&](auto element) {
        element = static_cast<decltype(element)>(value);
        std::memcpy(&a.memory.at(std::min(i, size(name) - 1) * sizeof element), &element, sizeof element);
    });
}

std::vector<double> Arguments::values(const std::string& name) const
{
    const Slot& slot = at(name);
    return as(slot.type, [&](auto element) {
        std::vector<double> all;
        for (std::size_t at = 0; at < slot.memory.size(); at += sizeof element) {
            std::memcpy(&element, &slot.memory[at], sizeof element);
            all.push_back(static_cast<double>(element));
        }
        return all;
    });
}

void Arguments::put(const std::string& name, const std::vector<double>& values)
{
    Slot& slot = at(name);
    as(slot.type, [&](auto element) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            element = static_cast<decltype(element)>(values[i]);
            std::memcpy(&slot.memory.at(i * sizeof element), &element, sizeof element);
        }
    });
}

void Arguments::assign(const Arguments& other)
{
    for (const std::string& name : names_)
        put(name, other.values(name));
}

const char* Arguments::address(const std::string& name) const
{
    const Slot& a = at(name);
    return static_cast<const char*>(a.place.first ? a.place.second : a.memory.data());
}

Returned Arguments::call(const void* function) const
{
    std::vector<Word> words;
    std::vector<Real> reals;
    for (const std::string& name : names_) {
        const Slot& a = at(name);
        if (!a.by_value || a.place.first)
            words.emplace_back(address(name));
        else if (a.type == Type::int64)
            words.emplace_back(get(name));
        else if (a.type == Type::byte || a.type == Type::int32)
            words.emplace_back(get<std::int32_t>(name));
        else if (a.type == Type::float32 && a.memory.size() == sizeof(float))
            reals.emplace_back(get<float>(name));
        else // two floats share a register
            for (std::size_t at = 0; at < a.memory.size(); at += sizeof(double)) {
                double value;
                std::memcpy(&value, &a.memory[at], sizeof value);
                reals.emplace_back(value);
            }
    }
    return call_words(function, words, reals);
}

} // namespace qnm::support
