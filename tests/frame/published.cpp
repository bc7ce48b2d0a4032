#include "published.hpp"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace qnm::published {

namespace {

using Names = std::vector<std::string>;

Names words(const std::string& text)
{
    std::istringstream in(text);
    Names all;
    for (std::string word; in >> word;)
        all.push_back(word);
    return all;
}

/// Each root with each letter: in the place of `?`, or in front.
void add(Names& all, const std::string& letters, const std::string& roots)
{
    for (const std::string& root : words(roots))
        for (const std::string& letter : words(letters)) {
            const auto place = root.find('?');
            all.push_back(place == std::string::npos
                              ? letter + root
                              : root.substr(0, place) + letter + root.substr(place + 1));
        }
}

void add(Names& all, const std::string& names)
{
    const Names more = words(names);
    all.insert(all.end(), more.begin(), more.end());
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

/// QNM_Get_Version and its kin: as given, and the three Fortran spellings.
Forward same(const std::string& c, const std::string& core)
{
    return {{upper(c), c, lower(c), lower(c) + "_"}, core};
}

} // namespace

Names checked()
{
    Names all;
    // Level 2.
    add(all, "s d c z", "gemv gbmv trmv trsv tbmv tbsv tpmv tpsv");
    add(all, "dzgemv scgemv");
    add(all, "s d", "gem2vu ger symv sbmv spmv syr syr2 spr spr2");
    add(all, "c z", "gem2vc gerc geru hemv hbmv hpmv her her2 hpr hpr2");
    // Level 3.
    add(all, "s d c z", "gemm gemmt symm syrk syr2k trmm trsm trmm_oop trsm_oop");
    add(all, "c z", "gemm3m hemm herk her2k");
    add(all, "s d", "ptrmm");
    add(all, "dzgemm scgemm");
    // Batches.
    add(all, "s d c z", "gemm_batch gemv_batch dgmm_batch syrk_batch trsm_batch");
    add(all, "s d c z",
        "gemm_batch_strided gemv_batch_strided dgmm_batch_strided syrk_batch_strided trsm_batch_strided "
        "axpy_batch_strided copy_batch_strided");
    add(all, "c z", "gemm3m_batch gemm3m_batch_strided");
    // Variants.
    add(all, "gemm_s8u8s32 gemm_s16s16s32 hgemm gemm_bf16bf16f32 gemm_f16f16f32 gemm_e4m3e4m3f32 "
             "gemm_e5m2e5m2f32");
    for (const char* root : {"?_pack_get_size", "?_pack", "?_compute"})
        add(all,
            "sgemm dgemm hgemm gemm_s8u8s32 gemm_s16s16s32 gemm_bf16bf16f32 gemm_f16f16f32 gemm_e4m3e4m3f32 "
            "gemm_e5m2e5m2f32",
            root);
    add(all, "s d c z", "qnm_jit_create_?gemm");
    return all;
}

Names unchecked()
{
    Names all;
    add(all, "s d c z", "axpy axpby copy swap scal rot rotg");
    add(all, "csscal zdscal csrot zdrot");
    add(all, "s d", "rotm rotmg dot asum nrm2");
    add(all, "dsdot sdsdot scasum dzasum scnrm2 dznrm2 scabs1 dcabs1");
    add(all, "c z", "dotc dotu");
    add(all, "s d c z", "i?amax i?amin");
    add(all, "s d c z", "axpy_batch copy_batch");
    add(all, "s d c z", "qnm_?gemm_compact qnm_?trsm_compact qnm_?gepack_compact qnm_?geunpack_compact");
    add(all, "s d c z", "qnm_jit_get_?gemm_ptr");
    add(all, "qnm_get_format_compact qnm_jit_destroy");
    return all;
}

Names scratch()
{
    Names all;
    add(all, "s d c z", "axpyi gthr gthrz sctr");
    add(all, "s d", "roti doti");
    add(all, "c z", "dotci dotui");
    return all;
}

Names bare()
{
    Names all;
    add(all, "s d c z", "gemm_direct syrk_direct trsm_direct axpy_direct");
    add(all, "c z", "gemm3m_direct");
    add(all, "s d", "dot_direct");
    return all;
}

Names bare_as_wide()
{
    Names all;
    add(all, "s d c z", "qnm_?gemm_jit qnm_?gemm_direct_jit");
    return all;
}

namespace {

/// Names of the C interface that call the entry of the same name by its plain spelling.
Names called_plain()
{
    Names all;
    add(all, "s d c z",
        "gemm_batch_strided trsm_batch_strided gemv_batch gemv_batch_strided dgmm_batch "
        "dgmm_batch_strided axpy_batch_strided copy_batch_strided");
    add(all, "c z", "gemm3m_batch_strided");
    add(all, "crot zrot");
    return all;
}

Names called_private()
{
    Names all;
    add(all, "s d c z",
        "gemm gemmt symm syrk syr2k trmm trsm trmm_oop trsm_oop gemv gbmv trmv trsv tbmv tbsv tpmv tpsv");
    add(all, "c z", "gemm3m hemm herk her2k geru gerc hemv hbmv hpmv her her2 hpr hpr2");
    add(all, "s d", "ger symv sbmv spmv syr syr2 spr spr2");
    add(all, "s d c z", "gemm_batch trsm_batch syrk_batch syrk_batch_strided axpy_batch copy_batch");
    add(all, "c z", "gemm3m_batch");
    add(all, "gemm_s8u8s32 gemm_s16s16s32 hgemm gemm_bf16bf16f32 gemm_f16f16f32 gemm_e4m3e4m3f32 "
             "gemm_e5m2e5m2f32");
    for (const char* root : {"?_pack_get_size", "?_pack", "?_compute"})
        add(all,
            "sgemm dgemm hgemm gemm_s8u8s32 gemm_s16s16s32 gemm_bf16bf16f32 gemm_f16f16f32 gemm_e4m3e4m3f32 "
            "gemm_e5m2e5m2f32",
            root);
    add(all, "s d c z", "axpy axpby copy swap scal i?amax i?amin");
    add(all, "csscal zdscal srot drot csrot zdrot srotm drotm");
    add(all, "sdot ddot dsdot sdsdot snrm2 dnrm2 scnrm2 dznrm2 sasum dasum scasum dzasum");
    return all;
}

} // namespace

Names cblas()
{
    Names roots = called_private();
    for (const std::string& name : called_plain())
        roots.push_back(name);
    add(roots, "c z", "dotu_sub dotc_sub");
    // Sparse level 1.
    add(roots, "s d c z", "axpyi gthr gthrz sctr");
    add(roots, "s d", "doti roti");
    add(roots, "c z", "dotui_sub dotci_sub");
    Names all;
    for (const std::string& root : roots)
        all.push_back("cblas_" + root);
    add(all, "s d c z", "qnm_cblas_jit_create_?gemm");
    return all;
}

Names cblas_narrow()
{
    return words("cblas_srotg cblas_drotg cblas_crotg cblas_zrotg cblas_srotmg cblas_drotmg cblas_scabs1 "
                 "cblas_dcabs1");
}

Names cblas_callees()
{
    Names all = called_plain();
    add(all, "s d c z", "qnm_jit_create_?gemm");
    for (const std::string& name : called_private())
        all.push_back("qnm_blas__" + name);
    return all;
}

Names TwoForms::fortran_spellings() const
{
    return {fortran, lower(fortran), lower(fortran) + "_"};
}

const std::vector<TwoForms>& two_forms()
{
    static const std::vector<TwoForms> all = [] {
        std::vector<TwoForms> rows{
            {"QNM_MALLOC", "QNM_malloc", {64, 32}, "qnm_serv_malloc", ""},
            {"QNM_CALLOC", "QNM_calloc", {64, 64, 32}, "qnm_serv_calloc", ""},
            {"QNM_REALLOC", "QNM_realloc", {64, 64}, "qnm_serv_realloc", ""},
            {"QNM_FREE", "QNM_free", {64}, "qnm_serv_free", ""},
            {"QNM_PEAK_MEM_USAGE", "QNM_Peak_Mem_Usage", {32}, "qnm_serv_peak_mem_usage", ""},
            {"QNM_SET_MEMORY_LIMIT", "QNM_Set_Memory_Limit", {32, 64}, "qnm_serv_set_memory_limit", ""},
            {"QNM_SET_NUM_THREADS", "QNM_Set_Num_Threads", {32}, "qnm_serv_set_num_threads", ""},
            {"QNM_SET_NUM_THREADS_LOCAL",
             "QNM_Set_Num_Threads_Local",
             {32},
             "qnm_serv_set_num_threads_local",
             ""},
            {"QNM_DOMAIN_SET_NUM_THREADS",
             "QNM_Domain_Set_Num_Threads",
             {32, 32},
             "qnm_serv_domain_set_num_threads",
             ""},
            {"QNM_DOMAIN_GET_MAX_THREADS",
             "QNM_Domain_Get_Max_Threads",
             {32},
             "qnm_serv_domain_get_max_threads",
             ""},
            {"QNM_SET_DYNAMIC", "QNM_Set_Dynamic", {32}, "qnm_serv_set_dynamic", ""},
            {"QNM_SET_NUM_STRIPES", "QNM_Set_Num_Stripes", {32}, "qnm_serv_set_num_stripes", ""},
            {"QNM_SET_ENV_MODE", "QNM_Set_Env_Mode", {32}, "qnm_serv_set_env_mode", ""},
            {"QNM_SET_MPI", "QNM_Set_mpi", {32}, "qnm_serv_set_mpi", ""},
            {"QNM_ENABLE_INSTRUCTIONS", "QNM_Enable_Instructions", {32}, "qnm_serv_enable_instructions", ""},
            {"QNM_CBWR_GET", "QNM_CBWR_Get", {32}, "qnm_serv_cbwr_get", ""},
            {"QNM_CBWR_SET", "QNM_CBWR_Set", {32}, "qnm_serv_cbwr_set", ""},
            {"QNM_VERBOSE", "QNM_Verbose", {32}, "qnm_serv_verbose", ""},
            {"QNM_VERBOSE_OUTPUT_FILE", "QNM_Verbose_Output_File", {}, "qnm_serv_verbose_output_file", ""},
            {"QNM_GET_VERSION_STRING",
             "QNM_Get_Version_String",
             {},
             "qnm_serv_get_version_string",
             "qnm_serv_get_version_string_c"}};
        for (TwoForms& row : rows)
            if (row.c_core.empty())
                row.c_core = row.core;
        return rows;
    }();
    return all;
}

const std::vector<Forward>& forwards()
{
    static const std::vector<Forward> all{
        same("QNM_Get_Version", "qnm_serv_get_version"),
        same("QNM_Get_Cpu_Frequency", "qnm_serv_get_cpu_frequency"),
        same("QNM_Get_Max_Cpu_Frequency", "qnm_serv_get_max_cpu_frequency"),
        same("QNM_Get_Clocks_Frequency", "qnm_serv_get_clocks_frequency"),
        same("QNM_Get_Cpu_Clocks", "qnm_serv_get_cpu_clocks"),
        same("QNM_Get_Max_Threads", "qnm_serv_get_max_threads"),
        same("QNM_Get_Dynamic", "qnm_serv_get_dynamic"),
        same("QNM_Get_Num_Stripes", "qnm_serv_get_num_stripes"),
        same("QNM_Free_Buffers", "qnm_serv_free_buffers"),
        same("QNM_Thread_Free_Buffers", "qnm_serv_thread_free_buffers"),
        same("QNM_Disable_Fast_MM", "qnm_serv_disable_fast_mm"),
        same("QNM_Mem_Stat", "qnm_serv_mem_stat"),
        same("QNM_CBWR_Get_Auto_Branch", "qnm_serv_cbwr_get_auto_branch"),
        same("QNM_Finalize", "qnm_serv_finalize"),
        {{"DSECND", "DSECND_64", "dsecnd", "dsecnd_", "dsecnd_64", "dsecnd_64_"}, "qnm_serv_dsecnd"},
        {{"SECOND", "SECOND_64", "second", "second_", "second_64", "second_64_"}, "qnm_serv_second"},
        {{"LSAME", "LSAME_64", "lsame", "lsame_", "lsame_64", "lsame_64_", "qnm_lapack__lsame_"},
         "qnm_serv_lsame"},
        {{"QNM_SET_XERBLA", "qnm_set_xerbla", "qnm_set_xerbla_"}, "qnm_serv_set_xerbla"},
        {{"QNM_SET_PROGRESS", "qnm_set_progress", "qnm_set_progress_"}, "qnm_serv_set_progress"},
        {{"QNM_SET_PARDISO_PIVOT", "qnm_set_pardiso_pivot", "qnm_set_pardiso_pivot_"},
         "qnm_serv_set_pardiso_pivot"},
        {{"qnm_serv_iface_allocate"}, "qnm_serv_allocate"},
        {{"qnm_serv_iface_deallocate"}, "qnm_serv_deallocate"},
        {{"qnm_serv_iface_malloc"}, "qnm_serv_malloc"},
        {{"qnm_serv_iface_free"}, "qnm_serv_free"},
        {{"qnm_serv_iface_dsecnd"}, "qnm_serv_dsecnd"},
        {{"qnm_serv_iface_xerbla"}, "qnm_serv_xerbla"},
        {{"qnm_serv_iface_verbose_mode"}, "qnm_serv_verbose_mode"},
        {{"qnm_serv_iface_verbose_output_file_mode"}, "qnm_serv_verbose_output_file_mode"},
        {{"qnm_serv_iface_print_verbose_info"}, "qnm_serv_print_verbose_info"},
        {{"qnm_set_xerbla_interface"}, "qnm_serv_set_xerbla_interface"}};
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

std::vector<Names> others()
{
    return {{"QNM_SET_EXIT_HANDLER", "QNM_Set_Exit_Handler", "qnm_set_exit_handler", "qnm_set_exit_handler_"},
            {"qnm_serv_iface_exit"},
            {"LAPACKE_get_nancheck"},
            {"LAPACKE_set_nancheck"},
            {"LAPACKE_lsame"},
            {"LAPACKE_xerbla"},
            {"cblas_xerbla"},
            {"cblas_xerbla_malloc_error"}};
}

Names narrow_spellings(const std::string& name)
{
    if (name == xerbla_array)
        return {"XERBLA_ARRAY", "xerbla_array", "xerbla_array_", "qnm_lapack__xerbla_array_"};
    Names all{upper(name), name, name + "_", "qnm_blas__" + name};
    if (name == "crot" || name == "zrot") // published with LAPACK
        all.push_back("qnm_lapack__" + name + "_");
    return all;
}

Names wide_spellings(const std::string& name)
{
    if (name == xerbla_array)
        return {"XERBLA_ARRAY_64", "xerbla_array_64", "xerbla_array_64_", "qnm_lapack__xerbla_array_64_"};
    Names all{upper(name) + "_64", name + "_64", name + "_64_"};
    if (name == "crot" || name == "zrot")
        all.push_back("qnm_lapack__" + name + "_64_");
    return all;
}

std::vector<Names> bodies()
{
    std::vector<Names> all = others();
    for (const Names& both : {checked(), unchecked(), scratch(), bare_as_wide(), Names{xerbla_array}})
        for (const std::string& name : both) {
            all.push_back(narrow_spellings(name));
            all.push_back(wide_spellings(name));
        }
    for (const std::string& name : bare())
        all.push_back(narrow_spellings(name));
    for (const std::string& name : cblas()) {
        all.push_back({name});
        all.push_back({name + "_64"});
    }
    for (const std::string& name : cblas_narrow())
        all.push_back({name});
    for (const std::string& name : checked()) {
        all.push_back({"qnm_blas_errchk_" + name});
        all.push_back({"qnm_blas_errchk_" + name + "_ilp64"});
    }
    for (const TwoForms& row : two_forms()) {
        all.push_back(row.fortran_spellings());
        all.push_back({row.c});
    }
    for (const Forward& row : forwards())
        all.push_back(row.spellings);
    for (const Chain& chain : chains())
        for (const std::string& link : chain.links)
            all.push_back({link});
    return all;
}

Names traced()
{
    Names all;
    for (const Names& names : {checked(), unchecked(), scratch(), Names{xerbla_array}})
        for (const std::string& name : names) {
            all.push_back(name);
            all.push_back(name + "_64");
        }
    return all;
}

} // namespace qnm::published
