// The configuration, code by code, in C, by addresses, and in Fortran.
#include "descriptor.hpp"
#include "support/published.hpp"

#include <cstring>
#include <limits>

namespace qnm::tests {
namespace {

/// Where a field stands, and what it may be told; by hand.
struct Field {
    int code;
    std::size_t place;
    const char *accepted, *unimplemented;
};
constexpr Field fields[]{
    {0, 56, "", ""},
    {1, 32, "", ""},
    {3, 60, "", ""},
    {8, 64, "39 42", "40 41"},
    {9, 68, "42", "41"},
    {10, 72, "39 40", "41 42"},
    {11, 76, "43 44", ""},
    {17, 84, "51 52", ""},
    {18, 88, "48 49", "50"},
    {19, 92, "", ""},
    {21, 80, "54 55 56 57", ""},
    {22, 28, "", ""},
    {26, 120, "", ""},
    {28, 124, "51 52", ""},
};
const std::map<int, Integers Descriptor::*> operations{{7, &Descriptor::transforms},
                                                       {14, &Descriptor::input_distance},
                                                       {15, &Descriptor::output_distance},
                                                       {27, &Descriptor::limit}};

const Field* field_of(std::int64_t code)
{
    const auto* found =
        std::find_if(std::begin(fields), std::end(fields), [&](const Field& f) { return f.code == code; });
    return found == std::end(fields) ? nullptr : found;
}

bool has(const char* values, std::int64_t value)
{
    return lists(values, std::to_string(value));
}

std::uint32_t& at_place(dft_descriptor& d, std::size_t place)
{
    return *reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(&d) + place);
}

class Values : public recording::RecordedTest {};

/// What becomes of a chain of two, and the status.
int told(dft_descriptor& d, dft_descriptor& next, std::int64_t code, std::int64_t value)
{
    d.commit_status = 31;
    d.forward = d.backward = nullptr;
    d.state = 0xFE;
    const Field* f = field_of(code);
    if (f == nullptr)
        return operations.count(static_cast<int>(code)) != 0 ? 0 : 3;
    const bool any = code == 26 && value == static_cast<std::int32_t>(value);
    if (!any && !has(f->accepted, value))
        return has(f->unimplemented, value) ? 6 : 3;
    if (code == 18 && value == 49 && d.domain == 33)
        return 6;
    if (d.rank > 1 && ((code == 21 && value != 57) || (code == 10 && value == 40)))
        return 3;
    if (code == 28) {
        d.options = value == 51 ? d.options | 16 : d.options & ~16U;
        return 0;
    }
    at_place(d, f->place) = static_cast<std::uint32_t>(value);
    if (code == 10 && value == 39)
        d.packed_format = next.packed_format = 57;
    if (code == 10 && value == 40 && next.rank > 1)
        return 3;
    if (code != 17)
        at_place(next, f->place) = static_cast<std::uint32_t>(value);
    return 0;
}

TEST_F(Values, OfIntegersAreSetAlongTheChainOrRefused)
{
    std::vector<std::int64_t> values{43 | 1L << 32, std::numeric_limits<int>::max(),
                                     std::numeric_limits<int>::min(), 1L << 31};
    for (int value = -70; value < 130; ++value)
        values.push_back(value);
    for (const auto& [domain, rank, next_rank] : {std::tuple{32, 1, 1}, {33, 1, 2}, {32, 2, 1}})
        for (std::int64_t code = -1; code < 40; ++code)
            for (const std::int64_t value : values)
                for (const std::string name :
                     {"DftiSetValue", "qnm_dft_dfti_set_value_intval", "dfti_set_value_intval"}) {
                    const bool in_c = name[0] == 'D', fortran = name[0] == 'd',
                               wide = code == 26 || operations.count(static_cast<int>(code)) != 0;
                    if ((in_c && has("4 5 12 13 20", code)) || (fortran && value != static_cast<int>(value)))
                        continue;
                    Descriptor next(static_cast<std::uint32_t>(domain), next_rank),
                        d(static_cast<std::uint32_t>(domain), rank);
                    d.next = &next;
                    d.options = next.options = value == 52 ? ~0U : 0;
                    dft_descriptor expected = d, expected_next = next;
                    const bool known = !in_c || !(has("1 2 6 16 23 24 25", code) || code < 0 || code > 28);
                    // In C an integer of 32 bits has junk above it.
                    const auto seen =
                        in_c && !wide ? static_cast<std::int64_t>(static_cast<std::uint32_t>(value)) : value;
                    const int status = known ? told(expected, expected_next, code, seen) : 3;
                    const dft_handle handle = &d;
                    const int code32 = static_cast<int>(code), value32 = static_cast<int>(value);
                    const auto returned = in_c      ? call(name, {&d, code32, value})
                                          : fortran ? call(name, {&handle, &code32, &value32})
                                                    : call(name, {&handle, &code, &value});
                    const auto context = name + " " + std::to_string(code) + " " + std::to_string(value);
                    ASSERT_EQ(returned.int32(), status) << context;
                    ASSERT_EQ(std::memcmp(&d, &expected, sizeof expected), 0) << context;
                    ASSERT_EQ(std::memcmp(&next, &expected_next, sizeof expected), 0) << context;
                    if (const auto operation = operations.find(static_cast<int>(code));
                        operation != operations.end()) {
                        ASSERT_EQ(d.*operation->second, Integers{value}) << context;
                    }
                }
}

TEST_F(Values, OfIntegersAreTold)
{
    for (std::int64_t code = -1; code < 40; ++code)
        for (const int option : {51, 52}) {
            Descriptor d(32, 1);
            std::uint32_t number = 0x80000000; // with its upper half lost, or extended where it has a sign
            for (const Field& f : fields)
                if (f.code != 1 && f.code != 28 && f.code != 3)
                    at_place(d, f.place) = ++number;
            d.options = option == 51 ? 16 : ~16U;
            d.transforms = {1L << 40}, d.limit = {-3}, d.input_distance = {5}, d.output_distance = {6};
            const Field* f = field_of(code);
            const auto operation = operations.find(static_cast<int>(code));
            const bool is_operation = operation != operations.end(),
                       wide = is_operation || code == 1 || code == 26;
            const std::int64_t told = is_operation   ? (d.*operation->second)[0]
                                      : f == nullptr ? 0
                                      : code == 28   ? option
                                      : code == 26   ? std::int64_t{at_place(d, f->place)} - (1L << 32)
                                                     : std::int64_t{at_place(d, f->place)};
            const bool known = f != nullptr || is_operation;
            d.status = 9; // of the core: handed on, with the value
            const int status = !known ? 3 : is_operation ? 9 : 0;
            const dft_handle handle = &d;
            const int code32 = static_cast<int>(code);
            for (const std::string name :
                 {"DftiGetValue", "qnm_dft_dfti_get_value_intval", "dfti_get_value_intval"}) {
                if (code == 2 || (name[0] == 'D' && has("4 5 12 13 20 23", code)))
                    continue; // told below
                std::int64_t value = -1;
                const auto returned = name[0] == 'D'   ? call(name, {&d, code32, &value})
                                      : name[0] == 'd' ? call(name, {&handle, &code32, &value})
                                                       : call(name, {&handle, &code, &value});
                EXPECT_EQ(returned.int32(), status) << name << " " << code;
                const bool half = name[0] == 'd' || (name[0] == 'D' && !wide);
                const std::int64_t expected = known            ? told
                                              : name[0] == 'd' ? 0
                                                               : -1; // Fortran: what there is
                EXPECT_EQ(half ? static_cast<std::int32_t>(value) : value,
                          half ? static_cast<std::int32_t>(expected) : expected)
                    << name << " " << code;
                EXPECT_TRUE(!half || value >> 32 == -1) << name << " " << code; // nothing behind
            }
        }
}

TEST_F(Values, OfArraysAreReversedForC)
{
    for (int rank = 1; rank <= 7; ++rank)
        for (const int code : {2, 12, 13, 14}) {
            Descriptor d(32, rank);
            const dft_handle handle = &d;
            const Integers told = code == 2 ? d.lengths : code == 12 ? d.input_strides : d.output_strides;
            Integers reversed = told;
            std::reverse(reversed.begin() + (code == 2 ? 0 : 1), reversed.end());
            Integers in_c(10, -1), by_address = in_c;
            std::vector<int> fortran(10, -1);
            const auto got = [&](const auto& values) {
                return Integers(values.begin(), values.begin() + static_cast<int>(told.size()));
            };
            EXPECT_EQ(call("qnm_dft_dfti_get_value_intvec", {&handle, at(code), by_address.data()}).int32(),
                      code == 14 ? 3 : 0);
            EXPECT_EQ(call("dfti_get_value_intvec_", {&handle, at32(code), fortran.data()}).int32(),
                      code == 14 ? 3 : 0);
            if (code == 14)
                continue;
            EXPECT_EQ(call("DftiGetValue", {&d, code, in_c.data()}).int64(), 0);
            EXPECT_EQ(got(in_c), reversed);
            EXPECT_EQ(got(by_address), told);
            EXPECT_EQ(got(fortran), told);
            EXPECT_EQ(in_c[told.size()] + by_address[told.size()] + fortran[told.size()], -3);
            EXPECT_EQ(call("DftiGetValue", {&d, code, nullptr}).int64(), 3);
            std::int64_t length = -1;
            EXPECT_EQ(call("qnm_dft_dfti_get_value_intval", {&handle, at(code), &length}).int32(),
                      code == 2 && rank == 1 ? 0 : 3);
            EXPECT_EQ(length, code == 2 && rank == 1 ? 10 : -1);
            d.status = 8; // ahead of the address
            EXPECT_EQ(call("DftiGetValue", {&d, code, nullptr}).int64(), 8);
            EXPECT_EQ(call("dfti_get_value_intvec", {&handle, at32(code), fortran.data()}).int32(), 8);
            EXPECT_EQ(got(fortran), Integers(told.size(), 0)); // narrowed all the same

            const int status = code == 2 ? 3 : 8;
            EXPECT_EQ(call("DftiSetValue", {&d, code, nullptr}).int64(), 3);
            EXPECT_EQ(call("DftiSetValue", {&d, code, reversed.data()}).int64(), status);
            const auto& set = code == 12 ? d.input_strides : d.output_strides;
            EXPECT_TRUE(code == 2 || set == told);
            std::vector<int> narrow(8);
            for (int i = 0; i <= rank; ++i)
                narrow[static_cast<std::size_t>(i)] = -i;
            EXPECT_EQ(call("dfti_set_value_intvec", {&handle, at32(code), narrow.data()}).int32(), status);
            EXPECT_TRUE(code == 2 || set == Integers(narrow.begin(), narrow.begin() + rank + 1));
            EXPECT_FALSE(is_uncommitted(d));
        }
}

TEST_F(Values, OfScalesAreOfThePrecisionAsked)
{
    for (const int code : {4, 5, 7})
        for (const std::uint32_t precision : {35U, 36U}) {
            Descriptor d(32, 1, precision);
            const dft_handle handle = &d;
            const double scale = 0.1;
            const float scale32 = 0.2F;
            double& held = d.scales[code % 2];
            double value[2] = {-1, -1};
            float value32[2] = {-1, -1};
            const int status = code == 7 ? 3 : 0;
            for (const std::string spelling : {"qnm_dft_dfti_", "dfti_"}) {
                const Word c = spelling == "dfti_" ? Word(at32(code)) : Word(at(code));
                EXPECT_EQ(call(spelling + "set_value_dblval", {&handle, c, &scale}).int32(), status);
                EXPECT_EQ(held, status == 0 ? 0.1 : 1);
                EXPECT_EQ(call(spelling + "set_value_sglval", {&handle, c, &scale32}).int32(), status);
                EXPECT_EQ(held, status == 0 ? static_cast<double>(0.2F) : 1);
                d.status = 9; // is not looked at
                EXPECT_EQ(call(spelling + "get_value_dblval", {&handle, c, value}).int32(), status);
                EXPECT_EQ(call(spelling + "get_value_sglval", {&handle, c, value32}).int32(), status);
                EXPECT_EQ(value[0], status == 0 ? static_cast<double>(0.2F) : -1);
                EXPECT_EQ(value32[0], status == 0 ? 0.2F : -1);
                d.status = 0;
            }
            if (code == 7)
                continue;
            d.status = 9;
            EXPECT_EQ(call("DftiSetValue", {&d, code, 0L}, {0.1}).int64(), 9);
            EXPECT_EQ(call("DftiGetValue", {&d, code, precision == 35 ? static_cast<void*>(value32) : value})
                          .int64(),
                      0);
            EXPECT_EQ(precision == 35 ? static_cast<double>(value32[0]) : value[0],
                      precision == 35 ? static_cast<double>(0.1F) : 0.1);
            EXPECT_EQ(value32[1], -1);
            EXPECT_EQ(call("DftiGetValue", {&d, code, nullptr}).int64(), 3);
            EXPECT_FALSE(is_uncommitted(d));
        }
}

TEST_F(Values, OfTextAreCutForCAndBlankForFortran)
{
    core().answers("qnm_dft_dfti_get_version_string").calling([](Call& call, Answer&) {
        std::memset(call.pointer<char>(0), 'v',
                    static_cast<std::size_t>(std::min<std::int64_t>(call.int64(1), 3)));
        if (call.int64(1) == 198)
            call.pointer<char>(0)[197] = 'v';
    });
    Descriptor d;
    const dft_handle handle = &d;
    const std::string long_text(5000, 'n');
    d.status = 9;
    EXPECT_EQ(call("DftiSetValue", {&d, 20, long_text.c_str()}).int64(), 9);
    EXPECT_EQ(d.name, long_text.substr(0, 4096) + '\0');
    EXPECT_EQ(call("DftiSetValue", {&d, 20, nullptr}).int64(), 3);
    char text[200];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(call("DftiGetValue", {&d, 20, text}).int64(), 9);
    EXPECT_EQ(std::string(text, 11), "nnnnnnnnn" + std::string("\0#", 2));
    EXPECT_EQ(call("DftiGetValue", {&d, 20, nullptr}).int64(), 3);
    EXPECT_EQ(call("DftiGetValue", {nullptr, 23, text}).int64(), 0);
    EXPECT_EQ(std::string(text, 199), "vvv" + std::string(195, '\0') + "#");
    EXPECT_EQ(call("DftiGetValue", {nullptr, 23, nullptr}).int64(), 3);
    EXPECT_EQ(call("DftiSetValue", {&d, 23, text}).int64(), 3);
    for (const std::string spelling : {"qnm_dft_dfti_", "dfti_"}) {
        const auto code = [&](int number) {
            return spelling == "dfti_" ? Word(at32(number)) : Word(at(number));
        };
        EXPECT_EQ(call(spelling + "set_value_chars", {&handle, code(20), "abcd", 3L}).int32(), 9);
        EXPECT_EQ(d.name, "abc ");
        EXPECT_EQ(call(spelling + "set_value_chars", {&handle, code(23), "abcd", 3L}).int32(), 3);
        d.name = "xy";
        std::memset(text, '#', sizeof text);
        EXPECT_EQ(call(spelling + "get_value_chars", {&handle, code(20), text, 4L}).int32(), 9);
        EXPECT_EQ(std::string(text, 5), "xy  #");
        EXPECT_EQ(call(spelling + "get_value_chars", {nullptr, code(23), text, 6L}).int32(), 0);
        EXPECT_EQ(std::string(text, 7), "vvv   #");
        EXPECT_EQ(call(spelling + "get_value_chars", {&handle, code(4), text, 6L}).int32(), 3);
    }
}

TEST_F(Values, WantADescriptorAndAddresses)
{
    Descriptor good, bad;
    bad.magic = 0;
    const dft_handle none = nullptr, broken = &bad, handle = &good;
    std::int64_t room[30] = {};
    for (int code = -1; code < 30; ++code)
        for (const dft_handle d : {none, broken}) {
            EXPECT_EQ(call("DftiSetValue", {d, code, room}).int64(), 5);
            EXPECT_EQ(call("DftiGetValue", {d, code, room}).int64(), code == 23 ? 0 : 5);
        }
    for (const std::string way : {"set", "get"})
        for (const auto& [kind, code] :
             {std::pair{"intval", 7}, {"intvec", 12}, {"dblval", 4}, {"sglval", 4}, {"chars", 20}}) {
            const std::string name = "qnm_dft_dfti_" + way + "_value_" + kind;
            EXPECT_EQ(call(name, {&none, at(code), room, 1L}).int32(), 5) << name;
            EXPECT_EQ(call(name, {&broken, at(code), room, 1L}).int32(), 5) << name;
            EXPECT_EQ(call(name, {nullptr, at(code), room, 1L}).int32(), 3) << name;
            EXPECT_EQ(call(name, {&handle, nullptr, room, 1L}).int32(), 3) << name;
            EXPECT_EQ(call(name, {&handle, at(code), nullptr, 1L}).int32(), 3) << name;
        }
    EXPECT_FALSE(is_uncommitted(good) || is_uncommitted(bad));
}

} // namespace
} // namespace qnm::tests
