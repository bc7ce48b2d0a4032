// Storage forms as a model has them: which elements of a matrix a form holds, and where; and calls of any
// helper by its row.
#pragma once

#include "catalogue/catalogue.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace qnm::tests {

inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double inf = std::numeric_limits<double>::infinity();

const support::Library& layer();
/// A whole number between the two, which may be returned too.
long any(long low, long high);

/// One matrix in one form.
struct Form {
    std::string name; // ge, tr, ...
    bool by_rows = false;
    std::map<std::string, char> options{{"uplo", 'u'}, {"diag", 'n'}, {"transr", 'n'}, {"direct", 'f'}};
    long m = 0, n = 0, kl = 0, ku = 0, kd = 0, ld = 1;

    /// A form that a helper of this name takes, with sizes and options by chance and some room between lines.
    static Form random(const std::string& name, long largest);
    /// The same matrix in the other layout, with a leading dimension of its own.
    Form turned() const;
    /// The room of all.
    long length() const;
    /// The places of all elements that the form holds, in an order that is the same in both layouts. The
    /// diagonal of ones is left out, unless all of a full packed rectangle is asked for.
    std::vector<long> places(bool whole_rectangle = false) const;
    std::string told() const;

private:
    bool is(const char* option, char letter) const { return options.at(option) == letter; }
    bool is_band() const { return name[1] == 'b'; }
    bool is_packed() const { return name[1] == 'p'; }
    bool is_full_packed() const { return name[1] == 'f'; }
    bool holds(long i, long j) const;
    long at(long i, long j) const;
    std::vector<long> full_packed_places(bool whole) const;
    void choose_ld();
};

/// A helper: its row, and calls of it.
class Helper {
public:
    explicit Helper(const catalogue::Entry& entry) : entry_(entry) {}

    std::string name() const { return entry_.spellings()[0]; }
    const std::vector<catalogue::Argument>& arguments() const { return entry_.row->arguments; }
    bool has(const char* argument) const { return entry_.row->find(argument) != nullptr; }
    /// "ge" of LAPACKE_dge_trans; empty for vectors.
    std::string form() const { return entry_.row->root.substr(1, entry_.row->root.find('_') - 1); }
    bool is_trans() const { return entry_.row->root.ends_with("_trans"); }
    bool is_vector() const { return form().empty() || form() == "gt" || form() == "pt" || form() == "st"; }
    std::size_t real_bytes() const { return entry_.precision.real == 's' ? 4 : 8; }
    std::size_t bytes() const
    {
        return real_bytes() * (entry_.precision.element == entry_.precision.real ? 1 : 2);
    }

    /// Calls with these arrays in the order of the row; `out` is the form of the second one, and 0 stands for
    /// the layout of the form.
    bool run(const Form& form, const std::vector<void*>& arrays, const Form* out = nullptr, long incx = 1,
             int layout = 0) const;

private:
    catalogue::Entry entry_;
};

/// All of one kind.
std::vector<Helper> helpers(const std::function<bool(const Helper&)>& kind);

/// Elements of a helper's type, or reals of its precision.
class Elements {
public:
    Elements(const Helper& helper, long count, double value, bool reals = false)
        : bytes_(reals ? helper.real_bytes() : helper.bytes()),
          real_(helper.real_bytes()),
          data_(static_cast<std::size_t>(count) * bytes_)
    {
        for (long i = 0; i < count; ++i)
            set(i, value);
    }
    void* data() { return data_.data(); }
    void set(long i, double value)
    {
        for (std::size_t part = 0; part < bytes_; part += real_)
            set_part(i, part, value);
    }
    /// The real or the imaginary part, by chance.
    void set_any_part(long i, double value) { set_part(i, any(0, 1) == 0 ? 0 : bytes_ - real_, value); }
    void copy(long i, Elements& from, long j) { std::memcpy(place(i), from.place(j), bytes_); }
    bool operator==(const Elements& other) const { return data_ == other.data_; }

private:
    unsigned char* place(long i) { return data_.data() + static_cast<std::size_t>(i) * bytes_; }
    void set_part(long i, std::size_t part, double value)
    {
        const auto single = static_cast<float>(value);
        std::memcpy(place(i) + part, real_ == 4 ? static_cast<const void*>(&single) : &value, real_);
    }

    std::size_t bytes_, real_;
    std::vector<unsigned char> data_;
};

} // namespace qnm::tests
