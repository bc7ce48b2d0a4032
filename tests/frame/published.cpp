#include "published.hpp"

#include "cblas/members.hpp"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace qnm::published {

namespace {

using tests::words;

std::string changed(std::string text, int (*change)(int))
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [change](unsigned char c) { return static_cast<char>(change(c)); });
    return text;
}

std::string upper(const std::string& text)
{
    return changed(text, std::toupper);
}

std::string lower(const std::string& text)
{
    return changed(text, std::tolower);
}

/// Upper case, lower case, lower case with `_`.
Names fortran(const std::string& name)
{
    return {upper(name), lower(name), lower(name) + "_"};
}

/// QNM_Get_Version -> qnm_serv_get_version
std::string of_core(const std::string& service)
{
    return "qnm_serv_" + lower(service.substr(4));
}

/// The same with each letter, in lower case.
Names lettered(const std::string& letters, const std::string& roots)
{
    Names all;
    for (const std::string& root : words(roots))
        for (const char letter : letters)
            all.push_back(letter + root);
    return all;
}

/// Those that are published with LAPACK too.
bool with_lapack(const std::string& name)
{
    return name == "crot" || name == "zrot" || name == "xerbla_array";
}

bool is_jit(const std::string& name)
{
    return name.ends_with("_jit");
}

std::vector<tests::Member> c_members()
{
    std::vector<tests::Member> all = tests::members();
    all.insert(all.end(), tests::group_members().begin(), tests::group_members().end());
    return all;
}

} // namespace

Names traced()
{
    Names all;
    for (const tests::Published& facts : tests::published())
        if (facts.entry_class != std::string("bare"))
            for (const auto& [name, letter] : tests::expand(facts.members))
                all.insert(all.end(), {name, name + "_64"});
    return all;
}

Names cblas_callees()
{
    Names all;
    for (const tests::Member& member : c_members()) {
        if (member.wide || member.family->narrow_only || member.is("_sub"))
            continue;
        const bool plain = (member.is("batch_strided") && !member.is("syrk")) || member.is("gemv_batch") ||
                           member.is("dgmm_batch") || member.is("qnm_") || with_lapack(member.routine);
        all.push_back((plain ? "" : "qnm_blas__") + member.routine);
    }
    return all;
}

Names of_lapacke(const std::string& routine, bool has_work_level)
{
    const std::string name = "LAPACKE_" + routine;
    if (!has_work_level)
        return {name, name + "_64"};
    return {name, name + "_64", name + "_work", name + "_work_64"};
}

const std::vector<TwoForms>& two_forms()
{
    static const std::vector<TwoForms> all = [] {
        std::vector<TwoForms> rows;
        std::istringstream in("QNM_malloc 64 32\n QNM_calloc 64 64 32\n QNM_realloc 64 64\n QNM_free 64\n"
                              "QNM_Peak_Mem_Usage 32\n QNM_Set_Memory_Limit 32 64\n"
                              "QNM_Set_Num_Threads 32\n QNM_Set_Num_Threads_Local 32\n"
                              "QNM_Domain_Set_Num_Threads 32 32\n QNM_Domain_Get_Max_Threads 32\n"
                              "QNM_Set_Dynamic 32\n QNM_Set_Num_Stripes 32\n QNM_Set_Env_Mode 32\n"
                              "QNM_Set_mpi 32\n QNM_Enable_Instructions 32\n QNM_CBWR_Get 32\n"
                              "QNM_CBWR_Set 32\n QNM_Verbose 32\n QNM_Verbose_Output_File\n"
                              "QNM_Get_Version_String\n");
        for (std::string line; std::getline(in, line);) {
            const Names row = words(line);
            const std::string core = of_core(row[0]);
            std::vector<int> widths;
            for (auto width = row.begin() + 1; width != row.end(); ++width)
                widths.push_back(std::stoi(*width));
            rows.push_back({fortran(row[0]), row[0], widths, core,
                            row[0] == "QNM_Get_Version_String" ? core + "_c" : core});
        }
        return rows;
    }();
    return all;
}

const std::vector<Forward>& forwards()
{
    static const std::vector<Forward> all = [] {
        std::vector<Forward> rows{{{"qnm_set_xerbla_interface"}, "qnm_serv_set_xerbla_interface"}};
        for (const char* name : {"dsecnd", "second", "lsame"}) {
            Names spellings = fortran(name);
            for (const Names wide = fortran(name + std::string("_64")); const std::string& spelling : wide)
                spellings.push_back(spelling);
            if (name == std::string("lsame"))
                spellings.push_back("qnm_lapack__lsame_");
            rows.push_back({spellings, std::string("qnm_serv_") + name});
        }
        for (const char* name : {"QNM_SET_XERBLA", "QNM_SET_PROGRESS", "QNM_SET_PARDISO_PIVOT"})
            rows.push_back({fortran(name), of_core(name)});
        for (const std::string& c :
             words("QNM_Get_Version QNM_Get_Cpu_Frequency QNM_Get_Max_Cpu_Frequency QNM_Get_Clocks_Frequency "
                   "QNM_Get_Cpu_Clocks QNM_Get_Max_Threads QNM_Get_Dynamic QNM_Get_Num_Stripes "
                   "QNM_Free_Buffers QNM_Thread_Free_Buffers QNM_Disable_Fast_MM QNM_Mem_Stat "
                   "QNM_CBWR_Get_Auto_Branch QNM_Finalize")) {
            rows.push_back({fortran(c), of_core(c)});
            rows.back().spellings.push_back(c);
        }
        for (const std::string& name : words("allocate deallocate malloc free dsecnd xerbla verbose_mode "
                                             "verbose_output_file_mode print_verbose_info"))
            rows.push_back({{"qnm_serv_iface_" + name}, "qnm_serv_" + name});
        return rows;
    }();
    return all;
}

const std::vector<Chain>& chains()
{
    static const std::vector<Chain> all{
        {{"cdecl_xerbla", "xerbla", "xerbla_", "XERBLA_", "XERBLA"}, "qnm_serv_default_xerbla"},
        {{"cdecl_progress", "qnm_progress", "qnm_progress_", "QNM_PROGRESS_", "QNM_PROGRESS"},
         "qnm_serv_default_progress"},
        {{"cdecl_pardiso_pivot", "qnm_pardiso_pivot", "qnm_pardiso_pivot_", "QNM_PARDISO_PIVOT_",
          "QNM_PARDISO_PIVOT"},
         "qnm_serv_default_pardiso_pivot"}};
    return all;
}

std::vector<Names> bodies()
{
    std::vector<Names> all{
        {"QNM_SET_EXIT_HANDLER", "QNM_Set_Exit_Handler", "qnm_set_exit_handler", "qnm_set_exit_handler_"}};
    const auto alone = [&](const std::string& name) { all.push_back({name}); };
    for (const tests::Published& facts : tests::published())
        for (const auto& [name, letter] : tests::expand(facts.members))
            for (const std::string suffix : {"", "_64"}) {
                const std::string entry_class = facts.entry_class;
                if (entry_class == "bare" && !suffix.empty() && !is_jit(name))
                    continue; // narrow alone
                all.push_back(fortran(name + suffix));
                if (suffix.empty() && entry_class != "registered")
                    all.back().push_back("qnm_blas__" + name);
                if (with_lapack(name))
                    all.back().push_back("qnm_lapack__" + name + suffix + "_");
                if (entry_class == "checked")
                    alone("qnm_blas_errchk_" + name + (suffix.empty() ? "" : "_ilp64"));
            }
    for (const tests::Member& member : c_members())
        alone(member.name());
    for (const Names& sparse : {lettered("sdcz", "axpyi gthr gthrz sctr"), lettered("sd", "roti doti"),
                                lettered("cz", "dotui_sub dotci_sub")})
        for (const std::string& name : sparse) {
            alone("cblas_" + name);
            alone("cblas_" + name + "_64");
        }

    const Names extras = lettered("sdcz", "dttrsb dtsvb"); // which have no wide name with _ behind it
    Names routines = lettered("sdcz", "dtsvb");
    for (const auto& [name, copies] : tests::lapack_members())
        routines.push_back(name);
    for (const std::string& name : routines)
        for (const std::string wide : {"", "_64"}) {
            if (with_lapack(name))
                continue; // told above
            all.push_back(fortran(name + wide));
            all.back().push_back("qnm_lapack__" + name + wide + "_");
            if (!wide.empty() && std::find(extras.begin(), extras.end(), name) != extras.end())
                std::erase(all.back(), name + "_64_");
        }
    for (const auto& [name, codes] : tests::lapack_checks()) {
        if (name.ends_with("dtsvb"))
            continue;
        alone("qnm_lapack_errchk_" + name);
        alone("qnm_lapack_errchk_" + name + "_ilp64");
    }
    for (const std::string& name : lettered("sdcz", "dtsvb dttrfb"))
        alone("qnm_lapack_ps_errchk_" + name);

    for (const Names& helpers : {lettered("sdcz", "_nancheck gt_nancheck pt_nancheck st_nancheck"),
                                 lettered("sdcz", "ge gg gb hs sy po pb sp pp pf tr tb tp tf tz"),
                                 lettered("cz", "he hb hp"), lettered("sd", "sb")})
        for (const std::string& name : helpers)
            for (const std::string wide : {"", "_64"})
                if (name.ends_with("nancheck"))
                    alone("LAPACKE_" + name + wide);
                else
                    for (const char* kind : {"_nancheck", "_trans"})
                        alone("LAPACKE_" + name + kind + wide);

    for (const std::string& name :
         lettered("sdcz", "omatcopy imatcopy omatcopy2 omatadd omatcopy_batch imatcopy_batch "
                          "omatcopy_batch_strided imatcopy_batch_strided omatadd_batch_strided")) {
        all.push_back(fortran("qnm_" + name));
        alone("QNM_" + upper(name.substr(0, 1)) + name.substr(1));
        alone("qnm_trans_errchk_qnm_" + name);
    }

    for (const TwoForms& row : two_forms()) {
        all.push_back(row.fortran);
        alone(row.c);
    }
    for (const Forward& row : forwards())
        all.push_back(row.spellings);
    for (const Chain& chain : chains())
        for (const std::string& link : chain.links)
            alone(link);
    for (const std::string& name :
         words("qnm_serv_iface_exit LAPACKE_get_nancheck LAPACKE_set_nancheck "
               "LAPACKE_lsame LAPACKE_xerbla cblas_xerbla cblas_xerbla_malloc_error"))
        alone(name);
    return all;
}

} // namespace qnm::published
