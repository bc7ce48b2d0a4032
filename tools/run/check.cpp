#include "check.hpp"

#include "catalogue/linked.hpp"
#include "elf_file.hpp"

#include <algorithm>
#include <deque>
#include <iterator>
#include <memory>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

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

// "3 names (a, b and more)"
std::string counted(const std::vector<std::string>& names)
{
    constexpr std::size_t most = 3;
    std::string text = std::to_string(names.size()) + (names.size() == 1 ? " name (" : " names (");
    for (std::size_t i = 0; i < std::min(most, names.size()); ++i)
        text += (i == 0 ? "" : ", ") + names[i];
    return text + (names.size() > most ? ", ...)" : ")");
}

std::vector<std::string> united(const std::vector<std::string>& one, const std::vector<std::string>& other)
{
    std::vector<std::string> all;
    std::set_union(one.begin(), one.end(), other.begin(), other.end(), std::back_inserter(all));
    return all;
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
        first_needed_ = files_.size();
        for (const Needed& library : program.needed)
            if (!library.path.empty())
                add(library.path);
        for (std::size_t i = first_needed_; i < files_.size(); ++i)
            file(i).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
                if (symbol.defined && is_rival(symbol.name))
                    brings_ours_[i] = true;
            });
    }

    Tables tables;

    int size() const { return static_cast<int>(files_.size()); }
    const ElfFile& file(std::size_t i) const { return *files_[i]; }
    const std::string& path(int i) const { return paths_[static_cast<std::size_t>(i)]; }
    bool is_ours(int i) const { return i > 0 && static_cast<std::size_t>(i) < first_needed_; }
    int core() const { return static_cast<int>(first_needed_) - 1; }
    /// Whether it is another library for the same purpose.
    bool brings_ours(int i) const { return brings_ours_.at(static_cast<std::size_t>(i)); }

    /// The first image that exports the name; -1 if there is none.
    int definer(std::string_view name) const
    {
        const auto found = first_.find(name);
        return found != first_.end() ? found->second : -1;
    }
    /// Whether an image that exports the name does what is ours to do.
    bool is_rival(std::string_view name) const
    {
        return of_ours_.contains(name) && is_spelled_as_published(name) && !is_handler(name);
    }

    /// What is told of a name that one of ours exports.
    std::string label(int i, const Signature* signature) const
    {
        const std::string by = file_name(path(i));
        std::string text = "ours";
        if (by.starts_with("libqnm_gnu."))
            text += " by the adapter";
        else if (by.starts_with("libqnm_cdft") || by.starts_with("libqnm_ilp64."))
            text += " by " + by;
        if (by.starts_with("libqnm_ilp64."))
            return text + ", 64-bit integers";
        if (signature == nullptr || signature->form == nullptr)
            return text;
        return text +
               (signature->form->width == catalogue::Width::wide ? ", 64-bit integers" : ", 32-bit integers");
    }

private:
    void add(const std::string& path)
    {
        const int place = size();
        paths_.push_back(path);
        files_.push_back(std::make_unique<ElfFile>(path));
        brings_ours_.push_back(false);
        if (!files_.back()->is_native())
            return;
        const bool ours = place > 0 && first_needed_ == 0;
        files_.back()->symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
            if (symbol.defined)
                first_.emplace(symbol.name, place);
            if (symbol.defined && ours)
                of_ours_.insert(symbol.name);
        });
    }

    std::vector<std::string> paths_;
    std::vector<std::unique_ptr<ElfFile>> files_; // names lie in them
    std::vector<bool> brings_ours_;
    std::size_t first_needed_ = 0;
    std::unordered_map<std::string_view, int> first_;
    std::unordered_set<std::string_view> of_ours_;
};

Check::Check(const Program& program, const std::vector<std::string>& preloaded)
{
    for (const Needed& library : program.needed)
        if (library.path.empty())
            missing_libraries_.push_back(library.name);
    const Scope scope(program, preloaded);
    core_ = scope.path(scope.core());
    ask_core(scope);
    look_for_own(scope);
    follow(scope);
}

// Static libraries leave names in programs that are not stripped.
void Check::look_for_own(const Scope& scope)
{
    std::set<std::string> own;
    for (const Elf64_Word kind : {SHT_SYMTAB, SHT_DYNSYM})
        scope.file(0).symbols(kind, [&](const Symbol& symbol) {
            if (symbol.defined && scope.is_rival(symbol.name))
                own.emplace(symbol.name);
        });
    own_.assign(own.begin(), own.end());
}

void Check::follow(const Scope& scope)
{
    std::set<std::string> traced, untraced, passing;
    std::set<int> reached{0};
    for (std::deque<int> left{0}; !left.empty(); left.pop_front()) {
        Image image{scope.path(left.front()), {}};
        if (left.front() == 0 && !own_.empty())
            image.fates["defined in the program itself"] = own_;
        scope.file(static_cast<std::size_t>(left.front())).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
            const int place = symbol.defined ? -1 : scope.definer(symbol.name);
            const std::string name(symbol.name);
            if (scope.is_ours(place)) {
                const Signature* signature = scope.tables.find(name);
                image.fates[scope.label(place, signature)].push_back(name);
                (signature != nullptr && !signature->trace.empty() ? traced : untraced).insert(name);
                if (const std::string lack = lack_of(scope, name); !lack.empty())
                    ends_[name] = lack;
            } else if (place == 0 && scope.is_rival(symbol.name)) {
                image.fates["defined in the program itself"].push_back(name);
            } else if (place > 0) {
                if (scope.brings_ours(place) && is_spelled_as_published(name) && !is_handler(name)) {
                    image.fates["not ours, by " + scope.path(place)].push_back(name);
                    passing.insert(name);
                }
                if (reached.insert(place).second)
                    left.push_back(place);
            }
        });
        if (!image.fates.empty())
            images_.push_back(image);
    }
    traced_.assign(traced.begin(), traced.end());
    untraced_.assign(untraced.begin(), untraced.end());
    passing_.assign(passing.begin(), passing.end());
}

// The layer's own system libraries need not be among those of the program.
void Check::ask_core(const Scope& scope)
{
    std::set<std::string> wanted;
    std::vector<Needed> behind;
    for (int i = 1; scope.is_ours(i); ++i) {
        if (i != scope.core())
            scope.file(static_cast<std::size_t>(i)).symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
                if (!symbol.defined && !symbol.weak && scope.definer(symbol.name) < 0)
                    wanted.emplace(symbol.name);
            });
        for (const Needed& library : needed_libraries(scope.path(i)))
            behind.push_back(library);
    }
    std::set<std::string> asked;
    for (const Needed& library : behind)
        if (asked.insert(library.path).second && !library.path.empty())
            if (const ElfFile file(library.path); file.is_native())
                file.symbols(SHT_DYNSYM, [&](const Symbol& symbol) {
                    if (symbol.defined)
                        wanted.erase(std::string(symbol.name));
                });
    lacking_.assign(wanted.begin(), wanted.end());
}

// An entry calls the core, or another entry that does.
std::string Check::lack_of(const Scope& scope, const std::string& name) const
{
    if (lacking_.empty())
        return {};
    std::vector<std::string> left{name};
    for (std::set<std::string> seen; !left.empty();) {
        const std::string called = left.back();
        left.pop_back();
        if (std::binary_search(lacking_.begin(), lacking_.end(), called))
            return called;
        if (const Signature* signature = scope.tables.find(called);
            seen.insert(called).second && signature != nullptr)
            for (const catalogue::Callee& callee : signature->callees)
                left.push_back(callee.name);
    }
    return {};
}

std::string Check::text() const
{
    std::string text;
    for (const Image& image : images_) {
        text += image.path + "\n";
        for (const auto& [fate, names] : image.fates)
            text += listed(fate, names);
    }
    if (!lacking_.empty())
        text += core_ + "\n" + listed("lacks", lacking_);
    for (const std::string& library : missing_libraries_)
        text += "cannot run: the library " + library + " is not found\n";
    for (const auto& [name, lack] : ends_)
        text += "cannot run: " + name + " ends the program, since the core lacks " + lack + "\n";
    if (images_.empty())
        return text + "calls nothing of the layer; what it opens or starts while it runs is not seen\n";
    const Names ours = united(traced_, untraced_), others = united(own_, passing_);
    return text +
           (others.empty()
                ? "all is ours: " + counted(ours)
                : counted(others) + (others.size() == 1 ? " is" : " are") + " not ours, " +
                      (ours.empty() ? "none is" : counted(ours) + (ours.size() == 1 ? " is" : " are"))) +
           "\n";
}

int Check::status() const
{
    if (!missing_libraries_.empty() || !ends_.empty())
        return 2;
    return passing_.empty() && own_.empty() ? 0 : 1;
}

std::string Check::reason() const
{
    Names reasons;
    if (!own_.empty())
        reasons.push_back("it brings " + counted(own_) + " itself");
    if (!passing_.empty())
        reasons.push_back("it takes " + counted(passing_) + " from other libraries");
    if (!untraced_.empty())
        reasons.push_back(counted(untraced_) + " of ours with no line of their own");
    if (!traced_.empty())
        reasons.push_back("of ours it might have called " + counted(traced_) + ", and did not");
    if (reasons.empty())
        reasons.emplace_back("neither it nor a library that it needs takes a name of ours");
    if (traced_.empty())
        reasons.emplace_back("what it opens while it runs is not seen here");
    std::string text;
    for (const std::string& reason : reasons)
        text += (text.empty() ? "" : "; ") + reason;
    return text;
}

} // namespace qnm::run
