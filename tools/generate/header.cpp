// Public headers: prototypes are put where a hand-written header asks for them.
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "catalogue/cblas.hpp"
#include "output.hpp"
#include "prototypes.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// The rows that a header has declared so far, by table.
class Declared {
public:
    explicit Declared(const Catalogue& tables) : tables_(tables) {}

    /// The prototypes of a table's rows of these names, or of all its rows if there are none.
    std::string take(const std::string& file, const std::set<std::string>& names)
    {
        std::string text;
        std::set<std::string> missing = names;
        const auto add = [&](const auto& row, const std::string& name) {
            if (row.file != file || (!names.empty() && names.count(name) == 0))
                return;
            missing.erase(name);
            if (!seen_[file].insert(&row).second)
                throw TableError(row.where() + ": '" + name + "': expected to be asked for once");
            text += prototypes(row);
        };
        for (const Row& row : tables_.rows())
            add(row, row.root);
        for (const CRow& row : tables_.c_rows())
            add(row, row.root);
        for (const Service& s : tables_.services())
            add(s, s.name);
        if (!missing.empty())
            throw TableError(file + ":0: '" + *missing.begin() + "': expected a row of this table");
        if (seen_[file].empty())
            throw TableError(file + ":0: no prototypes: expected the name of a table that was read");
        return text;
    }

    /// Refuses a header that asks for some rows of a table and leaves out others.
    void check_complete() const
    {
        for (const auto& [file, seen] : seen_) {
            for (const Row& row : tables_.rows())
                check(row, file, row.root);
            for (const CRow& row : tables_.c_rows())
                check(row, file, row.root);
            for (const Service& s : tables_.services())
                check(s, file, s.name);
        }
    }

private:
    template <class R>
    void check(const R& row, const std::string& file, const std::string& name) const
    {
        if (row.file == file && seen_.at(file).count(&row) == 0)
            throw TableError(row.where() + ": '" + name + "': expected a place in the header");
    }

    const Catalogue& tables_;
    std::map<std::string, std::set<const void*>> seen_;
};

/// The tables of the C interface to LAPACK that a header has declared so far.
void check_interfaces(const Catalogue& tables, const std::set<std::string>& seen)
{
    for (const LapackePlan& plan : tables.lapacke_plans())
        if (!seen.empty() && seen.count(plan.c->file) == 0)
            throw TableError(plan.c->where() + ": '" + plan.row->root + "': expected a place in the header");
}

} // namespace

std::string header_text(const Catalogue& tables, const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw TableError(path + ":0: cannot be read: expected a header");
    std::string text;
    Declared declared(tables);
    const std::string mark = "@prototypes ";
    const std::string c_mark = "@interface ";
    std::set<std::string> interfaces;
    for (std::string line; std::getline(in, line);) {
        if (line == "@renames@") {
            text += lapacke_renames(tables);
            continue;
        }
        if (line == "@routines narrow@" || line == "@routines wide@") {
            text += lapacke_routines(tables, line == "@routines wide@" ? Width::wide : Width::narrow);
            continue;
        }
        if (line.rfind(c_mark, 0) == 0) {
            const std::string file =
                line.substr(c_mark.size(), line.find(' ', c_mark.size()) - c_mark.size());
            const std::string declarations = lapacke_prototypes(tables, file);
            if (declarations.empty())
                throw TableError(file + ":0: no prototypes: expected the name of a table that was read");
            interfaces.insert(file);
            text += declarations;
            continue;
        }
        if (line.rfind(mark, 0) != 0) {
            text += line + "\n";
            continue;
        }
        // A long list of names goes on in the next line; the second mark ends it.
        std::string inside = line.substr(mark.size());
        while (inside.find('@') == std::string::npos && std::getline(in, line))
            inside += " " + line;
        std::istringstream words(inside.substr(0, inside.find('@')));
        std::string file;
        words >> file;
        text += declared.take(file, {std::istream_iterator<std::string>(words), {}});
    }
    declared.check_complete();
    check_interfaces(tables, interfaces);
    return text;
}

} // namespace qnm::generate
