#include "copy_call.hpp"

#include "support/tables.hpp"

#include <array>

namespace qnm::tests {

using support::Type;

const std::vector<Entry>& members()
{
    static const std::vector<Entry> all = [] { // in the Fortran form; the C form has the same row
        std::vector<Entry> entries = support::tables().entries();
        std::erase_if(entries, [](const Entry& e) { return e.width == catalogue::Width::size; });
        return entries;
    }();
    return all;
}

const Entry& member(std::string_view upper_case_name)
{
    for (const Entry& entry : members())
        if (entry.name() == upper_case_name)
            return entry;
    throw std::out_of_range(std::string(upper_case_name));
}

CopyCall::CopyCall(const Entry& entry, Form form, std::size_t groups)
    : entry_(&entry), form_(form), groups_(groups)
{
    int next = 100;
    for (const Argument& a : row().arguments) {
        const std::size_t count = a.array ? groups : 1;
        const bool value = form != Form::fortran && !a.array;
        if (a.type == "T") {
            const std::size_t parts = a.array || !is_real() ? 2 : 1;
            add(a.name, entry.precision.real == 's' ? Type::float32 : Type::float64, parts * count,
                value && (is_real() || form == Form::c));
            for (std::size_t i = 0; i < parts * count; ++i)
                put(a.name, i % 2 == 1 ? 0.25 : a.name == "beta" ? -2.5 : 1.5, i);
            continue;
        }
        const bool letter = a.type == "char";
        add(a.name, letter ? Type::byte : form == Form::fortran ? Type::int32 : Type::int64, count, value);
        for (std::size_t g = 0; g < count; ++g) {
            // Distances are enough for batches of matrices, and all differ.
            const bool distance = a.name.find("stride") != std::string::npos;
            const int shift = static_cast<int>(g);
            put(a.name,
                letter                             ? a.letters.back() // column-major, conjugate transposition
                : a.name == "group_count"          ? static_cast<int>(groups)
                : a.name.starts_with("rows")       ? 5 + shift
                : a.name.starts_with("cols")       ? 30 + shift
                : a.name.starts_with("group_size") ? 2 + shift
                                                   : (distance ? 10000 : 0) + next++,
                g);
        }
    }
}

CopyCall& CopyCall::set(const std::string& name, std::int64_t value)
{
    put(name, static_cast<long double>(value));
    return *this;
}

CopyCall& CopyCall::spoil(const std::string& name)
{
    const bool count = name == "group_count" || name == "batch_size" || name == "group_size";
    return set(name, row().find(name)->type == "char" ? ' ' : count ? -1 : 0);
}

int CopyCall::check() const
{
    CopyCall values(*entry_, Form::check, groups_);
    values.assign(*this);
    return values.call(layer()["qnm_trans_errchk_" + lower()]).int32();
}

void CopyCall::expect_arguments(const Call& noted) const
{
    using Parts = std::array<float, 2>;
    const bool single = entry_->precision.real == 's';
    std::size_t word = 0, real = 0;
    for (const Argument& a : row().arguments) {
        SCOPED_TRACE(a.name);
        if (is_scalar(a) && is_real()) {
            EXPECT_EQ(single ? noted.real32(real) : noted.real(real), get<double>(a.name));
            ++real;
            continue;
        }
        if (is_scalar(a) && single) {
            EXPECT_EQ(noted.behind<Parts>(word), (Parts{get<float>(a.name, 0), get<float>(a.name, 1)}));
        } else if (is_scalar(a)) {
            EXPECT_EQ(noted.behind<double>(word), get<double>(a.name, 0));
        } else if (a.array && a.type == "int" && form_ == Form::fortran) {
            EXPECT_NE(noted.pointer<const char>(word), address(a.name));
            EXPECT_EQ(noted.behind(word), get(a.name, 0));
        } else if (a.array) {
            EXPECT_EQ(noted.pointer<const void>(word), address(a.name));
        } else {
            EXPECT_EQ(a.type == "char" ? static_cast<char>(noted.word(word)) : noted.int64(word),
                      get(a.name));
        }
        ++word;
    }
}

std::string CopyCall::line(const Call& of_core) const
{
    std::string text = entry_->name();
    char item[64];
    for (const Argument& a : row().arguments) {
        if (form_ == Form::c && is_scalar(a) && !is_real())
            std::snprintf(item, sizeof item, "%p",
                          of_core.pointer<void>(static_cast<std::size_t>(row().position(a) - 1)));
        else if (a.array || (is_scalar(a) && !is_real()))
            std::snprintf(item, sizeof item, "%p", static_cast<const void*>(address(a.name)));
        else if (a.type == "char")
            std::snprintf(item, sizeof item, "%c", get<char>(a.name));
        else if (a.type == "int")
            std::snprintf(item, sizeof item, "%lld", get<long long>(a.name));
        else
            std::snprintf(item, sizeof item, "%.6f", get<double>(a.name));
        text += (text == entry_->name() ? "(" : ", ") + std::string(item);
    }
    return text + ")";
}

} // namespace qnm::tests
