// Storage forms as a model has them: which elements of a matrix a form holds, and where; and calls of any
// helper by its row.
#pragma once

#include "catalogue/catalogue.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace qnm::tests {

const support::Library& layer();
const std::vector<catalogue::Entry>& helpers();
std::mt19937& chance();
/// A whole number between the two, which may be returned too.
long any(long low, long high);

/// One matrix in one form.
struct Form {
    std::string name; // ge, tr, ...
    bool by_rows = false;
    char uplo = 'u', diag = 'n', transr = 'n', direct = 'f';
    long m = 0, n = 0, kl = 0, ku = 0, kd = 0, ld = 1;

    /// A form that a helper of this name takes, with sizes and options by chance and some room between lines.
    static Form random(const std::string& name, long largest);
    /// The same matrix in the other layout, with a leading dimension of its own.
    Form turned() const;

    bool is_band() const { return name[1] == 'b'; }
    bool is_packed() const { return name[1] == 'p'; }
    bool is_full_packed() const { return name[1] == 'f'; }
    bool has_unit_diagonal() const { return name[0] == 't' && diag == 'u'; }
    /// The smallest leading dimension, and the room of all.
    long least_ld() const;
    long length() const;
    /// The places of all elements that the form holds, in an order that is the same in both layouts. The
    /// diagonal of ones is left out, unless all of a full packed rectangle is asked for.
    std::vector<long> places(bool whole_rectangle = false) const;

private:
    bool holds(long i, long j) const;
    long at(long i, long j) const;
    std::vector<long> full_packed_places(bool whole) const;
    void choose_ld();
};

/// The argument of a helper as a register has it, from the form; arrays and strides have to be given.
class HelperCall {
public:
    explicit HelperCall(const catalogue::Entry& entry) : entry_(&entry) {}

    const catalogue::Entry& entry() const { return *entry_; }
    /// "ge" of LAPACKE_dge_trans; empty for vectors.
    std::string form() const;
    bool is_trans() const { return entry_->row->root.ends_with("_trans"); }
    bool is_complex() const { return entry_->precision.element != entry_->precision.real; }
    bool is_single() const { return entry_->precision.real == 's'; }
    std::size_t element_bytes() const { return (is_single() ? 4U : 8U) * (is_complex() ? 2U : 1U); }

    /// Calls with these arrays in the order of the row; `out` is the form of the second one.
    bool run(const Form& form, const std::vector<void*>& arrays, const Form* out = nullptr, long incx = 1,
             int layout = 0) const;

private:
    const catalogue::Entry* entry_;
};

/// Elements of a helper's type.
class Elements {
public:
    Elements(const HelperCall& call, long count, double value)
        : bytes_(call.element_bytes()),
          real_(call.is_single() ? 4U : 8U),
          data_(static_cast<std::size_t>(count) * bytes_)
    {
        for (long i = 0; i < count; ++i)
            set(i, value);
    }
    void* data() { return data_.data(); }
    long size() const { return static_cast<long>(data_.size() / bytes_); }
    /// Both parts of an element, or one.
    void set(long i, double value)
    {
        for (std::size_t part = 0; part < bytes_ / real_; ++part)
            set_part(i, part, value);
    }
    void set_any_part(long i, double value)
    {
        set_part(i, static_cast<std::size_t>(any(0, static_cast<long>(bytes_ / real_) - 1)), value);
    }
    void copy(long i, const Elements& from, long j)
    {
        std::memcpy(place(i), const_cast<Elements&>(from).place(j), bytes_);
    }
    bool operator==(const Elements& other) const { return data_ == other.data_; }

private:
    unsigned char* place(long i) { return data_.data() + static_cast<std::size_t>(i) * bytes_; }
    void set_part(long i, std::size_t part, double value)
    {
        const auto single = static_cast<float>(value);
        std::memcpy(place(i) + part * real_, real_ == 4 ? static_cast<const void*>(&single) : &value, real_);
    }

    std::size_t bytes_, real_;
    std::vector<unsigned char> data_;
};

inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double inf = std::numeric_limits<double>::infinity();

} // namespace qnm::tests
