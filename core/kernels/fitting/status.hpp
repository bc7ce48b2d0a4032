// What kernels of data fitting return.
#pragma once

namespace qnm::df {

enum Status : int {
    ok = 0,
    null_task = -1000,
    out_of_memory = -1001,
    bad_method = -1002,
    bad_point_count = -1004,
    null_points = -1005,
    bad_point_hint = -1006,
    bad_function_count = -1007,
    null_function = -1008,
    bad_function_hint = -1009,
    bad_order = -1010,
    bad_type = -1011,
    bad_inner_type = -1012,
    null_inner = -1013,
    bad_end_type = -1014,
    null_ends = -1015,
    null_coefficients = -1016,
    bad_coefficient_hint = -1017,
    bad_attribute = -1018,
    bad_index = -1019,
    null_answer = -1020,
    bad_result_hint = -1028,
};

} // namespace qnm::df
