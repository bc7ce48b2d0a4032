#include "support/sample_call.hpp"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace qnm::tests {

using catalogue::Expression;
using catalogue::Row;
using support::Returned;
using support::Word;

namespace {

const catalogue::Catalogue& tables()
{
    static const auto read = [] {
        std::vector<std::string> paths;
        std::istringstream list(QNM_TABLES);
        for (std::string path; std::getline(list, path, ':');)
            paths.push_back(path);
        return catalogue::read_tables(paths);
    }();
    return read;
}

// An address that faults at the first touch: the layer has no business behind it.
const void* untouchable(std::size_t i)
{
    return reinterpret_cast<const void*>(0xADD0'0000'0000'0000U + 0x1000 * (i + 1));
}

bool counts_an_array(const Row& row, const Argument& argument)
{
    return argument.name == "group_count" ||
           std::any_of(row.arguments.begin(), row.arguments.end(), [&](const Argument& a) {
               return a.kind == Kind::integers && a.extents.size() == 1 &&
                      a.extents[0]->text == argument.name;
           });
}

} // namespace

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

const std::vector<Entry>& entries()
{
    static const std::vector<Entry> all = tables().entries();
    return all;
}

const Entry& entry(std::string_view name)
{
    const auto found =
        std::find_if(entries().begin(), entries().end(), [&](const Entry& e) { return e.name() == name; });
    if (found == entries().end())
        throw std::out_of_range("no entry " + std::string(name));
    return *found;
}

SampleCall::SampleCall(const Entry& entry)
    : entry_(&entry), memory_(row().arguments.size()), pointed_(row().arguments.size())
{
    for (const Argument& a : row().arguments) {
        memory_[index(a)].fill(0x5A);
        if (a.kind == Kind::character || a.kind == Kind::letters)
            choose(a.name, a.letters.empty() ? 'Q' : a.letters[0]);
    }
    settle();
}

std::size_t SampleCall::index(const std::string& name) const
{
    const Argument* a = row().find(name);
    if (a == nullptr)
        throw std::out_of_range(entry_->name() + " has no " + name);
    return index(*a);
}

std::int64_t SampleCall::integer(const Argument& argument, int group) const
{
    const unsigned char* place = memory_[index(argument)].data();
    if (narrow()) {
        std::int32_t value;
        std::memcpy(&value, place + static_cast<std::size_t>(group) * sizeof value, sizeof value);
        return value;
    }
    std::int64_t value;
    std::memcpy(&value, place + static_cast<std::size_t>(group) * sizeof value, sizeof value);
    return value;
}

char SampleCall::letter(const Argument& argument, int group) const
{
    return static_cast<char>(memory_[index(argument)][static_cast<std::size_t>(group)]);
}

SampleCall& SampleCall::set(const std::string& name, std::int64_t value)
{
    const Kind kind = row().arguments[index(name)].kind;
    for (int group = 0; group < (kind == Kind::integers ? groups : 1); ++group)
        set(name, value, group);
    return *this;
}

SampleCall& SampleCall::set(const std::string& name, std::int64_t value, int group)
{
    unsigned char* place = memory_[index(name)].data();
    const auto narrowed = static_cast<std::int32_t>(value);
    if (narrow())
        std::memcpy(place + static_cast<std::size_t>(group) * sizeof narrowed, &narrowed, sizeof narrowed);
    else
        std::memcpy(place + static_cast<std::size_t>(group) * sizeof value, &value, sizeof value);
    return *this;
}

SampleCall& SampleCall::choose(const std::string& name, char letter)
{
    const bool one = row().arguments[index(name)].kind == Kind::character;
    for (int group = 0; group < (one ? 1 : groups); ++group)
        choose(name, letter, group);
    return *this;
}

SampleCall& SampleCall::choose(const std::string& name, char letter, int group)
{
    memory_[index(name)][static_cast<std::size_t>(group)] = static_cast<unsigned char>(letter);
    return *this;
}

SampleCall& SampleCall::point(const std::string& name, const void* address)
{
    pointed_[index(name)] = address;
    return *this;
}

SampleCall& SampleCall::settle()
{
    std::set<std::int64_t> used;
    for (const Argument& a : row().arguments) {
        if (a.kind == Kind::integer || a.kind == Kind::value)
            set(a.name, valid_value(a, 0, used));
        for (int group = 0; a.kind == Kind::integers && group < groups; ++group)
            set(a.name, valid_value(a, group, used), group);
    }
    return *this;
}

std::int64_t SampleCall::valid_value(const Argument& argument, int group, std::set<std::int64_t>& used) const
{
    const int position = row().position(argument);
    std::int64_t value = -1000 - 10 * position - group; // any, where no test forbids it
    if (counts_an_array(row(), argument))
        value = groups;
    else if (argument.minimum)
        value = bound(argument, group) + position;
    while (!used.insert(value).second && value != groups)
        ++value;
    return value;
}

catalogue::Values SampleCall::values(int group) const
{
    catalogue::Values values;
    values.letter = [this, group](const std::string& name) {
        return letter(row().arguments[index(name)], group);
    };
    values.integer = [this, group](const std::string& name) {
        for (const catalogue::Definition& d : row().definitions)
            if (d.name == name)
                return evaluate(*d.value, this->values(group));
        return integer(row().arguments[index(name)], group);
    };
    return values;
}

std::int64_t SampleCall::bound(const Argument& argument, int group) const
{
    return evaluate(*argument.minimum, values(group));
}

bool SampleCall::holds(const Expression& condition, int group) const
{
    return evaluate(condition, values(group)) != 0;
}

Word SampleCall::word(const Argument& argument) const
{
    const std::size_t i = index(argument);
    if (pointed_[i])
        return *pointed_[i];
    if (argument.kind == Kind::real || argument.kind == Kind::handle)
        return untouchable(i);
    if (argument.kind != Kind::value)
        return memory_[i].data();
    return narrow() ? Word(static_cast<std::int32_t>(integer(argument))) : Word(integer(argument));
}

bool SampleCall::is_null(const Argument& argument) const
{
    const auto& address = pointed_[index(argument)];
    return address && *address == nullptr;
}

const void* SampleCall::hidden_result()
{
    return untouchable(40);
}

Returned SampleCall::run(const void* function, bool with_result) const
{
    std::vector<Word> words;
    if (with_result)
        words.emplace_back(hidden_result());
    for (const Argument& a : row().arguments)
        words.push_back(word(a));
    constexpr std::int64_t rubbish = 0x7BAD'7BAD'7BAD'7BAD;
    words.insert(words.end(), 6, rubbish);
    return support::call_words(function, words);
}

Returned SampleCall::run() const
{
    return run(layer()[entry_->name()], row().result.kind == catalogue::ResultKind::hidden);
}

Returned SampleCall::run_check() const
{
    return run(layer()[entry_->check()], false);
}

std::vector<std::string> story()
{
    std::vector<std::string> names;
    for (const Call& call : core().calls())
        names.push_back(call.name);
    return names;
}

std::string core_name(const Entry& entry)
{
    std::string name = catalogue::to_lower(entry.name());
    if (entry.width == Width::wide)
        name.resize(name.size() - 3);
    const std::string_view direct = "_direct";
    if (name.ends_with("_compact"))
        name.erase(0, 4); // without the product word in front
    else if (name.ends_with(direct))
        name.resize(name.size() - direct.size());
    return (name == "xerbla_array" ? "qnm_lapack_" : "qnm_blas_") + name;
}

void expect_core_call(const Call& noted, const SampleCall& call, const std::string& core_function)
{
    EXPECT_EQ(noted.name, core_function);
    EXPECT_TRUE(noted.aligned());
    const Row& row = call.row();
    std::size_t next = 0;
    std::set<std::uint64_t> copies;
    const auto copied = [&](const Argument& a, std::size_t i) {
        EXPECT_EQ(noted.behind(i), call.integer(a)) << a.name;
        EXPECT_TRUE(copies.insert(noted.word(i)).second) << a.name;
        constexpr std::uint64_t frame = 4096;
        const std::uint64_t above = noted.word(i) - noted.arguments().rsp;
        EXPECT_LT(above, frame) << a.name << " is no local copy";
    };
    if (row.result.kind == catalogue::ResultKind::hidden) {
        EXPECT_EQ(noted.pointer<void>(next++), SampleCall::hidden_result());
    }
    for (const Argument& a : row.arguments) {
        if (a.name == "flag")
            continue; // settles the kernel inside the layer
        const std::size_t i = next++;
        if (a.kind == Kind::value)
            EXPECT_EQ(noted.int64(i), call.integer(a)) << a.name;
        else if (a.kind == Kind::integer && call.narrow() && !row.groups)
            copied(a, i);
        else if (a.kind == Kind::integers && call.entry().frame() == Class::scratch)
            EXPECT_NE(noted.word(i), call.word(a).bits()) << a.name;
        else
            EXPECT_EQ(noted.word(i), call.word(a).bits()) << a.name;
    }
    if (row.groups) {
        EXPECT_EQ(noted.int32(next++), call.narrow() ? 1 : 0) << "width flag";
    }
    for (int i = 0; i < call.entry().hidden_lengths(); ++i)
        EXPECT_EQ(noted.word(next++), 1U) << "hidden length " << i;
}

} // namespace qnm::tests
