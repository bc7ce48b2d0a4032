// Numbers of elements of arrays.
#include "expression.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// Arguments stand in a scope that knows their size, the letters of options and the functions of trees.
class Extent final : public SizeText {
public:
    explicit Extent(const Row& row) : row_(row) {}

private:
    std::string name(const std::string& name) const override
    {
        if (row_.find(name) != nullptr)
            return "size(" + name + ")";
        return name == row_.leaf ? name + "()"
                                 : text(*defined(row_.definitions, name)); // the reader has seen to it
    }

    std::string letter(const Expression& e) const override
    {
        Words any;
        for (const char letter : e.letters)
            any.push_back("option(" + e.text + ", '" + letter + "')");
        return any_of(any);
    }

    std::string call(const Expression& e) const override
    {
        if (e.text == "odd" || e.text == "lg" || e.text == "depth")
            return e.text + "(" + joined(operands(e)) + ")";
        return ExpressionText::call(e);
    }

    const Row& row_;
};

/// Arguments as the core has them, by their places among the rooms of a call.
class Told final : public SizeText {
public:
    explicit Told(const Row& row) : row_(row) {}

private:
    std::string place(const std::string& name) const
    {
        return "told<" + std::to_string(row_.position(*row_.find(name)) - 1) + ">(rooms";
    }
    std::string name(const std::string& name) const override
    {
        return row_.find(name) != nullptr ? place(name) + ")" : text(*defined(row_.definitions, name));
    }
    std::string element(const Expression& e) const override
    {
        return place(e.text) + ", " + operands(e)[0] + ")";
    }
    std::string letter(const Expression& e) const override
    {
        throw TableError("'" + e.text + "': expected integers, which are all that a copy's length asks for");
    }

    const Row& row_;
};

} // namespace

std::string told_text(const Expression& e, const Row& row)
{
    if (e.kind == Expression::Kind::number)
        return "Number<" + std::to_string(e.value) + ">{}";
    return "[](auto& rooms) QNM_INLINE_LAMBDA { return " + Told(row).text(e) + "; }";
}

std::string size_text(const Expression& e, const Row& row)
{
    return Extent(row).text(e);
}

std::string extent_text(const Argument& a, const Row& row)
{
    Words factors;
    for (const ExpressionPtr& extent : a.extents) {
        if (extent->kind == Expression::Kind::call && extent->text == "nlogn")
            return "Extent::n_log_n(" + size_text(*extent->operands[0], row) + ")";
        factors.push_back(size_text(*extent, row));
    }
    return factors.empty() ? "core_int{0}" : joined(factors, " * ");
}

} // namespace qnm::generate
