#include "calls.hpp"

#include "support/recorded.hpp"

#include <array>
#include <deque>
#include <dlfcn.h>
#include <map>
#include <sstream>

namespace qnm::tests {

namespace {

std::map<std::string, std::array<std::byte, bytes_of_array>>& arrays()
{
    static std::map<std::string, std::array<std::byte, bytes_of_array>> all;
    return all;
}

/// Memory of arguments, which lasts as long as the program.
const void* kept(const std::vector<std::int64_t>& values, bool wide)
{
    static std::deque<std::vector<std::int64_t>> all64;
    static std::deque<std::vector<int>> all32;
    return wide ? static_cast<const void*>(all64.emplace_back(values).data())
                : all32.emplace_back(values.begin(), values.end()).data();
}

support::Word word(std::string text, bool by_address)
{
    text.erase(0, text[0] == '!' ? 1 : 0);
    if (text.find_first_of("[({") == 0)
        return kept(integers(text), text[0] == '{');
    if (std::isalpha(static_cast<unsigned char>(text[0])) != 0)
        return array(text);
    const std::int64_t value = std::stoll(text);
    return by_address ? support::Word(kept({value}, false)) : support::Word(static_cast<int>(value));
}

} // namespace

std::string name_of(const void* address)
{
    for (const auto& [name, array] : arrays())
        if (array.data() == address)
            return name;
    return address == nullptr ? "null" : "?";
}

std::vector<std::int64_t> integers(const std::string& text)
{
    std::vector<std::int64_t> all;
    std::istringstream in(text.substr(1));
    char between = ',';
    for (std::int64_t value = 0; between != text.back() && in >> value; in >> between)
        all.push_back(value);
    return all;
}

void* array(const std::string& name)
{
    return name == "null" ? nullptr : arrays()[name].data();
}

support::Returned call(const std::string& prefix, const std::string& text, std::vector<support::Word> ahead)
{
    std::istringstream in(text);
    std::string name, each;
    for (in >> name; in >> each;)
        ahead.push_back(word(each, prefix.find("fftw") == 1));
    name = prefix + name;
    return support::call_words(dlsym(RTLD_DEFAULT, name.c_str()), ahead); // as a program finds it
}

Record* planned(const std::string& prefix, const std::string& text)
{
    return reinterpret_cast<Record*>(call(prefix, text).rax);
}

Record* fortran_planned(const std::string& prefix, const std::string& text)
{
    Record* plan = untouched;
    call(prefix, text, {&plan});
    return plan;
}

} // namespace qnm::tests
