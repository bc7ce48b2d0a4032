// A call of any matrix copy in either form, made from its row, with values that are all good and all
// distinct.
#pragma once

#include "catalogue/catalogue.hpp"
#include "support/arguments.hpp"
#include "support/recorded.hpp"

namespace qnm::tests {

using catalogue::Argument;
using catalogue::Entry;

/// Both forms of an entry, and the exported check, which takes values but complex scalars by address.
enum class Form { fortran, c, check };

/// The 36 members; each has both forms.
const std::vector<Entry>& members();
const Entry& member(std::string_view upper_case_name);

class CopyCall : public support::Arguments {
public:
    CopyCall(const Entry& entry, Form form, std::size_t groups = 3);
    CopyCall(std::string_view name, Form form, std::size_t groups = 3) : CopyCall(member(name), form, groups)
    {
    }

    const Entry& entry() const { return *entry_; }
    std::string lower() const { return catalogue::to_lower(entry_->name()); }
    std::string core_name() const { return "qnm_trans_" + lower(); }

    /// Sizes and letters by name; in a batch that of the last group.
    CopyCall& set(const std::string& name, std::int64_t value);
    /// Makes the test of one argument fail.
    CopyCall& spoil(const std::string& name);

    void run() const
    {
        const catalogue::Entry c(row(), entry_->precision, catalogue::Width::size);
        call(layer()[form_ == Form::c ? c.name() : entry_->name()]);
    }
    /// What the exported check answers.
    int check() const;

    /// Expects that a call of the core got what stands here.
    void expect_arguments(const Call& noted) const;
    /// The line as an independent formatter has it. A complex scalar that came by value has the address that
    /// the core got.
    std::string line(const Call& of_core = {}) const;

private:
    const catalogue::Row& row() const { return *entry_->row; }
    bool is_real() const { return entry_->precision.element == entry_->precision.real; }
    static bool is_scalar(const Argument& a) { return !a.array && a.type == "T"; }

    const Entry* entry_;
    Form form_;
    std::size_t groups_;
};

class TransTest : public recording::RecordedTest {
protected:
    /// For every member in both forms.
    template <class Test>
    static void all(Test&& test)
    {
        for (const Entry& entry : members())
            for (const Form form : {Form::fortran, Form::c}) {
                SCOPED_TRACE(entry.name() + (form == Form::c ? ", C form" : ", Fortran form"));
                core().reset();
                test(CopyCall(entry, form));
            }
    }
};

} // namespace qnm::tests
