// The room of the FFTW3 interface: a sentence is a function in each form of its family, which is a call of
// the template of its class.
#include <algorithm>

#include "generate/output.hpp"
#include "generate/rows_room.hpp"
#include "statement.hpp"

namespace qnm::catalogue {

namespace {

using fftw::Statement;
using fftw::Told;
using generate::Words;

Parameter parameter(const Told& a, const Form& form, bool by_reference)
{
    const std::string type = fftw::type_of(a.type, form);
    const bool address = type.back() == '*' || type.find("_func") != std::string::npos;
    if (a.array || (by_reference && !address))
        return {a.name, "const " + type + "*", Travel::address, nullptr, ""};
    return {a.name, type, address || a.type == "plan" ? Travel::address : Travel::value, nullptr, ""};
}

/// The call of another entry: by name what is passed on, and the names of what is made.
Callee callee(const Signature& target, const Signature& s)
{
    Callee call{target.names.front(), "", {}};
    for (const Parameter& p : target.parameters) {
        const auto same = std::find_if(s.parameters.begin(), s.parameters.end(),
                                       [&](const Parameter& own) { return own.name == p.name; });
        if (same == s.parameters.end())
            call.places.push_back({Fill::constant, -1, p.name});
        else
            call.places.push_back({Fill::as_it_is, static_cast<int>(same - s.parameters.begin())});
    }
    return call;
}

/// The arguments of a call; those that differ in a number behind their name are parts of one.
Words passed(const Signature& s)
{
    Words words;
    for (const Parameter& p : s.parameters) {
        const char last = p.name.back();
        if (last == '0')
            words.push_back("Parts{" + p.name + "}");
        else if (last == '1' || last == '2') // the parts ahead of it
            words.back().insert(words.back().size() - 1, ", " + p.name);
        else
            words.push_back(p.name);
    }
    return words;
}

/// An argument in a line of text. Lists have the length of the rank, those of a batch of its rank.
std::string shown(const Told& a)
{
    if (a.type == "C" || a.type == "R")
        return "data(" + a.name + ")";
    const std::string rank = a.name.front() == 'h' ? "howmany_rank" : "rank";
    return (a.array ? "list" : "number") + ("(\"" + a.name + "\", " + a.name) + (a.array ? ", " + rank : "") +
           ")";
}

class FftwRoom final : public generate::RowsRoom {
public:
    void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) override
    {
        if (family.forms.size() == 1) // variables
            return RowsRoom::read(house, lexer, root, family);
        for (Statement& s : fftw::read_statements(lexer, root, family)) {
            if (!family.calls.empty()) {
                const Statement* const entry = find(house.families().at(family.calls), s.root);
                if (entry == nullptr)
                    lexer.fail_at(s.line, "'" + s.root + "'", "a name of the family that this one calls");
                s.arguments = fftw::fortran_arguments(entry->arguments);
                s.result = entry->result;
            }
            for (const std::string& needed : s.needs)
                if (std::none_of(s.arguments.begin(), s.arguments.end(),
                                 [&](const Told& a) { return a.name == needed; }) &&
                    (family.calls.empty() || needed != s.result))
                    lexer.fail_at(s.line, "'" + needed + "'", "an argument of the row");
            for (const Form& form : family.forms)
                house.claim(spell(form.spellings.front(), s.root), s.where());
            statements_.push_back(std::move(s));
        }
    }

    std::vector<Signature> signatures(const Catalogue& house, const std::string& table) const override
    {
        std::vector<Signature> all = RowsRoom::signatures(house, table);
        each(table, [&](const Statement& s, std::size_t form) { all.push_back(signature(house, s, form)); });
        return all;
    }

    std::string source(const Catalogue& house, const std::string& table) const override
    {
        std::string text = generate::source_head(table, "fftw", "qnm::fftw");
        each(table,
             [&](const Statement& s, std::size_t form) { text += function(s, signature(house, s, form)); });
        return text + "} // namespace qnm::fftw\n";
    }

    /// `@fftw planners MACRO@`: the macro for each function that makes a plan: its result, name, parameters,
    /// their names, and how each is shown.
    std::string mark(const Catalogue& house, const std::vector<std::string>& words) const override
    {
        std::string text;
        if (words.size() != 2 || words[0] != "planners")
            return text;
        for (const Statement& s : statements_)
            for (std::size_t form = 0; s.result == "plan" && form < s.family->forms.size(); ++form) {
                const Signature made = signature(house, s, form);
                Words parameters, names, all{made.result, made.names.front()};
                for (const Parameter& p : made.parameters) {
                    parameters.push_back(p.type + " " + p.name);
                    names.push_back(p.name);
                }
                all.push_back("(" + generate::joined(parameters) + ")");
                all.push_back("(" + generate::joined(names) + ")");
                for (const Told& a : s.arguments)
                    all.push_back(shown(a));
                text += words[1] + "(" + generate::joined(all) + ")\n";
            }
        return text;
    }

private:
    template <class Visit>
    void each(const std::string& table, const Visit& visit) const
    {
        for (const Statement& s : statements_)
            for (std::size_t form = 0; s.file == table && form < s.family->forms.size(); ++form)
                visit(s, form);
    }

    const Statement* find(const Family& family, const std::string& name) const
    {
        const auto found = std::find_if(statements_.begin(), statements_.end(), [&](const Statement& s) {
            return s.root == name && s.family == &family;
        });
        return found == statements_.end() ? nullptr : &*found;
    }

    /// What a statement calls: a row of its own family, or of the one whose entries this one calls.
    const Statement* target_of(const Catalogue& house, const Statement& s) const
    {
        const Statement* found = s.target.empty() ? nullptr : find(*s.family, s.target);
        if (found == nullptr && !s.family->calls.empty())
            found = find(house.families().at(s.family->calls), s.target.empty() ? s.root : s.target);
        if (found == nullptr && !s.target.empty())
            throw TableError(s.where() + ": '" + s.target + "': expected the name of a row");
        return found;
    }

    Signature signature(const Catalogue& house, const Statement& told, std::size_t form) const
    {
        const bool by_reference = !told.family->calls.empty();
        const Form& types =
            (by_reference ? house.families().at(told.family->calls) : *told.family).forms[form];
        Signature s;
        s.table = told.file;
        s.line = told.line;
        s.family = told.family->name;
        s.root = told.root;
        s.letter = find_precision(types.name.substr(0, 1));
        s.form = &told.family->forms[form];
        s.names = {spell(s.form->spellings.front(), told.root)};
        s.source = told.steps + ", src/fftw/entries.hpp";
        s.result = fftw::type_of(told.result, types);
        if (by_reference && s.result != "void") {
            s.parameters.push_back(
                {told.result == "plan" ? "plan" : "result", s.result + "*", Travel::address, nullptr, ""});
            s.result = "void";
        }
        for (const Told& a : told.arguments)
            s.parameters.push_back(parameter(a, types, by_reference));
        if (const Statement* const target = target_of(house, told))
            s.callees = {callee(signature(house, *target, form), s)};
        return s;
    }

    static std::string function(const Statement& told, const Signature& s)
    {
        const std::string target = s.callees.empty() ? "" : s.callees.front().name;
        if (told.steps == "jump")
            return "QNM_FORWARD(" + s.names.front() + ", " + target + ")\n";
        Words parameters, arguments = passed(s);
        for (const Parameter& p : s.parameters)
            parameters.push_back(p.type + " " + p.name);
        Words kinds{!target.empty()        ? target
                    : told.steps == "stub" ? s.result
                    : s.letter.real == 's' ? "float"
                                           : "double"};
        if (!told.batch.empty())
            kinds.push_back("Batch::" + told.batch);
        if (!told.needs.empty() && (told.needs_in.empty() || told.needs_in == s.form->name))
            arguments.insert(arguments.begin(), "all(" + generate::joined(told.needs) + ")");
        return generate::exported(s.result + " " + s.names.front() + "(" + generate::joined(parameters) + ")",
                                  "return " + (told.steps == "own" ? told.root : told.steps) + "<" +
                                      generate::joined(kinds) + ">(" + generate::joined(arguments) + ")");
    }

    std::vector<Statement> statements_;
};

} // namespace

std::unique_ptr<Room> make_fftw_room();
std::unique_ptr<Room> make_fftw_room()
{
    return std::make_unique<FftwRoom>();
}

} // namespace qnm::catalogue
