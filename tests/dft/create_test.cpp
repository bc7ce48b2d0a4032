// Creation, in C, by addresses, and in Fortran: which of the core's functions makes the descriptor, and of
// what; and what becomes of a descriptor until its end.
#include "descriptor.hpp"

namespace qnm::tests {
namespace {

class Create : public recording::RecordedTest {
protected:
    Create()
    {
        for (const std::string function : {"dc1d", "sc1d", "dr1d", "sr1d", "dcmd", "scmd", "drmd", "srmd"})
            core().answers("qnm_dft_dfti_create_" + function).calling([=, this](Call& call, Answer& answer) {
                const bool line = function.ends_with("1d");
                const auto* const lengths = call.pointer<std::int64_t>(2);
                noted.noted(function,
                            line ? Integers{call.int64(1)} : Integers(lengths, lengths + call.int64(1)));
                EXPECT_EQ(call.int64(line ? 2 : 3), 0);
                EXPECT_EQ(*call.pointer<dft_handle>(0), nullptr);
                if (refusal == 0)
                    *call.pointer<std::int64_t>(0) = 7;
                answer.returns(refusal);
            });
        core().answers("qnm_dft_bless_node_thr").calling([this](Call& call, Answer&) {
            noted.noted("bless", {call.int64(0)});
        });
    }

    Descriptor noted;
    std::int64_t refusal = 0;
    Calls calls;
};

TEST_F(Create, OfEachPrecisionAndDomain)
{
    const struct {
        std::string name, arguments, made;
    } rows[]{
        {"DftiCreateDescriptor", "P D 1L 64L", "md 64"},
        {"DftiCreateDescriptor", "P D 3L {7,8,-9}", "md -9 8 7"},
        {"DftiCreateDescriptor_?_1d", "D 64L", "1d 64"},
        {"DftiCreateDescriptor_?_md", "D 3L {7,8,-9}", "md -9 8 7"},
        {"*create_descriptor_1d", "P D 1 64", "1d 64"},
        {"*create_descriptor_highd", "P D 3 {7,8,-9}", "md 7 8 -9"},
        {"*create_descriptor_?_1d", "T D 1 64", "1d 64"},
        {"*create_descriptor_?_md", "T D 3 {7,8,-9}", "md 7 8 -9"},
    };
    const auto put = [](std::string text, char mark, const std::string& value) {
        const std::size_t at = text.find(mark);
        return at == std::string::npos ? text : text.replace(at, 1, value);
    };
    for (const auto& [name, arguments, made] : rows)
        for (const std::string prefix : {"qnm_dft_dfti_", "dfti_"})
            for (const std::string precision : {"35", "36", "37"})
                for (const std::string domain : {"32", "33", "34"})
                    for (const std::string own : {"s", "d"}) {
                        // A tag of the precision that a name tells is of that precision's type.
                        const std::string tag = precision + (own == "s" ? ".0f" : ".0");
                        const std::string told = arguments[0] != 'P' ? own : precision == "35" ? "s" : "d";
                        const bool good = domain != "34" && (arguments[0] == 'D' || precision != "37") &&
                                          (arguments[0] != 'T' || (precision == "35") == (own == "s"));
                        calls.expect(put(put(name, '*', prefix), '?', own) + " i64 " +
                                     put(put(put(arguments, 'P', precision), 'T', tag), 'D', domain) + " = " +
                                     (good
                                          ? "0 [7] " + told + (domain == "32" ? "c" : "r") + made + " bless 7"
                                          : "2 [0]"));
                    }
}

TEST_F(Create, RefusesRanksAndLengthsThatCannotBe)
{
    const std::vector<int> many(100'000, 1);
    calls.names.insert_or_assign("many", many.data());
    calls.expect(R"(DftiCreateDescriptor i64 36 32 0L {1} = 2 [0] | i64 36 32 8L {1,2,3,4,5,6,7,8} = 2 [0]
DftiCreateDescriptor i64 36 32 -1L null = 2 [0] | i64 36 32 2L null = 3 [0] | i64 36 32 3L {7,0,9} = 2 [0]
DftiCreateDescriptor i64 36 32 7L {1,2,3,4,5,6,7} = 0 [7] dcmd 7 6 5 4 3 2 1 bless 7 | i64 36 32 1L -5L = 2 [0]
DftiCreateDescriptor null 36 32 1L 5L = 3 | null 36 32 1L 0L = 3
DftiCreateDescriptor_s_md i64 33 2L null = 3 [0] | null 33 1L {2} = 3
DftiCreateDescriptor_d_1d null 33 5L = 3
qnm_dft_dfti_create_descriptor_1d i64 36 32 2 64 = 2 [0] | i64 36 32 1 -4 = 2 [0] | null null null null null = 3
qnm_dft_dfti_create_descriptor_highd i64 36 32 8 {1,2,3,4,5,6,7,8} = 2 [0] | i64 4294967332 32 1 {7} = 2 [0]
qnm_dft_dfti_create_descriptor_s_md null null null null null = 3 | i64 35.0f 32 3 null = 3 [0]
qnm_dft_dfti_create_descriptor_d_md i64 35.0 32 3 null = 2 [0]
dfti_create_descriptor_highd_ i64 36 32 100000 many = 2 [0] | i64 36 32 -9 null = 2 [0]
dfti_create_descriptor_d_md_ i64 36.0 32 3 {7,0,9} = 2 [0])");
    refusal = 1L << 32 | 77; // the core's own, whole in C
    calls.expect(R"(DftiCreateDescriptor_d_md i64 32 1L {1} = 4294967373 [0] dcmd 1
dfti_create_descriptor_1d i64 36 32 1 5 = 77 [0] dc1d 5)");
}

class Life : public recording::RecordedTest {
protected:
    Life()
    {
        for (auto& [name, handle] : handles) {
            calls.names.insert_or_assign(name, handle);
            calls.names.insert_or_assign("&" + name, &handle);
        }
        bad.magic = 0;
        d.made = &made;
        made.label = "made:";
        lasting.free = nullptr;
    }

    Descriptor d, made, lasting, bad;
    std::map<std::string, dft_handle> handles{
        {"d", &d}, {"lasting", &lasting}, {"bad", &bad}, {"none", nullptr}};
    Calls calls;
};

TEST_F(Life, CommitsWhatAgrees)
{
    d.status = 1L << 32 | 9;
    for (const std::uint32_t storage : {39U, 40U, 42U})
        for (const std::uint32_t format : {54U, 57U}) {
            d.conjugate_even_storage = storage;
            d.packed_format = format;
            const bool agree = storage == 42 || (storage == 39) == (format == 57);
            calls.expect("DftiCommitDescriptor d = " + std::string(agree ? "4294967305 commit" : "3"));
            calls.expect("qnm_dft_dfti_commit_descriptor_external &d = " +
                         std::string(agree ? "9 commit" : "3"));
        }
    dft_ops lacking = *d.ops;
    lacking.commit = nullptr;
    d.ops = &lacking;
    d.conjugate_even_storage = 40; // without its format, which is looked at later
    calls.expect("DftiCommitDescriptor d = 7");
}

TEST_F(Life, CopiesAndCommitsTheCopy)
{
    const std::string good = "0 [" + std::to_string(Word(&made).bits()) + "] copy";
    const struct {
        int commit_status;
        std::int64_t copying, committing;
        std::string expected;
    } cases[]{{30, 0, 0, good + " made:commit"},
              {31, 0, 8, good},
              {30, 7, 0, "7 copy"},
              {30, 0, 8, "8 copy made:commit made:free"}};
    const auto expect = [&](const std::string& expected) {
        calls.expect("DftiCopyDescriptor d i64 = " + expected +
                     "\nqnm_dft_dfti_copy_descriptor_external &d i64 = " + expected);
    };
    for (const auto& [commit_status, copying, committing, expected] : cases) {
        d.commit_status = commit_status;
        d.status = copying;
        made.status = committing;
        expect(expected);
    }
    made.free = nullptr;
    expect("8 copy made:commit");
}

TEST_F(Life, EndsByAnOperationAndNeedsADescriptor)
{
    d.status = 9; // is not looked at
    calls.expect(
        R"(DftiFreeDescriptor &d = 0 release | &d = 5 | &lasting = 0 | &lasting = 5 | null = 3 | &none = 5
DFTI_FREE_DESCRIPTOR_EXTERNAL_ &bad = 5 | &bad = 5 | null = 3
DftiCommitDescriptor none = 5 | bad = 5
dfti_commit_descriptor_external__ null = 5 | &none = 5 | &bad = 5
DftiCopyDescriptor none null = 5 | bad null = 5 | d null = 3
dfti_copy_descriptor_external null &lasting = 3 | &none &lasting = 5 | &bad null = 5)");
    EXPECT_EQ(handles["bad"], &bad);
}

TEST_F(Life, StatusesHaveTextsAndClasses)
{
    const char* text = "text";
    core().answers("qnm_serv_get_msg").calling([&](Call& call, Answer& answer) {
        d.noted("message", {call.int32(0), call.int32(1)});
        answer.returns(text);
    });
    const std::string address = std::to_string(Word(text).bits());
    const int numbers[]{774, 775, 776, 777, 784, 779, 780, 781, 782, 783, 784, 784, 784};
    const std::int64_t statuses[]{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -1, 1L << 32};
    for (std::size_t i = 0; i < std::size(numbers); ++i) {
        const std::string status = std::to_string(statuses[i]), good = i == 0 ? "1" : "0";
        calls.expect("DftiErrorMessage " + status + "L = " + address + " message " +
                     std::to_string(numbers[i]) + " 0\nDftiErrorClass " + status + "L 0L = " + good +
                     "\nqnm_dft_dfti_error_class_external " + status + " 0 = " + good +
                     "\ndfti_error_class_external_ -1 " + (i < 12 ? status : "0") + " = " +
                     (i == 11 ? "1" : "0"));
    }
    const auto expect = [](const char* name, const Word& length, Word status, const std::string& expected) {
        std::string buffer(7, '#');
        Descriptor::story.clear();
        const auto returned = support::call_words(layer()[name], {buffer.data(), length, status});
        EXPECT_EQ(returned.rax, Word(buffer.data()).bits());
        EXPECT_EQ(buffer + Descriptor::story, expected);
    };
    const Word three = kept<int>({3}), six = kept<std::int64_t>({6}), large = kept<std::int64_t>({1L << 32});
    expect("dfti_error_message_external_", 6, three, "text  # message 777 0");
    expect("dfti_error_message_external_", 2, three, "te##### message 777 0");
    expect("dfti_error_message_external_", -1, three, "####### message 777 0");
    expect("qnm_dft_dfti_error_message_external", six, large, "text  # message 784 0");
    text = nullptr;
    expect("qnm_dft_dfti_error_message_external", six, large, "      # message 784 0");
    calls.expect("DftiErrorMessage 0L = 0 message 774 0");
    EXPECT_EQ(*static_cast<const int*>(layer()["qnm_dfti_is_ilp64"]), 0);
}

} // namespace
} // namespace qnm::tests
