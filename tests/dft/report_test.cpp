// The line of a transform, against a formatter of the test's own and against lines by hand.
#include "descriptor.hpp"

#include <cmath>
#include <numeric>
#include <random>

namespace qnm::tests {
namespace {

std::string number(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%lg", value);
    return text;
}

std::string joined(const Integers& strides) // the offset, then the slowest first
{
    std::string text = std::to_string(strides[0]);
    for (std::size_t i = strides.size(); i-- > 1;)
        text += "," + std::to_string(strides[i]);
    return text + "},";
}

/// Strides without the offset, of data whose first dimension has `step` as distance and then `line` elements.
Integers strides_of(const Integers& lengths, std::int64_t step, std::int64_t line)
{
    Integers strides{step};
    for (std::size_t i = 1; i < lengths.size(); ++i)
        strides.push_back(strides.back() * (i == 1 ? line : lengths[i - 1]));
    return strides;
}

/// The line, from a copy of what the descriptor holds.
std::string line_of(Descriptor d, const Descriptor& address, bool forward, const void* first,
                    const void* second)
{
    std::string line;
    const auto flag = [&](bool given, const std::string& text) { line += given ? text : ""; };
    if (d.told_rank[0] > 0) {
        const bool ip = d.placement == 43, complex = d.domain == 32, batch = d.transforms[0] >= 2;
        const auto zero = [](const Integers& all) {
            return std::all_of(all.begin(), all.end(), [](auto x) { return x == 0; });
        };
        const std::string here = forward ? "fwd_" : "bwd_", there = forward ? "bwd_" : "fwd_";
        std::string in_strides = "input_", out_strides = "output_", in_distance = "input_",
                    out_distance = "output_";
        if (zero(d.input_strides) && zero(d.output_strides)) {
            d.input_strides = forward ? d.forward_strides : d.backward_strides;
            d.output_strides = forward ? d.backward_strides : d.forward_strides;
            in_strides = here, out_strides = there;
        }
        if (batch && zero(d.input_distance) && zero(d.output_distance)) {
            d.input_distance = forward ? d.forward_distance : d.backward_distance;
            d.output_distance = forward ? d.backward_distance : d.forward_distance;
            in_distance = here, out_distance = there;
        }
        const std::int64_t id = d.input_distance[0], od = d.output_distance[0], nt = d.transforms[0];
        const Integers is(d.input_strides.begin() + 1, d.input_strides.end()),
            os(d.output_strides.begin() + 1, d.output_strides.end());
        const std::int64_t n = d.lengths[0];
        const std::int64_t total =
            std::accumulate(d.lengths.begin(), d.lengths.end(), std::int64_t{1}, std::multiplies<>());
        bool strided = false, distances = false, interleaved = false;
        if (complex) {
            const Integers within = strides_of(d.lengths, nt, n * nt == 0 ? 0 : n),
                           tight = strides_of(d.lengths, 1, n);
            interleaved = id == 1 && is == within && (ip || (od == 1 && os == within));
            strided = !interleaved && !(is == tight && (ip || os == tight));
            distances = strided || (!interleaved && batch && !(id == total && (ip || od == id)));
        } else {
            const std::int64_t others = total / n, half = n / 2 + 1, pad = ip ? 2 * half : n;
            const Integers& rs = forward ? is : os;
            const Integers& cs = forward ? os : is;
            strided = rs != strides_of(d.lengths, 1, pad) || cs != strides_of(d.lengths, 1, half);
            distances =
                strided ||
                (batch && ((forward ? id : od) != pad * others || (forward ? od : id) != half * others));
        }
        line = std::string("FFT(") + (d.precision == 35 ? 's' : 'd') + (complex ? 'c' : 'r') +
               (forward ? 'f' : 'b') + (ip ? 'i' : 'o');
        flag(complex && d.complex_storage == 42, "/");
        for (std::size_t i = d.lengths.size(); i-- > 0;) {
            line += (i + 1 < d.lengths.size() ? "x" : "") + std::to_string(d.lengths[i]);
            flag(strided, ":" + std::to_string(is[i]) + ":" + std::to_string(os[i]));
        }
        flag(batch, (interleaved ? "v" : "*") + std::to_string(nt));
        flag(batch && distances, ":" + std::to_string(id) + ":" + std::to_string(od));
        line += "," + in_strides + "strides:{" + joined(d.input_strides) + out_strides + "strides:{" +
                joined(d.output_strides);
        flag(nt > 1 || id != 0 || od != 0, in_distance + "distance:" + std::to_string(id) + "," +
                                               out_distance + "distance:" + std::to_string(od) + ",");
        flag(!(d.forward_scale == 1), "fScale:" + number(d.forward_scale) + ",");
        flag(!(d.backward_scale == 1), "bScale:" + number(d.backward_scale) + ",");
        flag(!complex && d.conjugate_even_storage == 40, d.packed_format == 54   ? "pack:ccs,"
                                                         : d.packed_format == 55 ? "pack:pack,"
                                                                                 : "pack:perm,");
    }
    flag(d.workspace != 51, d.workspace == 52 ? "wSpace:avoid," : "wSpace:none,");
    flag((d.options & 16) != 0, "destroy_input:allow,");
    line += "tLim:" + std::to_string(d.limit[0]) + ",";
    flag(reinterpret_cast<std::uintptr_t>(first) % 64 != 0, "unaligned_input,");
    flag(reinterpret_cast<std::uintptr_t>(second) % 64 != 0, "unaligned_output,");
    char handle[32];
    std::snprintf(handle, sizeof handle, "desc:%p)", static_cast<const void*>(&address));
    return (line + handle).substr(0, 511);
}

class Report : public recording::RecordedTest {
protected:
    Report() { core().mode(1); }

    /// What is printed of a transform; the clock tells the time.
    static std::string printed(const std::string& name, const std::vector<Word>& words)
    {
        core().clear();
        core().ignore("qnm_serv_sprintf_char_s");
        core().clock({2, 5});
        call(name, words);
        const auto lines = core().calls("qnm_serv_print_verbose_info");
        EXPECT_EQ(lines.size(), 1U);
        EXPECT_TRUE(!lines.empty() && lines[0].int32(0) == 0 && lines[0].real(0) == 3);
        return lines.empty() ? "" : lines[0].text;
    }
};

TEST_F(Report, IsWrittenByItsGrammar)
{
    std::mt19937 chance(1);
    const auto below = [&](int bound) { return static_cast<int>(chance() % static_cast<unsigned>(bound)); };
    alignas(64) static char data[256];
    std::map<std::string, int> seen;
    for (int i = 0; i < 4000; ++i) {
        const bool forward = below(2) == 0, ip = below(2) == 0;
        const int rank = below(20) == 0 ? 0 : 1 + below(below(2) == 0 ? 2 : 7);
        Descriptor d(32 + static_cast<std::uint32_t>(below(2)), rank,
                     35 + static_cast<std::uint32_t>(below(2)));
        d.told_rank = {rank};
        d.placement = ip ? 43 : 44;
        d.transforms = {below(4)};
        for (std::int64_t& length : d.lengths)
            length = 2 + below(4);
        const auto choose = [&](std::initializer_list<std::uint32_t> all) {
            return *(all.begin() + below(static_cast<int>(all.size())));
        };
        if (rank > 0) {
            const std::int64_t n = d.lengths[0], half = n / 2 + 1;
            std::int64_t others = 1;
            for (std::size_t k = 1; k < d.lengths.size(); ++k)
                others *= d.lengths[k];
            // Sides that are tight, padded, halved, interleaved; each may be spoilt in one place.
            const std::int64_t lines[]{n, 2 * half, half};
            for (const auto& [strides, distance] : {std::pair{&d.input_strides, &d.input_distance},
                                                    {&d.output_strides, &d.output_distance},
                                                    {&d.forward_strides, &d.forward_distance},
                                                    {&d.backward_strides, &d.backward_distance}}) {
                const std::int64_t line = lines[below(3)];
                const bool within = below(3) == 0;
                const Integers tight = strides_of(d.lengths, within ? d.transforms[0] : 1, line);
                *strides = {below(2)};
                strides->insert(strides->end(), tight.begin(), tight.end());
                *distance = {within ? 1 : line * others};
                if (below(5) == 0)
                    (*strides)[1 + static_cast<std::size_t>(below(rank))] += 1;
                if (below(5) == 0)
                    (*distance)[0] += 1;
            }
            if (rank > 4 && below(10) == 0)
                std::fill(d.input_strides.begin(), d.input_strides.end(), INT64_MIN);
            for (const int both : {below(4), below(6)})
                if (both == 0) {
                    std::fill(d.input_strides.begin(), d.input_strides.end(), 0);
                    std::fill(d.output_strides.begin() + below(2) % 2, d.output_strides.end(), 0);
                }
            if (below(3) == 0)
                d.input_distance = {0}, d.output_distance = {below(3) / 2};
        }
        d.complex_storage = choose({39, 42});
        d.conjugate_even_storage = choose({39, 40});
        d.packed_format = choose({54, 55, 56, 57});
        d.workspace = choose({51, 51, 52, 53});
        d.options = choose({0, 16, ~16U});
        d.limit = {below(3)};
        const double scales[]{1, 1, 1 / 3.0, std::nan("")};
        d.forward_scale = scales[below(4)];
        d.backward_scale = scales[below(4)];
        char* const first = data + 32 * below(3);
        char* const second = below(3) == 0 ? nullptr : data + 32 * below(3);
        const dft_handle handle = &d;
        d.array_count = 2;
        const std::string way = forward ? "forward" : "backward";
        const std::string line = printed("qnm_dft_dfti_compute_" + way + "_zz", {&handle, first, second});
        ASSERT_EQ(line, line_of(d, d, forward, first, second));
        for (const std::string part :
             {"v2", "*2:", "*2,", "x", "fwd_s", "bwd_d", "unaligned_o", "pack:ccs", "/"})
            seen[part] += line.find(part) != std::string::npos ? 1 : 0;
        seen["cut"] += line.size() == 511 ? 1 : 0;
        d.array_count = 1;
        ASSERT_EQ(printed("dfti_compute_" + way + "_z", {&handle, first, second}),
                  line_of(d, d, forward, first, nullptr));
    }
    EXPECT_EQ(seen.size(), 10U);
    for (const auto& [part, count] : seen)
        EXPECT_GT(count, 10) << part;
}

TEST_F(Report, OfKnownTransforms)
{
    alignas(64) static char data[256];
    Descriptor d;
    const auto line = [&](const char* name, const std::vector<Word>& words) {
        const std::string whole = printed(name, words);
        return whole.substr(0, whole.find("desc:"));
    };
    d.lengths = {1024};
    d.input_strides = d.output_strides = {0, 0};
    d.forward_strides = d.backward_strides = {0, 1};
    EXPECT_EQ(line("DftiComputeForward", {&d, data}),
              "FFT(dcfi1024,fwd_strides:{0,1},bwd_strides:{0,1},tLim:0,");
    d.input_strides = d.output_strides = {0, 8};
    d.transforms = {8};
    d.input_distance = d.output_distance = {1};
    EXPECT_EQ(
        line("DftiComputeInPlaceBackward", {&d, data + 8}),
        "FFT(dcbi1024v8,input_strides:{0,8},output_strides:{0,8},input_distance:1,output_distance:1,tLim:0,"
        "unaligned_input,");
    d.domain = 33;
    d.placement = 44;
    d.forward_scale = 0.5;
    EXPECT_EQ(
        line("DftiComputeOutOfPlaceForward", {&d, data, data + 8}),
        "FFT(drfo1024:8:8*8:1:1,input_strides:{0,8},output_strides:{0,8},input_distance:1,output_distance:1,"
        "fScale:0.5,tLim:0,unaligned_output,");
    d.told_rank = {0};
    EXPECT_EQ(line("DftiComputeBackward", {&d, data}), "tLim:0,");
}

} // namespace
} // namespace qnm::tests
