// What kernels of streams return.
#pragma once

namespace qnm::vsl {

enum Status : int {
    ok = 0,
    no_kernel = -1,
    bad_argument = -3,
    out_of_memory = -4,
    unknown_generator = -1000,
    no_leapfrog = -1002,
    no_skip = -1003,
    no_wide_skip = -1004,
    unlike_generators = -1005,
    registry_full = -1007,
    bad_state_size = -1008,
    bad_word_size = -1009,
    bad_seeds = -1010,
    bad_bits = -1011,
    period_over = -1012,
    bits_not_random = -1014,
    file_not_closed = -1100,
    file_not_opened = -1101,
    file_not_written = -1102,
    file_not_read = -1103,
    file_damaged = -1110,
    file_of_other_version = -1111,
    bad_refill = -1120,
    no_numbers = -1121,
    memory_damaged = -1200,
    no_entropy = -1130,
    no_aes = -1140,
};

} // namespace qnm::vsl
