// The C interface: for each row a struct of its facts.
#include "cblas.hpp"

#include <algorithm>
#include <map>

namespace qnm::generate {

using namespace catalogue;

std::string joined(const Words& parts, const char* between)
{
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : between) + part;
    return text;
}

bool has_layout(const CRow& row)
{
    return row.find("layout") != nullptr;
}

std::string c_parameter_type(const CArgument& a, const std::string& integer, const std::string& real)
{
    switch (a.role) {
    case CRole::layout:
    case CRole::option:
        return "int";
    case CRole::options:
        return "const int*";
    case CRole::integer:
        return integer;
    case CRole::integers:
        return "const " + integer + "*";
    case CRole::scalar:
        return real;
    case CRole::address:
        return a.as.pointers && a.as.type != "void" ? "const void* const*" : "const void*";
    }
    return {};
}

/// A scalar's type for a letter; T of a real letter is that type itself.
std::string scalar_type(const CArgument& a, const Precision& precision)
{
    static const std::map<std::string, std::string> plain{
        {"i8", "signed char"},     {"u8", "unsigned char"},    {"i16", "short"},
        {"f16", "unsigned short"}, {"bf16", "unsigned short"}, {"f8", "unsigned char"}};
    const auto found = plain.find(a.as.type);
    return found != plain.end() ? found->second : c_type(a.as.type, precision, Width::narrow);
}

std::string struct_name(const CRow& row)
{
    std::string root = row.root;
    std::replace(root.begin(), root.end(), '?', 'x');
    return root + "_row_" + row.precisions.front().prefix;
}

namespace {

using EKind = Expression::Kind;
bool is_array(const CArgument& a)
{
    return a.role == CRole::options || a.role == CRole::integers;
}

/// What an argument's letters become in a layout, in the order of its codes.
std::string letters_of(const CArgument& a, const Rewrite& rewrite)
{
    const auto told = rewrite.letters.find(a.as.name);
    return told != rewrite.letters.end() ? told->second : code_group(a.as.letters).letters;
}

/// A text of letters as letter() wants them. P stands behind the others; a blank stands for a bad code.
std::string texts(const CArgument& a, const CRow& row, const Rewrite& rewrite)
{
    std::string text = "\"";
    for (const char letter : letters_of(a, rewrite))
        text += std::string(1, letter) + "\\0";
    if (a.as.letters.find('P') != std::string::npos)
        return text + "P\"";
    return row.has(row.goes_on, a.as.name) ? text + " \"" : text.substr(0, text.size() - 2) + "\"";
}

std::string first_code(const CArgument& a)
{
    return std::to_string(code_group(a.as.letters).first);
}

std::string index_text(const CArgument& a)
{
    const std::string index = a.as.name + " - " + first_code(a);
    if (a.as.letters.find('P') == std::string::npos)
        return index;
    return "(" + a.as.name + " == " + std::to_string(option_code(code_group(a.as.letters), 'P')) +
           " ? 3 : " + index + ")";
}

/// Expressions and tests of a row in one of its layouts.
class Printer {
public:
    Printer(const CRow& row, bool row_major) : row_(row), rewrite_(row.rewrite(row_major)) {}

    /// The test of a C argument: where it fails.
    std::string failing(const std::string& name) const
    {
        const CArgument& c = *row_.find(name);
        const std::string array = is_array(c) || (row_.fortran.groups && c.as.array)
                                      ? "unlikely(" + name + " == nullptr)"
                                      : std::string{};
        const Argument& a = row_.find(rewrite_.source(name))->as; // whose place it takes
        const std::string test = c.role == CRole::option || c.role == CRole::options ? codes(c)
                                 : a.tested()                                        ? values(name, a)
                                                                                     : std::string{};
        if (array.empty() || test.empty())
            return array + test;
        return "(" + array + " || any_group<I>(&group_count, [&](I g) { return " + test + "; }))";
    }

private:
    std::string value(const std::string& name) const
    {
        return is_array(*row_.find(name)) ? name + "[g]" : name;
    }

    /// Codes that are none of the option's.
    std::string codes(const CArgument& c) const
    {
        std::vector<int> good;
        for (const char letter : c.as.letters)
            good.push_back(option_code(code_group(c.as.letters), letter));
        std::sort(good.begin(), good.end());
        const std::string name = value(c.as.name);
        Words any;
        for (std::size_t i = 0; i < good.size();) {
            std::size_t last = i;
            while (last + 1 < good.size() && good[last + 1] == good[last] + 1)
                ++last;
            any.push_back(last == i ? "(" + name + " == " + std::to_string(good[i]) + ")"
                                    : "within(" + name + ", " + std::to_string(good[i]) + ", " +
                                          std::to_string(good[last]) + ")");
            i = last + 1;
        }
        return "refused(" + joined(any, " || ") + ")";
    }

    std::string values(const std::string& name, const Argument& a) const
    {
        std::string text;
        if (a.nonzero)
            text = "unlikely(" + value(name) + " == 0)";
        else if (const Expression& e = *a.minimum; e.kind == EKind::binary && e.text == "+" &&
                                                   e.operands[1]->kind == EKind::number &&
                                                   e.operands[1]->value == 1)
            text = "at_most<I>(" + value(name) + ", " + cxx(*e.operands[0]) + ")";
        else
            text = "below<I>(" + value(name) + ", " + cxx(e) + ")";
        return a.unless ? "(!" + cxx(*a.unless) + " && " + text + ")" : text;
    }

    const Expression* defined(const std::string& name) const
    {
        for (const Definition& d : row_.fortran.definitions)
            if (d.name == name)
                return &*d.value;
        return nullptr;
    }

    bool non_negative(const Expression& e) const
    {
        if (e.kind == EKind::number)
            return true;
        if (e.kind == EKind::condition)
            return non_negative(*e.operands[1]) && non_negative(*e.operands[2]);
        if (e.kind != EKind::name)
            return false;
        if (const Expression* d = defined(e.text))
            return non_negative(*d);
        const ExpressionPtr& minimum = row_.find(e.text)->as.minimum;
        return minimum && minimum->kind == EKind::number && minimum->value >= 0;
    }

    /// `trans is N`: the codes that become such a letter in this layout.
    std::string letter_test(const Expression& e) const
    {
        const CArgument& c = *row_.find(rewrite_.source(e.text));
        const CodeGroup& group = code_group(c.as.letters);
        const std::string letters = letters_of(c, rewrite_);
        Words in;
        Words out;
        for (const char letter : c.as.letters) {
            const std::size_t at = std::string(group.letters).find(letter);
            const char becomes = at == std::string::npos ? letter : letters[at];
            const std::string code = std::to_string(option_code(group, letter));
            (e.letters.find(becomes) != std::string::npos ? in : out).push_back(code);
        }
        const bool few = in.size() <= out.size();
        Words any;
        for (const std::string& code : few ? in : out)
            any.push_back(value(c.as.name) + (few ? " == " : " != ") + code);
        return "(" + joined(any, few ? " || " : " && ") + ")";
    }

    std::string cxx(const Expression& e) const
    {
        const auto operand = [&](std::size_t i) { return cxx(*e.operands[i]); };
        switch (e.kind) {
        case EKind::number:
            return std::to_string(e.value);
        case EKind::name:
            if (const Expression* d = defined(e.text))
                return cxx(*d);
            return value(rewrite_.source(e.text));
        case EKind::letter:
            return letter_test(e);
        case EKind::condition:
            return "(" + operand(0) + " ? " + operand(1) + " : " + operand(2) + ")";
        case EKind::negation:
            return (e.text == "-" ? "-" : "!") + operand(0);
        case EKind::call:
            if (e.text == "abs")
                return "magnitude<I>(" + operand(0) + ")";
            if (e.text == "max" && non_negative(*e.operands[1]))
                return "at_least_1<I>(" + operand(1) + ")";
            return (e.text == "max" ? "larger<I>(" : "smaller<I>(") + operand(0) + ", " + operand(1) + ")";
        case EKind::binary:
            return "(" + operand(0) + " " +
                   (e.text == "and"  ? "&&"
                    : e.text == "or" ? "||"
                                     : e.text) +
                   " " + operand(1) + ")";
        }
        return {};
    }

    const CRow& row_;
    const Rewrite& rewrite_;
};

/// The type of a scalar in the struct of a row, which its letters share.
std::string field_scalar(const CArgument& a, const CRow& row)
{
    return a.as.type == "T" || a.as.type == "R" ? "R" : scalar_type(a, row.precisions.front());
}

/// The tests of some steps, as a chain of conditions that ends in 0.
std::string chain(const CRow& row, const Words& steps, bool row_major, const std::string& behind_trans = {})
{
    const Printer printer(row, row_major);
    const Rewrite& rewrite = row.rewrite(row_major);
    std::string text;
    for (const std::string& step : steps) {
        const auto told = rewrite.codes.find(step);
        const std::string code =
            std::to_string(told != rewrite.codes.end() ? told->second : row.position(step));
        const CArgument& a = *row.find(step);
        if (row.has(row.goes_on, step) && a.role == CRole::option)
            text += "goes_on(" + printer.failing(step) + ", name, " + code + ", " + step + ", " +
                    std::to_string(code_group(a.as.letters).first +
                                   static_cast<int>(std::string(code_group(a.as.letters).letters).size())) +
                    ") ? 0\n             : ";
        else if (row.has(row.goes_on, step) || row.has(rewrite.goes_on, step))
            text += "goes_on(" + printer.failing(step) + ", name, " + code + ") ? 0\n             : ";
        else
            text += printer.failing(step) + " ? " + code + "\n             : ";
        if (!behind_trans.empty() && step == "trans")
            text += behind_trans + " ? 0\n             : ";
    }
    return text + "0";
}

std::string tests_text(const std::string& head, const std::string& body)
{
    return "    QNM_INLINE int " + head + "\n    {\n        return " + body + ";\n    }\n";
}

/// The call of the Fortran routine in one layout.
std::string call_text(const CRow& row, bool row_major)
{
    const Rewrite& rewrite = row.rewrite(row_major);
    Words passed;
    int options = 0;
    std::map<std::string, int> places; // of letters of groups, in the order of the C arguments
    for (const CArgument& a : row.arguments)
        if (a.role == CRole::options)
            places[a.as.name] = options++;
    for (const Argument& f : row.fortran.arguments) {
        const CArgument& a = *row.find(rewrite.source(f.name));
        const std::string& name = a.as.name;
        if (row.has(rewrite.conjugated, name))
            passed.push_back("Conjugated<R>(" + name + ").pass()");
        else if (a.role == CRole::option)
            passed.push_back("letter(" + texts(a, row, rewrite) + ", " + index_text(a) + ")");
        else if (a.role == CRole::options)
            passed.push_back("letters(" + std::to_string(places.at(name)) + ")");
        else
            passed.push_back((a.role == CRole::integer || a.role == CRole::scalar ? "&" : "") + name);
    }
    const bool groups = row.fortran.groups && row.form != "forward";
    return "    template <class Entry" + std::string(groups ? ", class Letters" : "") +
           ">\n    QNM_INLINE auto " + (row_major ? "rows" : "columns") + "(Entry* entry" +
           (groups ? ", Letters letters" : "") + ")\n    {\n        return entry(" + joined(passed, ", ") +
           ");\n    }\n";
}

std::string letters_text(const CRow& row, bool row_major)
{
    Words calls;
    int place = 0;
    for (const CArgument& a : row.arguments)
        if (a.role == CRole::options)
            calls.push_back("spell(letters(" + std::to_string(place++) + "), " + a.as.name + ", count, " +
                            texts(a, row, row.rewrite(row_major)) + ", " + first_code(a) + ")");
    return "    template <class Letters>\n    QNM_INLINE void " +
           std::string(row_major ? "rows" : "columns") +
           "_letters(Letters letters, I count)\n    {\n        " + joined(calls, ";\n        ") +
           ";\n    }\n";
}

/// Groups that are done: arrays of groups go on by their number, arrays of matrices by the number of
/// problems.
std::string advance_text(const CRow& row)
{
    std::string text = "    QNM_INLINE void advance(I count, I size)\n    {\n";
    for (const CArgument& a : row.arguments) {
        if (is_array(a))
            text += "        " + a.as.name + " += count;\n";
        else if (a.as.pointers)
            text += "        " + a.as.name + " += size;\n";
        else if (a.role == CRole::address)
            text += "        " + a.as.name + " = static_cast<const R*>(" + a.as.name + ") + " +
                    (row.precisions.front().element == 'c' ? "2 * count" : "count") + ";\n";
    }
    return text + "    }\n";
}

std::string quick_text(const CRow& row)
{
    Words any;
    for (const std::string& size : row.quick)
        any.push_back(size == "scalars" ? "idle<R>(alpha, beta)" : size + " == 0");
    return "    QNM_INLINE bool quick() const { return " + (any.empty() ? "false" : joined(any, " || ")) +
           "; }\n";
}

} // namespace

std::string row_text(const CRow& row)
{
    std::string text = "template <class I, class R>\nstruct " + struct_name(row) +
                       " {\n    using integer = I;\n    using real = R;\n";
    int options = 0;
    for (const CArgument& a : row.arguments) {
        text += "    " + c_parameter_type(a, "I", field_scalar(a, row)) + "& " + a.as.name + ";\n";
        options += a.role == CRole::options ? 1 : 0;
    }
    const auto layout = std::find(row.steps.begin(), row.steps.end(), "layout");
    const Words ahead(row.steps.begin(), layout);
    const std::string name = "([[maybe_unused]] const char* name)";
    if (has_layout(row))
        text +=
            "    static constexpr int layout_position = " + std::to_string(row.position("layout")) + ";\n";
    if (options > 0)
        text += "    static constexpr int options = " + std::to_string(options) + ";\n";
    text += tests_text("ahead" + name, chain(row, ahead, false));
    if (!has_layout(row))
        return text + call_text(row, false) + "};\n\n";
    const Words behind(layout + 1, row.steps.end());
    text += tests_text("columns_tests" + name, chain(row, behind, false));
    text += tests_text("rows_tests" + name, chain(row, behind, true));
    if (!row.conjugated.empty() && !row.fortran.groups) {
        Words named;
        Words values;
        for (const std::string& step : behind)
            (row.find(step)->role == CRole::option ? named : values).push_back(step);
        const bool turns = row.conjugated == "triangle";
        text += turns ? "    template <class Turn>\n" : "";
        text += tests_text("rows_options([[maybe_unused]] const char* name" +
                               std::string(turns ? ", Turn turn)" : ")"),
                           chain(row, named, true, turns ? "done(turn)" : ""));
        text += tests_text("rows_values" + name, chain(row, values, true));
    }
    if (!row.copied.empty()) {
        Words visits;
        for (const std::string& vector : row.copied)
            visits.push_back("visit(" + vector + ", inc" + vector + ")");
        text += "    template <class Visit>\n    QNM_INLINE bool each_copied(Visit visit)\n    {\n        "
                "return " +
                joined(visits, " && ") + ";\n    }\n";
    }
    text += quick_text(row) + call_text(row, false) + call_text(row, true);
    if (row.fortran.groups)
        text += letters_text(row, false) + letters_text(row, true) + advance_text(row);
    return text + "};\n\n";
}

} // namespace qnm::generate
