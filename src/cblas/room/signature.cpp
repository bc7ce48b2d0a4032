// What an entry of the C interface is.
#include <map>

#include "catalogue/row_signatures.hpp"
#include "cblas/room/cblas.hpp"

namespace qnm::catalogue {

namespace {

/// The published types: enumerations, `void` for complex numbers, and also for arrays whose type depends on
/// the layout.
std::string parameter_type(const CArgument& a, const CEntry& entry)
{
    const CRow& row = *entry.row;
    const std::string integer = c_type("int", entry.precision, entry.width);
    const auto enumeration = [&]() -> std::string {
        return a.as.letters.find('P') != std::string::npos ? "int" : code_group(a.as.letters).type;
    };
    const auto element = [&]() -> std::string {
        const CArgument* other = row.find(row.rows.source(a.as.name));
        const bool complex = a.as.type == "C" || (entry.precision.is_complex() && a.as.type == "T");
        return complex || other->as.type != a.as.type ? "void"
                                                      : c_type(a.as.type, entry.precision, entry.width);
    };
    switch (a.role) {
    case CRole::layout:
        return "CBLAS_LAYOUT";
    case CRole::option:
        return enumeration();
    case CRole::options:
        return "const " + enumeration() + "*";
    case CRole::integer:
        return integer;
    case CRole::integers:
        return "const " + integer + "*";
    case CRole::scalar:
        return c_type(a.as.type, entry.precision, entry.width);
    case CRole::address:
        break;
    }
    if (a.as.pointers && a.as.type == "void")
        return "void**";
    const bool written = a.as.direction == Direction::out || a.as.direction == Direction::inout ||
                         a.as.direction == Direction::work;
    return (written ? "" : "const ") + element() + "*" + (a.as.pointers ? " const*" : "");
}

Callee callee(const CEntry& entry, bool row_major)
{
    static const std::map<CRole, Fill> fills{{CRole::option, Fill::letter},
                                             {CRole::options, Fill::letter},
                                             {CRole::integer, Fill::addressed},
                                             {CRole::scalar, Fill::addressed}};
    const CRow& row = *entry.row;
    const Rewrite& rewrite = row.rewrite(row_major);
    Callee called{entry.callee(rewrite), row_major ? "row-major" : "", {}};
    for (const Argument& f : row.fortran.arguments) {
        const CArgument& a = *row.find(rewrite.source(f.name));
        const auto fill = fills.find(a.role);
        called.places.push_back(
            {fill == fills.end() ? Fill::as_it_is : fill->second, row.position(a.as.name) - 1, ""});
    }
    return called;
}

/// What a row-major call makes of an argument beyond its place.
std::string row_major_note(const CArgument& a, const CRow& row)
{
    const auto letters = row.rows.letters.find(a.as.name);
    return (letters != row.rows.letters.end() ? ", row-major as " + letters->second : std::string()) +
           (row.has(row.rows.conjugated, a.as.name) ? ", row-major conjugated" : "");
}

} // namespace

Signature c_signature(const CEntry& entry)
{
    static const std::map<CRole, Travel> travels{
        {CRole::layout, Travel::code},    {CRole::option, Travel::code},  {CRole::options, Travel::codes},
        {CRole::integer, Travel::value},  {CRole::scalar, Travel::value}, {CRole::integers, Travel::integers},
        {CRole::address, Travel::address}};
    const CRow& row = *entry.row;
    Signature s = signature_of(row, entry.precision, entry.form);
    s.names = {entry.name()};
    s.source = row.form + ", src/cblas" +
               (row.conjugated.empty() ? "" : ", row-major conjugated: " + row.conjugated);
    const Result& result = row.fortran.result;
    if (result.kind == ResultKind::value)
        s.result = row.form == "index" ? "CBLAS_INDEX" : c_type(result.type, entry.precision, entry.width);
    for (const CArgument& a : row.arguments)
        s.parameters.push_back({a.as.name, parameter_type(a, entry), travels.at(a.role),
                                a.role == CRole::layout ? nullptr : &a.as, row_major_note(a, row)});
    if (row.form != "here")
        s.callees.push_back(callee(entry, false));
    if (row.find("layout") != nullptr)
        s.callees.push_back(callee(entry, true));
    s.report_name = entry.name();
    for (const std::string& step : row.steps) {
        Test test{row.position(step) - 1, row.position(step), step};
        if (const CArgument* a = row.find(step); a->as.tested() && a->role != CRole::option)
            test.text = test_text(a->as);
        for (const auto& [layout, rewrite] :
             {std::pair{"column-major", &row.columns}, std::pair{"row-major", &row.rows}})
            if (const auto code = rewrite->codes.find(step); code != rewrite->codes.end())
                test.text += std::string(", ") + layout + " reported as " + std::to_string(code->second);
        if (row.has(row.goes_on, step) || row.has(row.rows.goes_on, step))
            test.text += ", goes on";
        s.tests.push_back(test);
    }
    return s;
}

} // namespace qnm::catalogue
