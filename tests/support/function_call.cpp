#include "support/function_call.hpp"

#include "support/published.hpp"
#include "support/tables.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

namespace qnm::tests {

using catalogue::Callee;
using catalogue::Place;
using support::Real;
using support::Returned;
using support::Word;

namespace {

char upper(char letter)
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
}

bool counts(const std::string& name)
{
    return name == "group_count" || name == "batch_size";
}

/// Whether a test compares something with an argument.
bool is_compared(const Signature& s, const std::string& name)
{
    bool found = false;
    const auto look = [&](const ExpressionPtr& e) {
        if (e)
            walk(*e, [&](const Expression& node) { found = found || node.text == name; });
    };
    for (const catalogue::Definition& d : s.definitions)
        look(d.value);
    for (const Parameter& p : s.parameters)
        if (p.argument != nullptr)
            look(p.argument->minimum);
    return found;
}

/// The type in C of an argument that no row tells, without the address at which it may stand.
std::string type_at(const Parameter& p)
{
    const bool constant = p.type.starts_with("const "); // const int*, void* const*
    return p.travel == Travel::number ? p.type.substr(constant ? 6 : 0, p.type.size() - 7) : p.type;
}

unsigned char streams[2][16]{{0, 0, 0, 0, 1}};

} // namespace

void* good_stream = streams[0];
void* deleted_stream = streams[1];

const std::vector<Signature>& signatures()
{
    static const std::vector<Signature> all = support::tables().signatures();
    return all;
}

const Signature& signature(std::string_view name)
{
    static const auto all = [] {
        std::map<std::string, const Signature*, std::less<>> by_name;
        for (const Signature& s : signatures())
            for (const std::string& each : s.names)
                by_name.emplace(each, &s);
        return by_name;
    }();
    const auto found = all.find(name);
    if (found == all.end())
        throw std::out_of_range("no function " + std::string(name));
    return *found->second;
}

std::vector<const Signature*> signatures(const std::function<bool(const Signature&)>& wanted)
{
    std::vector<const Signature*> all;
    for (const Signature& s : signatures())
        if (wanted(s))
            all.push_back(&s);
    return all;
}

std::size_t FunctionCall::bytes(Type type)
{
    return as(type, [](auto value) { return sizeof value; });
}

void FunctionCall::make(Slot& slot, std::size_t count)
{
    slot.count = count;
    slot.memory.assign(count * bytes(slot.type) + sizeof(std::int64_t), 0x5A);
}

void FunctionCall::store(Slot& slot, std::size_t k, long double value)
{
    if (k >= slot.count)
        throw std::out_of_range("element " + std::to_string(k));
    as(slot.type, [&](auto element) {
        if constexpr (std::is_integral_v<decltype(element)>)
            element = static_cast<decltype(element)>(static_cast<std::int64_t>(value));
        else
            element = static_cast<decltype(element)>(value);
        std::memcpy(&slot.memory[k * sizeof element], &element, sizeof element);
    });
}

FunctionCall::Type FunctionCall::type_of(std::size_t i, std::size_t& parts) const
{
    const Parameter& p = parameters()[i];
    parts = 1;
    if (p.travel == Travel::code || p.travel == Travel::codes)
        return Type::int32;
    if (p.argument == nullptr && (p.travel == Travel::value || p.travel == Travel::number)) {
        const std::string type = type_at(p);
        return type == "int" || type == "unsigned" ? Type::int32
               : type == "float"                   ? Type::float32
               : type == "double"                  ? Type::float64
                                                   : Type::int64; // addresses too
    }
    if (is_integer(i))
        return narrow() ? Type::int32 : Type::int64;
    if (p.argument == nullptr || p.argument->pointers ||
        (p.argument->kind == catalogue::Kind::handle && p.travel == Travel::number))
        return Type::int64;
    const std::string type = catalogue::c_type(p.argument->type, signature_->letter, signature_->form->width);
    const bool is_complex = type == "qnm_complex8" || type == "qnm_complex16";
    parts = is_complex ? 2 : 1;
    return type == "int"                                 ? Type::int32 // in either width
           : type == "float" || type == "qnm_complex8"   ? Type::float32
           : type == "double" || type == "qnm_complex16" ? Type::float64
                                                         : Type::byte;
}

FunctionCall::FunctionCall(const Signature& s, int layout, int groups)
    : signature_(&s), layout_(layout), groups_(groups), slots_(s.parameters.size())
{
    const bool codes = s.form->convention == catalogue::Convention::codes;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Parameter& p = parameters()[i];
        Slot& slot = slots_[i];
        std::size_t parts = 1;
        slot.type = type_of(i, parts);
        slot.by_value = p.travel == Travel::value || p.travel == Travel::code;
        const bool array =
            p.travel == Travel::letters || p.travel == Travel::codes || p.travel == Travel::integers;
        slot.pointed = p.travel == Travel::address && (!codes || p.argument == nullptr || p.argument->array ||
                                                       p.argument->pointers || p.argument->type == "void");
        slot.address = untouchable_address(i);
        const std::size_t count = array ? static_cast<std::size_t>(std::max(groups, 1)) : 1;
        make(slot, count * parts);
        if (p.travel == Travel::code && p.argument == nullptr)
            store(slot, 0, layout);
        else if (p.travel == Travel::letter || p.travel == Travel::letters || p.travel == Travel::code ||
                 p.travel == Travel::codes ||
                 (slot.by_value && p.argument != nullptr && p.argument->type == "char"))
            choose(p.name, p.argument->letters.empty() ? 'Q' : p.argument->letters[0]);
        else if (!is_integer(i))
            for (std::size_t k = 0; k < count * parts; ++k)
                store(slot, k,
                      p.argument == nullptr ? 0.25 + static_cast<double>(i) / 16 // inside (0, 1)
                      : k == 1              ? 0.25
                                            : 1.5 + static_cast<double>(i));
    }
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Parameter& p = parameters()[i];
        if (may_conjugate() && slots_[i].pointed)
            fill(p.name, 8192); // the layer reads vectors
        else if (p.argument == nullptr && (p.type == "void**" || type_at(p) == "void*"))
            handle(p.name, good_stream);
        else if (p.argument == nullptr && p.type == "const char*")
            point(p.name, "a name");
    }
    settle().make_valid();
}

bool FunctionCall::may_conjugate() const
{
    return by_rows() && signature_->source.find("conjugated") != std::string::npos;
}

bool FunctionCall::has_layout() const
{
    return std::ranges::any_of(
        parameters(), [](const Parameter& p) { return p.travel == Travel::code && p.argument == nullptr; });
}

bool FunctionCall::is_integer(std::size_t i) const
{
    static const std::set<std::string> integers{"int", "unsigned", "qnm_int64", "unsigned long long"};
    const Parameter& p = parameters()[i];
    if (p.travel == Travel::value || p.travel == Travel::number)
        return p.argument != nullptr ? p.argument->is_integer() : integers.contains(type_at(p));
    return p.travel == Travel::integer || p.travel == Travel::integers;
}

bool FunctionCall::is_of_groups(const std::string& name) const
{
    const Travel travel = parameters()[index(name)].travel;
    return has_groups() &&
           (travel == Travel::letters || travel == Travel::codes || travel == Travel::integers);
}

std::size_t FunctionCall::find(const std::string& name) const
{
    for (std::size_t i = 0; i < parameters().size(); ++i)
        if (const std::string& known = parameters()[i].name;
            known == name ||
            (known.size() == name.size() + 6 && known.starts_with(name) && known.ends_with("_array")))
            return i;
    return slots_.size();
}

bool FunctionCall::has(const std::string& name) const
{
    return find(name) != slots_.size();
}

std::size_t FunctionCall::index(const std::string& name) const
{
    const std::size_t i = find(name);
    if (i == slots_.size())
        throw std::out_of_range(signature_->names.front() + " has no " + name);
    return i;
}

std::size_t FunctionCall::taker(std::size_t i) const
{
    const auto& callees = signature_->callees;
    if (by_rows() && callees.size() == 2)
        for (std::size_t k = 0; k < callees[0].places.size(); ++k)
            if (callees[0].places[k].parameter == static_cast<int>(i))
                return static_cast<std::size_t>(callees[1].places[k].parameter);
    return i;
}

const Callee& FunctionCall::callee() const
{
    const auto& callees = signature_->callees;
    const bool last = callees.back().condition ? holds(*callees.back().condition)
                                               : by_rows() && callees.back().when == "row-major";
    return last ? callees.back() : callees.front();
}

long double FunctionCall::number(std::size_t i, std::size_t k) const
{
    const Slot& slot = slots_[i];
    return as(slot.type, [&](auto value) {
        std::memcpy(&value, &slot.memory[std::min(k, size(i) - 1) * sizeof value], sizeof value);
        return static_cast<long double>(value);
    });
}

char FunctionCall::letter(std::size_t i, int k) const
{
    const Travel travel = parameters()[i].travel;
    if (travel != Travel::code && travel != Travel::codes)
        return static_cast<char>(number(i, static_cast<std::size_t>(k)));
    for (const Place& place : callee().places)
        if (place.parameter == static_cast<int>(i))
            if (const auto found = place.letters.find(static_cast<int>(integer(i, k)));
                found != place.letters.end())
                return found->second;
    return ' ';
}

FunctionCall& FunctionCall::put(const std::string& name, long double value, std::size_t k)
{
    store(slots_[index(name)], k, value);
    return *this;
}

FunctionCall& FunctionCall::set(const std::string& name, std::int64_t value, int group)
{
    const std::size_t i = index(name);
    for (std::size_t g = 0; g < size(i); ++g)
        if (group == all_groups || static_cast<std::size_t>(group) == g)
            store(slots_[i], g, static_cast<long double>(value));
    return *this;
}

FunctionCall& FunctionCall::choose(const std::string& name, char letter, int group)
{
    const Travel travel = parameters()[index(name)].travel;
    if (travel != Travel::code && travel != Travel::codes)
        return set(name, letter, group);
    for (const Place& place : signature_->callees.front().places)
        if (place.parameter == static_cast<int>(index(name)))
            for (const auto& [code, becomes] : place.letters)
                if (becomes == letter)
                    set(name, code, group);
    return *this;
}

FunctionCall& FunctionCall::scalar(const std::string& name, double re, double im)
{
    put(name, re);
    return size(name) > 1 ? put(name, im, 1) : *this;
}

FunctionCall& FunctionCall::give(const std::string& words)
{
    std::istringstream in(words);
    for (std::string name, value; std::getline(in >> std::ws, name, '=') && in >> value;)
        if (is_integer(index(name)))
            set(name, std::stoll(value));
        else
            choose(name, value.at(0));
    return *this;
}

FunctionCall& FunctionCall::point(const std::string& name, const void* address)
{
    Slot& slot = slots_[index(name)];
    slot.pointed = true;
    slot.address = address;
    return *this;
}

FunctionCall& FunctionCall::fill(const std::string& name, std::size_t numbers)
{
    Slot& slot = slots_[index(name)];
    slot.pointed = false;
    make(slot, numbers);
    for (std::size_t k = 0; k < numbers; ++k)
        store(slot, k, static_cast<double>(index(name)) / 8 + static_cast<double>(k));
    return *this;
}

FunctionCall& FunctionCall::handle(const std::string& name, void*& handle)
{
    Slot& slot = slots_[index(name)];
    if (slot.pointed)
        return point(name, parameters()[index(name)].type == "void**" ? &handle : handle);
    std::memcpy(slot.memory.data(), &handle, sizeof handle);
    return *this;
}

std::vector<double> FunctionCall::values(const std::string& name) const
{
    std::vector<double> all;
    for (std::size_t k = 0; k < size(name); ++k)
        all.push_back(static_cast<double>(number(index(name), k)));
    return all;
}

FunctionCall& FunctionCall::assign(const std::string& name, const std::vector<double>& values)
{
    for (std::size_t k = 0; k < values.size(); ++k)
        put(name, values[k], k);
    return *this;
}

FunctionCall& FunctionCall::assign(const FunctionCall& other)
{
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        for (std::size_t k = 0; k < std::min(size(i), other.size(i)); ++k)
            store(slots_[i], k, other.number(i, k));
        slots_[i].pointed = other.slots_[i].pointed;
        slots_[i].address = other.slots_[i].address;
    }
    return *this;
}

FunctionCall& FunctionCall::settle()
{
    std::set<std::int64_t> used;
    for (std::size_t i = 0; i < slots_.size(); ++i)
        for (std::size_t k = 0; is_integer(i) && k < size(i); ++k) {
            std::int64_t value = valid_value(i, static_cast<int>(k));
            while (k < 3 && !used.insert(value).second && !counts(parameters()[i].name))
                ++value;
            store(slots_[i], k, static_cast<long double>(value));
        }
    return *this;
}

std::int64_t FunctionCall::valid_value(std::size_t i, int group) const
{
    const std::string& name = parameters()[i].name;
    const auto position = static_cast<std::int64_t>(i) + 1;
    if (counts(name))
        return groups_;
    if (is_bounded(name))
        return bound(name, group) + position + (name.starts_with("stride") ? 500 : 0); // as others want it
    if (facts(i) == nullptr) // a generator's or a stream's: falling, but for choices and an upper bound
        return name == "method" ? 0 : name == "mstorage" ? 2 : name == "b" ? 60 : 41 - position;
    const bool codes = signature_->form->convention == catalogue::Convention::codes;
    if (codes || (facts(i) != nullptr && (facts(i)->nonzero || is_compared(*signature_, name))))
        return position + group;
    return -1000 - 10 * position - group; // any, where no test forbids it
}

FunctionCall& FunctionCall::choose_letters(std::mt19937& chance,
                                           const std::function<std::string(const Argument&)>& letters)
{
    for (const Parameter& p : parameters())
        if (p.travel == Travel::letter) {
            const std::string all = letters(*p.argument);
            const char letter = all[chance() % all.size()];
            choose(p.name, static_cast<char>(chance() % 2 == 0 ? letter : std::tolower(letter)));
        }
    return *this;
}

FunctionCall& FunctionCall::make_valid()
{
    for (const catalogue::Test& test : signature_->tests) {
        const auto i = static_cast<std::size_t>(test.parameter);
        const std::string& name = parameters()[i].name;
        for (int k = 0; facts(i) != nullptr && k < static_cast<int>(size(i)); ++k) {
            const Argument& a = *facts(i);
            if (is_integer(i) && is_bounded(name)) {
                const std::int64_t good = std::max(integer(i, k), bound(name, k));
                set(name, a.maximum ? std::min(good, value(*a.maximum)) : good, k);
            } else if (a.nonzero && integer(i, k) == 0) {
                set(name, 1, k);
            } else if (parameters()[i].travel == Travel::letter &&
                       (a.letters.find(upper(letter(i))) == std::string::npos ||
                        (a.barred && holds(*a.barred)))) {
                choose(name, a.letters.back());
            }
        }
    }
    return *this;
}

FunctionCall& FunctionCall::resize(std::int64_t size)
{
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const std::string& name = parameters()[i].name;
        if (!is_integer(i) || counts(name) || name.starts_with("stride") || facts(i)->nonzero)
            continue;
        const bool bounded = is_bounded(name);
        const bool is_size = bounded ? facts(taker(i))->minimum->kind == Expression::Kind::number
                                     : is_compared(*signature_, name);
        if (is_size)
            set(name,
                std::max(size + (size > 0 ? static_cast<std::int64_t>(i) : 0), bounded ? bound(name) : size));
        else if (bounded)
            for (std::size_t k = 0; k < this->size(i); ++k)
                set(name, bound(name, static_cast<int>(k)) + static_cast<std::int64_t>(i),
                    static_cast<int>(k));
    }
    return make_valid();
}

std::set<int> FunctionCall::accepted(std::size_t i, char letter) const
{
    if (parameters()[i].travel != Travel::code && parameters()[i].travel != Travel::codes)
        return {letter, std::tolower(letter)};
    FunctionCall call = *this;
    call.choose(parameters()[i].name, letter);
    return {static_cast<int>(call.integer(i))};
}

FunctionCall& FunctionCall::spoil(const std::string& name, int group)
{
    const std::size_t i = index(name);
    const Travel travel = parameters()[i].travel;
    if (travel == Travel::code || travel == Travel::codes)
        return set(name, 99, group);
    if (!is_integer(i))
        return facts(i) != nullptr && facts(i)->letters.empty() ? point(name, nullptr)
                                                                : choose(name, 'X', group);
    if (!is_bounded(name))
        return set(name, 0, group);
    const std::int64_t least = bound(name, group);
    return set(name, facts(i)->query && least == 0 ? -2 : least - 1, group); // -1 asks for the size
}

void FunctionCall::each_choice(const std::function<void(const FunctionCall&)>& visit) const
{
    std::vector<std::pair<std::string, std::string>> options;
    for (const Parameter& p : parameters())
        if (p.argument != nullptr && !p.argument->letters.empty())
            options.emplace_back(p.name, p.argument->letters);
    std::vector<std::size_t> chosen(options.size());
    for (std::size_t i = 0; i <= options.size();) {
        FunctionCall call = *this;
        for (std::size_t j = 0; j < options.size(); ++j)
            call.choose(options[j].first, options[j].second[chosen[j]]);
        visit(call.settle().make_valid());
        for (i = 0; i < options.size() && ++chosen[i] == options[i].second.size(); ++i)
            chosen[i] = 0;
        if (i == options.size())
            return;
    }
}

std::vector<FunctionCall::Step> FunctionCall::steps() const
{
    std::vector<Step> all;
    for (const catalogue::Test& test : signature_->tests)
        if (test.when.empty() || test.when == (by_rows() ? "row-major" : "column-major"))
            all.push_back(
                {parameters()[static_cast<std::size_t>(test.parameter)].name, test.code, test.goes_on});
    return all;
}

bool FunctionCall::is_bounded(const std::string& name) const
{
    const Argument* a = facts(taker(index(name)));
    return a != nullptr && a->minimum != nullptr;
}

std::int64_t FunctionCall::bound(const std::string& name, int group) const
{
    return value(*facts(taker(index(name)))->minimum, group);
}

bool FunctionCall::is_exempt(const std::string& name) const
{
    const Argument* a = facts(taker(index(name)));
    return a != nullptr && a->unless && holds(*a->unless);
}

std::int64_t FunctionCall::named(const std::string& name, int group) const
{
    for (const catalogue::Definition& d : signature_->definitions)
        if (d.name == name)
            return value(*d.value, group);
    return has(name) ? integer(taker(index(name)), group) : leaf_size;
}

std::int64_t FunctionCall::value(const Expression& expression, int group) const
{
    catalogue::Values values;
    values.letter = [&](const std::string& name) { return letter(taker(index(name)), group); };
    values.integer = [&](const std::string& name) { return named(name, group); };
    return evaluate(expression, values);
}

Word FunctionCall::word(std::size_t i) const
{
    const Slot& slot = slots_[i];
    if (slot.pointed)
        return slot.address;
    if (!slot.by_value)
        return slot.memory.data();
    return slot.type == Type::int64 ? Word(integer(i)) : Word(static_cast<std::int32_t>(integer(i)));
}

Returned FunctionCall::run(const void* function) const
{
    constexpr std::int64_t rubbish = 0x7BAD'7BAD'7BAD'7BAD;
    std::vector<Word> words;
    std::vector<Real> reals;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Slot& slot = slots_[i];
        const bool real =
            slot.by_value && !slot.pointed && (slot.type == Type::float32 || slot.type == Type::float64);
        if (!real)
            words.push_back(parameters()[i].name == "result_length" ? Word(rubbish) : word(i));
        else if (slot.type == Type::float32 && slot.count == 1)
            reals.emplace_back(static_cast<float>(number(i)));
        else // two floats share a register
            for (std::size_t at = 0; at < slot.count * bytes(slot.type); at += sizeof(double)) {
                double value;
                std::memcpy(&value, &slot.memory[at], sizeof value);
                reals.emplace_back(value);
            }
    }
    words.insert(words.end(), 6, rubbish);
    return support::call_words(function, words, reals);
}

bool FunctionCall::operator==(const FunctionCall& other) const
{
    return std::equal(slots_.begin(), slots_.end(), other.slots_.begin(), other.slots_.end(),
                      [](const Slot& a, const Slot& b) { return a.memory == b.memory; });
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

std::int64_t least(const FunctionCall& call, const std::string& bounds, const std::string& argument)
{
    for (const std::string& word : words(bounds)) {
        const std::size_t mark = word.find_first_of("=>!");
        if (word.substr(0, mark) != argument)
            continue;
        std::string text = std::regex_replace(word.substr(mark + 1), std::regex("\\?"), " in NOLA ? ");
        text = std::regex_replace(text, std::regex("\\|(\\w+)\\|"), "abs($1)");
        catalogue::Lexer lexer(word, 1);
        lexer.add_line(text, 1);
        const std::int64_t bound = call.value(*catalogue::parse_expression(lexer));
        return word[mark] == '>' ? bound + 1 : word[mark] == '!' ? bound : std::max<std::int64_t>(bound, 1);
    }
    return 0;
}

std::string bare_name(const Signature& s)
{
    std::string name = catalogue::to_lower(s.names.front());
    if (name.ends_with("_64"))
        name.resize(name.size() - 3);
    return name;
}

std::string core_name(const Signature& s)
{
    std::string name = bare_name(s);
    const std::string_view direct = "_direct";
    if (s.family == "trans" || s.family.starts_with("lapack") || name == "xerbla_array")
        return "qnm_" + std::string(s.family == "trans" ? "trans_" : "lapack_") + name;
    if (s.family == "trigonometric" || s.family == "poisson")
        return "qnm_pde" + std::string(s.family == "poisson" ? "pl_" : "tt_") + name;
    if (name.ends_with("_compact"))
        name.erase(0, 4); // without the product word in front
    else if (name.ends_with(direct))
        name.resize(name.size() - direct.size());
    return "qnm_blas_" + name;
}

} // namespace qnm::tests
