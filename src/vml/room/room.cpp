// The room of vector mathematics. Of each root the narrow C form is written out; other forms tell their root
// to a body that all roots of one threader share.
#include <deque>

#include "generate/output.hpp"
#include "generate/rows_room.hpp"
#include "statement.hpp"

namespace qnm::catalogue {

namespace {

using generate::Words;
using vml::Kind;
using vml::Member;
using vml::Statement;
using vml::Told;

bool by_reference(const Form& form)
{
    return form.convention == Convention::reference;
}

/// A number as a form takes it. Inside the library all integers have 32 bits: of a wide one more is never
/// looked at.
std::string number(const std::string& type, const Form& form, bool published)
{
    const std::string wide = type == "int" || type == "unsigned" ? "qnm_int64" : type;
    const std::string own = published && form.width == Width::wide ? wide : type;
    return by_reference(form) ? "const " + own + "*" : own;
}

/// What is told of an argument to those who make calls.
const Argument* facts(const std::string& name, const std::string& type, bool array)
{
    static std::map<std::tuple<std::string, std::string, bool>, Argument> all;
    const auto [found, fresh] = all.try_emplace({name, type, array});
    if (Argument& a = found->second; fresh) {
        a.type = type == "unsigned" ? "int" : type;
        a.name = name;
        a.array = array;
        if (name == "n")
            a.minimum = make_number(0);
        if (array) // of no elements, none are looked for
            a.unless = make_expression(Expression::Kind::binary,
                                       "==", {make_expression(Expression::Kind::name, "n"), make_number(0)});
    }
    return &found->second;
}

Parameter parameter(const std::string& name, const std::string& type, const Form& form, bool published,
                    const std::string& told = "int")
{
    return {name, number(type, form, published), by_reference(form) ? Travel::number : Travel::value,
            facts(name, told, false), ""};
}

/// The parameters of a vector entry.
std::vector<Parameter> parameters(const Member& m, const Form& form, bool published)
{
    std::vector<Parameter> all{parameter("n", "int", form, published)};
    for (const Told& a : m.arguments()) {
        const std::string constant = a.output ? "" : "const ";
        if (a.kind == Kind::vector)
            all.push_back({a.name, constant + m.element(a) + "*", Travel::address,
                           facts(a.name, a.real ? "R" : "T", true), ""});
        else if (a.kind == Kind::array)
            all.push_back({a.name,
                           std::string("const ") +
                               (published ? c_type("int", m.letter, form.width) : std::string("void")) + "*",
                           Travel::address, nullptr, ""});
        else
            all.push_back(a.kind == Kind::scalar ? parameter(a.name, m.element(a), form, published, "T")
                                                 : parameter(a.name, "int", form, published));
    }
    if (!form.level.empty())
        all.push_back(parameter("mode", "unsigned", form, published));
    return all;
}

Words declared(const std::vector<Parameter>& parameters)
{
    Words words;
    for (const Parameter& p : parameters)
        words.push_back(p.type + " " + p.name);
    return words;
}

/// A call of the template of vector entries.
std::string call(const Member& m, const Form& form, const std::string& root)
{
    const auto read = [&](const std::string& name, const std::string& type) {
        return (by_reference(form) ? "Reference<" : "Value<") + type + ">{" + name + "}";
    };
    Words facts;
    if (form.width == Width::wide)
        facts.emplace_back(".wide = true");
    if (by_reference(form))
        facts.emplace_back(".by_reference = true");
    if (m.tells_accuracy())
        facts.emplace_back(".accuracy = true");
    Words passed{root, form.level.empty() ? "NoMode{}" : read("mode", "unsigned"), read("n", "int")};
    const std::vector<Told> arguments = m.arguments();
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const Told& a = arguments[i];
        const std::string type =
            a.kind == Kind::array ? "const void" : (a.output ? "" : "const ") + m.element(a);
        if (m.code(i) != 0)
            passed.push_back("Vector<" + std::to_string(m.code(i)) + ", " + type + ">{" + a.name + "}");
        else if (a.kind == Kind::vector || a.kind == Kind::array)
            passed.push_back("Array<" + type + ">{" + a.name + "}");
        else
            passed.push_back(read(a.name, a.kind == Kind::scalar ? m.element(a) : "int"));
    }
    const std::string target = m.told->direct
                                   ? std::string("Direct<") + (form.width == Width::wide ? "2" : "1") + ">"
                                   : "Threaded<qnm_vml_serv_threader_" + m.threader() + ">";
    return "entry<Form{" + generate::joined(facts) + "}, " + target + ">(" + generate::joined(passed) + ")";
}

/// The name of the body that a form of a member shares with all whose bodies would be the same.
std::string body_name(const Member& m, const Form& form)
{
    std::string name = "vml_" + form.name + "_" + (m.tells_accuracy() ? "1000_" : "");
    if (!m.told->direct)
        name += m.threader();
    const std::vector<Told> arguments = m.arguments();
    for (std::size_t i = 0; i < arguments.size(); ++i)
        if (m.told->direct)
            name += arguments[i].kind == Kind::increment ? "i" : "a";
        else if (m.code(i) != 0)
            name += "_" + std::to_string(m.code(i));
    return name;
}

class VmlRoom final : public generate::RowsRoom {
public:
    void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) override
    {
        if (family.forms.size() == 1) // services
            return RowsRoom::read(house, lexer, root, family);
        const Statement s = vml::read_statement(lexer, root, family);
        for (const std::string& name : names(s))
            for (const Form& form : family.forms)
                for (const std::string& spelling : form.spellings)
                    house.claim(spell(spelling, name), s.where());
        statements_.push_back(s);
    }

    std::vector<Signature> signatures(const Catalogue& house, const std::string& table) const override
    {
        std::vector<Signature> all = RowsRoom::signatures(house, table);
        for (const Statement& s : statements_)
            if (s.file == table)
                for (const Form& form : s.family->forms) {
                    if (!s.result.empty())
                        all.push_back(control_signature(s, form));
                    for (const Member& m : members_of(s))
                        all.push_back(signature(m, form));
                }
        return all;
    }

    std::string source(const Catalogue& house, const std::string& table) const override
    {
        std::string text, bodies;
        std::set<std::string> threaders, shared;
        for (const Statement& s : statements_) {
            const bool here = s.file == table;
            if (here && !s.result.empty())
                text += control_text(s);
            for (const Member& m : members_of(s)) {
                if (here && !m.told->direct && threaders.insert(m.threader()).second)
                    bodies += threader_text(m);
                if (here)
                    text += "QNM_VML_ROOT(" + m.name() + ")\n";
                for (const Form& form : s.family->forms) {
                    const bool fresh = is_shared(form) && shared.insert(body_name(m, form)).second;
                    if (here && fresh) // tables above have what is theirs
                        bodies += function(m, form, body_name(m, form), "told_root()", "QNM_VML_BODY ");
                    if (here)
                        text += entry_text(m, form);
                }
            }
        }
        return generate::source_head(table, "vml", "qnm::vml") + rows_text(house, table) + bodies + text +
               "} // namespace qnm::vml\n";
    }

    /// `@vml roots MACRO@`: the macro for each typed root, with the kernel that its tables hold.
    std::string mark(const Catalogue&, const Words& words) const override
    {
        std::string text;
        if (words.size() == 2 && words[0] == "roots")
            for (const Statement& s : statements_)
                for (Member m : members_of(s)) {
                    const std::string root = m.name();
                    m.strided = false;
                    text += words[1] + "(" + root + ", " + m.name() + ")\n";
                }
        return text;
    }

private:
    /// Rows of the common language, which export what is written by hand.
    std::string rows_text(const Catalogue& house, const std::string& table) const
    {
        std::string text;
        std::set<std::string> declared;
        for (const Row& row : house.rows())
            if (row.file == table)
                text += RowsRoom::text(row, declared);
        return text;
    }

    static std::vector<Member> members_of(const Statement& s)
    {
        return s.result.empty() ? vml::members(s) : std::vector<Member>{};
    }

    /// What stands in the place of `name` in the patterns of a family.
    static Words names(const Statement& s)
    {
        if (!s.result.empty())
            return s.roots;
        Words all;
        for (const Member& m : vml::members(s))
            all.push_back(m.name());
        return all;
    }

    /// All forms written out would make the library half as large again.
    static bool is_shared(const Form& form)
    {
        return !form.level.empty() || (form.width == Width::wide && by_reference(form));
    }

    static std::string threader_text(const Member& m)
    {
        Words types{"Kernel", "int"};
        for (const Told& a : m.arguments())
            types.push_back(a.kind == Kind::increment ? "int"
                            : a.kind == Kind::scalar  ? m.element(a)
                                                      : (a.output ? "" : "const ") + m.element(a) + "*");
        types.insert(types.end(), {"void*", "float"});
        return "extern \"C\" void qnm_vml_serv_threader_" + m.threader() + "(" + generate::joined(types) +
               ");\n";
    }

    static std::string function(const Member& m, const Form& form, const std::string& name,
                                const std::string& root, const std::string& specifiers)
    {
        return specifiers + "void " + name + "(" + generate::joined(declared(parameters(m, form, false))) +
               ")\n{\n    " + call(m, form, root) + ";\n}\n";
    }

    static std::string entry_text(const Member& m, const Form& form)
    {
        Words spellings;
        for (const std::string& pattern : form.spellings)
            spellings.push_back(spell(pattern, m.name()));
        std::string text =
            is_shared(form)
                ? "QNM_VML_SHARED(" + spellings[0] + ", " + body_name(m, form) + ", " + m.name() + ")\n"
                : function(m, form, spellings[0], m.name() + "_root", "extern \"C\" QNM_EXPORT ");
        for (std::size_t i = 1; i < spellings.size(); ++i)
            text += "QNM_SAME(" + spellings[i] + ", " + spellings[0] + ")\n";
        return text;
    }

    static std::string control_text(const Statement& s)
    {
        const std::string kernel = spell(s.family->core, s.roots[0]);
        const auto type = [](const std::string& word) { return find_type(word)->single; };
        std::string text =
            "QNM_VML_CONTROL(" +
            generate::joined(s.argument.empty() ? Words{kernel, type(s.result)}
                                                : Words{kernel, type(s.result), type(s.argument)}) +
            ")\n";
        for (const Form& form : s.family->forms) {
            const Signature made = control_signature(s, form);
            Words declared_here, passed{kernel + "_cell", generate::quoted(kernel)};
            if (!s.argument.empty()) {
                const bool address = find_type(s.argument)->address;
                declared_here.push_back((address ? type(s.argument) : number(type(s.argument), form, false)) +
                                        " value");
                passed.emplace_back("value");
            }
            text += generate::exported(made.result + " " + made.names[0] + "(" +
                                           generate::joined(declared_here) + ")",
                                       "return control(" + generate::joined(passed) + ")");
            for (std::size_t i = 1; i < made.names.size(); ++i)
                text += "QNM_SAME(" + made.names[i] + ", " + made.names[0] + ")\n";
        }
        return text;
    }

    static Signature signature(const Member& m, const Form& form)
    {
        Signature s;
        s.table = m.told->file;
        s.line = m.told->line;
        s.family = m.told->family->name;
        s.root = m.root;
        s.letter = m.letter;
        s.form = &form;
        for (const std::string& pattern : form.spellings)
            s.names.push_back(spell(pattern, m.name()));
        s.source = "entry, src/vml/vector.hpp";
        s.parameters = parameters(m, form, true);
        s.report_name = "v" + m.name();
        s.tests.push_back({0, 1, "n >= 0"});
        if (form.width == Width::wide)
            s.tests.back().name = s.report_name + "_64"; // vectors are told as the narrow entry's
        const std::size_t count = m.arguments().size();
        for (std::size_t i = 0; i < count; ++i)
            if (m.code(i) != 0)
                s.tests.push_back({static_cast<int>(i) + 1, m.code(i), s.parameters[i + 1].name + " != 0"});
        if (m.told->direct)
            return s;
        Callee threader{"qnm_vml_serv_threader_" + m.threader(),
                        "",
                        {{Fill::constant, -1, "kernel", {}, "qnm_procedure_t", "kernel"}}};
        for (std::size_t i = 0; i <= count; ++i) {
            const Parameter& p = s.parameters[i];
            threader.places.push_back({p.argument->is_integer()     ? Fill::low
                                       : p.travel == Travel::number ? Fill::read
                                                                    : Fill::as_it_is,
                                       static_cast<int>(i)});
        }
        threader.places.push_back({Fill::constant, -1, "handle", {}, "void*", "library"});
        threader.places.push_back({Fill::constant, -1, "companion", {}, "float", "companion"});
        s.callees = {threader};
        return s;
    }

    static Signature control_signature(const Statement& told, const Form& form)
    {
        const auto type = [&](const std::string& word) {
            const Type& known = *find_type(word);
            return known.address || form.width == Width::narrow ? known.single : std::string("qnm_int64");
        };
        Signature s;
        s.table = told.file;
        s.line = told.line;
        s.family = told.family->name;
        s.root = told.roots[0];
        s.letter = find_precision("-");
        s.form = &form;
        for (const std::string& pattern : form.spellings)
            s.names.push_back(spell(pattern, s.root));
        s.source = "control, src/vml/control.hpp";
        s.result = type(told.result);
        if (!told.argument.empty()) {
            if (find_type(told.argument)->address)
                s.parameters.push_back({"value", type(told.argument), Travel::address, nullptr, ""});
            else
                s.parameters.push_back(parameter("value", find_type(told.argument)->single, form, true));
        }
        return s;
    }

    std::deque<Statement> statements_; // members point at them
};

} // namespace

std::unique_ptr<Room> make_vml_room();
std::unique_ptr<Room> make_vml_room()
{
    return std::make_unique<VmlRoom>();
}

} // namespace qnm::catalogue
