// The configuration, code by code, in C, by addresses, and in Fortran.
#include "descriptor.hpp"

#include <regex>

namespace qnm::tests {
namespace {

std::uint32_t& at_place(dft_descriptor& d, std::size_t place)
{
    return *reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(&d) + place);
}

class Values : public recording::RecordedTest {
protected:
    /// What comes of values from -70 on, but for those that are inconsistent: a status, where the value is
    /// written (with a + if along the chain too, with what is written if that is something else), what the
    /// core is asked for, and which values, if not all.
    static std::string outcomes(const std::string& name, Descriptor made, std::int64_t code)
    {
        const Form form = form_of(name);
        const auto is_one_of = [code](const char* codes) { return lists(codes, std::to_string(code)); };
        for (std::size_t place = 64; place <= 92; place += 4)
            at_place(made, place) = 999;
        made.user_threads = 999;
        std::map<std::string, std::string> all;
        for (std::int64_t value = -70; value < 130; ++value) {
            made.options = value == 52 ? ~0U : ~16U;
            Descriptor d = made, next = made, before = made;
            d.next = before.next = &next;
            if (form != Form::c || is_one_of("0 3 7 8 9 10 11 14 15 17 18 19 21 22 26 27 28")) {
                before.commit_status = 31;
                before.forward = before.backward = nullptr;
                before.state = 0xFE;
            }
            Descriptor::story.clear();
            dft_handle handle = &d;
            const Word set =
                form == Form::c && is_one_of("7 14 15 26 27") ? Word(value) : integer(form, value);
            std::string outcome = std::to_string(
                call(name, {form == Form::c ? Word(handle) : Word(&handle), integer(form, code), set}));
            for (std::size_t place = 0; place < sizeof(dft_descriptor); place += 4) {
                const std::uint32_t now = at_place(d, place), there = at_place(next, place);
                if (now != at_place(before, place))
                    outcome += " @" + std::to_string(place);
                if (now != at_place(before, place) && now != static_cast<std::uint32_t>(value))
                    outcome += "=" + std::to_string(now);
                if (there != at_place(made, place))
                    outcome += there == now ? "+" : "!";
            }
            const std::string took = " " + std::to_string(value);
            outcome += Descriptor::story.substr(0, Descriptor::story.find(took));
            all[outcome] += took;
        }
        std::string text;
        for (const auto& [outcome, values] : all)
            if (outcome != "3")
                text += outcome + (all.size() == 1 ? ";" : ":" + values + ";");
        return text;
    }

    Values()
    {
        core().answers("qnm_dft_dfti_get_version_string").calling([](Call& call, Answer&) {
            std::memset(call.pointer<char>(0), 'v', 3);
            if (call.int64(1) == 198)
                call.pointer<char>(0)[197] = 'v';
        });
        for (const auto& [name, handle] : handles) {
            calls.names.insert_or_assign(name, handle);
            calls.names.insert_or_assign("&" + name, &handle);
        }
        bad.magic = 0;
        line.status = 9;
        line.given = {{"get_lengths", {7}},
                      {"get_number_of_transforms", {1L << 40}},
                      {"get_input_distance", {5}},
                      {"get_output_distance", {6}},
                      {"get_thread_limit", {-3}}};
        box.given = {{"get_lengths", {7, 8, 9}},
                     {"get_input_strides", {5, 1, 7, 56}},
                     {"get_output_strides", {0, 1, 2, 3}}};
    }

    Descriptor line, single{32, 1, 35}, box{33, 3}, bad;
    const std::map<std::string, dft_handle> handles{
        {"line", &line}, {"single", &single}, {"box", &box}, {"bad", &bad}, {"none", nullptr}};
    Calls calls;
};

TEST_F(Values, OfIntegersAreSetAlongTheChainOrRefused)
{
    const std::map<std::int64_t, std::string> of_lines{
        {7, "9 set_number_of_transforms;"},
        {8, "0 @64+: 39 42;6: 40 41;"},
        {9, "0 @68+: 42;6: 41;"},
        {10, "0 @72+: 40;0 @72+ @80=57+: 39;6: 41 42;"},
        {11, "0 @76+: 43 44;"},
        {14, "9 set_input_distance;"},
        {15, "9 set_output_distance;"},
        {17, "0 @84: 51 52;"},
        {18, "0 @88+: 48 49;6: 50;"},
        {21, "0 @80+: 54 55 56 57;"},
        {26, "0 @120+;"},
        {27, "9 set_thread_limit;"},
        {28, "0 @124=4294967279: 52;0 @124=4294967295: 51;"},
    };
    auto of_boxes = of_lines, of_reals = of_lines;
    of_boxes[10] = "0 @72+ @80=57+: 39;6: 41 42;";
    of_boxes[21] = "0 @80+: 57;";
    of_reals[18] = "0 @88+: 48;6: 49 50;";
    for (const auto& [domain, rank, expected] :
         {std::tuple{32U, 1, of_lines}, {32U, 2, of_boxes}, {33U, 1, of_reals}})
        for (std::int64_t code = -1; code < 40; ++code)
            for (const std::string name :
                 {"DftiSetValue", "qnm_dft_dfti_set_value_intval", "dfti_set_value_intval"})
                if (name[0] != 'D' || !lists("4 5 12 13 20", std::to_string(code))) {
                    Descriptor d(domain, rank);
                    d.status = 9;
                    EXPECT_EQ(outcomes(name, d, code), expected.count(code) != 0 ? expected.at(code) : "")
                        << name << code;
                }
    line.next = &box;
    box.next = &single;
    calls.expect(
        R"(qnm_dft_dfti_set_value_intval &line 11 4294967339 = 3
qnm_dft_dfti_set_value_intval &line 27 1099511627776 = 9 set_thread_limit 1099511627776
DftiSetValue line 26 2147483648L = 3 | line 26 -2147483648L = 0 | line 10 40 = 3)");
    EXPECT_EQ(line.user_threads, std::numeric_limits<int>::min());
    EXPECT_TRUE(line.conjugate_even_storage == 40 &&
                box.conjugate_even_storage + single.conjugate_even_storage == 0);
}

TEST_F(Values, OfIntegersAreTold)
{
    for (std::size_t place = 64; place <= 92; place += 4)
        at_place(line, place) = static_cast<std::uint32_t>(place);
    line.transpose = line.user_threads = ~1U; // a sign, to those who see one
    line.options = ~16U;
    calls.expect(
        R"(DftiGetValue line 0 i32 = 0 [32] | line 1 i64 = 0 [1] | line 3 i32 = 0 [36] | line 7 i64 = 9 [1099511627776]
DftiGetValue line 8 i32 = 0 [64] | line 9 i32 = 0 [68] | line 10 i32 = 0 [72] | line 11 i32 = 0 [76]
DftiGetValue line 14 i64 = 9 [5] | line 15 i64 = 9 [6] | line 17 i32 = 0 [84] | line 18 i32 = 0 [88]
DftiGetValue line 19 i32 = 0 [-2] | line 21 i32 = 0 [80] | line 22 i32 = 0 [30] | line 26 i64 = 0 [-2]
DftiGetValue line 27 i64 = 9 [-3] | line 28 i32 = 0 [52] | line 7 null = 3 | line 0 null = 3
DftiGetValue line 6 i64 = 3 | line 16 i64 = 3 | line 24 i64 = 3 | line 29 i64 = 3 | line -1 i64 = 3
qnm_dft_dfti_get_value_intval &line 0 i64 = 0 [32] | &line 1 i64 = 0 [1] | &line 2 i64 = 0 [7] | &box 2 i64 = 3
qnm_dft_dfti_get_value_intval &line 7 i64 = 9 [1099511627776] | &line 19 i64 = 0 [4294967294] | &line 26 i64 = 0 [-2]
qnm_dft_dfti_get_value_intval &line 4 i64 = 3 | &line 12 i64 = 3 | &line 20 i64 = 3 | &line 4294967303 i64 = 3
dfti_get_value_intval &line 7 i32 = 9 [0] | &line 19 i32 = 0 [-2] | &line 6 i32 = 3 [0] | &line 14 i32 = 9 [5])");
}

TEST_F(Values, OfArraysAreReversedForC)
{
    calls.expect(R"(DftiGetValue box 2 i64 = 0 [9 8 7] | box 12 i64 = 0 [5 56 7 1] | box 13 i64 = 0 [0 3 2 1]
DftiGetValue box 2 null = 3 | box 13 null = 3
qnm_dft_dfti_get_value_intvec &box 2 i64 = 0 [7 8 9] | &box 12 i64 = 0 [5 1 7 56] | &box 13 i64 = 0 [0 1 2 3]
dfti_get_value_intvec_ &box 2 i32 = 0 [7 8 9] | &box 12 i32 = 0 [5 1 7 56]
DftiSetValue box 12 {5,3,2,1} = 0 set_input_strides 5 1 2 3 | box 2 {1,2,3} = 3 | box 12 null = 3
DftiSetValue box 13 {0,6,5,4} = 0 set_output_strides 0 4 5 6
qnm_dft_dfti_set_value_intvec &box 12 {5,1,2,3} = 0 set_input_strides 5 1 2 3 | &box 2 {1,2,3} = 3
dfti_set_value_intvec_ &box 12 {5,1,2,-3} = 0 set_input_strides 5 1 2 -3 | &box 2 {1,2,3} = 3 | &box 14 {5} = 3
qnm_dft_dfti_get_value_intvec &box 14 i64 = 3
qnm_dft_dfti_set_value_intvec &box 14 {5} = 3
dfti_get_value_intvec_ &box 14 i32 = 3)");
    box.status = 8; // ahead of the address; Fortran gets what there is
    calls.expect(R"(DftiGetValue box 2 null = 8 | box 12 i64 = 8
dfti_get_value_intvec &box 2 i32 = 8 [0 0 0]
DftiSetValue box 12 {5,3,2,1} = 8 set_input_strides 5 1 2 3
qnm_dft_dfti_set_value_intvec &box 13 {5,3,2,1} = 8 set_output_strides 5 3 2 1)");
    box.rank = 7;
    calls.expect("DftiSetValue box 13 {0,7,6,5,4,3,2,1} = 8 set_output_strides 0 1 2 3 4 5 6 7");
    EXPECT_EQ(box.commit_status, 30);
}

TEST_F(Values, OfScalesAreOfThePrecisionAsked)
{
    calls.expect(R"(DftiSetValue line 4 0.1 = 9 set_scale 4 0.1 | single 5 0.1 = 0 set_scale 5 0.1
DftiGetValue line 4 f64 = 0 [0.1] | single 5 f32 = 0 [0.100000001] | single 5 null = 3
qnm_dft_dfti_set_value_dblval &line 5 0.3 = 9 set_scale 5 0.3 | &line 7 0.3 = 3
qnm_dft_dfti_set_value_sglval &single 4 0.2f = 0 set_scale 4 0.200000003 | &line 7 0.2f = 3
qnm_dft_dfti_get_value_dblval &single 4 f64 = 0 [0.200000003] | &line 7 f64 = 3
qnm_dft_dfti_get_value_sglval &line 5 f32 = 0 [0.300000012] | &line 7 f32 = 3
dfti_set_value_dblval &line 4 0.4 = 9 set_scale 4 0.4
dfti_set_value_sglval &line 5 0.2f = 9 set_scale 5 0.200000003
dfti_get_value_dblval &line 4 f64 = 0 [0.4]
dfti_get_value_sglval &line 4 f32 = 0 [0.400000006])");
    EXPECT_EQ(line.commit_status + single.commit_status, 60);
}

TEST_F(Values, OfTextAreCutForCAndBlankForFortran)
{
    const std::string long_text(5000, 'n');
    calls.names.insert({{"abcd", "abcd"}, {"long", long_text.c_str()}});
    box.name = long_text;
    line.name = "xy";
    calls.expect("DftiSetValue line 20 long = 9 set_name " + long_text.substr(0, 4096) + " 0");
    calls.expect("DftiGetValue none 23 text = 0 [vvv" + std::string(195, '0') + "]");
    calls.expect(R"(DftiSetValue line 20 abcd = 9 set_name abcd 0 | line 20 null = 3 | line 23 abcd = 3
DftiGetValue box 20 text = 0 [nnnnnnnnn0] | box 20 null = 3 | none 23 null = 3
qnm_dft_dfti_set_value_chars &line 20 abcd 3L = 9 set_name abc 32 | &line 23 abcd 3L = 3
qnm_dft_dfti_get_value_chars &line 20 text 4L = 9 [xy  ] | null 23 text 6L = 0 [vvv   ] | &line 4 text 6L = 3
dfti_set_value_chars &line 20 abcd 3L = 9 set_name abc 32 | &line 23 abcd 3L = 3
dfti_get_value_chars &line 20 text 4L = 9 [xy  ] | null 23 text 6L = 0 [vvv   ] | &line 4 text 6L = 3)");
}

TEST_F(Values, WantADescriptorAndAddresses)
{
    for (int code = -1; code < 30; ++code) {
        const std::string number = " " + std::to_string(code);
        calls.expect("DftiSetValue none" + number + " 39 = 5 | bad" + number + " 39 = 5");
        if (code != 23)
            calls.expect("DftiGetValue none" + number + " i64 = 5 | bad" + number + " i64 = 5");
    }
    for (const std::string way : {"set", "get"})
        for (const auto& [kind, code] :
             {std::pair{"intval", "7"}, {"intvec", "12"}, {"dblval", "4"}, {"sglval", "4"}, {"chars", "20"}})
            for (const std::string handle : {"&none # i64 1L = 5", "&bad # i64 1L = 5", "null # i64 1L = 3",
                                             "&line # null 1L = 3", "&line null i64 1L = 3"})
                calls.expect("qnm_dft_dfti_" + way + "_value_" + kind + " " +
                             std::regex_replace(handle, std::regex("#"), code));
}

} // namespace
} // namespace qnm::tests
