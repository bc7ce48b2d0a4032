// What the recording core got of a call, against its signature.
#include "support/function_call.hpp"

#include <cstring>
#include <utility>

namespace qnm::tests {

using catalogue::Callee;
using catalogue::Place;

FunctionCall::Passed FunctionCall::expect_passed(const Call& noted, const Callee& callee,
                                                 const Odd& odd) const
{
    EXPECT_TRUE(noted.aligned());
    std::size_t word = 0, real = 0;
    std::set<std::uint64_t> copies;
    bool told_width = false;
    for (const Place& place : callee.places) {
        if (place.parameter < 0) {
            // An int is the width, or what is below 0; lengths are words.
            const bool width =
                (has_groups() && !std::exchange(told_width, true)) || place.constant.front() == '-';
            if (place.constant.find_first_not_of("-0123456789") ==
                std::string::npos) { // else the layer's own
                EXPECT_EQ(width ? noted.int32(word) : noted.int64(word), std::stoll(place.constant))
                    << "constant";
            }
            ++word;
            continue;
        }
        const auto i = static_cast<std::size_t>(place.parameter);
        const Slot& slot = slots_[i];
        const std::string& name = parameters()[i].name;
        const bool number = slot.type == Type::float32 || slot.type == Type::float64;
        if (number && (place.fill == Fill::read || (place.fill == Fill::as_it_is && slot.by_value))) {
            const std::size_t end = size(i) * bytes(slot.type); // two floats share a register
            for (std::size_t at = 0; at < end; at += sizeof(double))
                EXPECT_EQ(std::memcmp(&noted.arguments().vectors.at(real++).low, &slot.memory[at],
                                      std::min(end - at, sizeof(double))),
                          0)
                    << name << " is " << static_cast<double>(this->number(i));
            continue;
        }
        if ((place.fill == Fill::addressed || (place.fill == Fill::widened && !slot.by_value)) &&
            !slot.pointed) {
            expect_local(noted, word, name);
            EXPECT_TRUE(copies.insert(noted.word(word)).second) << name;
        }
        if (!odd || !odd(i, word))
            expect_place(noted, word, place);
        ++word;
    }
    return {word, real};
}

void FunctionCall::expect_place(const Call& noted, std::size_t at, const Place& place) const
{
    const auto i = static_cast<std::size_t>(place.parameter);
    const Slot& slot = slots_[i];
    const std::string& name = parameters()[i].name;
    const bool is_letter = slot.type == Type::byte && facts(i) != nullptr && facts(i)->type == "char";
    switch (place.fill) {
    case Fill::as_it_is:
        if (slot.by_value && is_letter)
            EXPECT_EQ(static_cast<char>(noted.word(at)), letter(i)) << name;
        else if (slot.by_value && slot.type == Type::int32) // what stands above is nobody's
            EXPECT_EQ(noted.int32(at), integer(i)) << name;
        else
            EXPECT_EQ(noted.word(at), word(i).bits()) << name;
        break;
    case Fill::widened:
        EXPECT_EQ(slot.by_value ? noted.int64(at) : noted.behind(at), integer(i)) << name;
        break;
    case Fill::copied:
        EXPECT_NE(noted.word(at), word(i).bits()) << name;
        EXPECT_EQ(noted.behind(at), integer(i)) << name;
        break;
    case Fill::read:
        EXPECT_EQ(is_letter ? static_cast<char>(noted.word(at)) : noted.int64(at), integer(i)) << name;
        break;
    case Fill::low:
        EXPECT_EQ(noted.int32(at), static_cast<std::int32_t>(integer(i))) << name;
        break;
    case Fill::letter:
        EXPECT_EQ(noted.letter(at), letter(i)) << name;
        break;
    case Fill::conjugated: // the real part is looked at here, the other one where numbers are
        EXPECT_NE(noted.word(at), word(i).bits()) << name;
        [[fallthrough]];
    case Fill::addressed:
        if (facts(i) == nullptr) // a seed
            EXPECT_EQ(noted.behind<std::uint32_t>(at), static_cast<std::uint32_t>(integer(i))) << name;
        else if (is_integer(i) && !(has_groups() && narrow()))
            EXPECT_EQ(noted.behind(at), integer(i)) << name;
        else
            as(slot.type, [&](auto element) {
                element = static_cast<decltype(element)>(this->number(i)); // which may be a NaN
                const auto got = noted.behind<decltype(element)>(at);
                EXPECT_TRUE(got && std::memcmp(&*got, &element, sizeof element) == 0) << name;
            });
        break;
    case Fill::constant:
        break;
    }
}

void expect_local(const Call& noted, std::size_t word, const std::string& name)
{
    constexpr std::uint64_t frame_bytes = 16384;
    EXPECT_LT(noted.word(word) - noted.arguments().rsp, frame_bytes) << name << " is no local copy";
}

} // namespace qnm::tests
