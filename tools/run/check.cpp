#include "check.hpp"

#include "catalogue/linked.hpp"
#include "elf_file.hpp"

#include <algorithm>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>

namespace qnm::run {
namespace {

using catalogue::Signature;

// Programs and libraries may have their own: handlers of errors are there to be taken over.
bool is_handler(std::string_view name)
{
    return name.find("xerbla") != std::string_view::npos;
}

// As Fortran compilers and the C interfaces spell names; others in a library beside them are its own affair.
bool is_spelled_as_published(std::string_view name)
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789_";
    for (const char* prefix : {"cblas_", "LAPACKE_", "fftw_", "fftwf_"})
        if (name.starts_with(prefix))
            return true;
    return name.ends_with('_') && !name.starts_with('_') &&
           name.find_first_not_of(letters) == std::string_view::npos;
}

std::string file_name(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

// "  label (3): a, b, c", in lines that are not too long.
std::string listed(const std::string& label, std::vector<std::string> names)
{
    std::sort(names.begin(), names.end());
    constexpr std::size_t most = 100;
    std::string text = "  " + label + " (" + std::to_string(names.size()) + "):", line = text;
    text.clear();
    for (const std::string& name : names) {
        if (line.size() + 1 + name.size() > most) {
            text += line + "\n";
            line = "   ";
        }
        line += " " + name;
    }
    return text + line + "\n";
}

// "4 names (a, b, c, ...)"
std::string counted(const std::set<std::string>& names)
{
    constexpr int most = 3;
    std::string text;
    int told = 0;
    for (const std::string& name : names) {
        if (told++ == most) {
            text += ", ...";
            break;
        }
        text += (text.empty() ? "" : ", ") + name;
    }
    return std::to_string(names.size()) + (names.size() == 1 ? " name (" : " names (") + text + ")";
}

std::string joined(const std::vector<std::string>& clauses)
{
    std::string text;
    for (const std::string& clause : clauses)
        text += (text.empty() ? "" : "; ") + clause;
    return text;
}

/// What the tables say of every name.
class Tables {
public:
    Tables() : catalogue_(catalogue::linked_tables()), signatures_(catalogue_.signatures())
    {
        for (const Signature& signature : signatures_)
            for (const std::string& name : signature.names)
                named_.emplace(name, &signature);
    }
    const Signature* find(const std::string& name) const
    {
        const auto found = named_.find(name);
        return found != named_.end() ? found->second : nullptr;
    }

private:
    catalogue::Catalogue catalogue_;
    std::vector<Signature> signatures_; // they point into it
    std::unordered_map<std::string, const Signature*> named_;
};

} // namespace

/// The images in the order in which the loader looks for a name: the program, what is preloaded, libraries.
class Check::Scope {
public:
    Scope(const Program& program, const std::vector<std::string>& preloaded)
    {
        add(program.image);
        for (const std::string& path : preloaded)
            add(path);
        first_needed_ = size();
        for (const Needed& library : program.needed)
            if (!library.path.empty())
                add(library.path);
        keep_names();
        find_names();
    }

    /// What takes its time is read when it is first asked for: a run that told something never asks.
    const Signature* find(const std::string& name) const
    {
        if (!tables_)
            tables_.emplace();
        return tables_->find(name);
    }

    int size() const { return static_cast<int>(files_.size()); }
    const ElfFile& file(int i) const { return *files_[static_cast<std::size_t>(i)]; }
    const std::string& path(int i) const { return paths_[static_cast<std::size_t>(i)]; }
    bool is_ours(int i) const { return i > 0 && i < first_needed_; }
    int core() const { return first_needed_ - 1; }
    /// Whether it is another library for the same purpose.
    bool brings_ours(int i) const { return rivals_.contains(i); }

    /// The first image that exports a name that an image takes; -1 if there is none.
    int definer(std::string_view name) const
    {
        const auto found = first_.find(name);
        return found != first_.end() ? found->second : nowhere;
    }
    /// Whether who defines the name does what is ours to do.
    bool is_rival(std::string_view name) const
    {
        const auto found = defined_.find(name);
        return found != defined_.end() && found->second;
    }

    /// What is told of a name that comes from there.
    std::string fate(int i, const std::string& name) const
    {
        if (i == 0)
            return "defined in the program itself";
        if (!is_ours(i))
            return "not ours, by " + path(i);
        const std::string by = file_name(path(i));
        std::string text = "ours";
        if (by.starts_with("libqnm_gnu."))
            text += " by the adapter";
        else if (by.starts_with("libqnm_cdft") || by.starts_with("libqnm_ilp64."))
            text += " by " + by;
        if (by.starts_with("libqnm_ilp64."))
            return text + ", 64-bit integers";
        const Signature* const signature = find(name);
        if (signature == nullptr || signature->form == nullptr)
            return text;
        return text +
               (signature->form->width == catalogue::Width::wide ? ", 64-bit integers" : ", 32-bit integers");
    }

private:
    static constexpr int nowhere = -1;

    void add(const std::string& path)
    {
        paths_.push_back(path);
        files_.push_back(std::make_unique<ElfFile>(path));
    }

    // Libraries have a hundred times the names that are asked for: only these are kept.
    void keep_names()
    {
        // A library's variable that a program names is kept in the program.
        const auto keep_if_rival = [&](const Symbol& symbol) {
            if (symbol.defined && !symbol.is_data && is_spelled_as_published(symbol.name) &&
                !is_handler(symbol.name))
                defined_.emplace(symbol.name, false);
        };
        file(0).symbols(SHT_SYMTAB, keep_if_rival);
        for (int i = 0; i < size(); ++i)
            file(i).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
                if (!symbol.defined)
                    first_.emplace(symbol.name, nowhere);
                else if (!is_ours(i))
                    keep_if_rival(symbol);
            });
    }
    void find_names()
    {
        for (int i = 0; i < size(); ++i)
            file(i).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
                if (!symbol.defined)
                    return;
                if (const auto found = first_.find(symbol.name);
                    found != first_.end() && found->second == nowhere)
                    found->second = i;
                if (const auto found = defined_.find(symbol.name); found != defined_.end()) {
                    found->second |= is_ours(i);
                    if (i >= first_needed_ && found->second)
                        rivals_.insert(i);
                }
            });
    }

    mutable std::optional<Tables> tables_;
    std::vector<std::string> paths_;
    std::vector<std::unique_ptr<ElfFile>> files_; // names lie in them
    int first_needed_ = 0;
    std::unordered_map<std::string_view, int> first_;    // by names that are taken
    std::unordered_map<std::string_view, bool> defined_; // by names outside of ours: ours have it too
    std::set<int> rivals_;
};

Check::Check(const Program& program, const std::vector<std::string>& preloaded)
    : scope_(std::make_unique<Scope>(program, preloaded))
{
    for (const Needed& library : program.needed)
        if (library.path.empty())
            missing_libraries_.push_back(library.name);
    look_for_own();
    follow();
}

Check::~Check() = default;

// Static libraries leave names in programs that are not stripped.
void Check::look_for_own()
{
    for (const Elf64_Word kind : {SHT_SYMTAB, SHT_DYNSYM})
        scope_->file(0).symbols(kind, [&](const Symbol& symbol) {
            if (symbol.defined && scope_->is_rival(symbol.name))
                own_.emplace(symbol.name);
        });
}

void Check::follow()
{
    std::set<int> reached{0};
    for (std::deque<int> left{0}; !left.empty(); left.pop_front()) {
        Image image{scope_->path(left.front()), {}};
        if (left.front() == 0 && !own_.empty())
            image.taken[0].assign(own_.begin(), own_.end());
        scope_->file(left.front()).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
            const int place = symbol.defined ? -1 : scope_->definer(symbol.name);
            if (place < 0 || (place == 0 && !scope_->is_rival(symbol.name)))
                return;
            const std::string name(symbol.name);
            if (scope_->is_ours(place)) {
                ours_.insert(name);
            } else if (place > 0) {
                if (reached.insert(place).second)
                    left.push_back(place);
                if (!scope_->brings_ours(place) || !is_spelled_as_published(name) || is_handler(name))
                    return;
                passing_[place].insert(name);
            }
            image.taken[place].push_back(name);
        });
        if (!image.taken.empty())
            images_.push_back(image);
    }
}

// The layer's own system libraries need not be among those of the program.
Check::Names Check::lacking() const
{
    std::set<std::string> wanted;
    std::vector<Needed> behind;
    for (int i = 1; scope_->is_ours(i); ++i) {
        if (i != scope_->core())
            scope_->file(i).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
                if (!symbol.defined && !symbol.weak && scope_->definer(symbol.name) < 0)
                    wanted.emplace(symbol.name);
            });
        for (const Needed& library : needed_libraries(scope_->path(i)))
            behind.push_back(library);
    }
    std::set<std::string> asked;
    for (const Needed& library : behind)
        if (asked.insert(library.path).second && !library.path.empty())
            ElfFile(library.path).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
                if (symbol.defined)
                    wanted.erase(std::string(symbol.name));
            });
    return {wanted.begin(), wanted.end()};
}

// An entry calls the core, or another entry that does.
std::string Check::lack_of(const Names& lacking, const std::string& name) const
{
    if (lacking.empty())
        return {};
    std::vector<std::string> left{name};
    for (std::set<std::string> seen; !left.empty();) {
        const std::string called = left.back();
        left.pop_back();
        if (std::binary_search(lacking.begin(), lacking.end(), called))
            return called;
        if (const Signature* signature = scope_->find(called);
            seen.insert(called).second && signature != nullptr)
            for (const catalogue::Callee& callee : signature->callees)
                left.push_back(callee.name);
    }
    return {};
}

Check::Verdict Check::verdict() const
{
    std::string text;
    for (const Image& image : images_) {
        std::map<std::string, Names> fates;
        for (const auto& [place, names] : image.taken)
            for (const std::string& name : names)
                fates[scope_->fate(place, name)].push_back(name);
        text += image.path + "\n";
        for (const auto& [fate, names] : fates)
            text += listed(fate, names);
    }
    bool runs = missing_libraries_.empty();
    const Names lacking = this->lacking();
    if (!lacking.empty())
        text += scope_->path(scope_->core()) + "\n" + listed("lacks", lacking);
    for (const std::string& library : missing_libraries_)
        text += "cannot run: the library " + library + " is not found\n";
    for (const std::string& name : ours_)
        if (const std::string lack = lack_of(lacking, name); !lack.empty()) {
            text += "cannot run: " + name + " ends the program, since the core lacks " + lack + "\n";
            runs = false;
        }
    std::set<std::string> others = own_;
    for (const auto& [place, names] : passing_)
        others.insert(names.begin(), names.end());
    if (images_.empty())
        text += std::string("calls nothing of the layer; ") + unseen + "\n";
    else if (others.empty())
        text += "all is ours: " + counted(ours_) + "\n";
    else
        text += counted(others) + (others.size() == 1 ? " is" : " are") + " not ours, " +
                (ours_.empty() ? "none is" : counted(ours_) + (ours_.size() == 1 ? " is" : " are")) + "\n";
    return {text, !runs ? 2 : others.empty() ? 0 : 1};
}

Check::Names Check::passing() const
{
    Names clauses;
    if (!own_.empty())
        clauses.push_back("it brings " + counted(own_) + " itself");
    constexpr std::size_t most = 3;
    for (const auto& [place, names] : passing_) {
        if (clauses.size() > most) {
            clauses.emplace_back("and others from further libraries");
            break;
        }
        clauses.push_back("it takes " + counted(names) + " from " + scope_->path(place));
    }
    return clauses;
}

std::string Check::passed_by() const
{
    Names clauses = passing();
    if (!clauses.empty())
        clauses.emplace_back(unseen);
    return joined(clauses);
}

std::string Check::reason() const
{
    Names reasons = passing();
    std::set<std::string> traced, untraced;
    for (const std::string& name : ours_) {
        const Signature* const signature = scope_->find(name);
        (signature != nullptr && !signature->trace.empty() ? traced : untraced).insert(name);
    }
    if (!untraced.empty())
        reasons.push_back(counted(untraced) + " of ours with no line of their own");
    if (!traced.empty())
        reasons.push_back("of ours it might have called " + counted(traced) + ", and did not");
    if (reasons.empty())
        reasons.emplace_back("neither it nor a library that it needs takes a name of ours");
    if (traced.empty())
        reasons.emplace_back(unseen);
    return joined(reasons);
}

} // namespace qnm::run
