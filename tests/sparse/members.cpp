#include "sparse/members.hpp"

#include "support/published.hpp"

#include <map>
#include <tuple>

namespace qnm::tests {

namespace {

/// For each operation how its arguments travel: `h` a handle, `e` an enumeration, `i` an integer, `d` a
/// descriptor, `T` a scalar of the letter; `.` goes on as it came.
constexpr const char* of_each_letter =
    "create_coo .eiii... create_csr .eii.... create_csc .eii.... create_bsr .eeiii.... "
    "export_csr h....... export_csc h....... export_bsr h......... set_value hiiT update_values hi... "
    "set_coo_data_arrays heiii... set_csr_data_arrays heii.... set_csc_data_arrays heii.... "
    "set_bsr_data_arrays heeiii.... mv eThd.T. dotmv eThd.T.. trsv eThd.. mm eThde.iiT.i trsm eThde.ii.i "
    "add ehTh. spmmd ehhe.i sp2md edhedhTT.ei syrkd ehTT.ei syprd eh.eiTT.ei symgs ehdT.. symgs_mv ehdT... "
    "lu_smoother ehd.... sorv edhTT.. do_sp2m edhedhe. do_sp2m_allocate_C_handle eheh. "
    "update_C_handle_data_for_matmat heii.... do_order h do_set_inplace_copy he do_set_is_sycl_cpu he "
    "do_get_sorted_property h.";
constexpr const char* of_no_letter =
    "copy hd. destroy h optimize h order h get_error_info h. convert_csr he. convert_bsr hiee. "
    "set_verbose_mode e set_mv_hint hedi set_dotmv_hint hedi set_symgs_hint hedi set_sv_hint hedi "
    "set_lu_smoother_hint hedi set_mm_hint hedeii set_sm_hint hedeii set_sorv_hint ehdi set_memory_hint he "
    "spmm ehh. sp2m edhedhe. syrk eh. sypr ehhd.e set_inplace_copy he set_is_sycl_cpu he "
    "get_sorted_property h.";
constexpr const char* narrow_of_each_real_letter =
    "qr ehdei.i.i qr_factorize h. qr_solve eh.ei.i.i qr_qmult ehei.i.i qr_rsolve ehei.i.i "
    "gv ..hdhdi.... ev ..hdi.... svd ...hdi.....";
constexpr const char* narrow_of_no_letter = "set_qr_hint he qr_reorder hd ee_init .";

/// The arguments of a stem: letters of an option; the least value of a size, or `m` if that is another
/// argument; `.` is not looked at. Behind `@` stands the number that is reported if it is not the position.
std::vector<std::pair<std::string, std::string>> stems()
{
    const std::map<std::string, std::string> simple{
        {"csr", ". . ."}, {"bsr", "1 . . ."}, {"coo", ". . . 0"}, {"dia", ". m . 0"}},
        matrices{{"csr", ". . . ."}, {"csc", ". . . ."}, {"bsr", ". . . ."},
                 {"coo", ". . . 0"}, {"dia", ". m . 0"}, {"sky", ". ."}};
    std::vector<std::pair<std::string, std::string>> all;
    for (const auto& [format, matrix] : simple)
        for (const auto& [operation, ahead] :
             {std::pair<std::string, std::string>{"gemv", "NTC"}, {"symv", "UL"}, {"trsv", "UL NTC NU"}}) {
            const bool told = format == "bsr" && operation == "gemv";
            const std::string list = (told ? "NT 0 1@2 . . ." : ahead + " 0 " + matrix) + " . .";
            all.emplace_back("qnm_?" + format + operation, list);
            if (format != "dia")
                all.emplace_back("qnm_cspblas_?" + format + operation, list);
        }
    for (const auto& [format, matrix] : matrices)
        for (const auto& [operation, sizes, behind] :
             {std::tuple<std::string, std::string, std::string>{"mv", "0 0", ". . ."},
              {"sv", "0", ". ."},
              {"mm", "0 0 0", ". . . . ."},
              {"sm", "0 0", ". . . ."}})
            all.emplace_back("qnm_?" + format + operation, "NTC " + sizes + (format == "bsr" ? " 1" : "") +
                                                               " . . " + matrix + " " + behind);
    for (const auto& [stem, list] : {std::pair{"csradd", "NTC . . 0 0 . . . . . . . . . . . ."},
                                     {"csrmultcsr", "NTC . . 0 0 0 . . . . . . . . . . ."},
                                     {"csrmultd", "NTC 0 0 0 . . . . . . . ."},
                                     {"csrbsr", ". 0 1 . . . . . . . ."},
                                     {"csrcoo", ". 0 . . . . . . . ."},
                                     {"csrcsc", ". 0 . . . . . . ."},
                                     {"csrdia", ". 0 . . . . . . . . . . ."},
                                     {"csrsky", ". 0 . . . . . ."},
                                     {"dnscsr", ". 0 0 . . . . . ."}})
        all.emplace_back("qnm_?" + std::string(stem), list);
    return all;
}

} // namespace

std::vector<Operation> operations()
{
    std::vector<Operation> all;
    const auto add = [&](const std::string& letters, const char* lists, bool narrow_only) {
        const std::vector<std::string> told = words(lists);
        for (std::size_t i = 0; i < told.size(); i += 2)
            for (const char letter : letters)
                for (const bool wide : {false, true})
                    if (!wide || !narrow_only)
                        all.push_back({(letter == ' ' ? "" : std::string(1, letter) + "_") + told[i],
                                       told[i + 1], letter, wide});
    };
    add("sdcz", of_each_letter, false);
    add(" ", of_no_letter, false);
    add("sd", narrow_of_each_real_letter, true);
    add(" ", narrow_of_no_letter, true);
    return all;
}

std::vector<ClassicRoutine> classic_routines()
{
    std::vector<ClassicRoutine> all;
    for (const auto& [stem, list] : stems())
        for (const char letter : {'s', 'd', 'c', 'z'}) {
            std::string name = stem;
            name[name.find('?')] = letter;
            all.push_back({name, list});
        }
    return all;
}

} // namespace qnm::tests
