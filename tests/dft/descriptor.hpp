// A descriptor of the test's own, whose operations write down what they take, and answer as told; and calls
// as lines of text tell them.
#pragma once

#include "qnm/core/dft.h"
#include "support/invoke.hpp"
#include "support/published.hpp"
#include "support/recorded.hpp"

#include <cstring>
#include <deque>
#include <iomanip>
#include <sstream>

namespace qnm::tests {

using support::Word;
using Integers = std::vector<std::int64_t>;

/// As they follow each other in a descriptor's record; by hand.
inline const std::vector<std::string> operations = words(
    "commit get_input_strides get_output_strides set_input_strides set_output_strides get_lengths get_name "
    "set_name get_scale set_scale copy get_input_distance get_output_distance get_number_of_transforms "
    "set_input_distance set_output_distance set_number_of_transforms get_thread_limit set_thread_limit "
    "get_rank release get_forward_distance get_backward_distance get_forward_strides get_backward_strides");

template <class T>
std::string number(T value)
{
    std::ostringstream text;
    text << std::setprecision(9) << value;
    return text.str();
}

struct Descriptor : dft_descriptor {
    explicit Descriptor(std::uint32_t its_domain = 32, int dimensions = 1, std::uint32_t its_precision = 36);

    std::int64_t status = 0;               // of each operation
    std::map<std::string, Integers> given; // by those that ask
    std::string name;
    double scales[2]{1, 1};
    Descriptor* made = nullptr; // by a copy
    std::string label;          // of what this one has noted

    /// The other operations with what they took, and computing with its arrays.
    static inline std::string story;
    std::int64_t noted(const std::string& what, const Integers& values = {})
    {
        story += " " + label + what;
        for (const std::int64_t value : values)
            story += " " + std::to_string(value);
        return status;
    }
    template <char way>
    static std::int64_t compute(dft_descriptor* d, void* a, void* b, void* c, void* e, void* null)
    {
        std::string all(1, way);
        for (const void* array : {a, b, c, e, null})
            all += array == nullptr ? "-" : static_cast<const char*>(array);
        return static_cast<Descriptor*>(d)->noted(all);
    }
    /// Arguments as their registers have them, whatever an operation's types.
    template <std::size_t slot>
    static std::int64_t operate(Descriptor* d, std::int64_t a, std::int64_t b, std::int64_t c, double real)
    {
        const std::string& what = operations.at(slot);
        auto* const values = reinterpret_cast<std::int64_t*>(a);
        auto* const text = reinterpret_cast<char*>(a);
        if (what == "get_name")
            std::memcpy(text, d->name.data(), std::min(d->name.size(), static_cast<std::size_t>(b)));
        else if (what == "set_name")
            return d->noted("set_name " + std::string(text, static_cast<std::size_t>(b)),
                            {static_cast<int>(c)});
        else if (what == "get_scale")
            *reinterpret_cast<double*>(a) = d->scales[static_cast<int>(b) - 4];
        else if (what == "set_scale")
            return d->noted("set_scale " + std::to_string(static_cast<int>(a)) + " " +
                            number(d->scales[static_cast<int>(a) - 4] = real));
        else if (what.starts_with("get"))
            std::ranges::copy(d->given[what], values);
        else if (what.starts_with("set"))
            return d->noted(what,
                            what.ends_with("strides") ? Integers(values, values + d->rank + 1) : Integers{a});
        else if (what == "copy")
            *reinterpret_cast<dft_handle*>(a) = d->made;
        return what.starts_with("get") ? d->status : d->noted(what);
    }
};

inline const dft_ops recorded_operations = []<std::size_t... slots>(std::index_sequence<slots...>)
{
    return std::bit_cast<dft_ops>(std::array{&Descriptor::operate<slots>...});
}
(std::make_index_sequence<sizeof(dft_ops) / sizeof(void*)>());

inline Descriptor::Descriptor(std::uint32_t its_domain, int dimensions, std::uint32_t its_precision)
    : dft_descriptor{}, given{{"get_rank", {dimensions}}, {"get_number_of_transforms", {1}}}
{
    forward = compute<'f'>;
    backward = compute<'b'>;
    array_count = 1;
    state = 0xFF;
    magic = 0x544644;
    commit_status = 30;
    rank = dimensions;
    free = [](dft_descriptor* d) { static_cast<Descriptor*>(d)->noted("free"); };
    ops = &recorded_operations;
    domain = its_domain;
    precision = its_precision;
    placement = 43;
    workspace = 51;
    forward_scale = backward_scale = 1;
}

/// The ways to an entry: in C by values, by addresses, and in Fortran, whose integers have 32 bits.
enum class Form { c, address, fortran };
inline Form form_of(const std::string& name)
{
    const bool is_fortran = name.starts_with("dfti_") || name.find("_internal") != std::string::npos;
    return name.starts_with("qnm_dft_dfti_") ? Form::address : is_fortran ? Form::fortran : Form::c;
}

/// Values that live as long as the test program.
template <class T>
T* kept(const std::vector<T>& values)
{
    static std::deque<std::vector<T>> all;
    return all.emplace_back(values).data();
}

/// Integers as a form takes them: one in C by value, with junk above its 32 bits.
inline Word integers(Form form, const Integers& values)
{
    return form == Form::fortran ? Word(kept(std::vector<int>(values.begin(), values.end())))
                                 : Word(kept(values));
}
inline Word integer(Form form, std::int64_t value)
{
    return form == Form::c ? Word(static_cast<int>(value)) : integers(form, {value});
}

/// The status of a call.
inline std::int64_t call(const std::string& name, const std::vector<Word>& words,
                         const std::vector<support::Real>& reals = {})
{
    const support::Returned returned = support::call_words(layer()[name], words, reals);
    return form_of(name) == Form::c ? returned.int64() : returned.int32();
}

/// Calls as lines tell them: an entry, and its cases, ARGUMENT... = STATUS [WRITTEN] STORY, with bars
/// between. Arguments are names of words; `5`, an integer as the entry takes it, `5L`, by value in 64 bits,
/// and `{5,6}`, an array; `0.5` and `0.5f`, by address but in C; `i64`, `i32`, `f64`, `f32` and `text`, room,
/// of which is told what is written there.
class Calls {
public:
    std::map<std::string, Word> names{{"null", nullptr}};

    void expect(const std::string& lines)
    {
        std::istringstream in(lines);
        for (std::string line, name, each; std::getline(in, line);) {
            std::istringstream cases(line);
            for (cases >> name; std::getline(cases, each, '|');) {
                const std::string told = each.substr(0, each.find(" ="));
                Descriptor::story.clear();
                std::memset(room_, '#', sizeof room_);
                written_ = nullptr;
                const std::string status = std::to_string(result(name, tests::words(told)));
                std::string found = told + " = " + status;
                if (written_ != nullptr && size() != 0)
                    found += " [" + (this->*written_)() + "]";
                found += Descriptor::story;
                EXPECT_EQ(found, each.substr(0, each.find_last_not_of(' ') + 1)) << name;
            }
        }
    }

private:
    std::int64_t result(const std::string& name, const std::vector<std::string>& arguments)
    {
        static const std::map<std::string, std::string (Calls::*)() const> rooms{
            {"i64", &Calls::all<std::int64_t>},
            {"i32", &Calls::all<int>},
            {"f64", &Calls::all<double>},
            {"f32", &Calls::all<float>},
            {"text", &Calls::text}};
        const Form form = form_of(name);
        std::vector<Word> words;
        std::vector<support::Real> reals;
        for (std::string each : arguments)
            if (names.count(each) != 0) {
                words.push_back(names.at(each));
            } else if (rooms.count(each) != 0) {
                words.emplace_back(room_);
                written_ = rooms.at(each);
            } else if (each.find('.') != std::string::npos) {
                if (form == Form::c)
                    reals.emplace_back(std::stod(each));
                else
                    words.push_back(each.back() == 'f' ? Word(kept(std::vector{std::stof(each)}))
                                                       : Word(kept(std::vector{std::stod(each)})));
            } else if (each[0] == '{') {
                std::ranges::replace_if(
                    each, [](char c) { return c < '-'; }, ' ');
                Integers all;
                for (const std::string& value : tests::words(each.substr(1, each.size() - 2)))
                    all.push_back(std::stoll(value));
                words.push_back(integers(form, all));
            } else {
                const std::int64_t value = std::stoll(each);
                words.push_back(each.back() == 'L' ? Word(value) : integer(form, value));
            }
        return call(name, words, reals);
    }
    std::size_t size() const { return std::string_view(room_, sizeof room_).find_last_not_of('#') + 1; }
    std::string text() const
    {
        std::string all(room_, size());
        std::ranges::replace(all, '\0', '0');
        return all;
    }
    template <class T>
    std::string all() const
    {
        std::string all;
        for (std::size_t at = 0; at < size(); at += sizeof(T))
            all += (at == 0 ? "" : " ") + number(*reinterpret_cast<const T*>(room_ + at));
        return all;
    }

    alignas(8) char room_[256];
    std::string (Calls::*written_)() const = nullptr;
};

} // namespace qnm::tests
