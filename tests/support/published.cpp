#include "published.hpp"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <stdexcept>

namespace qnm::tests {

const std::vector<Published>& published()
{
    constexpr const char* products = "lda=transa?m:k ldb=transb?k:n ldc=m";
    static const std::vector<Published> all{
        // Level 3.
        {"gemm sdcz gemm3m cz dzgemm - scgemm -", "transa transb m n k alpha a lda b ldb beta c ldc",
         products},
        {"hgemm -", "transa transb m n k halpha a lda b ldb hbeta c ldc", products},
        {"gemm_bf16bf16f32 - gemm_f16f16f32 - gemm_e4m3e4m3f32 - gemm_e5m2e5m2f32 -",
         "transa transb m n k falpha a lda b ldb fbeta c ldc", products},
        {"gemm_s8u8s32 - gemm_s16s16s32 -",
         "transa(NT) transb(NT) offsetc m n k falpha a lda ao b ldb bo fbeta c ldc co", products},
        {"gemmt sdcz", "uplo transa transb n k alpha a lda b ldb beta c ldc",
         "lda=transa?n:k ldb=transb?k:n ldc=n"},
        {"symm sdcz hemm cz", "side uplo m n alpha a lda b ldb beta c ldc", "lda=side?m:n ldb=m ldc=m"},
        {"syrk sd", "uplo trans n k alpha a lda beta c ldc", "lda=trans?n:k ldc=n"},
        {"syrk cz", "uplo trans(NT) n k alpha a lda beta c ldc", "lda=trans?n:k ldc=n"},
        {"herk cz", "uplo trans(NC) n k ralpha a lda rbeta c ldc", "lda=trans?n:k ldc=n"},
        {"syr2k sd", "uplo trans n k alpha a lda b ldb beta c ldc", "lda=trans?n:k ldb=trans?n:k ldc=n"},
        {"syr2k cz", "uplo trans(NT) n k alpha a lda b ldb beta c ldc", "lda=trans?n:k ldb=trans?n:k ldc=n"},
        {"her2k cz", "uplo trans(NC) n k alpha a lda b ldb rbeta c ldc", "lda=trans?n:k ldb=trans?n:k ldc=n"},
        {"trmm sdcz trsm sdcz", "side uplo transa diag m n alpha a lda b ldb", "lda=side?m:n ldb=m"},
        {"trmm_oop sdcz trsm_oop sdcz", "side uplo transa diag m n alpha a lda b ldb beta c ldc",
         "lda=side?m:n ldb=m ldc=m"},
        {"ptrmm sd", "side uplo transa diag m n alpha a b ldb@11", "ldb=m"},
        // Packed operands.
        {"gemm_compute sd", "transa(NTCP) transb(NTCP) m n k a lda b ldb beta c ldc", products},
        {"hgemm_compute -", "transa(NTCP) transb(NTCP) m n k a lda b ldb hbeta c ldc", products},
        {"gemm_bf16bf16f32_compute - gemm_f16f16f32_compute - gemm_e4m3e4m3f32_compute - "
         "gemm_e5m2e5m2f32_compute -",
         "transa(NTCP) transb(NTCP) m n k a lda b ldb fbeta c ldc", products},
        {"gemm_s8u8s32_compute - gemm_s16s16s32_compute -",
         "transa(NTP) transb(NTP) offsetc m n k falpha a lda ao b ldb bo fbeta c ldc co", products},
        {"gemm_pack sd", "identifier trans m n k alpha src ld dest", "ld=identifier?trans?m:k:trans?k:n"},
        {"hgemm_pack -", "identifier trans m n k halpha src ld dest", "ld=identifier?trans?m:k:trans?k:n"},
        {"gemm_s8u8s32_pack - gemm_s16s16s32_pack - gemm_bf16bf16f32_pack - gemm_f16f16f32_pack - "
         "gemm_e4m3e4m3f32_pack - gemm_e5m2e5m2f32_pack -",
         "identifier trans m n k src ld dest", "ld=identifier?trans?m:k:trans?k:n"},
        {"gemm_pack_get_size sd hgemm_pack_get_size - gemm_s8u8s32_pack_get_size - "
         "gemm_s16s16s32_pack_get_size - gemm_bf16bf16f32_pack_get_size - gemm_f16f16f32_pack_get_size - "
         "gemm_e4m3e4m3f32_pack_get_size - gemm_e5m2e5m2f32_pack_get_size -",
         "identifier m n k", "", "checked", "size"},
        {"qnm_jit_create_?gemm sd", "jitter transa(NTOU) transb(NT) m n k alpha lda ldb beta ldc", products,
         "checked", "int"},
        {"qnm_jit_create_?gemm cz", "jitter transa(NTCOUV) transb m n k alpha lda ldb beta ldc", products,
         "checked", "int"},
        // Level 2.
        {"gemv sdcz dzgemv - scgemv -", "trans m n alpha a lda x incx beta y incy", "lda=m"},
        {"gem2vu sd gem2vc cz", "m n alpha a lda x1 incx1 x2 incx2 beta y1 incy1 y2 incy2", "lda=m"},
        {"gbmv sdcz", "trans m n kl ku alpha a lda x incx beta y incy", "lda>kl+ku"},
        {"ger sd geru cz gerc cz", "m n alpha x incx y incy a lda", "lda=m"},
        {"symv sd hemv cz", "uplo n alpha a lda x incx beta y incy", "lda=n"},
        {"sbmv sd hbmv cz", "uplo n k alpha a lda x incx beta y incy", "lda>k"},
        {"spmv sd hpmv cz", "uplo n alpha a x incx beta y incy"},
        {"syr sd her cz", "uplo n ralpha x incx a lda", "lda=n"},
        {"spr sd hpr cz", "uplo n ralpha x incx a"},
        {"syr2 sd her2 cz", "uplo n alpha x incx y incy a lda", "lda=n"},
        {"spr2 sd hpr2 cz", "uplo n alpha x incx y incy a"},
        {"trmv sdcz trsv sdcz", "uplo trans diag n a lda x incx", "lda=n"},
        {"tbmv sdcz tbsv sdcz", "uplo trans diag n k a lda x incx", "lda>k"},
        {"tpmv sdcz tpsv sdcz", "uplo trans diag n a x incx"},
        // Batches.
        {"gemm_batch sdcz gemm3m_batch cz",
         "transa transb m n k alpha a lda b ldb beta c ldc group_count group_size", products},
        {"gemv_batch sdcz", "trans m n alpha a lda x incx beta y incy group_count group_size", "lda=m"},
        {"dgmm_batch sdcz", "side m n a lda x incx c ldc group_count group_size", "lda=m ldc=m"},
        {"syrk_batch sd", "uplo trans n k alpha a lda beta c ldc group_count group_size",
         "lda=trans?n:k ldc=n"},
        {"syrk_batch cz", "uplo trans(NT) n k alpha a lda beta c ldc group_count group_size",
         "lda=trans?n:k ldc=n"},
        {"trsm_batch sdcz", "side uplo transa diag m n alpha a lda b ldb group_count group_size~",
         "lda=side?m:n ldb=m"},
        {"gemm_batch_strided sdcz gemm3m_batch_strided cz",
         "transa transb m n k alpha a lda stridea b ldb strideb beta c ldc stridec batch_size",
         "lda=transa?m:k ldb=transb?k:n ldc=m stridec=ldc*n"},
        {"gemv_batch_strided sdcz",
         "trans m n alpha a lda stridea x incx stridex beta y incy stridey batch_size",
         "lda=m stridey=trans?|incy|*m-|incy|+1:|incy|*n-|incy|+1"},
        {"dgmm_batch_strided sdcz", "side m n a lda stridea x incx stridex c ldc stridec batch_size",
         "lda=m ldc=m stridec=ldc*n"},
        {"syrk_batch_strided sd", "uplo trans n k alpha a lda stridea beta c ldc stridec batch_size",
         "lda=trans?n:k ldc=n stridec=ldc*n"},
        {"syrk_batch_strided cz", "uplo trans(NT) n k alpha a lda stridea beta c ldc stridec batch_size",
         "lda=trans?n:k ldc=n stridec=ldc*n"},
        {"trsm_batch_strided sdcz", "side uplo transa diag m n alpha a lda stridea b ldb strideb batch_size~",
         "lda=side?m:n ldb=m strideb=ldb*n"},
        {"copy_batch_strided sdcz", "n~ x incx~ stridex y incy~ stridey batch_size",
         "stridey=|incy|*n-|incy|+1"},
        {"axpy_batch_strided sdcz", "n~ alpha x incx~ stridex y incy~ stridey batch_size",
         "stridey=|incy|*n-|incy|+1"},
        {"axpy_batch sdcz", "n alpha x incx y incy group_count group_size", "", "unchecked"},
        {"copy_batch sdcz", "n x incx y incy group_count group_size", "", "unchecked"},
        // Level 1.
        {"axpy sdcz", "n alpha x incx y incy", "", "unchecked"},
        {"axpby sdcz", "n alpha x incx beta y incy", "", "unchecked"},
        {"copy sdcz swap sdcz", "n x incx y incy", "", "unchecked"},
        {"dot sd sdot d", "n x incx y incy", "", "unchecked", "real"},
        {"dotc cz dotu cz", "n x incx y incy", "", "unchecked", "hidden"},
        {"dsdot s", "n alpha x incx y incy", "", "unchecked", "real"},
        {"scal sdcz", "n alpha x incx", "", "unchecked"},
        {"sscal c dscal z", "n ralpha x incx", "", "unchecked"},
        {"nrm2 sd cnrm2 s znrm2 d asum sd casum s zasum d", "n x incx", "", "unchecked", "real"},
        {"samax i damax i camax i zamax i samin i damin i camin i zamin i", "n x incx", "", "unchecked",
         "int"},
        {"rot sd srot c drot z", "n x incx y incy rcos rsin", "", "unchecked"},
        {"rot cz", "n x incx y incy rcos sin", "", "unchecked"},
        {"rotm sd", "n x incx y incy param", "", "unchecked"},
        {"rotg sdcz", "a b c s", "", "unchecked"},
        {"rotmg sd", "d1 d2 x1 beta param", "", "unchecked"},
        {"cabs1 sd", "z", "", "unchecked", "real"},
        {"axpyi sdcz", "nz alpha x indx y", "", "scratch"},
        {"gthr sdcz gthrz sdcz sctr sdcz", "nz x indx y", "", "scratch"},
        {"doti sd", "nz x indx y", "", "scratch", "real"},
        {"dotci cz dotui cz", "nz x indx y", "", "scratch", "hidden"},
        {"roti sd", "nz x indx y c s", "", "scratch"},
        // Others.
        {"qnm_?gemm_compact sdcz",
         "layout= transa= transb= m= n= k= alpha a lda= b ldb= beta c ldc= format= nm=", "", "unchecked"},
        {"qnm_?trsm_compact sdcz",
         "layout= side= uplo= transa= diag= m= n= alpha a lda= b ldb= format= nm=", "", "unchecked"},
        {"qnm_?gepack_compact sdcz qnm_?geunpack_compact sdcz",
         "layout= m= n= a lda= ap ldap= format= nm=", "", "unchecked"},
        {"qnm_get_format_compact -", "", "", "unchecked", "int"},
        {"qnm_jit_get_?gemm_ptr sdcz", "jitter", "", "unchecked", "size"},
        {"qnm_jit_destroy -", "jitter", "", "unchecked", "int"},
        {"xerbla_array -", "srname() n m", "", "registered"},
        {"qnm_?gemm_jit sdcz qnm_?gemm_direct_jit sdcz", "transa transb m n k alpha a lda b ldb beta c ldc",
         "", "bare"},
        {"axpy_direct sdcz", "n alpha x incx y incy flag", "", "bare"},
        {"dot_direct sd", "n x incx y incy", "", "bare", "real"},
        {"gemm_direct sdcz gemm3m_direct cz", "transa transb m n k alpha a lda b ldb beta c ldc flag", "",
         "bare"},
        {"syrk_direct sdcz", "uplo trans n k alpha a lda beta c ldc flag", "", "bare"},
        {"trsm_direct sdcz", "side uplo transa diag m n alpha a lda b ldb flag", "", "bare"},
    };
    return all;
}

const std::map<std::string, bool>& lapack_members()
{
    static const std::map<std::string, bool> all = [] {
        std::map<std::string, bool> found{{"dlarfx", false}, {"clarfx", false}, {"cspr", false}};
        std::ifstream file(QNM_MEMBERS);
        std::string letters;
        bool copies = false;
        for (std::string word; file >> word;)
            if (word.starts_with('#')) {
                std::getline(file, word);
            } else if (word.starts_with('[')) {
                copies = word == "[some";
                std::getline(file >> std::ws, letters, ']');
            } else {
                for (const auto& [name, letter] : expand(word + " " + letters))
                    if (!found.emplace(name, copies).second)
                        throw std::logic_error(name + " twice");
            }
        return found;
    }();
    return all;
}

const std::map<std::string, std::vector<int>>& lapack_checks()
{
    static const std::map<std::string, std::vector<int>> all = [] {
        const std::pair<const char*, std::vector<int>> codes[] = {
            {"getf2 sdcz getrf sdcz potrf sdcz", {1, 2, 4}},
            {"gelqf sdcz geqlf sdcz geqrf sdcz", {1, 2, 4, 7}},
            {"sytrd sd hetrd cz", {1, 2, 4, 9}},
            {"gebrd sdcz", {1, 2, 4, 10}},
            {"sygst sd hegst cz", {1, 2, 3, 5, 7}},
            {"gehrd sdcz orghr sd orgqr sd ungqr cz", {1, 2, 3, 5, 8}},
            {"ormlq sd ormql sd ormqr sd ormrq sd unmlq cz unmql cz unmqr cz unmrq cz",
             {1, 2, 3, 4, 5, 7, 10, 12}},
            {"syevd sd", {1, 2, 3, 5, 8, 10}},
            {"heevd cz", {1, 2, 3, 5, 8, 10, 12}},
            {"hegvd cz", {1, 2, 3, 4, 6, 8, 11, 13, 15}},
            {"geev sd", {1, 2, 3, 5, 9, 11, 13}},
            {"geev cz", {1, 2, 3, 5, 8, 10, 12}},
            {"gesvd sdcz", {1, 2, 3, 4, 6, 9, 11}},
            {"syrdb sd herdb cz", {1, 2, 3, 4, 6, 11, 13}},
            {"dtsvb sdcz", {1, 2, 7}}, // private: its check has a name of its own
        };
        std::map<std::string, std::vector<int>> found;
        for (const auto& [roots, numbers] : codes)
            for (const auto& member : expand(roots))
                found.emplace(member.first, numbers);
        return found;
    }();
    return all;
}

const Option* option_of(const std::string& name)
{
    static const std::map<std::string, Option> kinds{{"trans", {111, "NTC"}},     {"transa", {111, "NTC"}},
                                                     {"transb", {111, "NTC"}},    {"uplo", {121, "UL"}},
                                                     {"identifier", {161, "AB"}}, {"offsetc", {171, "RCF"}},
                                                     {"diag", {131, "NU"}},       {"side", {141, "LR"}}};
    const auto found = kinds.find(name);
    return found == kinds.end() ? nullptr : &found->second;
}

bool is_integer(const std::string& name)
{
    static const std::vector<std::string> sizes =
        words("m n k kl ku nz flag batch_size group_count group_size");
    return std::find(sizes.begin(), sizes.end(), name) != sizes.end() || name.starts_with("ld") ||
           name.starts_with("inc") || name.starts_with("stride");
}

std::vector<PublishedArgument> parameters(const std::string& arguments)
{
    std::vector<PublishedArgument> all;
    for (const std::string& word : words(arguments)) {
        PublishedArgument p;
        p.name = word.substr(0, word.find_first_of("(~=@"));
        p.by_value = word.back() == '=';
        const std::size_t bracket = word.find('('), at = word.find('@');
        if (bracket != std::string::npos)
            p.letters = word.substr(bracket + 1, word.size() - bracket - 2);
        else if (const Option* option = option_of(p.name); option != nullptr && !p.by_value)
            p.letters = option->letters;
        p.tested = !p.letters.empty() || (is_integer(p.name) && word.back() != '~');
        p.code = at == std::string::npos ? static_cast<int>(all.size()) + 1 : std::stoi(word.substr(at + 1));
        all.push_back(p);
    }
    return all;
}

std::vector<std::pair<std::string, char>> expand(const std::string& members)
{
    std::vector<std::pair<std::string, char>> names;
    const std::vector<std::string> told = words(members);
    for (std::size_t i = 0; i < told.size(); i += 2)
        for (const char letter : told[i + 1]) {
            std::string name = told[i];
            if (const std::size_t mark = name.find('?'); mark != std::string::npos)
                name[mark] = letter;
            else if (letter != '-')
                name.insert(0, 1, letter);
            names.emplace_back(name, letter);
        }
    return names;
}

std::vector<std::string> words(const std::string& text)
{
    std::vector<std::string> all;
    for (std::size_t from = 0, to; (from = text.find_first_not_of(' ', from)) != std::string::npos;
         from = to) {
        to = std::min(text.find(' ', from), text.size());
        all.push_back(text.substr(from, to - from));
    }
    return all;
}

} // namespace qnm::tests
