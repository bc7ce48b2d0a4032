// The room of Fourier transforms. Its own sentence is
//
//     compute TAG... arrays COUNT forward backward
//
// a body for each direction and for either way of telling arrays, under the names of all tags, and of each
// tag a Fortran name in front of it.
#include <algorithm>

#include "fortran.hpp"
#include "generate/output.hpp"
#include "generate/rows_room.hpp"

namespace qnm::catalogue {

namespace {

using generate::Words;

/// One body, with what its source says.
struct Body {
    Signature signature;
    std::string statement; // empty: a jump to what it calls
};

class DftRoom final : public generate::RowsRoom {
public:
    void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) override
    {
        if (root != "compute")
            return RowsRoom::read(house, lexer, root, family);
        Words tags;
        while (!lexer.accept("arrays"))
            tags.push_back(lexer.identifier("a tag, or 'arrays'"));
        const int count = lexer.number("the number of arrays");
        do {
            const std::string way = lexer.identifier("'forward' or 'backward'");
            if (way != "forward" && way != "backward")
                lexer.fail_at(lexer.first_line(), "'" + way + "'", "'forward' or 'backward'");
            add(house, lexer, family, tags, count, way);
        } while (!lexer.at_end());
    }

    std::vector<Signature> signatures(const Catalogue& house, const std::string& table) const override
    {
        std::vector<Signature> all = RowsRoom::signatures(house, table);
        for (const Body& body : bodies_)
            if (body.signature.table == table)
                all.push_back(body.signature);
        return all;
    }

    std::string source(const Catalogue& house, const std::string& table) const override
    {
        std::string text = generate::source_head(table, "dft", "qnm::dft");
        std::set<std::string> declared;
        for (const Row& row : house.rows())
            if (row.file == table)
                text += RowsRoom::text(row, declared);
        for (const Body& body : bodies_) {
            const Signature& s = body.signature;
            if (s.table != table)
                continue;
            if (body.statement.empty()) {
                text += "QNM_FORWARD(" + s.names[0] + ", " + s.callees[0].name + ")\n";
            } else {
                Words parameters{"const dft_handle* handle"};
                for (auto p = s.parameters.begin() + 1; p != s.parameters.end(); ++p)
                    parameters.push_back(p->type + " " + p->name);
                text += generate::exported("int " + s.names[0] + "(" + generate::joined(parameters) + ")",
                                           body.statement);
            }
            for (std::size_t i = 1; i < s.names.size(); ++i)
                text += "QNM_SAME(" + s.names[i] + ", " + s.names[0] + ")\n";
        }
        return text + "} // namespace qnm::dft\n";
    }

    std::string mark(const Catalogue& house, const std::vector<std::string>& words) const override
    {
        // The table stands ahead of the prefix, if there is one.
        const std::size_t at = !words.empty() && words[0] == "generic" ? 2 : 1;
        return module_text(words.size() > at ? house.signatures(words[at]) : std::vector<Signature>{}, words);
    }

private:
    void add(Catalogue& house, const Lexer& lexer, const Family& family, const Words& tags, int count,
             const std::string& way)
    {
        const auto spelled = [&](const std::string& tag) { return "dfti_compute_" + way + "_" + tag; };
        Body direct{new_signature(lexer, family, count, "void*"), statement(way, count)};
        Body indirect{new_signature(lexer, family, count, "void* const*"), statement(way, count)};
        std::vector<Body> jumps;
        const auto fortran =
            std::find_if(house.families().begin(), house.families().end(),
                         [&](const auto& other) { return other.second.calls == family.name; });
        if (fortran == house.families().end())
            lexer.fail_at(lexer.first_line(), "'" + family.name + "'",
                          "a family whose entries another one calls");
        for (const std::string& tag : tags) {
            const std::string name = spell(family.forms.front().spellings.front(), spelled(tag));
            direct.signature.names.push_back(name);
            indirect.signature.names.push_back(spelled(tag) + "_cpu");
            Body jump{new_signature(lexer, fortran->second, count, "void*"), ""};
            for (const std::string& pattern : fortran->second.forms.front().spellings)
                jump.signature.names.push_back(spell(pattern, spelled(tag)));
            jump.signature.callees = {{name, "", {}}};
            for (int i = 0; i <= count; ++i)
                jump.signature.callees[0].places.push_back({Fill::as_it_is, i});
            jumps.push_back(std::move(jump));
        }
        jumps.insert(jumps.begin(), {std::move(direct), std::move(indirect)});
        for (Body& body : jumps) {
            for (const std::string& name : body.signature.names)
                house.claim(name, body.signature.where());
            bodies_.push_back(std::move(body));
        }
    }

    static std::string array(int i) { return {static_cast<char>('a' + i)}; }

    static Signature new_signature(const Lexer& lexer, const Family& family, int count,
                                   const std::string& type)
    {
        Signature s;
        s.table = lexer.file();
        s.line = lexer.first_line();
        s.family = family.name;
        s.root = "compute";
        s.form = &family.forms.front();
        s.source = "compute, src/dft/compute.hpp";
        s.published = false;
        s.result = "int";
        s.parameters.push_back({"handle", "qnm_dft_handle const*", Travel::address, nullptr, ""});
        for (int i = 0; i < count; ++i)
            s.parameters.push_back({array(i), type, Travel::address, nullptr, ""});
        return s;
    }

    static std::string statement(const std::string& way, int count)
    {
        Words passed{"handle"};
        for (int i = 0; i < count; ++i)
            passed.push_back(array(i));
        return "return tagged<Direction::" + way + ">(" + generate::joined(passed) + ")";
    }

    std::vector<Body> bodies_;
};

} // namespace

std::unique_ptr<Room> make_dft_room();
std::unique_ptr<Room> make_dft_room()
{
    return std::make_unique<DftRoom>();
}

} // namespace qnm::catalogue
