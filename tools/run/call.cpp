#include "call.hpp"

#include "catalogue/linked.hpp"

#include <algorithm>
#include <charconv>
#include <set>

namespace qnm::run {
namespace {

using catalogue::Argument;
using catalogue::Expression;
using catalogue::Row;

// The whole text as a number, or nothing.
std::optional<std::int64_t> number(std::string_view text)
{
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

void add_names(const Expression& expression, std::set<std::string, std::less<>>& names)
{
    catalogue::walk(expression, [&](const Expression& node) {
        if (node.kind == Expression::Kind::name)
            names.insert(node.text);
    });
}

bool is_number_given(const Argument& a)
{
    return a.type == "int" && !a.array && !a.query && a.direction == catalogue::Direction::none;
}

// Sizes are integers that are extents of arrays, or may be zero and not less. Where a row has none of these,
// they are the integers ahead of the first array.
std::vector<bool> sizes_of(const Row& row)
{
    std::set<std::string, std::less<>> alone, within;
    for (const Argument& a : row.arguments)
        for (const auto& extent : a.extents)
            if (extent != nullptr) {
                if (extent->kind == Expression::Kind::name)
                    alone.insert(extent->text);
                add_names(*extent, within);
            }
    for (const catalogue::Definition& d : row.definitions)
        if (within.contains(d.name))
            add_names(*d.value, within);
    std::vector<bool> sizes, ahead;
    bool array_before = false;
    for (const Argument& a : row.arguments) {
        array_before = array_before || a.array;
        const bool given = is_number_given(a);
        const bool from_zero =
            a.minimum != nullptr && a.minimum->kind == Expression::Kind::number && a.minimum->value == 0;
        ahead.push_back(given && !array_before);
        sizes.push_back(given &&
                        (from_zero || alone.contains(a.name) || (!array_before && within.contains(a.name))));
    }
    return std::find(sizes.begin(), sizes.end(), true) != sizes.end() ? sizes : ahead;
}

std::vector<const Expression*> conditions(const Argument& a)
{
    std::vector<const Expression*> all;
    for (const auto& e : {a.minimum, a.above, a.maximum, a.barred, a.unless})
        if (e != nullptr)
            all.push_back(e.get());
    return all;
}

// Whether the lines of a row have all that a test asks for.
bool is_testable(const Row& row, const Argument& a)
{
    if (a.letters.empty() && !a.is_integer())
        return false; // a real number, which a line has by its address
    bool all = true;
    const auto look = [&](const Expression& node) {
        const Argument* const asked =
            node.kind == Expression::Kind::name || node.kind == Expression::Kind::letter ? row.find(node.text)
                                                                                         : nullptr;
        all = all && node.kind != Expression::Kind::element &&
              (asked == nullptr || (!asked->array && (asked->is_integer() || !asked->letters.empty() ||
                                                      asked->kind == catalogue::Kind::character)));
    };
    for (const Expression* e : conditions(a))
        catalogue::walk(*e, look);
    for (const catalogue::Definition& d : row.definitions)
        catalogue::walk(*d.value, look);
    return all;
}

Routine routine_of(const catalogue::Entry& entry)
{
    const Row& row = *entry.row;
    Routine routine{&row, {}, {}};
    if (row.result.kind == catalogue::ResultKind::hidden)
        routine.arguments.emplace_back();
    const std::vector<bool> sizes = sizes_of(row);
    const bool integers = !row.groups || row.entry_class == catalogue::Class::handed;
    for (std::size_t i = 0; i < row.arguments.size(); ++i) {
        const Argument& a = row.arguments[i];
        using Kind = catalogue::Kind;
        const bool is_integer = a.kind == Kind::value || (a.kind == Kind::integer && integers);
        routine.arguments.push_back({a.name,
                                     a.kind == Kind::character || a.kind == Kind::letters
                                         ? Routine::Shown::letter
                                     : is_integer ? Routine::Shown::integer
                                                  : Routine::Shown::other,
                                     is_integer && sizes[i], is_integer && a.query});
    }
    if (row.has_check() && !row.groups)
        for (const Argument* a : row.tests())
            if (is_testable(row, *a))
                routine.tests.push_back(a);
    return routine;
}

// Of sentences that are no rows, the line's format tells what is what: "vslNewStream(%p,%s,%d)".
Routine routine_of(const catalogue::Signature& signature)
{
    Routine routine;
    std::string_view format = signature.trace;
    format.remove_prefix(std::min(format.find('(') + 1, format.size()));
    for (const catalogue::Parameter& p : signature.parameters) {
        const std::string_view conversion = format.substr(0, format.find_first_of(",)"));
        const bool is_integer = conversion == "%d" || conversion == "%lli";
        routine.arguments.push_back(
            {p.name, is_integer ? Routine::Shown::integer : Routine::Shown::other, p.name == "n", false});
        format.remove_prefix(std::min(conversion.size() + 1, format.size()));
    }
    return routine;
}

constexpr std::size_t most_arguments = 64;

/// The values that a line has.
struct Line {
    const Routine& routine;
    std::array<std::int64_t, most_arguments> values{};
    std::size_t count = 0; // of arguments that the line has whole
    std::size_t first = 0; // of the published ones: behind the hidden result

    explicit Line(const Routine& of) : routine(of)
    {
        first = !of.arguments.empty() && of.arguments.front().name.empty() ? 1 : 0;
    }

    void read(std::string_view rest)
    {
        for (; count < std::min(routine.arguments.size(), most_arguments) && !rest.empty(); ++count) {
            while (rest.size() > 1 && rest.front() == ' ' && rest[1] != ',')
                rest.remove_prefix(1);
            if (routine.arguments[count].shown == Routine::Shown::letter) { // any, a comma too
                values[count] = static_cast<unsigned char>(rest.front());
                rest.remove_prefix(1);
                rest.remove_prefix(std::min(rest.find(',') + (rest.find(',') != rest.npos), rest.size()));
                continue;
            }
            const std::size_t comma = rest.find(',');
            if (routine.arguments[count].shown == Routine::Shown::integer) {
                const auto value = number(rest.substr(0, comma));
                if (!value)
                    return;
                values[count] = *value;
            }
            rest.remove_prefix(comma == rest.npos ? rest.size() : comma + 1);
        }
    }

    std::size_t place(const std::string& name) const
    {
        for (std::size_t i = first; i < routine.arguments.size(); ++i)
            if (routine.arguments[i].name == name)
                return i;
        return most_arguments;
    }

    std::int64_t integer(const std::string& name) const
    {
        if (const std::size_t i = place(name); i < most_arguments)
            return values[i];
        for (const catalogue::Definition& d : routine.row->definitions)
            if (d.name == name)
                return evaluate(*d.value);
        return 0;
    }
    char letter(const std::string& name) const
    {
        const std::size_t i = place(name);
        return i < most_arguments ? static_cast<char>(values[i]) : '\0';
    }
    std::int64_t evaluate(const Expression& expression) const
    {
        return catalogue::evaluate(expression, {[this](const std::string& name) { return integer(name); },
                                                [this](const std::string& name) { return letter(name); },
                                                {}});
    }

    bool fails(const Argument& a) const
    {
        if (a.unless != nullptr && evaluate(*a.unless) != 0)
            return false;
        if (!a.letters.empty()) {
            const int given = std::toupper(static_cast<unsigned char>(letter(a.name)));
            return a.letters.find(static_cast<char>(given)) == a.letters.npos;
        }
        const std::int64_t value = integer(a.name);
        return (a.minimum != nullptr && value < evaluate(*a.minimum)) ||
               (a.above != nullptr && value <= evaluate(*a.above)) || (a.nonzero && value == 0) ||
               (a.maximum != nullptr && value > evaluate(*a.maximum)) ||
               (a.barred != nullptr && evaluate(*a.barred) != 0);
    }

    // The tests in their order, as the entry makes them.
    int refused() const
    {
        if (count < routine.arguments.size())
            return 0;
        for (const Argument* a : routine.tests)
            if (fails(*a))
                return routine.row->code(*a);
        return 0;
    }
};

// A Fourier transform tells all in its first argument: letters, lengths, and how many at once. Behind colons
// stand strides and distances: "dcfo/64:100:100x32:1:1*8:6400:6400".
bool read_transform(std::string_view text, TracedCall& call)
{
    const std::size_t letters = std::min(text.find_first_of("/0123456789"), text.size());
    call.name += ' ' + std::string(text.substr(0, letters));
    text.remove_prefix(std::min(text.find_first_not_of('/', letters), text.size()));
    for (char before = 'x'; before != '\0';) {
        const std::size_t end = std::min(text.find_first_of(":x*v"), text.size());
        const auto value = number(text.substr(0, end));
        if (!value)
            return false;
        if (before == 'x')
            call.sizes.push_back(*value);
        else if (before != ':')
            call.batch = *value;
        before = end < text.size() ? text[end] : '\0';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

} // namespace

std::optional<RefusedPlan> parse_refused_plan(std::string_view line)
{
    constexpr std::string_view mark = "no plan: ";
    if (!line.starts_with(mark))
        return std::nullopt;
    line.remove_prefix(mark.size());
    const std::size_t open = line.find('(');
    if (open == 0 || open == std::string_view::npos)
        return std::nullopt;
    return RefusedPlan{line.substr(0, open), line.substr(open)};
}

std::optional<RefusedByEngine> parse_refused_by_engine(std::string_view line)
{
    constexpr std::string_view mark = "# refused ";
    const std::size_t blank = line.rfind(' ');
    if (!line.starts_with(mark) || blank <= mark.size())
        return std::nullopt;
    const auto position = number(line.substr(blank + 1));
    if (!position || *position < 1 || *position > 99)
        return std::nullopt;
    return RefusedByEngine{line.substr(mark.size(), blank - mark.size()), static_cast<int>(*position)};
}

void CallReader::read_catalogue()
{
    catalogue_ = std::make_unique<catalogue::Catalogue>(catalogue::linked_tables());
    for (const Row& row : catalogue_->rows())
        for (const catalogue::Entry& entry : catalogue::Catalogue::entries(row))
            entries_.try_emplace(catalogue::to_upper(entry.name()), entry);
}

// Sentences of their own take longer to be told, and few programs ask.
void CallReader::index_rooms()
{
    rooms_read_ = true;
    std::set<std::string, std::less<>> of_rows;
    for (const Row& row : catalogue_->rows())
        of_rows.insert(row.file);
    for (const std::string& table : catalogue_->tables())
        if (!of_rows.contains(table) && !table.ends_with("/family.tab"))
            for (const catalogue::Signature& s : catalogue_->signatures(table))
                if (!s.trace.empty())
                    routines_.try_emplace(s.trace.substr(0, s.trace.find('(')), routine_of(s));
}

const Routine* CallReader::find(std::string_view name)
{
    if (catalogue_ == nullptr)
        read_catalogue();
    for (bool again = true; again;) {
        if (const auto found = routines_.find(name); found != routines_.end())
            return &found->second;
        if (const auto entry = entries_.find(name); entry != entries_.end())
            return &routines_.emplace(name, routine_of(entry->second)).first->second;
        again = !rooms_read_;
        if (again)
            index_rooms();
    }
    return nullptr;
}

std::vector<std::string> CallReader::size_names(std::string_view name)
{
    std::vector<std::string> names;
    if (const Routine* const routine = name.starts_with("FFT ") ? nullptr : find(name))
        for (const Routine::Argument& a : routine->arguments)
            if (a.is_size)
                names.push_back(a.name);
    return names;
}

std::string CallReader::argument_name(std::string_view name, int position)
{
    const Routine* const routine = find(name);
    if (routine == nullptr || routine->row == nullptr)
        return {};
    for (const Argument* a : routine->row->tests()) // some are reported under another number
        if (routine->row->code(*a) == position)
            return a->name;
    const auto& all = routine->row->arguments;
    return position >= 1 && static_cast<std::size_t>(position) <= all.size()
               ? all[static_cast<std::size_t>(position) - 1].name
               : "";
}

std::optional<TracedCall> CallReader::read(std::string_view line)
{
    const std::size_t open = std::min(line.find('('), line.size());
    const std::string_view name = line.substr(0, open);
    const bool has_arguments = open < line.size();
    if (name.empty() || name.find(' ') != name.npos)
        return std::nullopt;
    TracedCall call{std::string(name), {}, 0, false, 0};
    std::string_view rest = line.substr(std::min(open + 1, line.size()));
    const std::size_t close = rest.rfind(')'); // a long line has lost its end
    rest = rest.substr(0, close);
    if (name == "FFT") {
        if (!read_transform(rest.substr(0, rest.find(',')), call))
            return std::nullopt;
        return call;
    }
    const Routine* const routine = find(name);
    if (routine == nullptr)
        return has_arguments && close != rest.npos ? std::optional(call) : std::nullopt;
    Line values(*routine);
    values.read(rest);
    for (std::size_t i = 0; i < values.count; ++i) {
        if (routine->arguments[i].is_size)
            call.sizes.push_back(values.values[i]);
        call.is_query = call.is_query || (routine->arguments[i].is_query && values.values[i] == -1);
    }
    call.refused = values.refused();
    return call;
}

} // namespace qnm::run
