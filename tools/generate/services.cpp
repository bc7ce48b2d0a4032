// Services: jumps to the core, and Fortran forms that read their arguments first.
#include <array>
#include <utility>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// The Fortran form reads its arguments where they stand, and jumps; what follows them goes on as it came.
std::string fortran_form(const Service& s)
{
    static constexpr std::array<std::pair<const char*, const char*>, 6> registers{
        {{"rdi", "edi"}, {"rsi", "esi"}, {"rdx", "edx"}, {"rcx", "ecx"}, {"r8", "r8d"}, {"r9", "r9d"}}};
    std::string reads;
    for (std::size_t i = 0; i < s.arguments.size(); ++i) {
        const auto [whole, half] = registers.at(i);
        if (!s.arguments[i].untouched)
            reads += std::string(reads.empty() ? ", " : " ") + "QNM_READ(" + whole + ", " +
                     (s.arguments[i].type == "int" ? half : whole) + ")";
    }
    return "QNM_FORWARD(" + s.spellings[0] + ", " + s.core + reads + ")\n";
}

/// The spellings behind the first.
std::string further_spellings(const Service& s)
{
    std::string text;
    for (std::size_t i = 1; i < s.spellings.size(); ++i)
        text += "QNM_SAME(" + s.spellings[i] + ", " + s.spellings[0] + ")\n";
    return text;
}

} // namespace

std::string services_text(const Catalogue& tables, const std::string& file)
{
    std::string text = "// Made from " + file +
                       "; the table and frame/services.hpp are what to read.\n"
                       "#include \"frame/services.hpp\"\n\nnamespace qnm {\n\n";
    for (const Service& s : tables.services()) {
        if (s.file != file)
            continue;
        switch (s.kind) {
        case ServiceKind::service:
            text +=
                fortran_form(s) + further_spellings(s) + "QNM_FORWARD(" + s.name + ", " + s.c_core + ")\n";
            break;
        case ServiceKind::forward:
        case ServiceKind::internal:
            text += "QNM_FORWARD(" + s.spellings[0] + ", " + s.core + ")\n" + further_spellings(s);
            break;
        case ServiceKind::core:
            continue;
        case ServiceKind::chain:
            for (std::size_t i = 0; i < s.spellings.size(); ++i)
                text += "QNM_FORWARD(" + s.spellings[i] + ", " +
                        (i + 1 < s.spellings.size() ? s.spellings[i + 1] : s.core) + ")\n";
            break;
        }
        text += "\n";
    }
    return text + "} // namespace qnm\n";
}

} // namespace qnm::generate
