// The room of statistics, convolution and fitting. What hands on is told by rows; generators and streams have
// sentences of their own, and each form is a call of their templates.
#include <deque>

#include "catalogue/types.hpp"
#include "fortran.hpp"
#include "generate/expression.hpp"
#include "generate/output.hpp"
#include "generate/rows_room.hpp"
#include "statement.hpp"

namespace qnm::catalogue {

namespace {

using generate::Words;
using vsl::Rule;
using vsl::Statement;
using vsl::Told;

bool by_reference(const Form& form)
{
    return form.convention == Convention::reference;
}

bool is_wide(const Form& form)
{
    return form.width == Width::wide;
}

/// The numbers of a generator.
std::string element(const Statement& s, const Precision& letter)
{
    if (s.bits != 0)
        return s.bits == 64 ? "unsigned long long" : "unsigned";
    return letter.element == ' ' ? "int" : c_type("R", letter, Width::narrow);
}

/// A generator's leading arguments, which its row leaves out.
std::vector<Told> arguments(const Statement& s)
{
    std::vector<Told> all;
    if (s.is_generator())
        all = {{"int", "method"}, {"stream", "stream"}, {"int", "n"}, {"", "r", true}};
    all.insert(all.end(), s.arguments.begin(), s.arguments.end());
    return all;
}

bool is_address(const Told& a)
{
    return a.array || a.is("source") || (find_type(a.type) != nullptr && find_type(a.type)->address);
}

/// An argument is one thing in C, wide C and by reference, and another one to a kernel.
std::string number_type(const Told& a, const Precision& letter, bool wide)
{
    if (a.is("stream"))
        return "void*";
    if (a.is("int") || a.is("brng"))
        return wide ? "qnm_int64" : "int";
    if (a.is("uint") || a.is("seed"))
        return wide ? "unsigned long long" : "unsigned";
    return a.is("int64") ? "qnm_int64" : c_type(a.type, letter, Width::narrow);
}

std::string address_type(const Told& a, const Statement& s, const Precision& letter)
{
    if (a.name == "r" && a.type.empty())
        return element(s, letter) + "*";
    if (a.is("source"))
        return std::string("qnm_vsl_") +
               (letter.element == ' ' ? "int" : c_type("R", letter, Width::narrow)) + "_source_t";
    return a.array ? "const " + c_type(a.type, letter, Width::narrow) + "*" : find_type(a.type)->single;
}

std::vector<Parameter> parameters(const Statement& s, const Precision& letter, const Form& form)
{
    std::vector<Parameter> all;
    for (const Told& a : arguments(s)) {
        if (is_address(a)) {
            all.push_back({a.name, address_type(a, s, letter), Travel::address, nullptr, ""});
            if (a.is("text") && by_reference(form))
                all.push_back({a.name + "_length", "int", Travel::value, nullptr, ""});
            continue;
        }
        const std::string type = number_type(a, letter, is_wide(form));
        all.push_back({a.name,
                       !by_reference(form)  ? type
                       : type.back() == '*' ? type + " const*"
                                            : "const " + type + "*",
                       by_reference(form) ? Travel::number : Travel::value, nullptr, ""});
    }
    return all;
}

Words kernel_types(const Statement& s, const Precision& letter)
{
    Words types;
    for (const Told& a : arguments(s)) {
        types.push_back(is_address(a) ? address_type(a, s, letter) : number_type(a, letter, false));
        if (a.is("seed"))
            types.back() = "int, const unsigned*";
        if (a.is("text"))
            types.emplace_back("int");
    }
    return types;
}

/// What stands behind the name in a line.
std::string format(const Statement& s, const Precision& letter)
{
    Words conversions;
    for (const Told& a : arguments(s)) {
        const std::string type = is_address(a) ? "" : number_type(a, letter, false);
        conversions.emplace_back(a.is("brng")                      ? "%s"
                                 : a.is("text")                    ? "%s,%d"
                                 : type == "float"                 ? "%f"
                                 : type == "double"                ? "%lf"
                                 : type == "qnm_int64"             ? "%lli"
                                 : is_address(a) || a.is("stream") ? "%p"
                                                                   : "%d");
    }
    return conversions.empty() || s.shown_alone ? "%s" : "%s(" + generate::joined(conversions, ",") + ")";
}

/// Bounds, of numbers that came by value or by reference.
class BoundText final : public generate::ExpressionText {
public:
    BoundText() : ExpressionText("int") {}

protected:
    std::string number(std::int64_t value) const override { return std::to_string(value); }
    std::string name(const std::string& name) const override { return "given(" + name + ")"; }
    std::string letter(const Expression& e) const override { return to_text(e); }
};

/// The verdict of a test as the layer asks it: of real numbers the bad comparison, which is not true of what
/// compares with nothing.
std::string verdict(const Told& a)
{
    const std::string value = "given(" + a.name + ")";
    const auto compared = [&](const char* with) {
        return "unless(" + value + with + BoundText().text(*a.bound) + ")";
    };
    switch (a.rule) {
    case Rule::at_least:
        return a.bound ? compared(" < ") : "unless(static_cast<int>(" + value + ") < 0, unknown_engine)";
    case Rule::above:
        return compared(" <= ");
    case Rule::below:
        return compared(" >= ");
    case Rule::among:
        return "unless(" + value + " < 0 || " + value + " > " + std::to_string(a.last) + ")";
    case Rule::from_to:
        return "unless(" + value + " < 0 || " + value + " > 1)";
    case Rule::inside:
        return "unless(" + value + " <= 0 || " + value + " >= 1)";
    case Rule::given:
        return "unless(" + a.name + " == nullptr)";
    default:
        return "validity(" + (a.is("slot") ? "*" + a.name : value) + ")";
    }
}

std::string tests_text(const Statement& s)
{
    const std::size_t ahead = s.is_generator() ? 4 : 0;
    Words all;
    for (const std::size_t i : vsl::test_order(s))
        all.push_back("test<" + std::to_string(ahead + i + 1) + ">([&] QNM_INLINE_LAMBDA { return " +
                      verdict(s.arguments[i]) + "; })");
    return "tests(" + generate::joined(all) + ")";
}

/// An argument as its template takes it.
std::string passed(const Told& a, const Form& form)
{
    const auto as = [](const char* kind, const std::string& name) {
        return std::string("as<") + kind + ">(" + name + ")";
    };
    if (a.is("text"))
        return (by_reference(form) ? "FortranText{" + a.name + ", " + a.name + "_length}"
                                   : as("AsItIs", a.name)) +
               ", " + as("Number", by_reference(form) ? a.name + "_length" : "-1");
    return as(a.is("brng") ? "Engine" : a.is("seed") ? "Seed" : is_address(a) ? "AsItIs" : "Number", a.name);
}

class VslRoom final : public generate::RowsRoom {
public:
    void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) override
    {
        if (family.find("narrow") == nullptr || family.find("wide") == nullptr || family.kernel_each)
            return RowsRoom::read(house, lexer, root, family);
        statements_.push_back(vsl::read_statement(lexer, root, family));
        each(statements_.back(), [&](const Signature& s, const Precision&) {
            for (const std::string& name : s.names)
                house.claim(name, s.where());
        });
    }

    std::vector<Signature> signatures(const Catalogue& house, const std::string& table) const override
    {
        std::vector<Signature> all = RowsRoom::signatures(house, table);
        for (const Statement& s : statements_)
            if (s.file == table)
                each(s, [&](const Signature& made, const Precision&) { all.push_back(made); });
        return all;
    }

    std::string source(const Catalogue& house, const std::string& table) const override
    {
        std::string own;
        for (const Statement& s : statements_)
            if (s.file == table)
                each(s,
                     [&](const Signature& made, const Precision& letter) { own += text(s, made, letter); });
        return own.empty()
                   ? RowsRoom::source(house, table)
                   : generate::source_head(table, "vsl", "qnm::vsl") + own + "} // namespace qnm::vsl\n";
    }

    std::string mark(const Catalogue& house, const std::vector<std::string>& words) const override
    {
        const bool kept = words.size() == 3 && words[2] == "kept";
        return words.size() >= 2 && words[0] == "interfaces" && (kept || words.size() == 2)
                   ? vsl::interfaces(house.signatures(words[1]), kept)
                   : "";
    }

private:
    template <class Visit>
    static void each(const Statement& s, const Visit& visit)
    {
        for (const Precision& letter : s.letters)
            for (const Form& form : s.family->forms)
                if (!s.narrow_only || !is_wide(form))
                    visit(signature(s, letter, form), letter);
    }

    static Signature signature(const Statement& told, const Precision& letter, const Form& form)
    {
        const std::string name = with_letter(told.root, letter);
        const bool narrow = !is_wide(form);
        Signature s = signature_of(told, letter, &form);
        for (const std::string& pattern : form.spellings)
            s.names.push_back(spell(pattern, name));
        const Form& c = told.family->forms.front();
        if (&form == &c && !told.also.empty())
            s.names.push_back(spell(c.spellings.front(), with_letter(told.also, letter)));
        s.source = told.is_generator() ? "generator, src/vsl/generator.hpp" : "stream, src/vsl/stream.hpp";
        s.result = "int";
        s.parameters = parameters(told, letter, form);
        s.report_name = spell(c.spellings.front(), name);
        const std::vector<Told> all = arguments(told);
        const int ahead = static_cast<int>(all.size() - told.arguments.size());
        if (told.is_generator())
            s.tests = {
                {0, 1, "method >= 0"},
                {1, 2, "stream is a stream"},
                {2, 3, "n >= 0"},
                {3, 4, "r != null, unless n is 0"},
                {0, 1,
                 "method <= " + std::to_string(told.methods) + (told.accurate ? ", accurate or not" : "")}};
        for (const std::size_t i : vsl::test_order(told))
            s.tests.push_back({ahead + static_cast<int>(i), ahead + static_cast<int>(i) + 1,
                               vsl::rule_text(told.arguments[i])});
        if (narrow)
            s.trace = (told.shown.empty() ? s.report_name : told.shown) + format(told, letter).substr(2);
        Callee kernel{
            spell(told.family->core, told.kernel.empty() ? name : with_letter(told.kernel, letter)), "", {}};
        int parameter = 0;
        for (const Told& a : all) {
            const Parameter& p = s.parameters[static_cast<std::size_t>(parameter)];
            if (a.is("seed"))
                kernel.places.push_back({Fill::constant, -1, narrow ? "1" : "1 or 2"});
            const std::string type = is_address(a) ? "" : number_type(a, letter, false);
            kernel.places.push_back({a.is("seed")                          ? Fill::addressed
                                     : is_address(a) || p.type == type     ? Fill::as_it_is
                                     : type == "int" || type == "unsigned" ? Fill::low
                                                                           : Fill::read,
                                     parameter++});
            if (a.is("text") && by_reference(form))
                kernel.places.push_back({Fill::as_it_is, parameter++});
            else if (a.is("text"))
                kernel.places.push_back({Fill::constant, -1, "-1"});
        }
        s.callees = {kernel};
        return s;
    }

    static std::string text(const Statement& told, const Signature& s, const Precision& letter)
    {
        const Form& form = *s.form;
        Words declared, given{"Facts{" + generate::quoted(s.report_name) + ", " +
                              generate::quoted(told.shown.empty() ? s.report_name : told.shown) + ", " +
                              generate::quoted(format(told, letter)) + "}"};
        for (const Parameter& p : s.parameters)
            declared.push_back(p.type + " " + p.name);
        if (told.is_generator())
            given.insert(given.end(), {"method", "stream", "n", "r"});
        given.push_back(tests_text(told));
        for (const Told& a : told.arguments)
            given.push_back(passed(a, form));
        Words facts;
        if (told.creates)
            facts.emplace_back(".creates = true");
        if (!is_wide(form))
            facts.emplace_back(".traced = true");
        const std::string kernel = s.report_name + "_kernel";
        const std::string steps =
            told.is_generator()
                ? std::string(is_wide(form) ? "wide_" : "") + "generator<" + kernel + ", Methods{" +
                      std::to_string(told.methods) + (told.accurate ? ", true" : "") + "}>"
                : "stream_entry<" + kernel + ", Steps{" + generate::joined(facts) + "}>";
        Words cell{s.report_name, generate::quoted(s.callees.front().name), "int"};
        for (const std::string& type : kernel_types(told, letter))
            cell.push_back(type);
        std::string text = form.name == told.family->forms.front().name
                               ? "QNM_KERNEL(" + generate::joined(cell) + ")\n"
                               : "";
        text += generate::exported("int " + s.names.front() + "(" + generate::joined(declared) + ")",
                                   "return " + steps + "(" + generate::joined(given) + ")");
        for (std::size_t i = 1; i < s.names.size(); ++i)
            text += "QNM_SAME(" + s.names[i] + ", " + s.names.front() + ")\n";
        return text;
    }

    std::deque<Statement> statements_;
};

} // namespace

std::unique_ptr<Room> make_vsl_room();
std::unique_ptr<Room> make_vsl_room()
{
    return std::make_unique<VslRoom>();
}

} // namespace qnm::catalogue
