#include "members.hpp"

#include <algorithm>
#include <stdexcept>

namespace qnm::tests {

namespace {

const Family families[] = {
    {"gemm sdcz gemm3m cz hgemm - gemm_bf16bf16f32 - gemm_f16f16f32 - gemm_e4m3e4m3f32 - gemm_e5m2e5m2f32 - "
     "gemm_compute sd hgemm_compute - gemm_bf16bf16f32_compute - gemm_f16f16f32_compute - "
     "gemm_e4m3e4m3f32_compute - gemm_e5m2e5m2f32_compute -",
     "level3", "transa,transb m,n a,b lda,ldb"},
    {"gemm_s8u8s32 - gemm_s16s16s32 - gemm_s8u8s32_compute - gemm_s16s16s32_compute -", "level3",
     "transa,transb m,n a,b lda,ldb ao,bo offsetc:CRF"},
    {"gemmt sdcz", "level3", "uplo:LU transa,transb a,b lda,ldb"},
    {"symm sdcz hemm cz trmm sdcz trsm sdcz trmm_oop sdcz trsm_oop sdcz", "level3", "side:RL uplo:LU m,n"},
    {"syrk sdcz syr2k sdcz", "level3", "uplo:LU trans:TNN"},
    {"herk cz", "level3", "uplo:LU trans:C-N"},
    {"her2k cz", "level3", "uplo:LU trans:C-N alpha*"},
    {"gemm_pack sd hgemm_pack - gemm_s8u8s32_pack - gemm_s16s16s32_pack - gemm_bf16bf16f32_pack - "
     "gemm_f16f16f32_pack - gemm_e4m3e4m3f32_pack - gemm_e5m2e5m2f32_pack -",
     "level3", "identifier:BA m,n"},
    {"gemm_pack_get_size sd hgemm_pack_get_size - gemm_s8u8s32_pack_get_size - gemm_s16s16s32_pack_get_size "
     "- gemm_bf16bf16f32_pack_get_size - gemm_f16f16f32_pack_get_size - gemm_e4m3e4m3f32_pack_get_size - "
     "gemm_e5m2e5m2f32_pack_get_size -",
     "sized"},
    {"qnm_jit_create_?gemm sdcz", "level3", "transa,transb m,n lda,ldb", "", "",
     "jitter layout transa(NT) transb(NT) m n k alpha lda ldb beta ldc"},

    {"gemv sdcz", "level2", "trans:TN* m,n", "m n scalars"},
    {"gbmv sdcz", "level2", "trans:TN* m,n kl,ku", "m n scalars"},
    {"ger sd geru cz", "level2", "m,n x,y incx,incy"},
    {"gerc cz", "level2", "m,n x,y incx,incy y* incy*"},
    {"symv sd sbmv sd spmv sd syr sd syr2 sd spr sd spr2 sd", "level2", "uplo:LU"},
    {"hemv cz hbmv cz hpmv cz", "level2", "uplo:LU alpha* x* incx* beta*"},
    {"her cz hpr cz", "level2", "uplo:LU x* incx*"},
    {"her2 cz hpr2 cz", "level2", "uplo:LU x,y incx,incy x* incx* y* incy*"},
    {"trmv sdcz tbmv scz tbsv sdcz tpmv sdcz tpsv sdcz", "level2", "uplo:LU trans:TN*"},
    {"tbmv d", "layout uplo+ trans+ diag+ columns:n rows:n+ k lda incx", "uplo:LU trans:TN*"},
    {"trsv sdcz", "layout uplo trans diag n lda incx", "uplo:LU trans:TN*"},

    {"gemm_batch_strided sdcz gemm3m_batch_strided cz",
     "transa transb m n k batch_size layout lda columns:ldb@11 rows:ldb columns:ldc@14 rows:ldc stridea "
     "strideb stridec",
     "transa,transb m,n a,b lda,ldb stridea,strideb"},
    {"trsm_batch_strided sdcz", "level3", "side:RL uplo:LU m,n", "", "strideb=m*n"},
    {"syrk_batch_strided sdcz", "n k stridea ldc stridec batch_size layout uplo+ trans lda",
     "uplo:LU trans:TNN", "batch_size scalars", "stridec!ldc*n"},
    {"gemv_batch_strided sdcz", "layout trans m n lda stridea incx stridex incy stridey batch_size",
     "trans:TN* m,n"},
    {"dgmm_batch_strided sdcz", "layout side+ m n lda stridea incx stridex ldc stridec", "side:RL m,n",
     "m n batch_size"},
    {"axpy_batch_strided sdcz copy_batch_strided sdcz", "stridex+ stridey+ batch_size+", "", "",
     "stridey!|incy|*n-|incy|+1"},

    {"axpy sdcz axpby sdcz copy sdcz swap sdcz scal sdcz sscal c dscal z dot sd sdot d dsdot s nrm2 sd "
     "cnrm2 s znrm2 d asum sd casum s zasum d samax i damax i camax i zamax i samin i damin i camin i "
     "zamin i rot sdcz srot c drot z rotm sd",
     ""},
    {"dotu_sub cz dotc_sub cz", "", "", "", "", "n x incx y incy result"},
    {"rotg sdcz rotmg sd cabs1 sd", "", "", "", "", nullptr, true},
};

const Family group_families[] = {
    {"gemm_batch sdcz gemm3m_batch cz", "layout group_count transa transb m n k lda ldb ldc c@14",
     "transa,transb m,n a,b lda,ldb"},
    {"trsm_batch sdcz", "layout group_count side uplo transa diag m n lda ldb", "side:RL uplo:LU m,n"},
    {"gemv_batch sdcz", "group_count layout m n a lda x incx y incy trans", "trans:TN* m,n"},
    {"syrk_batch sdcz", "layout uplo trans n k lda ldc group_count", "uplo:LU trans:TNN"},
    {"dgmm_batch sdcz", "layout side m n a lda x incx c ldc group_count", "side:RL m,n"},
    {"axpy_batch sdcz copy_batch sdcz", ""},
};

const Published& fortran(const std::string& routine)
{
    for (const Published& p : published())
        for (const auto& [name, letter] : expand(p.members))
            if (name == routine.substr(0, routine.find("_sub")))
                return p;
    throw std::out_of_range(routine);
}

template <std::size_t count>
std::vector<Member> members_in(const Family (&list)[count])
{
    std::vector<Member> found;
    for (const Family& family : list)
        for (const auto& [routine, letter] : expand(family.members))
            for (const bool wide : {false, true}) {
                if (wide && family.narrow_only)
                    continue;
                const std::string order = family.order;
                const bool layout = order.find("layout") != std::string::npos || order.starts_with("level");
                Member member{&family, routine, letter, wide, layout ? "layout" : "", family.bounds};
                for (const PublishedArgument& p : parameters(fortran(routine).arguments)) {
                    member.arguments += " " + p.name;
                    if (option_of(p.name) != nullptr && p.letters != option_of(p.name)->letters)
                        member.arguments += "(" + p.letters + ")";
                }
                member.bounds += std::string(" ") + fortran(routine).bounds;
                if (family.arguments != nullptr)
                    member.arguments = family.arguments;
                found.push_back(member);
            }
    return found;
}

} // namespace

const std::vector<Member>& members()
{
    static const std::vector<Member> all = members_in(families);
    return all;
}

const std::vector<Member>& group_members()
{
    static const std::vector<Member> all = members_in(group_families);
    return all;
}

std::vector<Member> members_of(const std::string& roots)
{
    std::vector<Member> found;
    for (const std::string& root : words(roots))
        for (const Member& member : members())
            if (member.routine.substr(1) == root)
                found.push_back(member);
    return found;
}

std::string Member::name() const
{
    return (is("qnm_") ? "qnm_cblas_" + routine.substr(4) : "cblas_" + routine) + (wide ? "_64" : "");
}

std::string Member::core() const
{
    return "qnm_blas_" + routine.substr(0, routine.find("_sub"));
}

bool Member::is_word(const std::string& word) const
{
    return lists(arguments, word);
}

std::string Member::partner(const std::string& argument) const
{
    for (const std::string& word : words(family->rows))
        if (const std::size_t comma = word.find(','); comma != std::string::npos)
            for (const auto& [one, other] : {std::pair{word.substr(0, comma), word.substr(comma + 1)},
                                             std::pair{word.substr(comma + 1), word.substr(0, comma)}})
                if (argument == one)
                    return other;
    return argument;
}

std::string Member::row_letters(const std::string& option) const
{
    for (const std::string& word : words(family->rows))
        if (word.starts_with(option + ":"))
            return word.substr(option.size() + 1);
    return {};
}

bool Member::conjugates(const std::string& argument) const
{
    return lists(family->rows, argument + "*");
}

std::vector<Step> steps(const Member& member, int layout)
{
    const std::string order = member.family->order;
    const bool level2 = order == "level2";
    std::vector<Step> all;
    const auto numbered = [&](std::vector<Step> told) {
        const auto list = words(member.arguments);
        for (Step& step : told)
            for (std::size_t i = 0; step.code == 0 && i < list.size(); ++i)
                if (list[i].substr(0, list[i].find('(')) == step.argument)
                    step.code = static_cast<int>(i) + 1;
        return told;
    };
    if (level2 || order == "level3" || order == "sized") {
        const auto rank = [&](const std::string& name) {
            return option_of(name) != nullptr   ? 1
                   : name == "layout"           ? (level2 ? 0 : 3)
                   : name.starts_with("ld")     ? 4
                   : name.starts_with("inc")    ? 5
                   : name.starts_with("stride") ? 6
                                                : 2;
        };
        for (const PublishedArgument& p : parameters(member.arguments))
            if (p.tested || p.name == "layout")
                all.push_back({p.name, 0, level2 && rank(p.name) == 1});
        std::stable_sort(all.begin(), all.end(),
                         [&](const Step& a, const Step& b) { return rank(a.argument) < rank(b.argument); });
        return numbered(all);
    }
    for (std::string word : words(order)) {
        if (const std::size_t colon = word.find(':'); colon != std::string::npos) {
            if (word.starts_with(layout == row_major ? "columns" : "rows"))
                continue;
            word.erase(0, colon + 1);
        }
        const std::size_t at = word.find('@');
        all.push_back({word.substr(0, word.find_first_of("@+")),
                       at == std::string::npos ? 0 : std::stoi(word.substr(at + 1)), word.back() == '+'});
    }
    return numbered(all);
}

} // namespace qnm::tests
