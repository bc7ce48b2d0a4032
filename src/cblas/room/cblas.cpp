// What follows from a row of the C interface: codes and positions.
#include "cblas/room/cblas.hpp"

#include <algorithm>
#include <array>

namespace qnm::catalogue {

const CodeGroup& code_group(const std::string& letters)
{
    static constexpr std::array<CodeGroup, 6> groups{{{"CBLAS_TRANSPOSE", "NTC", 111},
                                                      {"CBLAS_UPLO", "UL", 121},
                                                      {"CBLAS_DIAG", "NU", 131},
                                                      {"CBLAS_SIDE", "LR", 141},
                                                      {"CBLAS_IDENTIFIER", "AB", 161},
                                                      {"CBLAS_OFFSET", "RCF", 171}}};
    const auto takes = [&](const CodeGroup& group) {
        return std::all_of(letters.begin(), letters.end(), [&](char letter) {
            return letter == 'P' || std::string(group.letters).find(letter) != std::string::npos;
        });
    };
    const auto found = std::find_if(groups.begin(), groups.end(), takes);
    if (found == groups.end())
        throw TableError("cblas:0: '" + letters + "': expected the letters of one set of codes");
    return *found;
}

int option_code(const CodeGroup& group, char letter)
{
    constexpr int packed = 151;
    return letter == 'P' ? packed : group.first + static_cast<int>(std::string(group.letters).find(letter));
}

const std::string& Rewrite::source(const std::string& name) const
{
    const auto found = exchanged.find(name);
    return found == exchanged.end() ? name : found->second;
}

const CArgument* CRow::find(const std::string& name) const
{
    const auto found = std::find_if(arguments.begin(), arguments.end(),
                                    [&](const CArgument& a) { return a.as.name == name; });
    return found == arguments.end() ? nullptr : &*found;
}

int CRow::position(const std::string& name) const
{
    return static_cast<int>(find(name) - arguments.data()) + 1;
}

bool CRow::has(const std::vector<std::string>& list, const std::string& name) const
{
    return std::find(list.begin(), list.end(), name) != list.end();
}

std::vector<CEntry> c_entries(const CRow& row)
{
    std::vector<CEntry> all;
    for (const Form& form : row.family->forms)
        for (const Precision& precision : row.precisions)
            if (form.width == Width::narrow || !row.narrow_only)
                all.push_back({&row, precision, &form, form.width});
    return all;
}

std::string CEntry::name() const
{
    return spell(form->spellings.front(), with_letter(row->root, precision));
}

std::string CEntry::callee(const Rewrite& rewrite) const
{
    Row fortran = row->fortran;
    fortran.root = rewrite.callee.empty() ? row->fortran_root : rewrite.callee;
    if (row->form == "direct")
        return Entry(fortran, precision, width).core();
    return spell(row->plain ? "name" + form->calls.substr(form->calls.find("name") + 4) : form->calls,
                 routine_name(fortran, precision));
}

} // namespace qnm::catalogue
