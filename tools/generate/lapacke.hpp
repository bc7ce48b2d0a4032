// What the levels of a member of the C interface to LAPACK share.
#pragma once

#include <map>

#include "expression.hpp"

namespace qnm::generate {

/// Arguments in whose place something else stands.
using Places = std::map<std::string, std::string>;

/// One member at one width: its names, types and parameters.
class LapackeMember {
public:
    LapackeMember(const catalogue::LapackePlan& plan, const catalogue::Precision& precision,
                  catalogue::Width width)
        : plan_(plan), precision_(precision), width_(width)
    {
    }

    const catalogue::LapackePlan& plan() const { return plan_; }
    std::string integer() const { return integer_type(width_); }
    std::string suffix() const { return width_ == catalogue::Width::wide ? "_64" : ""; }
    std::string name() const { return catalogue::lapacke_name(*plan_.row, precision_, width_, true); }
    std::string work_name() const { return catalogue::lapacke_name(*plan_.row, precision_, width_, false); }

    std::string element(const catalogue::LapackeArgument& a) const;
    /// The type of a function's value; empty for a subroutine.
    std::string value_type() const;
    std::string result() const { return value_type().empty() ? integer() : value_type(); }
    std::string parameters(bool high) const;

    /// The value of an argument, which stands behind its address if it comes by one.
    static std::string value(const catalogue::LapackeArgument& a);
    /// In the caller's integers.
    std::string narrowed(const std::string& value) const
    {
        return "static_cast<" + integer() + ">(" + value + ")";
    }

    std::string declaration() const;
    /// The call of the Fortran entry inside a lambda that gets the place of INFO.
    std::string call(const Places& places = {}) const;
    /// That lambda's parameter.
    std::string info() const { return plan_.has_info ? "void* info" : "void* /*info*/"; }

private:
    std::string type(const std::string& word) const;
    std::string fortran() const;

    const catalogue::LapackePlan& plan_;
    const catalogue::Precision& precision_;
    catalogue::Width width_;
};

/// Expressions of a member, formed in 64 bits. The high level knows the numbers that it gives.
class LapackeText final : public SizeText {
public:
    LapackeText(const LapackeMember& member, bool high) : member_(member), high_(high) {}

    /// An option of a form as its helpers take it.
    std::string option(const catalogue::Form& form, std::size_t i) const;
    /// A condition; none always holds.
    std::string when(const catalogue::ExpressionPtr& e) const;
    /// A size as the helpers take it.
    std::string size(const catalogue::Expression& e) const { return member_.narrowed(text(e)); }

private:
    std::string name(const std::string& name) const override;
    std::string letter(const catalogue::Expression& e) const override;
    std::string call(const catalogue::Expression& e) const override;
    std::string letter_value(const catalogue::Expression& e) const;
    const catalogue::Expression* find(const std::string& name) const;

    const LapackeMember& member_;
    bool high_;
};

/// The two levels.
std::string lapacke_work(const LapackeMember& member);
std::string lapacke_high(const LapackeMember& member);

} // namespace qnm::generate
