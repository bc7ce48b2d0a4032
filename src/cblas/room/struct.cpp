// The C interface: for each row a struct of its facts.
#include "cblas/room/source.hpp"

#include <algorithm>
#include <map>

namespace qnm::generate {

using namespace catalogue;

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
    return stem(row.root) + "_row_" + row.precisions.front().prefix;
}

namespace {

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

/// The type of a scalar in the struct of a row, which its letters share.
std::string field_scalar(const CArgument& a, const CRow& row)
{
    return a.as.type == "T" || a.as.type == "R" ? "R" : scalar_type(a, row.precisions.front());
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
           (groups ? ", Letters letters" : "") + ")\n    {\n        return entry(" + joined(passed) +
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
    text += tests_text("ahead" + name, test_chain(row, ahead, false));
    if (!has_layout(row))
        return text + call_text(row, false) + "};\n\n";
    const Words behind(layout + 1, row.steps.end());
    text += tests_text("columns_tests" + name, test_chain(row, behind, false));
    text += tests_text("rows_tests" + name, test_chain(row, behind, true));
    if (!row.conjugated.empty() && !row.fortran.groups) {
        Words named;
        Words values;
        for (const std::string& step : behind)
            (row.find(step)->role == CRole::option ? named : values).push_back(step);
        const bool turns = row.conjugated == "triangle";
        text += turns ? "    template <class Turn>\n" : "";
        text += tests_text("rows_options([[maybe_unused]] const char* name" +
                               std::string(turns ? ", Turn turn)" : ")"),
                           test_chain(row, named, true, turns ? "done(turn)" : ""));
        text += tests_text("rows_values" + name, test_chain(row, values, true));
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
