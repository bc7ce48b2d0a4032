// A sentence of a room's own: `NAME : FIRST SECOND` is a function that calls two of the core's in turn.
#include "generate/output.hpp"
#include "generate/rows_room.hpp"

namespace qnm::catalogue {

namespace {

class SampleRoom final : public generate::RowsRoom {
public:
    void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) override
    {
        if (!lexer.accept(":"))
            return RowsRoom::read(house, lexer, root, family);
        Signature s;
        s.names = {root};
        s.root = root;
        s.table = lexer.file();
        s.line = lexer.first_line();
        s.family = family.name;
        s.form = &family.forms.back();
        s.callees = {{lexer.identifier("a function"), "", {}}, {lexer.identifier("a function"), "", {}}};
        house.claim(root, s.where());
        pairs_.push_back(s);
    }

    std::vector<Signature> signatures(const Catalogue& house, const std::string& table) const override
    {
        std::vector<Signature> all = RowsRoom::signatures(house, table);
        all.insert(all.end(), pairs_.begin(), pairs_.end());
        return all;
    }

    std::string source(const Catalogue& house, const std::string& table) const override
    {
        std::string text = RowsRoom::source(house, table) + "namespace qnm::sample {\n";
        for (const Signature& s : pairs_) {
            const std::string first = s.callees[0].name, second = s.callees[1].name;
            text += "extern \"C\" void " + first + "();\nextern \"C\" void " + second + "();\n" +
                    generate::exported("void " + s.names[0] + "()",
                                       "return in_turn<" + first + ", " + second + ">()");
        }
        return text + "} // namespace qnm::sample\n";
    }

private:
    std::vector<Signature> pairs_;
};

} // namespace

std::unique_ptr<Room> make_sample_room();
std::unique_ptr<Room> make_sample_room()
{
    return std::make_unique<SampleRoom>();
}

} // namespace qnm::catalogue
