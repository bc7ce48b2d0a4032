// Results: each in the registers of its type, the same with and without a trace.
#include "support/published.hpp"
#include "support/sample_call.hpp"

namespace qnm::tests {
namespace {

using catalogue::ResultKind;

enum class Type { none, float32, float64, int32, size, address, hidden };

/// Members as published, narrow; all others have no result.
const std::pair<Type, const char*> results[] = {
    {Type::float32, "dot s dsdot s asum s casum s nrm2 s cnrm2 s cabs1 s doti s dot_direct s"},
    {Type::float64, "dot d sdot d asum d zasum d nrm2 d znrm2 d cabs1 d doti d dot_direct d"},
    {Type::hidden, "dotc cz dotu cz dotci cz dotui cz"},
    {Type::int32, "samax i damax i camax i zamax i samin i damin i camin i zamin i "
                  "qnm_get_format_compact - qnm_jit_destroy - qnm_jit_create_?gemm sdcz"},
    {Type::size, "gemm_pack_get_size sd hgemm_pack_get_size - gemm_s8u8s32_pack_get_size - "
                 "gemm_s16s16s32_pack_get_size - gemm_bf16bf16f32_pack_get_size - "
                 "gemm_f16f16f32_pack_get_size - gemm_e4m3e4m3f32_pack_get_size - "
                 "gemm_e5m2e5m2f32_pack_get_size -"},
    {Type::address, "qnm_jit_get_?gemm_ptr sdcz"},
};

Type type_of(const Entry& entry)
{
    std::string name = catalogue::to_lower(entry.name());
    if (entry.width == Width::wide)
        name.resize(name.size() - 3);
    for (const auto& [type, members] : results)
        for (const auto& member : expand(members))
            if (member.first == name)
                return type;
    return Type::none;
}

class ResultsTest : public BlasTest {};

TEST_F(ResultsTest, ComeBackAsTheCoreGaveThem)
{
    std::size_t seen = 0;
    for (const int mode : {0, 1})
        for (const Entry& e : entries()) {
            QNM_TRACE_ENTRY(e);
            const Type type = type_of(e);
            EXPECT_EQ(type == Type::none, e.row->result.kind == ResultKind::none);
            EXPECT_EQ(type == Type::hidden, e.row->result.kind == ResultKind::hidden);
            if (type == Type::none || type == Type::hidden)
                continue;
            ++seen;
            core().mode(mode);
            const SampleCall call(e);
            core().clear();
            call.run();
            const auto told = story(); // which kernel it was
            auto& script = core().answers(*std::find_if(
                told.begin(), told.end(), [](const auto& n) { return n.starts_with("qnm_blas_"); }));
            constexpr std::int64_t large = 0x0123'4567'89AB'CDEF;
            switch (type) {
            case Type::float32:
                script.with(-2.5F);
                EXPECT_EQ(call.run().float32(), -2.5F);
                break;
            case Type::float64:
                script.with(1e-300);
                EXPECT_EQ(call.run().float64(), 1e-300);
                break;
            case Type::int32:
                script.with(std::int64_t{0x7'FFFF'FFF9}); // what stands above 32 bits is nobody's
                EXPECT_EQ(call.run().int32(), -7);
                break;
            default:
                script.with(large);
                EXPECT_EQ(call.run().int64(), large);
            }
        }
    // Each result twice, in both widths; only the two direct products have but one.
    EXPECT_EQ(seen, 2 * (2 * (9 + 9 + 14 + 9 + 4) - 2U));
}

} // namespace
} // namespace qnm::tests
