#define VECTOR_BYTES 64
#include "transpose.inc"

namespace qnm::core {

const Transposes transposes_avx512{TRANSPOSES_OF(std::uint32_t, 1), TRANSPOSES_OF(std::uint64_t, 1),
                                   TRANSPOSES_OF(std::uint64_t, 2)};

} // namespace qnm::core
