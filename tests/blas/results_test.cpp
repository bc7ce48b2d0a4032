// Results: each in the registers of its type, the same with and without a trace.
#include "support/sample_call.hpp"

namespace qnm::tests {
namespace {

using catalogue::ResultKind;

enum class Type { none, float32, float64, int32, size, address, hidden };

struct Results {
    Type type;
    std::set<std::string_view> members; // as published, narrow
};

const Results results[] = {
    {Type::float32,
     {"SDOT", "SDSDOT", "SASUM", "SCASUM", "SNRM2", "SCNRM2", "SCABS1", "SDOTI", "SDOT_DIRECT"}},
    {Type::float64,
     {"DDOT", "DSDOT", "DASUM", "DZASUM", "DNRM2", "DZNRM2", "DCABS1", "DDOTI", "DDOT_DIRECT"}},
    {Type::hidden, {"CDOTC", "CDOTU", "ZDOTC", "ZDOTU", "CDOTCI", "CDOTUI", "ZDOTCI", "ZDOTUI"}},
    {Type::int32,
     {"ISAMAX", "IDAMAX", "ICAMAX", "IZAMAX", "ISAMIN", "IDAMIN", "ICAMIN", "IZAMIN",
      "QNM_GET_FORMAT_COMPACT", "QNM_JIT_DESTROY", "QNM_JIT_CREATE_SGEMM", "QNM_JIT_CREATE_DGEMM",
      "QNM_JIT_CREATE_CGEMM", "QNM_JIT_CREATE_ZGEMM"}},
    {Type::size,
     {"SGEMM_PACK_GET_SIZE", "DGEMM_PACK_GET_SIZE", "HGEMM_PACK_GET_SIZE", "GEMM_S8U8S32_PACK_GET_SIZE",
      "GEMM_S16S16S32_PACK_GET_SIZE", "GEMM_BF16BF16F32_PACK_GET_SIZE", "GEMM_F16F16F32_PACK_GET_SIZE",
      "GEMM_E4M3E4M3F32_PACK_GET_SIZE", "GEMM_E5M2E5M2F32_PACK_GET_SIZE"}},
    {Type::address,
     {"QNM_JIT_GET_SGEMM_PTR", "QNM_JIT_GET_DGEMM_PTR", "QNM_JIT_GET_CGEMM_PTR", "QNM_JIT_GET_ZGEMM_PTR"}},
};

Type type_of(const Entry& entry)
{
    std::string name = entry.name();
    if (entry.width == Width::wide)
        name.resize(name.size() - 3);
    for (const Results& r : results)
        if (r.members.contains(name))
            return r.type;
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
