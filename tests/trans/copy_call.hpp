// A call of any matrix copy in either form, made from its row, with values that are all good and all
// distinct.
#pragma once

#include "catalogue/catalogue.hpp"
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <map>

namespace qnm::tests {

using catalogue::Argument;
using catalogue::Entry;
using recording::Call;
using recording::core;

enum class Form { fortran, c };

const support::Library& layer();
/// The 36 members; each has both forms.
const std::vector<Entry>& members();
const Entry& member(std::string_view upper_case_name);

/// What a test fails with when it fails.
#define QNM_TRACE_MEMBER(entry, form)                                                                        \
    SCOPED_TRACE((entry).name() + ((form) == Form::c ? ", C form" : ", Fortran form"))

class CopyCall {
public:
    CopyCall(const Entry& entry, Form form, std::size_t groups = 3);

    const Entry& entry() const { return *entry_; }
    const catalogue::Row& row() const { return *entry_->row; }
    Form form() const { return form_; }
    const Argument& argument(const std::string& name) const { return *row().find(name); }

    /// Sizes and letters by name; in a batch that of the last group.
    CopyCall& set(const std::string& name, std::int64_t value);
    CopyCall& set_letter(const std::string& name, char letter);
    std::int64_t get(const std::string& name) const;
    char letter(const std::string& name) const;

    /// Makes the test of one argument fail.
    CopyCall& spoil(const std::string& name);

    /// Calls the entry by this spelling, or by the first; calls the exported check, and gives back its
    /// answer.
    void run(const std::string& spelling = {});
    int check();

    /// Expects that a call of core or check got what stands here.
    void expect_arguments(const Call& noted) const;
    /// The line as an independent formatter has it. A complex scalar that came by value has the address that
    /// the core got.
    std::string line(const Call& of_core) const;

    static constexpr double alpha = 1.5, beta = -2.5, imaginary = 0.25;

private:
    bool is_real() const { return entry_->precision.element == entry_->precision.real; }
    bool is_single() const { return entry_->precision.real == 's'; }
    bool is_scalar(const Argument& a) const { return !a.array && a.type == "T"; }
    double scalar(const Argument& a) const { return a.name == "beta" ? beta : alpha; }
    const void* array(const Argument& a) const;

    const Entry* entry_;
    Form form_;
    std::size_t groups_;
    std::map<std::string, std::vector<int>> narrow_;
    std::map<std::string, std::vector<std::int64_t>> wide_;
    std::map<std::string, std::string> letters_;
    std::map<std::string, std::vector<double>> doubles_;
    std::map<std::string, std::vector<float>> floats_;
};

class TransTest : public recording::RecordedTest {
protected:
    /// For every member in both forms.
    template <class Test>
    static void all(Test&& test)
    {
        for (const Entry& entry : members())
            for (const Form form : {Form::fortran, Form::c}) {
                QNM_TRACE_MEMBER(entry, form);
                core().reset();
                test(CopyCall(entry, form));
            }
    }
};

} // namespace qnm::tests
