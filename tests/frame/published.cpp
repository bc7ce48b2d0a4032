#include "published.hpp"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace qnm::published {

namespace {

Names words(const std::string& text)
{
    std::istringstream in(text);
    Names all;
    for (std::string word; in >> word;)
        all.push_back(word);
    return all;
}

/// Lines "letters: roots" give each root with each letter, in the place of `?` or in front.
Names expanded(const std::string& text)
{
    Names all;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        for (const std::string& root : words(line.substr(line.find(':') + 1)))
            for (const std::string& letter : words(line.substr(0, line.find(':')))) {
                const auto place = root.find('?');
                all.push_back(place == std::string::npos ? letter + root
                                                         : std::string(root).replace(place, 1, letter));
            }
    return all;
}

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

// What both interfaces have, by its class; the C interface calls most of it by the private spelling.
const std::string unusual_types =
    "gemm_s8u8s32 gemm_s16s16s32 hgemm gemm_bf16bf16f32 gemm_f16f16f32 gemm_e4m3e4m3f32 gemm_e5m2e5m2f32";
const std::string checked_private =
    "s d c z: gemm gemmt symm syrk syr2k trmm trsm trmm_oop trsm_oop\n"
    "s d c z: gemv gbmv trmv trsv tbmv tbsv tpmv tpsv gemm_batch trsm_batch syrk_batch syrk_batch_strided\n"
    "s d: ger symv sbmv spmv syr syr2 spr spr2\n"
    "c z: gemm3m hemm herk her2k geru gerc hemv hbmv hpmv her her2 hpr hpr2 gemm3m_batch\n" +
    unusual_types + ": ?\n sgemm dgemm " + unusual_types + ": ?_pack_get_size ?_pack ?_compute\n";
const std::string checked_plain =
    "s d c z: gemm_batch_strided trsm_batch_strided gemv_batch gemv_batch_strided dgmm_batch\n"
    "s d c z: dgmm_batch_strided axpy_batch_strided copy_batch_strided\n"
    "c z: gemm3m_batch_strided\n";
const std::string unchecked_private =
    "s d c z: axpy axpby copy swap scal i?amax i?amin axpy_batch copy_batch\n"
    "cs zd: scal rot\n"
    "s d: rot rotm dot nrm2 asum\n"
    "ds sds: dot\n"
    "sc dz: nrm2 asum\n";
const std::string unchecked_plain = "c z: rot\n";
const std::string scratch = "s d c z: axpyi gthr gthrz sctr\n s d: roti doti\n";

const std::string cblas_alone = "c z: dotu_sub dotc_sub dotui_sub dotci_sub\n";
const std::string cblas_narrow = "s d c z: rotg\n s d: rotmg cabs1\n"; // each is one jump

/// Those that are published with LAPACK too.
bool with_lapack(const std::string& name)
{
    return name == "crot" || name == "zrot" || name == "xerbla_array";
}

} // namespace

const std::map<std::string, Names>& classes()
{
    static const std::map<std::string, Names> all{
        {"checked", expanded(checked_private + checked_plain +
                             "sc dz: gemv gemm\n s d: gem2vu ptrmm\n c z: gem2vc\n"
                             "s d c z: qnm_jit_create_?gemm\n")},
        {"unchecked", expanded(unchecked_private + unchecked_plain + cblas_narrow +
                               "c z: dotc dotu\n qnm_: get_format_compact jit_destroy\n"
                               "s d c z: qnm_?gemm_compact qnm_?trsm_compact qnm_jit_get_?gemm_ptr\n"
                               "s d c z: qnm_?gepack_compact qnm_?geunpack_compact\n")},
        {"scratch", expanded(scratch + "c z: dotci dotui\n")},
        {"bare", expanded("s d c z: gemm_direct syrk_direct trsm_direct axpy_direct\n"
                          "c z: gemm3m_direct\n s d: dot_direct\n")},
        {"jit", expanded("s d c z: qnm_?gemm_jit qnm_?gemm_direct_jit\n")},
        {"registered", {"xerbla_array"}}};
    return all;
}

Names traced()
{
    Names all;
    for (const char* name : {"checked", "unchecked", "scratch", "registered"})
        for (const std::string& entry : classes().at(name))
            all.insert(all.end(), {entry, entry + "_64"});
    return all;
}

Names cblas_callees()
{
    Names all = expanded(checked_plain + unchecked_plain + "s d c z: qnm_jit_create_?gemm\n");
    for (const std::string& name : expanded(checked_private + unchecked_private))
        all.push_back("qnm_blas__" + name);
    return all;
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
    for (const auto& [name, entries] : classes())
        for (const std::string& entry : entries)
            for (const std::string suffix : {"", "_64"}) {
                if (name == "bare" && !suffix.empty())
                    continue;
                all.push_back(fortran(entry + suffix));
                if (suffix.empty() && name != "registered")
                    all.back().push_back("qnm_blas__" + entry);
                if (with_lapack(entry))
                    all.back().push_back("qnm_lapack__" + entry + suffix + "_");
                if (name == "checked")
                    alone("qnm_blas_errchk_" + entry + (suffix.empty() ? "" : "_ilp64"));
            }
    Names c = expanded("s d c z: qnm_cblas_jit_create_?gemm");
    for (const std::string& name : expanded(checked_private + checked_plain + unchecked_private +
                                            unchecked_plain + scratch + cblas_alone))
        c.push_back("cblas_" + name);
    for (const std::string& name : c) {
        alone(name);
        alone(name + "_64");
    }
    for (const std::string& name : expanded(cblas_narrow))
        alone("cblas_" + name);
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
