// The line of a transform: layouts that are what a line has to say of them, and lines by hand.
#include "descriptor.hpp"

#include <cmath>
#include <random>

namespace qnm::tests {
namespace {

class Report : public recording::RecordedTest {
protected:
    Report() { core().mode(1); }

    /// The line of a transform but for its end; the clock tells the time.
    static void expect(const std::string& name, Descriptor& d, const std::string& line,
                       const void* first = data, const void* second = data)
    {
        core().clear();
        core().ignore("qnm_serv_sprintf_char_s");
        core().clock({2, 5});
        call(name, {&d, first, second});
        const auto lines = core().calls("qnm_serv_print_verbose_info");
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_TRUE(lines[0].int32(0) == 0 && lines[0].real(0) == 3);
        std::ostringstream whole;
        whole << line << "desc:" << static_cast<const void*>(&d) << ')';
        ASSERT_EQ(lines[0].text, whole.str().substr(0, 511));
    }

    alignas(64) static inline char data[128];
};

TEST_F(Report, TellsWhatIsPeculiarOfALayout)
{
    std::mt19937 chance(1);
    const auto below = [&](int bound) { return static_cast<int>(chance() % static_cast<unsigned>(bound)); };
    for (int i = 0; i < 4000; ++i) {
        const bool forward = below(2) == 0, ip = below(2) == 0, complex = below(2) == 0,
                   single = below(2) == 0;
        const std::int64_t transforms = below(4);
        const int rank = 1 + below(7);
        Integers lengths;
        while (lengths.size() < static_cast<std::size_t>(rank))
            lengths.push_back(2 + below(4));

        // Both sides are tight or lie one transform within the other, but for what is amiss: of complex data
        // in place not on the second side, which is not looked at.
        enum Amiss { nothing, stride, distance, zeros, far } const amiss{static_cast<Amiss>(below(5))};
        const int where = complex && ip ? 0 : below(2);
        const bool batch = transforms > 1, within = transforms > 0 && below(2) == 0;
        Integers strides[2], distances[2];
        for (const int side : {0, 1}) {
            const std::int64_t half = lengths[0] / 2 + 1, real = ip ? 2 * half : lengths[0];
            const std::int64_t line = complex ? lengths[0] : (side == 0) == forward ? real : half;
            strides[side] = {below(2), within ? transforms : 1};
            for (const std::int64_t& length : lengths)
                strides[side].push_back(strides[side].back() * (&length == &lengths[0] ? line : length));
            distances[side] = {within ? 1 : strides[side].back()};
            strides[side].pop_back();
            if (amiss == far)
                std::fill(strides[side].begin() + 1, strides[side].end(), -987'654'321'987'654'321);
        }
        if (amiss == stride)
            strides[where][1 + static_cast<std::size_t>(below(rank))] += 1;
        if (amiss == zeros)
            strides[where].assign(lengths.size() + 1, 0);
        if (amiss == distance)
            distances[where][0] = below(2) == 0 ? 0 : distances[where][0] + 1;
        if (complex && ip && below(2) == 0) {
            strides[1][1] += 5;
            distances[1][0] += 5;
        }
        const bool interleaved = complex && within && amiss == nothing;
        const bool strided = !interleaved && ((amiss != nothing && amiss != distance) || (within && batch));

        // They are told as input and output, or left to the core, which tells them by domains.
        Descriptor d(complex ? 32 : 33, rank, single ? 35 : 36);
        d.placement = ip ? 43 : 44;
        d.given["get_lengths"] = lengths;
        d.given["get_number_of_transforms"] = {transforms};
        const auto label = [&](const std::string& what, const Integers* sides) {
            const bool left = below(3) == 0;
            for (const int side : {0, 1}) {
                const std::string name = (side == 0) == forward ? "fwd_" : "bwd_";
                d.given[name == "fwd_" ? "get_forward_" + what : "get_backward_" + what] = sides[side];
                d.given[(side == 0 ? "get_input_" : "get_output_") + what] =
                    left ? Integers(sides[side].size()) : sides[side];
            }
            return left ? forward ? std::pair{"fwd_", "bwd_"} : std::pair{"bwd_", "fwd_"}
                        : std::pair{"input_", "output_"};
        };
        const auto of_strides = label("strides", strides), of_distances = label("distance", distances);

        std::ostringstream line;
        line << "FFT(" << (single ? 's' : 'd') << (complex ? 'c' : 'r') << (forward ? 'f' : 'b')
             << (ip ? 'i' : 'o');
        for (std::size_t k = lengths.size(); k-- > 0;) {
            line << (k + 1 < lengths.size() ? "x" : "") << lengths[k];
            if (strided)
                line << ':' << strides[0][k + 1] << ':' << strides[1][k + 1];
        }
        if (batch)
            line << (interleaved ? 'v' : '*') << transforms;
        if (batch && (strided || amiss == distance))
            line << ':' << distances[0][0] << ':' << distances[1][0];
        for (const auto& [name, side] : {std::pair{of_strides.first, 0}, {of_strides.second, 1}}) {
            line << (side == 0 ? "," : "") << name << "strides:{" << strides[side][0];
            for (std::size_t k = lengths.size(); k > 0; --k)
                line << ',' << strides[side][k];
            line << "},";
        }
        if (batch || of_distances.first[0] == 'i')
            line << of_distances.first << "distance:" << distances[0][0] << ',' << of_distances.second
                 << "distance:" << distances[1][0] << ',';
        line << "tLim:0,";
        const std::string way = forward ? "Forward" : "Backward";
        ASSERT_NO_FATAL_FAILURE(expect("DftiComputeOutOfPlace" + way, d, line.str()));
    }
}

TEST_F(Report, OfKnownTransforms)
{
    Descriptor d;
    const Integers none{0, 0}, tight{0, 1}, wide{0, 8};
    d.given = {{"get_rank", {1}},
               {"get_lengths", {1024}},
               {"get_number_of_transforms", {1}},
               {"get_forward_strides", tight},
               {"get_backward_strides", tight}};
    expect("DftiComputeForward", d, "FFT(dcfi1024,fwd_strides:{0,1},bwd_strides:{0,1},tLim:0,", data,
           data + 1);
    d.given["get_output_strides"] = tight; // told, in part
    d.complex_storage = 42;
    d.conjugate_even_storage = 40;
    d.options = ~16U;
    d.workspace = 53;
    d.backward_scale = std::nan("");
    expect("DftiComputeOutOfPlaceForward", d,
           "FFT(dcfi/1024:0:1,input_strides:{0,0},output_strides:{0,1},bScale:nan,wSpace:none,tLim:0,"
           "unaligned_input,",
           data + 32);
    d.given["get_input_strides"] = d.given["get_output_strides"] = wide;
    d.given["get_output_distance"] = {1};
    d.given["get_thread_limit"] = {4};
    d.domain = 33;
    d.conjugate_even_storage = 39;
    d.placement = 44;
    d.workspace = 52;
    d.options = 16;
    d.forward_scale = 0.5;
    d.backward_scale = 1 / 3.0;
    for (const std::string pack : {"", "pack:ccs,", "pack:pack,", "pack:perm,"}) {
        expect("DftiComputeOutOfPlaceForward", d,
               "FFT(drfo1024:8:8,input_strides:{0,8},output_strides:{0,8},input_distance:0,output_distance:1,"
               "fScale:0.5,bScale:0.333333," +
                   pack + "wSpace:avoid,destroy_input:allow,tLim:4,unaligned_output,",
               data, data + 32);
        d.packed_format = pack.empty() ? 54 : d.packed_format + 1;
        d.conjugate_even_storage = 40;
    }
    d.given["get_rank"] = {0};
    expect("DftiComputeForward", d, "wSpace:avoid,destroy_input:allow,tLim:4,");
}

} // namespace
} // namespace qnm::tests
