// Kernels that make, change and delete tasks.
#include "task.hpp"

#include <cstdlib>

namespace qnm::df {
namespace {

enum Attribute : Int {
    points = 1,
    values,
    inner_conditions,
    end_conditions,
    all_coefficients,
    point_count = 14,
    point_hint,
    function_count,
    function_hint,
    spline_order,
    spline_type,
    inner_type,
    end_type,
    coefficient_hint,
    trust
};

const void* advanced(const void* base, Int elements, const Task& task)
{
    return base == nullptr
               ? nullptr
               : static_cast<const char*>(base) + static_cast<std::size_t>(elements) * task.element;
}

// Arrays of each function, from what was given for all.
void spread_values(const Task& task)
{
    const Int step = task.y_hint == by_columns ? 1 : task.nx;
    for (Int j = 0; j < task.ny; ++j)
        task.array(values_of, j) =
            j > 0 && task.y_hint == first_only ? nullptr : advanced(task.y, j * step, task);
}
void spread_coefficients(const Task& task)
{
    const Int step = task.pieces() * task.order;
    for (Int j = 0; j < task.ny; ++j)
        task.array(coefficients_of, j) = j > 0 && task.coefficient_hint == first_only
                                             ? nullptr
                                             : advanced(task.all_coefficients, j * step, task);
}
void spread(const Task& task, Array which, const void* same)
{
    for (Int j = 0; j < task.ny; ++j)
        task.array(which, j) = same;
}
void spread_spline(const Task& task)
{
    spread_coefficients(task);
    spread(task, ends_of, task.ends);
    spread(task, inner_of, task.inner);
}

const void** new_arrays(Int functions)
{
    const std::size_t count = static_cast<std::size_t>(functions);
    return static_cast<const void**>(std::calloc(count, arrays * sizeof(void*)));
}

bool holds(Int hint, Int first, Int second, Int third)
{
    return hint == no_hint || hint == first || hint == second || hint == third;
}
bool is_point_hint(Int hint)
{
    return holds(hint, non_uniform, quasi_uniform, uniform);
}
bool is_function_hint(Int hint)
{
    return holds(hint, by_rows, by_columns, first_only);
}

template <class T>
int make(Task** slot, Int nx, const T* x, Int x_hint, Int ny, const T* y, Int y_hint)
{
    *slot = nullptr;
    if (nx < 2)
        return bad_point_count;
    if (x == nullptr)
        return null_points;
    if (!is_point_hint(x_hint))
        return bad_point_hint;
    if (ny < 1 && (ny < 0 || y != nullptr)) // cells are found without functions
        return bad_function_count;
    if (!is_function_hint(y_hint))
        return bad_function_hint;
    auto* const task = static_cast<Task*>(std::calloc(1, sizeof(Task)));
    if (task == nullptr)
        return out_of_memory;
    task->coefficients = new_arrays(ny + 1);
    if (task->coefficients == nullptr) {
        std::free(task);
        return out_of_memory;
    }
    task->element = sizeof(T);
    task->nx = nx;
    task->x = x;
    task->x_hint = x_hint;
    task->ny = ny;
    task->y = y;
    task->y_hint = y_hint;
    spread_values(*task);
    *slot = task;
    return ok;
}

int edit_spline(Task* task, Int order, Int type, Int end_type, const void* ends, Int inner_type,
                const void* inner, const void* coefficients, Int hint)
{
    if (!holds(hint, by_rows, first_only, no_hint))
        return bad_coefficient_hint;
    task->order = order;
    task->type = type;
    task->end_type = end_type;
    task->ends = ends;
    task->inner_type = inner_type;
    task->inner = inner;
    task->all_coefficients = coefficients;
    task->coefficient_hint = hint;
    spread_spline(*task);
    return ok;
}

int edit_pointer(Task* task, Int attribute, const void* pointer)
{
    switch (attribute) {
    case points:
        if (pointer == nullptr)
            return null_points;
        task->x = pointer;
        return ok;
    case values:
        task->y = pointer;
        spread_values(*task);
        return ok;
    case inner_conditions:
        task->inner = pointer;
        spread(*task, inner_of, pointer);
        return ok;
    case end_conditions:
        task->ends = pointer;
        spread(*task, ends_of, pointer);
        return ok;
    case all_coefficients:
        task->all_coefficients = pointer;
        spread_coefficients(*task);
        return ok;
    default:
        return bad_attribute;
    }
}

const void* pointer_of(const Task& task, Int attribute)
{
    switch (attribute) {
    case points:
        return task.x;
    case values:
        return task.y;
    case inner_conditions:
        return task.inner;
    case end_conditions:
        return task.ends;
    default:
        return task.all_coefficients;
    }
}
int query_pointer(const Task* task, Int attribute, const void** pointer)
{
    if (pointer == nullptr)
        return null_answer;
    if (attribute < points || attribute > all_coefficients)
        return bad_attribute;
    *pointer = pointer_of(*task, attribute);
    return ok;
}

// The array of one function.
int find(const Task* task, Int attribute, Int index, const void*** found)
{
    Array which;
    switch (attribute) {
    case values:
        if (task->y_hint == by_columns) // its values lie among the others'
            return bad_function_hint;
        which = values_of;
        break;
    case inner_conditions:
        which = inner_of;
        break;
    case end_conditions:
        which = ends_of;
        break;
    case all_coefficients:
        which = coefficients_of;
        break;
    default:
        return bad_attribute;
    }
    if (index < 0 || index >= task->ny)
        return bad_index;
    *found = &task->array(which, index);
    return ok;
}
int edit_indexed(Task* task, Int attribute, Int index, const void* pointer)
{
    const void** found;
    const int status = find(task, attribute, index, &found);
    if (status == ok)
        *found = pointer;
    return status;
}
int query_indexed(const Task* task, Int attribute, Int index, const void** pointer)
{
    if (pointer == nullptr)
        return null_answer;
    const void** found;
    const int status = find(task, attribute, index, &found);
    if (status == ok)
        *pointer = *found;
    return status;
}

int edit_function_count(Task* task, Int count)
{
    if (count < 1)
        return bad_function_count;
    const void** const made = new_arrays(count + 1);
    if (made == nullptr)
        return out_of_memory;
    std::free(task->coefficients);
    task->coefficients = made;
    task->ny = count;
    spread_values(*task);
    spread_spline(*task);
    return ok;
}

// Numbers of a task: where they lie, and what is tested of them.
Int* number_of(Task& task, Int attribute)
{
    switch (attribute) {
    case point_count:
        return &task.nx;
    case point_hint:
        return &task.x_hint;
    case function_count:
        return &task.ny;
    case function_hint:
        return &task.y_hint;
    case spline_order:
        return &task.order;
    case spline_type:
        return &task.type;
    case inner_type:
        return &task.inner_type;
    case end_type:
        return &task.end_type;
    case coefficient_hint:
        return &task.coefficient_hint;
    default:
        return nullptr;
    }
}
int tested(Int attribute, Int value)
{
    switch (attribute) {
    case point_count:
        return value < 2 ? bad_point_count : ok;
    case point_hint:
        return is_point_hint(value) ? ok : bad_point_hint;
    case function_hint:
        return is_function_hint(value) ? ok : bad_function_hint;
    case coefficient_hint:
        return holds(value, by_rows, first_only, no_hint) ? ok : bad_coefficient_hint;
    default:
        return ok;
    }
}
int edit_number(Task* task, Int attribute, Int value)
{
    if (attribute == trust) {
        task->trusted = value != 0;
        return ok;
    }
    if (attribute == function_count)
        return edit_function_count(task, value);
    Int* const number = number_of(*task, attribute);
    if (number == nullptr)
        return bad_attribute;
    const int status = tested(attribute, value);
    if (status != ok)
        return status;
    *number = value;
    if (attribute == point_count || attribute == function_hint)
        spread_values(*task);
    if (attribute == point_count || attribute == spline_order || attribute == spline_type ||
        attribute == coefficient_hint)
        spread_coefficients(*task);
    return ok;
}
int query_number(Task* task, Int attribute, std::int32_t* value)
{
    if (value == nullptr)
        return null_answer;
    const Int* const number = number_of(*task, attribute);
    if (number == nullptr && attribute != trust)
        return bad_attribute;
    *value = attribute == trust ? task->trusted : static_cast<std::int32_t>(*number);
    return ok;
}

} // namespace
} // namespace qnm::df

using namespace qnm::df;

#define QNM_TASKS(t, T)                                                                                      \
    QNM_FITTING int qnm_df_kernel_##t##NewTask1D(Task** slot, Int nx, const T* x, Int x_hint, Int ny,        \
                                                 const T* y, Int y_hint)                                     \
    {                                                                                                        \
        return slot == nullptr ? null_task : make(slot, nx, x, x_hint, ny, y, y_hint);                       \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_##t##EditPPSpline1D(Task* task, Int order, Int type, Int end_type,         \
                                                      const T* ends, Int inner_type, const T* inner,         \
                                                      T* coefficients, Int hint)                             \
    {                                                                                                        \
        return task == nullptr                                                                               \
                   ? null_task                                                                               \
                   : edit_spline(task, order, type, end_type, ends, inner_type, inner, coefficients, hint);  \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_##t##EditPtr(Task* task, Int attribute, const T* pointer)                  \
    {                                                                                                        \
        return task == nullptr ? null_task : edit_pointer(task, attribute, pointer);                         \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_##t##QueryPtr(const Task* task, Int attribute, const void** pointer)       \
    {                                                                                                        \
        return task == nullptr ? null_task : query_pointer(task, attribute, pointer);                        \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_##t##EditIdxPtr(Task* task, Int attribute, Int index, const T* pointer)    \
    {                                                                                                        \
        return task == nullptr ? null_task : edit_indexed(task, attribute, index, pointer);                  \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_##t##QueryIdxPtr(const Task* task, Int attribute, Int index,               \
                                                   const void** pointer)                                     \
    {                                                                                                        \
        return task == nullptr ? null_task : query_indexed(task, attribute, index, pointer);                 \
    }
QNM_TASKS(s, float)
QNM_TASKS(d, double)

QNM_FITTING int qnm_df_kernel_iEditVal(Task* task, Int attribute, Int value)
{
    return task == nullptr ? null_task : edit_number(task, attribute, value);
}
QNM_FITTING int qnm_df_kernel_iQueryVal(Task* task, Int attribute, std::int32_t* value)
{
    return task == nullptr ? null_task : query_number(task, attribute, value);
}

QNM_FITTING int qnm_df_kernel_DeleteTask(Task** slot)
{
    if (slot == nullptr || *slot == nullptr)
        return null_task;
    std::free((*slot)->coefficients);
    std::free(*slot);
    *slot = nullptr;
    return ok;
}
