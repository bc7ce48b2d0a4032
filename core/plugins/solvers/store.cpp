#include "store.hpp"

#include "handle.hpp"
#include "open/guarded.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

namespace qnm::core::solvers::store {
namespace {

struct Broken {}; // a file that is not as it was written

/// Values are put one behind the other, and taken in the same order.
class Put {
public:
    template <class... X>
    void operator()(const X&... x)
    {
        (put(&x, 1), ...);
    }
    template <class X>
    void many(const Array<X>& x, core_int count)
    {
        put(x.get(), count);
    }
    template <class X, class Each>
    void list(const std::vector<X>& all, const Each& each)
    {
        put_count(all.size());
        for (const X& x : all)
            each(x);
    }
    std::vector<char> bytes;

private:
    void put_count(std::size_t count) { (*this)(static_cast<core_int>(count)); }
    template <class X>
    void put(const X* x, core_int count)
    {
        const auto* const at = reinterpret_cast<const char*>(x);
        bytes.insert(bytes.end(), at, at + static_cast<std::size_t>(count) * sizeof(X));
    }
};

class Take {
public:
    explicit Take(const std::vector<char>& bytes) : at_(bytes.data()), left_(bytes.size()) {}
    template <class... X>
    void operator()(X&... x)
    {
        (take(&x, 1), ...);
    }
    template <class X>
    void many(Array<X>& x, core_int count)
    {
        x = Array<X>(count);
        take(x.get(), count);
    }
    template <class X, class Each>
    void list(std::vector<X>& all, const Each& each)
    {
        core_int count = 0;
        (*this)(count);
        all.resize(static_cast<std::size_t>(count));
        for (X& x : all)
            each(x);
    }

private:
    template <class X>
    void take(X* x, core_int count)
    {
        const std::size_t wanted = static_cast<std::size_t>(count) * sizeof(X);
        if (wanted > left_)
            throw Broken();
        std::memcpy(x, at_, wanted);
        at_ += wanted, left_ -= wanted;
    }
    const char* at_;
    std::size_t left_;
};

/// What the file has of a handle.
struct Content {
    struct Slot {
        core_int pattern = -1; // its place among them, if it has one
        bool has_system = false, is_factored = false;
        Facts facts = {};
    };
    int mtype = 0;
    bool single = false;
    core_int n = 0, latest = -1;
    Wishes wishes = {};
    std::array<char, 64> name{}; // what those of the engine's files begin with
    std::vector<int> order = {};
    std::vector<std::shared_ptr<const Pattern>> patterns = {};
    std::vector<Slot> slots = {};

    std::string name_of(std::size_t slot) const { return name.data() + ("-" + std::to_string(slot)); }
    std::shared_ptr<const Pattern> pattern(core_int at) const
    {
        return at < 0 ? nullptr : patterns.at(static_cast<std::size_t>(at));
    }
    std::unique_ptr<System> system(const Slot& slot) const
    {
        return make_system(Kind(mtype), single, wishes, pattern(slot.pattern), {});
    }
};

void pass(Put& file, const std::shared_ptr<const Pattern>& pattern)
{
    Pattern::pass(*pattern, file);
}

void pass(Take& file, std::shared_ptr<const Pattern>& pattern)
{
    auto made = std::make_shared<Pattern>();
    Pattern::pass(*made, file);
    pattern = std::move(made);
}

template <class File, class C>
void pass_all(File& file, C& c)
{
    file(c.mtype, c.single, c.n, c.latest, c.name);
    file(c.wishes.reordering, c.wishes.scaled, c.wishes.matched, c.wishes.perturbation, c.wishes.determinant);
    file.list(c.order, [&](auto& place) { file(place); });
    file.list(c.patterns, [&](auto& pattern) { pass(file, pattern); });
    file.list(c.slots, [&](auto& slot) {
        auto& f = slot.facts;
        file(slot.pattern, slot.has_system, slot.is_factored);
        file(f.analysis_kb, f.factors_kb, f.nonzeros, f.millions_of_operations, f.perturbed, f.zero_pivot_row,
             f.negative, f.flops, f.determinant, f.binary_exponent);
    });
}

// ---- the file

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

struct Head {
    std::array<char, 8> mark{'Q', 'N', 'M', 'P', 'D', 'S', '0', '1'};
    std::uint64_t count = 0, sum = 0;
};

/// Fowler, Noll and Vo's.
std::uint64_t sum_of(const std::vector<char>& bytes)
{
    std::uint64_t sum = 0xCBF29CE484222325U;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
    return sum;
}

std::string path(const char* folder, const char* ending = "")
{
    return std::string(folder) + "/pardiso.qnm" + ending;
}

Error load(const char* folder, Content& content)
{
    const File file(std::fopen(path(folder).c_str(), "rbe"));
    if (file == nullptr)
        return not_opened;
    Head head;
    const Head wanted;
    std::vector<char> bytes;
    if (std::fread(&head, sizeof head, 1, file.get()) != 1 || head.mark != wanted.mark)
        return not_passed;
    std::array<char, 4096> some;
    while (const std::size_t count = std::fread(some.data(), 1, some.size(), file.get()))
        bytes.insert(bytes.end(), some.begin(), some.begin() + count);
    if (bytes.size() != head.count || sum_of(bytes) != head.sum)
        return not_passed;
    Take all(bytes);
    pass_all(all, content);
    return no_error;
}

/// An older one is there until this one is.
Error save(const char* folder, const Content& content)
{
    Put all;
    pass_all(all, content);
    const std::string whole = path(folder), beginning = path(folder, ".new");
    File file(std::fopen(beginning.c_str(), "wbe"));
    if (file == nullptr)
        return not_opened;
    const Head head{.count = all.bytes.size(), .sum = sum_of(all.bytes)};
    bool is_written = std::fwrite(&head, sizeof head, 1, file.get()) == 1 &&
                      std::fwrite(all.bytes.data(), 1, all.bytes.size(), file.get()) == all.bytes.size();
    is_written = std::fclose(file.release()) == 0 && is_written;
    if (is_written && std::rename(beginning.c_str(), whole.c_str()) == 0)
        return no_error;
    std::remove(beginning.c_str());
    return not_passed;
}

/// The engine's files of these slots, ahead of one.
Error remove_systems(const char* folder, const Content& content, std::size_t end)
{
    Error worst = no_error;
    for (std::size_t k = 0; k < end; ++k)
        if (const Content::Slot& slot = content.slots[k]; slot.has_system)
            worst = std::min(worst,
                             content.system(slot)->file(Filed::removed, folder, content.name_of(k), false));
    return worst;
}

// ---- handles

Content content_of(const Handle& handle)
{
    Content made{.mtype = handle.mtype,
                 .single = handle.single,
                 .n = handle.n,
                 .wishes = handle.wishes,
                 .order = handle.given_order};
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    std::snprintf(made.name.data(), made.name.size(), "pardiso-%llx-%x", static_cast<unsigned long long>(now),
                  static_cast<unsigned>(getpid()));
    const auto place_of = [&](const std::shared_ptr<const Pattern>& pattern) -> core_int {
        if (pattern == nullptr)
            return -1;
        const auto found = std::ranges::find(made.patterns, pattern);
        const core_int place = found - made.patterns.begin();
        if (found == made.patterns.end())
            made.patterns.push_back(pattern);
        return place;
    };
    made.latest = place_of(handle.latest);
    for (const Handle::Matrix& matrix : handle.matrices) {
        Content::Slot slot{.pattern = place_of(matrix.pattern)};
        if (matrix.system != nullptr) {
            slot.has_system = true;
            slot.is_factored = matrix.system->is_factored();
            slot.facts = matrix.system->facts;
        }
        made.slots.push_back(slot);
    }
    return made;
}

Error store(const Handle& handle, const char* folder)
{
    Content before;
    const bool replaces = load(folder, before) == no_error;
    const Content content = content_of(handle);
    for (std::size_t k = 0; k < content.slots.size(); ++k) {
        if (!content.slots[k].has_system)
            continue;
        const Error error = handle.matrices[k].system->file(Filed::written, folder, content.name_of(k), true);
        if (error != no_error) {
            remove_systems(folder, content, k);
            return error;
        }
    }
    if (const Error error = save(folder, content); error != no_error) {
        remove_systems(folder, content, content.slots.size());
        return error;
    }
    if (replaces)
        remove_systems(folder, before, before.slots.size());
    return no_error;
}

Error restore(void** pt, const char* folder)
{
    Content content;
    if (const Error error = load(folder, content); error != no_error)
        return error;
    auto made = std::make_unique<Handle>(
        Handle{Processes(), Handle::next_number(), content.mtype, content.single, content.n, content.wishes});
    made->latest = content.pattern(content.latest);
    made->given_order = content.order;
    for (std::size_t k = 0; k < content.slots.size(); ++k) {
        const Content::Slot& slot = content.slots[k];
        Handle::Matrix& matrix = made->matrices.emplace_back();
        matrix.pattern = content.pattern(slot.pattern);
        if (!slot.has_system)
            continue;
        matrix.system = content.system(slot);
        matrix.system->facts = slot.facts;
        const Error error = matrix.system->file(Filed::read, folder, content.name_of(k), slot.is_factored);
        if (error != no_error)
            return error;
    }
    std::fill_n(pt, 64, nullptr);
    pt[0] = living.add(std::move(made));
    return no_error;
}

template <class Work>
int ended(const Work& work) noexcept
{
    return guarded<no_memory, internal>([&]() -> Error {
        try {
            return work();
        } catch (const Broken&) {
            return not_passed;
        }
    });
}

} // namespace

int write(void** pt, const char* folder) noexcept
{
    return ended([&] {
        const Handle* const handle = living.find(pt[0]);
        return handle == nullptr ? inconsistent : store(*handle, folder);
    });
}

int read(void** pt, const char* folder) noexcept
{
    return ended([&] { return restore(pt, folder); });
}

int remove(const char* folder) noexcept
{
    return ended([&] {
        Content content;
        Error error = load(folder, content);
        if (error == no_error)
            error = remove_systems(folder, content, content.slots.size());
        if (error == no_error && std::remove(path(folder).c_str()) != 0)
            error = not_passed;
        return error;
    });
}

} // namespace qnm::core::solvers::store
