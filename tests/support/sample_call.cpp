#include "support/sample_call.hpp"

#include "support/tables.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace qnm::tests {

using catalogue::Expression;
using catalogue::Row;
using support::Returned;
using support::Word;

namespace {

bool counts_an_array(const Row& row, const Argument& argument)
{
    return argument.name == "group_count" ||
           std::any_of(row.arguments.begin(), row.arguments.end(), [&](const Argument& a) {
               return a.kind == Kind::integers && a.extents.size() == 1 &&
                      a.extents[0]->text == argument.name;
           });
}

char upper(char letter)
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
}

} // namespace

const catalogue::Catalogue& tables()
{
    return support::tables();
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
    const unsigned char* place =
        memory_[index(argument)].data() + static_cast<std::size_t>(group) * integer_bytes();
    std::int32_t value = 0;
    std::int64_t wide = 0;
    std::memcpy(&value, place, sizeof value);
    std::memcpy(&wide, place, narrow() ? 0 : sizeof wide);
    return narrow() ? value : wide;
}

char SampleCall::letter(const Argument& argument, int group) const
{
    return static_cast<char>(memory_[index(argument)][static_cast<std::size_t>(group)]);
}

SampleCall& SampleCall::set(const std::string& name, std::int64_t value, int group)
{
    const std::size_t i = index(name);
    for (int g = 0; g < (row().arguments[i].kind == Kind::integers ? groups : 1); ++g)
        if (group == all_groups || group == g) // the lower half stands first
            std::memcpy(memory_[i].data() + static_cast<std::size_t>(g) * integer_bytes(), &value,
                        integer_bytes());
    return *this;
}

SampleCall& SampleCall::choose(const std::string& name, char letter, int group)
{
    const std::size_t i = index(name);
    for (int g = 0; g < (row().arguments[i].kind == Kind::letters ? groups : 1); ++g)
        if (group == all_groups || group == g)
            memory_[i][static_cast<std::size_t>(g)] = static_cast<unsigned char>(letter);
    return *this;
}

SampleCall& SampleCall::give(const std::string& words)
{
    std::istringstream in(words);
    for (std::string name, value; std::getline(in >> std::ws, name, '=') && in >> value;)
        if (row().arguments[index(name)].kind == Kind::character)
            choose(name, value.at(0));
        else
            set(name, std::stoll(value));
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
    for (const Argument& a : row().arguments)
        if (a.kind == Kind::integer || a.kind == Kind::value || a.kind == Kind::integers)
            for (int group = 0; group < (a.kind == Kind::integers ? groups : 1); ++group)
                set(a.name, valid_value(a, group, used), group);
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

SampleCall& SampleCall::choose_letters(std::mt19937& chance,
                                       const std::function<std::string(const Argument&)>& letters)
{
    for (const Argument& a : row().arguments)
        if (a.kind == Kind::character) {
            const std::string all = letters(a);
            const char letter = all[chance() % all.size()];
            choose(a.name, static_cast<char>(chance() % 2 == 0 ? letter : std::tolower(letter)));
        }
    return *this;
}

SampleCall& SampleCall::make_valid()
{
    if (row().entry_class != Class::checked)
        return *this;
    for (const Argument* a : row().tests())
        if (a->letters.empty()) {
            const std::int64_t good = std::max(integer(*a), bound(*a));
            set(a->name, a->maximum ? std::min(good, value(*a->maximum)) : good);
        } else if (a->letters.find(upper(letter(*a))) == std::string::npos ||
                   (a->barred && holds(*a->barred)))
            choose(a->name, a->letters.back());
    return *this;
}

std::int64_t SampleCall::named(const std::string& name, int group) const
{
    for (const catalogue::Definition& d : row().definitions)
        if (d.name == name)
            return value(*d.value, group);
    return name == row().leaf ? leaf_size : integer(row().arguments[index(name)], group);
}

std::int64_t SampleCall::value(const Expression& expression, int group) const
{
    catalogue::Values values;
    values.letter = [&](const std::string& name) { return letter(row().arguments[index(name)], group); };
    values.integer = [&](const std::string& name) { return named(name, group); };
    return evaluate(expression, values);
}

std::int64_t SampleCall::bound(const Argument& argument, int group) const
{
    return value(*argument.minimum, group);
}

Word SampleCall::word(const Argument& argument) const
{
    const std::size_t i = index(argument);
    if (pointed_[i])
        return *pointed_[i];
    if (argument.kind == Kind::real || argument.kind == Kind::handle)
        return untouchable_address(i);
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
    return untouchable_address(40);
}

std::size_t SampleCall::words_of_result() const
{
    if (row().result.kind != catalogue::ResultKind::hidden)
        return 0;
    return row().result.type == "char" ? 2 : 1;
}

Returned SampleCall::run(const void* function) const
{
    constexpr std::int64_t rubbish = 0x7BAD'7BAD'7BAD'7BAD;
    std::vector<Word> words(words_of_result(), rubbish);
    if (!words.empty())
        words[0] = hidden_result();
    for (const Argument& a : row().arguments)
        words.push_back(word(a));
    words.insert(words.end(), 6, rubbish);
    return support::call_words(function, words);
}

std::string letters_of(const Argument& option, const std::vector<ExpressionPtr>& expressions)
{
    std::string letters = option.letters;
    for (const ExpressionPtr& e : expressions)
        if (e)
            walk(*e, [&](const Expression& node) {
                if (node.kind == Expression::Kind::letter && node.text == option.name)
                    letters += node.letters;
            });
    return letters;
}

std::vector<ExpressionPtr> expressions_of(const Row& row)
{
    std::vector<ExpressionPtr> all;
    for (const catalogue::Definition& d : row.definitions)
        all.push_back(d.value);
    for (const Argument& a : row.arguments) {
        all.insert(all.end(), a.extents.begin(), a.extents.end());
        all.push_back(a.returned);
    }
    return all;
}

std::string bare_name(const Entry& entry)
{
    std::string name = catalogue::to_lower(entry.name());
    if (entry.width == Width::wide)
        name.resize(name.size() - 3);
    return name;
}

std::string core_name(const Entry& entry)
{
    std::string name = bare_name(entry);
    const std::string_view direct = "_direct";
    if (name.ends_with("_compact"))
        name.erase(0, 4); // without the product word in front
    else if (name.ends_with(direct))
        name.resize(name.size() - direct.size());
    return (name == "xerbla_array" ? "qnm_lapack_" : "qnm_blas_") + name;
}

void expect_local(const Call& noted, std::size_t word, const std::string& name)
{
    constexpr std::uint64_t frame_bytes = 16384;
    EXPECT_LT(noted.word(word) - noted.arguments().rsp, frame_bytes) << name << " is no local copy";
}

void expect_core_call(const Call& noted, const SampleCall& call, const std::string& core_function,
                      const std::function<bool(const Argument&, std::size_t)>& odd)
{
    EXPECT_EQ(noted.name, core_function);
    EXPECT_TRUE(noted.aligned());
    const Row& row = call.row();
    std::size_t next = call.words_of_result();
    std::set<std::uint64_t> copies;
    if (next > 0) {
        EXPECT_EQ(noted.pointer<void>(0), SampleCall::hidden_result());
    }
    if (next > 1) {
        EXPECT_EQ(noted.word(1), 1U) << "hidden length of the result";
    }
    for (const Argument& a : row.arguments) {
        if (a.name == "flag")
            continue; // settles the kernel inside the layer
        const std::size_t i = next++;
        if (is_scalar(a) && call.narrow() && !row.groups) {
            expect_local(noted, i, a.name);
            EXPECT_TRUE(copies.insert(noted.word(i)).second) << a.name;
        }
        if (odd(a, i))
            continue;
        if (a.kind == Kind::value)
            EXPECT_EQ(noted.int64(i), call.integer(a)) << a.name;
        else if (is_scalar(a) && call.narrow() && !row.groups)
            EXPECT_EQ(noted.behind(i), call.integer(a)) << a.name;
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
