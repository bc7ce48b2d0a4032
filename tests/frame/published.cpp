#include "published.hpp"

#include "cblas/members.hpp"
#include "solvers/members.hpp"
#include "sparse/members.hpp"

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

/// Patterns with a name in the place of NAME in upper case, of name in lower case, and of Name as it is.
Names spelled(const std::string& patterns, const std::string& name)
{
    const std::pair<const char*, std::string> forms[]{
        {"NAME", changed(name, std::toupper)}, {"name", changed(name, std::tolower)}, {"Name", name}};
    Names all;
    for (std::string word : words(patterns)) {
        for (const auto& [form, text] : forms)
            if (const auto at = word.find(form); at != std::string::npos) {
                word.replace(at, 4, text);
                break;
            }
        all.push_back(word);
    }
    return all;
}

constexpr const char* fortran = "NAME name name_";
constexpr const char* both_widths = "NAME name name_ NAME_64 name_64 name_64_";

/// QNM_Get_Version -> qnm_serv_get_version
std::string of_core(const std::string& service)
{
    const std::string name = changed(service, std::tolower);
    return "qnm_serv_" + name.substr(name.starts_with("qnm_") ? 4 : 0);
}

/// The same with each letter.
Names lettered(const std::string& letters, const std::string& roots)
{
    Names all;
    for (const std::string& root : words(roots))
        for (const char letter : letters)
            all.push_back(letter + root);
    return all;
}

/// Fourier transforms: twins, entries by address, and five Fortran spellings of each of the latter. A tag of
/// types is one body with others of as many arrays.
void add_transforms(std::vector<Names>& all)
{
    for (const std::string& name :
         words("CreateDescriptor CreateDescriptor_d_1d CreateDescriptor_d_md CreateDescriptor_s_1d "
               "CreateDescriptor_s_md CommitDescriptor CopyDescriptor FreeDescriptor SetValue GetValue "
               "ComputeForward ComputeBackward ComputeInPlaceForward ComputeInPlaceBackward "
               "ComputeOutOfPlaceForward ComputeOutOfPlaceBackward ErrorClass ErrorMessage"))
        all.push_back(spelled("DftiName qnm_dft_dftiname", name));
    constexpr const char* fortran_spellings = "NAME NAME_ name name_ name__";
    for (const std::string& name :
         words("commit_descriptor_external copy_descriptor_external free_descriptor_external "
               "create_descriptor_1d create_descriptor_highd create_descriptor_d_1d create_descriptor_d_md "
               "create_descriptor_s_1d create_descriptor_s_md set_value_intval set_value_intvec "
               "set_value_dblval set_value_sglval set_value_chars get_value_intval get_value_intvec "
               "get_value_dblval get_value_sglval get_value_chars error_class_external "
               "error_message_external")) {
        all.push_back(spelled("qnm_dft_name", "dfti_" + name));
        all.push_back(spelled(fortran_spellings, "dfti_" + name));
    }
    for (const auto& [ways, tags] : {std::pair{"forward backward", "c z s d"},
                                     {"forward backward", "cc zz ss dd"},
                                     {"forward", "sc dz"},
                                     {"backward", "cs zd"},
                                     {"forward backward", "ssss dddd"}})
        for (const std::string& way : words(ways)) {
            Names direct, places;
            for (const std::string& tag : words(tags)) {
                const std::string name = "dfti_compute_" + way + "_" + tag;
                direct.push_back("qnm_dft_" + name);
                places.push_back(name + "_cpu");
                all.push_back(spelled(fortran_spellings, name));
            }
            all.insert(all.end(), {direct, places});
        }
    all.push_back({"qnm_dfti_is_ilp64"});
    for (const std::string& name :
         words("DftiCreateDescriptorDM DftiCommitDescriptorDM DftiFreeDescriptorDM DftiGetValueDM"))
        all.push_back(spelled("Name " + std::string(fortran_spellings), name));
    for (const std::string& name : words(
             "createdescriptordm1 createdescriptordmn commitdescriptordm freedescriptordm computeforwarddmi "
             "computeforwarddmo computebackwarddmi computebackwarddmo getvaluedm setvaluedmd setvaluedmf "
             "setvaluedmi setvaluedmp"))
        all.push_back(spelled(fortran_spellings, "dfti" + name + "_internal"));
    all.push_back({"qnm_cdft_error_message"});
    all.back().insert(all.back().end(), replaceable().begin(), replaceable().end());
}

/// Solvers, and trigonometric transforms with their twins.
void add_solvers(std::vector<Names>& all)
{
    Names routines = lettered("s", "_init_helmholtz_nonuniform_3d _commit_helmholtz_nonuniform_3d "
                                   "_helmholtz_nonuniform_3d");
    for (const std::string& problem : words("helmholtz_2d helmholtz_3d sph_p sph_np trig_transform")) {
        for (const std::string& step :
             words(problem == "trig_transform" ? "init_ commit_ forward_ backward_" : "init_ commit_ *"))
            for (const char letter : {'s', 'd'})
                routines.push_back(letter + ("_" + (step == "*" ? "" : step)) + problem);
        routines.push_back("free_" + problem);
    }
    for (const std::string& name : routines) {
        all.push_back(spelled(fortran, name));
        if (name.ends_with("trig_transform"))
            all.push_back(spelled(fortran, "_" + name));
    }
    for (const tests::DirectRoutine& routine : tests::direct_routines())
        all.push_back(spelled("Name Name_ Name__ name name_ name__", routine.name));
    for (const tests::CarriedRoutine& routine : tests::carried_routines())
        all.push_back(spelled(fortran, routine.name));
}

/// FFTW3: a planner of each kind of data in the forms that it has, and all else by name.
void add_plans(std::vector<Names>& all)
{
    Names c = words(
              "execute execute_dft execute_dft_r2c execute_dft_c2r execute_r2r execute_split_dft "
              "execute_split_dft_r2c execute_split_dft_c2r destroy_plan malloc alloc_real alloc_complex "
              "free alignment_of init_threads plan_with_nthreads cleanup_threads cleanup set_timelimit "
              "export_wisdom export_wisdom_to_file export_wisdom_to_filename export_wisdom_to_string "
              "import_wisdom import_wisdom_from_file import_wisdom_from_filename "
              "import_wisdom_from_string import_system_wisdom forget_wisdom flops cost estimate_cost "
              "print_plan fprint_plan sprint_plan version cc codelet_optim"),
          fortran_names = words("execute execute_dft execute_dft_r2c execute_dft_c2r execute_r2r "
                                "execute_split_dft execute_split_dft_r2c execute_split_dft_c2r destroy_plan "
                                "flops print_plan plan_with_nthreads cleanup cleanup_threads export_wisdom "
                                "forget_wisdom init_threads import_wisdom import_system_wisdom");
    const auto planner = [&](const std::string& name, bool has_fortran_name) {
        c.push_back("plan_" + name);
        if (has_fortran_name)
            fortran_names.push_back("plan_" + name);
    };
    for (const std::string& data : words("dft dft_r2c dft_c2r r2r")) {
        for (const char* lengths : {"", "_1d", "_2d", "_3d"})
            planner(data + lengths, true);
        planner("many_" + data, true);
    }
    for (const std::string& data : words("dft dft_r2c dft_c2r r2r split_dft split_dft_r2c split_dft_c2r")) {
        planner("guru_" + data, true);
        planner("guru64_" + data, false);
    }
    for (const auto& [patterns, names] :
         {std::pair{"fftw_name fftwf_name", &c}, {"dfftw_name_ sfftw_name_", &fortran_names}})
        for (const std::string& name : *names)
            for (const std::string& spelling : spelled(patterns, name))
                all.push_back({spelling});
    all.push_back({"fftw3_qnm"});
}

/// Vector mathematics: functions of four, two real and two complex types, with strided fellows; and control.
void add_vectors(std::vector<Names>& all)
{
    Names roots;
    const auto add = [&](const std::string& types, const std::string& functions, bool has_strided) {
        for (const std::string& function : words(functions))
            for (const char type : types)
                for (const char* strided : {"", "I"})
                    if (*strided == '\0' || has_strided)
                        roots.push_back(type + function + strided);
    };
    add("sdcz",
        "Acos Acosh Asin Asinh Atan Atanh Cos Cosh Exp Ln Log10 Sin Sinh Sqrt Tan Tanh Add Div Mul Pow Sub "
        "Powx Abs",
        true);
    add("cz", "Conj MulByConj Arg CIS", true);
    add("sd",
        "Acospi Asinpi Atanpi Cbrt CdfNorm CdfNormInv Ceil Cosd Cospi Erf ErfInv Erfc ErfcInv Erfcx Exp10 "
        "Exp2 "
        "ExpInt1 Expm1 Floor Frac I0 I1 Inv InvCbrt InvSqrt J0 J1 LGamma Log1p Log2 Logb NearbyInt Pow2o3 "
        "Pow3o2 Rint Round Sind Sinpi Sqr TGamma Tand Tanpi Trunc Y0 Y1 Atan2 Atan2pi CopySign Fdim Fmax "
        "Fmin "
        "Fmod Hypot MaxMag MinMag NextAfter Powr Remainder Jn Yn Modf SinCos SinCospi LinearFrac",
        true);
    add("sdcz", "PackI PackV PackM UnpackI UnpackV UnpackM", false);
    for (const std::string& root : roots)
        for (const char* forms : {"vName", "vName_64", "VNAME_ vname_", "VNAME_64_ vname_64_", "vmName",
                                  "vmName_64", "VMNAME_ vmname_", "VMNAME_64_ vmname_64_"})
            all.push_back(spelled(forms, root));
    for (const std::string& name :
         words("SetMode GetMode SetErrStatus GetErrStatus ClearErrStatus SetErrorCallBack "
               "GetErrorCallBack ClearErrorCallBack"))
        for (const char* forms : {"vmlName", "vmlName_64", "VMLNAME_ vmlname_", "VMLNAME_64_ vmlname_64_"})
            all.push_back(spelled(forms, name));
    for (const std::string& name :
         words("load_vml_dll get_dll_handle load_vml_func cpu_detect cpu_detect_legacy"))
        all.push_back({"qnm_vml_serv_" + name});
}

/// Streams and generators, summary statistics, convolution, data fitting.
void add_statistics(std::vector<Names>& all)
{
    const auto add = [&](const std::string& forms, const Names& names) {
        for (const std::string& form : words(forms))
            for (const std::string& name : names)
                all.push_back(spelled(form, name));
    };
    const auto both = [&](const std::string& upper, const std::string& lower, const Names& names) {
        for (const std::string& name : names)
            all.push_back(spelled(upper + " " + lower, name));
    };
    Names generators =
        lettered("sd", "RngCauchy RngExponential RngGaussian RngGaussianMV RngGumbel RngLaplace RngLognormal "
                       "RngRayleigh RngUniform RngWeibull RngBeta RngGamma RngChiSquare");
    for (const std::string& name :
         lettered("i", "RngBernoulli RngBinomial RngMultinomial RngGeometric RngHypergeometric RngPoisson "
                       "RngPoissonV RngUniform RngUniformBits RngUniformBits32 RngUniformBits64"))
        generators.push_back(name);
    add("vName vName_64", generators);
    both("VNAME_", "vname_", generators);
    all.push_back({"viRngNegbinomial", "viRngNegBinomial"});
    add("vName_64", {"iRngNegbinomial"});
    both("VNAME_", "vname_", {"iRngNegbinomial"});

    const Names wide =
                    words("NewStream NewStreamEx DeleteStream CopyStream CopyStreamState LeapfrogStream "
                          "SkipAheadStream SkipAheadStreamEx SaveStreamF LoadStreamF SaveStreamM LoadStreamM "
                          "GetStreamSize"),
                narrow = words("GetStreamStateBrng GetNumRegBrngs RegisterBrng GetBrngProperties "
                               "iNewAbstractStream sNewAbstractStream dNewAbstractStream");
    add("vslName_64", wide);
    for (const Names* names : {&wide, &narrow}) {
        add("vslName", *names);
        both("VSLNAME_", "vslname_", *names);
    }
    all.push_back({"qnm_vml_service_IsStreamValid"});

    add("vslName VSLNAME_ vslname_",
        lettered("sd",
                 "SSNewTask SSEditTask SSEditMoments SSEditSums SSEditCovCor SSEditCP SSEditPartialCovCor "
                 "SSEditQuantiles SSEditStreamQuantiles SSEditPooledCovariance SSEditRobustCovariance "
                 "SSEditOutliersDetection SSEditMissingValues SSEditCorParameterization SSCompute"));
    add("vslName VSLNAME_ vslname_", {"iSSEditTask", "SSDeleteTask"});
    add("vslName_64", {"sSSNewTask", "dSSNewTask"});

    for (const char* kind : {"Conv", "Corr"})
        for (const std::string& patterns :
             {std::string("vslName"), std::string("VSLNAME_ vslname vslname_")}) {
            for (const std::string& entry :
                 words("NewTask NewTask1D NewTaskX NewTaskX1D Exec Exec1D ExecX ExecX1D"))
                for (const std::string& name : lettered("sdcz", kind + entry))
                    all.push_back(spelled(patterns, name));
            for (const std::string& entry :
                 words("SetMode SetInternalPrecision SetStart SetDecimation CopyTask DeleteTask"))
                all.push_back(spelled(patterns, kind + entry));
        }

    Names fitting =
        lettered("sd", "NewTask1D EditPPSpline1D EditPtr QueryPtr EditIdxPtr QueryIdxPtr Construct1D "
                       "Interpolate1D InterpolateEx1D Integrate1D IntegrateEx1D SearchCells1D "
                       "SearchCellsEx1D");
    fitting.insert(fitting.end(), {"DeleteTask", "iEditVal", "iQueryVal"});
    add("dfName", fitting);
    both("DFNAME_", "dfname_", fitting);
}

/// Sparse matrices: operations on handles, and classic routines with their checks.
void add_sparse(std::vector<Names>& all)
{
    for (const tests::Operation& operation : tests::operations())
        for (const char* pattern : {"qnm_sparse_Name", "QNM_SPARSE_NAME"})
            all.push_back(spelled(pattern + std::string(operation.wide ? "_64" : ""), operation.root));
    for (const tests::ClassicRoutine& routine : tests::classic_routines()) {
        all.push_back(spelled(fortran, routine.name));
        all.push_back({"qnm_spblas_errchk_" + routine.name});
    }
}

/// Those that are published with LAPACK too.
bool with_lapack(const std::string& name)
{
    return name == "crot" || name == "zrot" || name == "xerbla_array";
}

} // namespace

const Names& replaceable()
{
    static const Names all =
        words("qnm_cdft_DftiCreateDescriptorDM qnm_cdft_DftiCommitDescriptorDM qnm_cdft_DftiFreeDescriptorDM "
              "qnm_cdft_DftiGetValueDM qnm_cdft_DftiSetValueDM qnm_cdft_DftiComputeForwardDM "
              "qnm_cdft_DftiComputeBackwardDM DftiSetValueDM DftiComputeForwardDM DftiComputeBackwardDM");
    return all;
}

const Names& variables()
{
    static const Names all = words("qnm_dfti_is_ilp64 fftw3_qnm fftw_version fftw_cc fftw_codelet_optim "
                                   "fftwf_version fftwf_cc fftwf_codelet_optim");
    return all;
}

Names traced()
{
    Names all;
    for (const tests::Published& facts : tests::published())
        if (facts.entry_class != std::string("bare"))
            for (const auto& [name, letter] : tests::expand(facts.members))
                all.insert(all.end(), {name, name + "_64"});
    return all;
}

std::set<std::string> of_lapacke(const std::string& routine, bool has_work_level)
{
    const Names both =
        spelled("LAPACKE_name LAPACKE_name_64 LAPACKE_name_work LAPACKE_name_work_64", routine);
    return {both.begin(), has_work_level ? both.end() : both.begin() + 2};
}

const std::vector<TwoForms>& two_forms()
{
    static const std::vector<TwoForms> all = [] {
        std::vector<TwoForms> rows{{"QNM_malloc", 64, {64, 32}},
                                   {"QNM_calloc", 64, {64, 64, 32}},
                                   {"QNM_realloc", 64, {64, 64}},
                                   {"QNM_free", 0, {64}},
                                   {"QNM_Peak_Mem_Usage", 64, {32}},
                                   {"QNM_Set_Memory_Limit", 32, {32, 64}},
                                   {"QNM_Set_Num_Threads", 0, {32}},
                                   {"QNM_Set_Num_Threads_Local", 32, {32}},
                                   {"QNM_Domain_Set_Num_Threads", 32, {32, 32}},
                                   {"QNM_Domain_Get_Max_Threads", 32, {32}},
                                   {"QNM_Set_Dynamic", 0, {32}},
                                   {"QNM_Set_Num_Stripes", 0, {32}},
                                   {"QNM_Set_Env_Mode", 32, {32}},
                                   {"QNM_Set_mpi", 32, {32, 0}},
                                   {"QNM_Enable_Instructions", 32, {32}},
                                   {"QNM_CBWR_Get", 32, {32}},
                                   {"QNM_CBWR_Set", 32, {32}},
                                   {"QNM_Verbose", 32, {32}},
                                   {"QNM_Verbose_Output_File", 32, {0}},
                                   {"QNM_Get_Version_String", 0, {0, 0}}};
        for (TwoForms& row : rows) {
            row.fortran = spelled(fortran, row.c);
            row.core = of_core(row.c);
            row.c_core = row.core + (row.c == "QNM_Get_Version_String" ? "_c" : "");
        }
        return rows;
    }();
    return all;
}

const std::vector<Forward>& forwards()
{
    static const std::vector<Forward> all = [] {
        std::vector<Forward> rows;
        for (const auto& [patterns, names] :
             {std::pair<std::string, const char*>{"name", "qnm_set_xerbla_interface"},
              {both_widths, "dsecnd second"},
              {both_widths + std::string(" qnm_lapack__name_"), "lsame"},
              {fortran, "QNM_SET_XERBLA QNM_SET_PROGRESS QNM_SET_PARDISO_PIVOT"},
              {fortran + std::string(" Name"),
               "QNM_Get_Version QNM_Get_Cpu_Frequency QNM_Get_Max_Cpu_Frequency QNM_Get_Clocks_Frequency "
               "QNM_Get_Cpu_Clocks QNM_Get_Max_Threads QNM_Get_Dynamic QNM_Get_Num_Stripes QNM_Free_Buffers "
               "QNM_Thread_Free_Buffers QNM_Disable_Fast_MM QNM_Mem_Stat QNM_CBWR_Get_Auto_Branch "
               "QNM_Finalize"},
              {"qnm_serv_iface_name", "allocate deallocate malloc free dsecnd xerbla verbose_mode "
                                      "verbose_output_file_mode print_verbose_info"}})
            for (const std::string& name : words(names))
                rows.push_back({spelled(patterns, name), of_core(name)});
        return rows;
    }();
    return all;
}

const std::vector<Chain>& chains()
{
    static const std::vector<Chain> all{
        {words("cdecl_xerbla xerbla xerbla_ XERBLA_ XERBLA"), "qnm_serv_default_xerbla"},
        {words("cdecl_progress qnm_progress qnm_progress_ QNM_PROGRESS_ QNM_PROGRESS"),
         "qnm_serv_default_progress"},
        {words("cdecl_pardiso_pivot qnm_pardiso_pivot qnm_pardiso_pivot_ QNM_PARDISO_PIVOT_ "
               "QNM_PARDISO_PIVOT"),
         "qnm_serv_default_pardiso_pivot"}};
    return all;
}

std::vector<Names> bodies()
{
    std::vector<Names> all;
    const auto body = [&](const std::string& patterns, const std::string& name) {
        all.push_back(spelled(patterns, name));
    };
    const auto alone = [&](const Names& names, const std::string& patterns) {
        for (const std::string& name : names)
            for (const std::string& spelling : spelled(patterns, name))
                all.push_back({spelling});
    };
    for (const tests::Published& facts : tests::published())
        for (const auto& [name, letter] : tests::expand(facts.members)) {
            const std::string entry_class = facts.entry_class;
            body(fortran + std::string(entry_class == "registered" ? "" : " qnm_blas__name") +
                     (with_lapack(name) ? " qnm_lapack__name_" : ""),
                 name);
            if (entry_class != "bare" || name.ends_with("_jit")) // the others are narrow alone
                body("NAME_64 name_64 name_64_" +
                         std::string(with_lapack(name) ? " qnm_lapack__name_64_" : ""),
                     name);
            if (entry_class == "checked")
                alone({name}, "qnm_blas_errchk_name qnm_blas_errchk_name_ilp64");
        }
    for (const tests::Member& member : tests::members())
        alone({member.name}, "Name");
    for (const Names& sparse : {lettered("sdcz", "axpyi gthr gthrz sctr"), lettered("sd", "roti doti"),
                                lettered("cz", "dotui_sub dotci_sub")})
        alone(sparse, "cblas_name cblas_name_64");

    Names routines = lettered("sdcz", "dtsvb");
    for (const auto& [name, copies] : tests::lapack_members())
        if (!with_lapack(name)) // told above
            routines.push_back(name);
    for (const std::string& name : routines) {
        const bool extra = name.ends_with("dttrsb") || name.ends_with("dtsvb"); // without name_64_
        body("NAME name name_ qnm_lapack__name_", name);
        body("NAME_64 name_64 qnm_lapack__name_64_" + std::string(extra ? "" : " name_64_"), name);
    }
    for (const auto& [name, codes] : tests::lapack_checks())
        if (!name.ends_with("dtsvb"))
            alone({name}, "qnm_lapack_errchk_name qnm_lapack_errchk_name_ilp64");
    alone(lettered("sdcz", "dtsvb dttrfb"), "qnm_lapack_ps_errchk_name");

    alone(lettered("sdcz", "_ gt_ pt_ st_"), "LAPACKE_namenancheck LAPACKE_namenancheck_64");
    for (const Names& helpers : {lettered("sdcz", "ge gg gb hs sy po pb sp pp pf tr tb tp tf tz"),
                                 lettered("cz", "he hb hp"), lettered("sd", "sb")})
        alone(helpers,
              "LAPACKE_name_nancheck LAPACKE_name_nancheck_64 LAPACKE_name_trans LAPACKE_name_trans_64");

    const Names copies =
        lettered("SDCZ", "omatcopy imatcopy omatcopy2 omatadd omatcopy_batch imatcopy_batch "
                         "omatcopy_batch_strided imatcopy_batch_strided omatadd_batch_strided");
    for (const std::string& name : copies)
        body("QNM_NAME qnm_name qnm_name_", name);
    alone(copies, "QNM_Name qnm_trans_errchk_qnm_name");

    add_transforms(all);
    add_solvers(all);
    add_plans(all);
    add_vectors(all);
    add_statistics(all);
    add_sparse(all);
    for (const TwoForms& row : two_forms()) {
        all.push_back(row.fortran);
        alone({row.c}, "Name");
    }
    for (const Forward& row : forwards())
        all.push_back(row.spellings);
    for (const Chain& chain : chains())
        alone(chain.links, "Name");
    body(fortran + std::string(" Name"), "QNM_Set_Exit_Handler");
    alone(words("qnm_serv_iface_exit LAPACKE_get_nancheck LAPACKE_set_nancheck LAPACKE_lsame LAPACKE_xerbla "
                "cblas_xerbla cblas_xerbla_malloc_error"),
          "Name");
    return all;
}

} // namespace qnm::published
