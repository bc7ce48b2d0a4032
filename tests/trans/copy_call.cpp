#include "copy_call.hpp"

#include <array>
#include <sstream>

namespace qnm::tests {

using catalogue::Kind;

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

const std::vector<Entry>& members()
{
    static const catalogue::Catalogue tables = [] {
        std::vector<std::string> paths;
        std::istringstream in(QNM_TABLES);
        for (std::string path; std::getline(in, path, ':');)
            paths.push_back(path);
        return catalogue::read_tables(paths);
    }();
    static const std::vector<Entry> all = tables.entries();
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
        const bool is_size = a.type == "int";
        const bool distance = a.name.find("stride") != std::string::npos;
        for (std::size_t g = 0; g < count; ++g) {
            // Distances are enough for batches of matrices, and all differ.
            const int value = a.name == "group_count"            ? static_cast<int>(groups)
                              : a.name.starts_with("rows")       ? 5 + static_cast<int>(g)
                              : a.name.starts_with("cols")       ? 30 + static_cast<int>(g)
                              : a.name.starts_with("group_size") ? 2 + static_cast<int>(g)
                              : distance                         ? 10000 + next++
                                                                 : next++;
            if (is_size) {
                narrow_[a.name].push_back(value);
                wide_[a.name].push_back(value);
            } else if (a.type == "char") {
                letters_[a.name] += a.letters.back(); // C: column-major, conjugate transposition
            } else {
                doubles_[a.name].insert(doubles_[a.name].end(), {scalar(a), imaginary});
                floats_[a.name].insert(floats_[a.name].end(),
                                       {static_cast<float>(scalar(a)), static_cast<float>(imaginary)});
            }
        }
    }
}

CopyCall& CopyCall::set(const std::string& name, std::int64_t value)
{
    narrow_.at(name).back() = static_cast<int>(value);
    wide_.at(name).back() = value;
    return *this;
}

CopyCall& CopyCall::set_letter(const std::string& name, char letter)
{
    letters_.at(name).back() = letter;
    return *this;
}

std::int64_t CopyCall::get(const std::string& name) const
{
    return wide_.at(name).back();
}

char CopyCall::letter(const std::string& name) const
{
    return letters_.at(name).back();
}

CopyCall& CopyCall::spoil(const std::string& name)
{
    const Argument& a = argument(name);
    if (a.type == "char")
        return set_letter(name, ' ');
    const bool count = name == "group_count" || name == "batch_size" || name == "group_size";
    return set(name, count ? -1 : 0);
}

const void* CopyCall::array(const Argument& a) const
{
    if (a.type == "char")
        return letters_.at(a.name).data();
    if (a.type == "int")
        return form_ == Form::fortran ? static_cast<const void*>(narrow_.at(a.name).data())
                                      : wide_.at(a.name).data();
    return is_single() ? static_cast<const void*>(floats_.at(a.name).data()) : doubles_.at(a.name).data();
}

void CopyCall::run(const std::string& spelling)
{
    std::vector<support::Word> words;
    std::vector<support::Real> reals;
    for (const Argument& a : row().arguments) {
        if (form_ == Form::fortran || a.array)
            words.emplace_back(array(a));
        else if (a.type == "char")
            words.emplace_back(letters_.at(a.name)[0]);
        else if (a.type == "int")
            words.emplace_back(wide_.at(a.name)[0]);
        else if (is_real() && is_single())
            reals.emplace_back(floats_.at(a.name)[0]);
        else if (is_real())
            reals.emplace_back(scalar(a));
        else if (is_single()) // both parts in one register
            reals.emplace_back(
                std::bit_cast<double>(std::array{floats_.at(a.name)[0], floats_.at(a.name)[1]}));
        else
            reals.insert(reals.end(), {support::Real(scalar(a)), support::Real(imaginary)});
    }
    const std::string first = form_ == Form::fortran ? entry_->name() : entry_->c_form();
    support::call_words(layer()[spelling.empty() ? first : spelling], words, reals);
}

int CopyCall::check()
{
    std::vector<support::Word> words;
    std::vector<support::Real> reals;
    for (const Argument& a : row().arguments) {
        if (a.array)
            words.emplace_back(a.type == "int" ? static_cast<const void*>(wide_.at(a.name).data())
                                               : array(a));
        else if (a.type == "char")
            words.emplace_back(letters_.at(a.name)[0]);
        else if (a.type == "int")
            words.emplace_back(wide_.at(a.name)[0]);
        else if (!is_real())
            words.emplace_back(array(a));
        else if (is_single())
            reals.emplace_back(floats_.at(a.name)[0]);
        else
            reals.emplace_back(scalar(a));
    }
    return support::call_words(layer()["qnm_trans_errchk_" + catalogue::to_lower(entry_->name())], words,
                               reals)
        .int32();
}

void CopyCall::expect_arguments(const Call& noted) const
{
    std::size_t word = 0, real = 0;
    for (const Argument& a : row().arguments) {
        SCOPED_TRACE(a.name);
        if (is_scalar(a) && is_real()) {
            if (is_single())
                EXPECT_EQ(noted.real32(real), floats_.at(a.name)[0]);
            else
                EXPECT_EQ(noted.real(real), scalar(a));
            ++real;
            continue;
        }
        if (is_scalar(a) && is_single()) {
            EXPECT_EQ(noted.behind<float>(word), floats_.at(a.name)[0]);
        } else if (is_scalar(a)) {
            EXPECT_EQ(noted.behind<double>(word), scalar(a));
        } else if (a.array && a.type == "int" && form_ == Form::fortran) {
            EXPECT_NE(noted.pointer<void>(word), array(a));
            EXPECT_EQ(noted.behind(word), wide_.at(a.name)[0]);
        } else if (a.array) {
            EXPECT_EQ(noted.pointer<void>(word), array(a));
        } else if (a.type == "char") {
            EXPECT_EQ(static_cast<char>(noted.word(word)), letters_.at(a.name)[0]);
        } else {
            EXPECT_EQ(noted.int64(word), wide_.at(a.name)[0]);
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
            std::snprintf(item, sizeof item, "%p", array(a));
        else if (a.type == "char")
            std::snprintf(item, sizeof item, "%c", letters_.at(a.name)[0]);
        else if (a.type == "int")
            std::snprintf(item, sizeof item, "%lld", static_cast<long long>(wide_.at(a.name)[0]));
        else
            std::snprintf(item, sizeof item, "%.6f", scalar(a));
        text += (text == entry_->name() ? "(" : ", ") + std::string(item);
    }
    return text + ")";
}

} // namespace qnm::tests
