// What the text of a plan of the C interface to LAPACK is made of. Inside its struct T is the element and I
// the integer, so that it is written once for all letters and both widths.
#pragma once

#include <map>

#include "generate/expression.hpp"
#include "lapacke/room/plan.hpp"

namespace qnm::generate {

/// Arguments in whose place something else stands.
using Places = std::map<std::string, std::string>;

/// A plan's struct, and the lists of its parameters: "gesv_sdcz".
std::string plan_name(const catalogue::LapackePlan& plan);

/// The type of a word of the rows.
std::string plan_type(const std::string& word);
std::string element(const catalogue::LapackeArgument& a);

/// The type of a function's value, and what an entry gives back.
bool has_value(const catalogue::LapackePlan& plan);
std::string value_type(const catalogue::LapackePlan& plan);
std::string result_type(const catalogue::LapackePlan& plan);

/// The value of an argument, which stands behind its address if it comes by one.
std::string value(const catalogue::LapackeArgument& a);

/// What the Fortran routine gets, INFO apart.
std::string fortran_arguments(const catalogue::LapackePlan& plan, const Places& places = {});

/// Expressions of a plan, formed in 64 bits. The high level knows the numbers that it gives.
class LapackeText final : public SizeText {
public:
    LapackeText(const catalogue::LapackePlan& plan, bool high) : plan_(plan), high_(high) {}

    /// An option of a form as its helpers take it.
    std::string option(const catalogue::StorageForm& form, std::size_t i) const;
    /// All of them.
    Words options(const catalogue::StorageForm& form) const;
    /// A condition; none always holds.
    std::string when(const catalogue::ExpressionPtr& e) const;
    /// A size as the helpers take it, in the caller's integers.
    std::string size(const catalogue::Expression& e) const;

private:
    std::string number(std::int64_t value) const override { return std::to_string(value); }
    std::string name(const std::string& name) const override;
    std::string letter(const catalogue::Expression& e) const override;
    std::string call(const catalogue::Expression& e) const override;
    std::string letter_value(const catalogue::Expression& e) const;
    const catalogue::LapackeArgument* plain(const catalogue::Expression& e) const;
    const catalogue::Expression* find(const std::string& name) const;

    const catalogue::LapackePlan& plan_;
    bool high_;
};

/// The C interface to LAPACK of one table.
std::string lapacke_text(const catalogue::Catalogue& tables, const std::string& table);

/// The bodies of the two levels.
std::string lapacke_work(const catalogue::LapackePlan& plan);
std::string lapacke_high(const catalogue::LapackePlan& plan);

} // namespace qnm::generate
