// Expressions of the tables as C++.
#pragma once

#include <string>

#include "text.hpp"

namespace qnm::generate {

/// Operators, conditions and the common functions are written alike everywhere. How a name and a test of
/// letters are written depends on where they stand: a derived class says it.
class ExpressionText {
public:
    std::string text(const catalogue::Expression& e) const;

protected:
    /// `integer` is the type in which the functions compute.
    explicit ExpressionText(const char* integer) : integer_(integer) {}
    ~ExpressionText() = default;

    virtual std::string number(std::int64_t value) const = 0;
    virtual std::string name(const std::string& name) const = 0;
    virtual std::string letter(const catalogue::Expression& e) const = 0;
    virtual std::string element(const catalogue::Expression& e) const;
    /// abs, min and max; what else a place has, it writes itself.
    virtual std::string call(const catalogue::Expression& e) const;

    Words operands(const catalogue::Expression& e) const;

    static std::string condition(const std::string& test, const std::string& then,
                                 const std::string& otherwise);
    static std::string any_of(const Words& tests);

private:
    const char* integer_;
};

/// An expression of a test, in the caller's integers.
class TestText : public ExpressionText {
protected:
    explicit TestText(const catalogue::Row& row) : ExpressionText("I"), row_(row) {}
    ~TestText() = default;

    std::string number(std::int64_t value) const override;
    std::string call(const catalogue::Expression& e) const override;

private:
    const catalogue::Row& row_;
};

/// A size, in 64 bits.
class SizeText : public ExpressionText {
protected:
    SizeText() : ExpressionText("core_int") {}
    ~SizeText() = default;

    std::string number(std::int64_t value) const override;
};

/// What `where` calls by this name; null if nothing.
const catalogue::Expression* defined(const std::vector<catalogue::Definition>& definitions,
                                     const std::string& name);

} // namespace qnm::generate
