// Classic entries: what is looked at, in which order, by letters and bounds told by hand; and that the core
// gets every word as it came.
#include "sparse/members.hpp"
#include "support/function_call.hpp"
#include "support/published.hpp"

#include <array>
#include <stdexcept>

namespace qnm::tests {
namespace {

using support::Word;

/// A call that passes, with rubbish behind it where hidden lengths may stand.
class ClassicCall {
public:
    static constexpr std::size_t hidden_lengths = 3;
    struct Test {
        std::size_t argument;
        int code;
        std::string letters; // or a size
        std::string least;
    };

    ClassicCall(const std::string& routine, const std::string& list) : name(routine)
    {
        const std::vector<std::string> told = words(list);
        for (std::size_t i = 0; i < told.size(); ++i) {
            passed.emplace_back(untouchable_address(i));
            const std::size_t at = told[i].find('@');
            const std::string word = told[i].substr(0, at);
            if (word == ".")
                continue;
            const int code =
                at == std::string::npos ? static_cast<int>(i) + 1 : std::stoi(told[i].substr(at + 1));
            const bool option = word.find_first_not_of("NTCUL") == std::string::npos;
            tests.push_back({i, code, option ? word : "", option ? "" : word});
            if (word == "0" && m == nullptr)
                m = &values[i];
            values[i] = option ? word[0] : 3;
            passed[i] = &values[i];
        }
        for (std::size_t i = 0; i < hidden_lengths; ++i)
            passed.emplace_back(0x7BAD'0000UL + i);
    }
    ClassicCall(const ClassicCall&) = delete;
    ClassicCall& operator=(const ClassicCall&) = delete;

    int least(const Test& test) const { return test.least == "m" ? *m : std::stoi(test.least); }
    /// What the entry reports, 0 if nothing and the core was called; the check agrees.
    int judged()
    {
        core().clear();
        support::call_words(layer()[name], passed);
        std::vector<std::string> expected{"qnm_serv_set_xerbla_interface"};
        const auto refused = core().calls("qnm_serv_default_xerbla");
        expected.push_back(refused.empty() ? "qnm_spblas_lp64_" + name : "qnm_serv_default_xerbla");
        EXPECT_EQ(story(), expected);
        EXPECT_EQ(core().calls().at(0).pointer<void>(0), layer()["cdecl_xerbla"]);
        for (std::size_t i = 0; refused.empty() && i < passed.size(); ++i)
            EXPECT_EQ(core().calls().back().word(i), passed[i].bits()) << "word " << i;
        const int code = verdict(refused);
        core().clear();
        EXPECT_EQ(support::call_words(layer()["qnm_spblas_errchk_" + name], passed).int32(),
                  code != 0 ? 1 : 0);
        EXPECT_EQ(verdict(core().calls()), code) << "the check alone";
        return code;
    }

    std::string name;
    std::vector<Word> passed;
    std::vector<Test> tests;
    std::array<int, 24> values{};
    const int* m = nullptr;

private:
    int verdict(const std::vector<Call>& reports) const
    {
        if (reports.empty())
            return 0;
        EXPECT_EQ(reports.size(), 1U);
        EXPECT_EQ(reports[0].name, "qnm_serv_default_xerbla");
        EXPECT_EQ(reports[0].text, name);
        EXPECT_EQ(reports[0].int32(2), static_cast<int>(name.size()));
        return reports[0].code();
    }
};

class Classic : public recording::RecordedTest {
protected:
    template <class Visit>
    static void each(Visit visit)
    {
        for (const auto& [name, list] : classic_routines()) {
            SCOPED_TRACE(name + ": " + list);
            ClassicCall call(name, list);
            visit(call);
        }
    }
};

TEST_F(Classic, LettersAndBoundsAreThosePublishedAndTheCoreGetsEveryWord)
{
    each([](ClassicCall& call) {
        EXPECT_EQ(signature(call.name).parameters.size() + ClassicCall::hidden_lengths, call.passed.size());
        EXPECT_EQ(call.judged(), 0);
        for (const ClassicCall::Test& test : call.tests) {
            SCOPED_TRACE("argument " + std::to_string(test.argument + 1));
            int& value = call.values.at(test.argument);
            const int good = value;
            if (test.letters.empty()) {
                value = call.least(test);
                EXPECT_EQ(call.judged(), 0);
                value = call.least(test) - 1;
                EXPECT_EQ(call.judged(), test.code);
            }
            for (const char letter : test.letters.empty() ? std::string() : std::string("NTCULRXntcul ")) {
                value = letter;
                const bool one_of_them =
                    test.letters.find(static_cast<char>(std::toupper(letter))) != std::string::npos;
                EXPECT_EQ(call.judged(), one_of_them ? 0 : test.code) << letter;
            }
            value = good;
        }
    });
}

TEST_F(Classic, OfBadArgumentsTheFirstIsReportedAndNothingBehindItIsTouched)
{
    each([](ClassicCall& call) {
        for (auto first = call.tests.rbegin(); first != call.tests.rend(); ++first) {
            int& value = call.values.at(first->argument);
            const std::vector<Word> passed = call.passed;
            if (first->least == "m")
                continue; // its bound is another argument
            value = -1;
            EXPECT_EQ(call.judged(), first->code) << "others behind it are bad too";
            for (std::size_t i = first->argument + 1; i < passed.size(); ++i)
                call.passed[i] = nullptr;
            EXPECT_EQ(call.judged(), first->code) << "none behind it is there";
            call.passed = passed;
        }
    });
}

TEST_F(Classic, LettersAreAskedOfTheCoreInTheirOrder)
{
    core().listen("qnm_serv_lsame");
    const auto asked = [](const ClassicCall& call) {
        core().clear();
        support::call_words(layer()["qnm_spblas_errchk_" + call.name], call.passed);
        std::string letters;
        for (const Call& question : core().calls("qnm_serv_lsame")) {
            letters += question.letter(1);
            EXPECT_EQ(question.int64(2), 1);
            EXPECT_EQ(question.int64(3), 1);
        }
        return letters;
    };
    ClassicCall solve("qnm_dcsrtrsv", "UL NTC NU 0 . . . . .");
    solve.values[0] = 'L';
    solve.values[1] = 'c';
    solve.values[2] = 'U';
    EXPECT_EQ(asked(solve), "ULNTCNU");
    ClassicCall product("qnm_cspblas_zbsrgemv", "NT 0 1@2 . . . . .");
    product.values[0] = 'C';
    EXPECT_EQ(asked(product), "NT");
}

TEST_F(Classic, AnExceptionOfTheHandlerReachesTheCaller)
{
    core().answers("qnm_serv_default_xerbla").calling([](Call& call, Answer&) {
        throw std::runtime_error(call.text);
    });
    ClassicCall call("qnm_ccsrmm", "NTC 0 0 0 . . . . . . . . . . .");
    call.values[2] = -1;
    for (const char* entry : {"qnm_ccsrmm_", "qnm_spblas_errchk_qnm_ccsrmm"})
        EXPECT_THROW(support::call_words(layer()[entry], call.passed), std::runtime_error) << entry;
}

} // namespace
} // namespace qnm::tests
