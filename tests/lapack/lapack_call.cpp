#include "lapack_call.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace qnm::tests {

using catalogue::Direction;
using catalogue::Expression;
using catalogue::Row;

namespace {

constexpr std::size_t guard_elements = 8;
constexpr std::int64_t upper_junk = std::int64_t{0x5A5A'5A5A} << 32;
/// The routine's stack frame and that of the templates: a local copy lies no farther above the call.
constexpr std::uint64_t frame_bytes = 16384;

/// Letters that the row's expressions ask an option for.
std::string letters_of(const Row& row, const Argument& option)
{
    std::string letters = option.letters;
    const auto add = [&](const Expression& e) {
        if (e.kind == Expression::Kind::letter && e.text == option.name)
            letters += e.letters;
    };
    for (const catalogue::Definition& d : row.definitions)
        walk(*d.value, add);
    for (const Argument& a : row.arguments) {
        for (const auto& extent : a.extents)
            walk(*extent, add);
        if (a.returned)
            walk(*a.returned, add);
    }
    return letters;
}

bool is_integer(const Argument& a)
{
    return a.kind == Kind::integer || a.kind == Kind::value;
}

} // namespace

LapackCall::LapackCall(const Entry& e, std::int64_t size) : SampleCall(e)
{
    for (const Argument& a : row().arguments)
        if (is_integer(a) && !row().groups)
            set(a.name, size);
    make_valid();
    lay_out();
}

LapackCall::LapackCall(const Entry& e, std::mt19937& chance) : SampleCall(e)
{
    const auto below = [&](int bound) { return static_cast<int>(chance() % static_cast<unsigned>(bound)); };
    for (const Argument& a : row().arguments) {
        if (is_integer(a) && !row().groups)
            set(a.name, below(8) == 0 && !a.query ? -2 - below(3) : below(30));
        if (a.kind == Kind::character) {
            const std::string letters = letters_of(row(), a) + "Q";
            const char letter = letters[static_cast<std::size_t>(below(static_cast<int>(letters.size())))];
            choose(a.name, static_cast<char>(below(2) == 0 ? letter : std::tolower(letter)));
        }
    }
    make_valid();
    lay_out();
}

LapackCall& LapackCall::make_valid()
{
    if (row().entry_class != Class::checked)
        return *this;
    for (const Argument* a : row().tests()) {
        if (a->letters.empty()) {
            std::int64_t good = std::max(integer(*a), value(*a->minimum));
            if (a->maximum)
                good = std::min(good, value(*a->maximum));
            set(a->name, good);
        } else {
            const char upper = static_cast<char>(std::toupper(letter(*a)));
            if (a->letters.find(upper) == std::string::npos || (a->barred && value(*a->barred) != 0))
                choose(a->name, a->letters.back());
        }
    }
    return *this;
}

LapackCall& LapackCall::lay_out()
{
    arrays_.clear();
    if (!narrow() || row().groups)
        return *this; // no business of the entry's
    for (const Argument& a : row().arguments) {
        if (a.kind != Kind::integers)
            continue;
        std::vector<int>& array = arrays_[&a];
        array.resize(static_cast<std::size_t>(std::max<std::int64_t>(extent(a), 0)) + guard_elements);
        for (std::size_t i = 0; i < array.size(); ++i) // of either sign
            array[i] = (i % 2 == 0 ? -1 : 1) * static_cast<int>(7'000'000 + i);
        point(a.name, array.data());
    }
    return *this;
}

catalogue::Values LapackCall::values() const
{
    catalogue::Values values;
    values.letter = [this](const std::string& name) { return letter(*row().find(name)); };
    values.integer = [this](const std::string& name) {
        for (const catalogue::Definition& d : row().definitions)
            if (d.name == name)
                return evaluate(*d.value, this->values());
        return name == row().leaf ? leaf_size : integer(*row().find(name));
    };
    return values;
}

bool LapackCall::needs_leaf() const
{
    bool needed = false;
    catalogue::Values watched = values();
    watched.integer = [&, plain = watched.integer](const std::string& name) {
        for (const catalogue::Definition& d : row().definitions)
            if (d.name == name)
                return evaluate(*d.value, watched);
        needed = needed || name == row().leaf;
        return plain(name);
    };
    for (const Argument* a : copied())
        for (const auto& extent : a->extents)
            evaluate(*extent, watched);
    return needed;
}

std::int64_t LapackCall::value(const Expression& expression) const
{
    return evaluate(expression, values());
}

namespace {

/// The real length of an array that is as long as n times the natural logarithm of n; less than 0 for others.
double real_length(const LapackCall& call, const Argument& argument)
{
    for (const auto& extent : argument.extents)
        if (extent->kind == Expression::Kind::call && extent->text == "nlogn") {
            const auto n = static_cast<double>(call.value(*extent->operands[0]));
            return n < 1 ? 0 : n * std::log(n);
        }
    return -1;
}

} // namespace

std::int64_t LapackCall::extent(const Argument& argument) const
{
    // As many as begin before the real length on the stack, as many as fit in a block.
    if (const double length = real_length(*this, argument); length >= 0)
        return static_cast<std::int64_t>(length > on_stack ? std::floor(length) : std::ceil(length));
    std::int64_t product = argument.extents.empty() ? 0 : 1;
    for (const auto& extent : argument.extents)
        product *= value(*extent);
    return product;
}

std::int64_t LapackCall::block(const Argument& argument) const
{
    if (const double length = real_length(*this, argument); length > on_stack)
        return static_cast<std::int64_t>(length * 8);
    const std::int64_t elements = extent(argument);
    return elements > on_stack ? elements * 8 : 0;
}

bool LapackCall::is_query() const
{
    return std::any_of(row().arguments.begin(), row().arguments.end(),
                       [&](const Argument& a) { return asks(a) && integer(a) == -1; });
}

std::vector<const Argument*> LapackCall::copied() const
{
    std::vector<const Argument*> found;
    for (const Argument& a : row().arguments)
        if (is_copied(a))
            found.push_back(&a);
    return found;
}

support::Returned LapackCall::run() const
{
    std::vector<support::Word> words(words_of_result(), std::int64_t{77});
    if (!words.empty())
        words[0] = hidden_result();
    for (const Argument& a : row().arguments)
        words.push_back(word(a));
    constexpr std::int64_t rubbish = 0x7BAD'7BAD'7BAD'7BAD;
    words.insert(words.end(), 6, rubbish); // in place of the hidden lengths
    return support::call_words(layer()[entry().name()], words);
}

std::size_t LapackCall::words_of_result() const
{
    if (row().result.kind != catalogue::ResultKind::hidden)
        return 0;
    return row().result.type == "char" ? 2 : 1;
}

std::string lapack_core(const Entry& entry)
{
    std::string name = catalogue::to_lower(entry.name());
    if (entry.width == Width::wide)
        name.resize(name.size() - 3);
    return "qnm_lapack_" + name;
}

bool registers(const Entry& entry)
{
    return entry.frame() != Class::unregistered && entry.frame() != Class::unchecked;
}

Routine::Routine(LapackCall& call) : call_(call), before_(call), query_(call.is_query())
{
    if (call.row().root != "ilaenv") // it answers the entries that ask it, and writes nothing
        core().answers(lapack_core(call.entry())).calling([this](Call& noted, recording::Answer&) {
            act(noted);
        });
}

Routine::~Routine()
{
    if (call_.row().root != "ilaenv")
        core().answers(lapack_core(call_.entry())).calling([](Call&, recording::Answer&) {});
}

std::vector<std::string> Routine::story(const LapackCall& call)
{
    std::vector<std::string> names;
    std::size_t blocks = 0;
    if (registers(call.entry()))
        names.emplace_back("qnm_serv_set_xerbla_interface");
    if (!call.is_query()) {
        if (call.needs_leaf())
            names.insert(names.end(), {"qnm_serv_set_xerbla_interface", "qnm_lapack_ilaenv"});
        for (const Argument* a : call.copied())
            blocks += call.block(*a) != 0 ? 1 : 0;
    }
    names.insert(names.end(), blocks, "qnm_serv_allocate");
    names.push_back(lapack_core(call.entry()));
    names.insert(names.end(), blocks, "qnm_serv_deallocate");
    return names;
}

std::int64_t Routine::written(std::size_t argument, std::int64_t element)
{
    const auto low = static_cast<std::int64_t>(1'000'000 * (argument + 1)) + element;
    return upper_junk | (element % 2 == 0 ? low : 0x8000'0000 + low);
}

std::int64_t Routine::written(std::size_t argument)
{
    return upper_junk + static_cast<std::int64_t>(2 + argument % 3);
}

void Routine::act(Call& noted)
{
    std::size_t i = call_.words_of_result();
    for (const Argument& a : call_.row().arguments) {
        const std::size_t word = i++;
        auto* const place = noted.pointer<std::int64_t>(word);
        if (comes_back(a) && !call_.row().groups)
            *place = written(word);
        if (!call_.is_copied(a) || place == nullptr)
            continue;
        const std::int64_t count = query_ ? 1 : call_.extent(a);
        if (!query_)
            seen_[&a].assign(place, place + std::max<std::int64_t>(count, 0));
        for (std::int64_t k = 0; k < count; ++k)
            place[k] = written(word, k);
    }
}

void Routine::expect_arguments(const Call& noted) const
{
    const bool as_it_is = !call_.narrow() || call_.row().groups;
    EXPECT_EQ(noted.name, lapack_core(call_.entry()));
    EXPECT_TRUE(noted.aligned());
    const auto blocks = core().calls("qnm_serv_allocate");
    const auto freed = core().calls("qnm_serv_deallocate");
    std::set<std::uint64_t> copies;
    std::size_t next = call_.words_of_result(), taken = 0;
    if (next > 0) {
        EXPECT_EQ(noted.pointer<void>(0), SampleCall::hidden_result());
    }
    if (next > 1) {
        EXPECT_EQ(noted.word(1), 1U) << "hidden length of the result";
    }
    for (const Argument& a : call_.row().arguments) {
        const std::size_t i = next++;
        const bool is_local = noted.word(i) - noted.arguments().rsp < frame_bytes;
        if (a.kind == Kind::value) {
            EXPECT_EQ(noted.int64(i), before_.integer(a)) << a.name;
        } else if (as_it_is || (a.kind != Kind::integer && a.kind != Kind::integers)) {
            EXPECT_EQ(noted.word(i), call_.word(a).bits()) << a.name;
        } else if (a.kind == Kind::integer) {
            if (a.name != "info" || a.direction != Direction::out) {
                EXPECT_EQ(noted.behind(i), query_ && asks(a) && !a.alone ? -1 : before_.integer(a)) << a.name;
            }
            EXPECT_TRUE(copies.insert(noted.word(i)).second && is_local) << a.name << " is no copy";
        } else if (query_ && a.null_at_query) {
            EXPECT_EQ(noted.word(i), 0U) << a.name;
        } else if (const std::int64_t bytes = query_ ? 0 : call_.block(a); bytes == 0) {
            EXPECT_TRUE(copies.insert(noted.word(i)).second && is_local) << a.name << " is not on the stack";
        } else if (taken < blocks.size() && taken < freed.size()) {
            EXPECT_THAT(blocks[taken], recording::Allocated(static_cast<std::size_t>(bytes), 128)) << a.name;
            EXPECT_EQ(freed[taken++].word(0), noted.word(i)) << a.name;
        }
        if (const auto seen = seen_.find(&a); seen != seen_.end()) {
            const bool filled = a.direction == Direction::in || a.direction == Direction::inout;
            constexpr std::int64_t poison = -0x5A5A'5A5A'5A5A'5A5B;
            const std::vector<std::int64_t>& found = seen->second;
            for (std::size_t k = 0; k < found.size(); ++k) {
                if (!filled && !a.cleared && call_.block(a) == 0)
                    break;
                const std::int64_t expected = filled ? before_.elements(a)[k] : a.cleared ? 0 : poison;
                ASSERT_EQ(found[k], expected) << a.name << '[' << k << ']';
            }
        }
    }
    if (call_.row().groups) {
        EXPECT_EQ(noted.int32(next++), call_.narrow() ? 1 : 0) << "width flag";
    }
    for (int i = 0; i < call_.entry().hidden_lengths(); ++i)
        EXPECT_EQ(noted.word(next++), 1U) << "hidden length " << i;
}

std::int64_t Routine::coming_back(const Argument& a) const
{
    const bool counted = a.returned != nullptr;
    if (a.direction == Direction::in || (a.direction == Direction::work && !counted))
        return 0;
    if (query_) // the first element, of an array whose length is asked for
        return call_.row().root == "gesvdq" || (counted && a.returned->kind == Expression::Kind::number) ? 1
                                                                                                         : 0;
    const std::int64_t all = std::max<std::int64_t>(call_.extent(a), 0);
    return counted ? std::clamp<std::int64_t>(call_.value(*a.returned), 0, all) : all;
}

void Routine::expect_results() const
{
    std::size_t word = call_.words_of_result();
    for (const Argument& a : call_.row().arguments) {
        const std::size_t i = word++;
        if (a.kind == Kind::integer && !call_.row().groups) {
            const std::int64_t left = call_.narrow() ? static_cast<int>(written(i)) : written(i);
            const bool written_back =
                comes_back(a) && (!a.query || !call_.narrow() || before_.integer(a) == -1);
            EXPECT_EQ(call_.integer(a), written_back ? left : before_.integer(a)) << a.name;
        }
        if (!call_.is_copied(a))
            continue;
        std::vector<int> expected = before_.elements(a);
        const std::int64_t count = coming_back(a);
        for (std::int64_t k = 0; k < count; ++k)
            expected[static_cast<std::size_t>(k)] = static_cast<int>(written(i, k));
        EXPECT_EQ(call_.elements(a), expected) << a.name;
    }
}

} // namespace qnm::tests
