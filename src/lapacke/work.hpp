// The work level: column-major passes on, row-major goes through column-major copies.
#pragma once

#include <type_traits>

#include "frame/scratch.hpp"
#include "lapacke/forms.hpp"

namespace qnm {

inline constexpr int work_failed = -1010;
inline constexpr int transposition_failed = -1011;

inline bool option(char letter, char expected)
{
    return LAPACKE_lsame(letter, expected) != 0;
}

/// Reports a bad argument by its position; `result` is what the entry then gives back.
template <class R>
QNM_COLD R misused(const char* name, int position)
{
    LAPACKE_xerbla(name, -position);
    return static_cast<R>(-position);
}

/// Copies and workspaces: a query's answer tells how many elements.
using Memory = Malloced<128>;
template <class E>
E* obtained(core_int elements)
{
    return Memory::take<E>(elements * static_cast<core_int>(sizeof(E)));
}

/// The layout stands in front of the routine's arguments, so their positions are one higher.
template <class I>
I shifted(I info)
{
    return info < 0 ? info - 1 : info;
}

/// Where a value stands for the length of a call. A member's own address would keep its record in memory, and
/// what is known of each matrix would be looked up there.
template <class I>
const I* lent(const I&& value)
{
    return &value;
}

/// A matrix of a row-major call, and its column-major copy.
template <class E, class I, class Form, class Back = Form>
struct Matrix {
    const E* given;
    I ld;
    int position; // of ld
    I bound;      // the least ld
    bool copied;
    bool goes_in;
    bool comes_back;
    Form form;
    Back back = form;
    E* place = const_cast<E*>(given);
    I place_ld = leading();

    bool too_short() const { return ld < bound; }
    bool allocate()
    {
        place = copied ? obtained<E>(elements()) : nullptr;
        return place != nullptr || !copied;
    }
    void bring_in() const
    {
        if (copied && goes_in)
            form.trans(row_major, given, ld, place, place_ld);
    }
    void bring_back() const
    {
        if (copied && comes_back)
            back.trans(column_major, place, place_ld, const_cast<E*>(given), ld);
    }
    void release() const
    {
        if (place != nullptr)
            Memory::release(place);
    }

private:
    I leading() const
    {
        if constexpr (Form::packed)
            return 0;
        else
            return static_cast<I>(room(form.rows()));
    }
    core_int elements() const
    {
        if constexpr (Form::packed)
            return packed_room(form.order());
        else
            return room(core_int{form.rows()}) * room(core_int{form.columns()});
    }
};

/// Without a layout nothing is shifted.
template <class I, class Routine, class... A>
I plain(Routine& routine, A*... arguments)
{
    I info = 0;
    routine(arguments..., &info);
    return info;
}

/// Column-major: the caller's own arguments.
template <class I, class Routine, class... A>
I passed_on(Routine& routine, A*... arguments)
{
    return shifted(plain<I>(routine, arguments...));
}

/// Takes memory for all copies, or for none.
template <class... M>
bool all_allocated(M&... matrices)
{
    return (matrices.allocate() && ...);
}

/// Row-major. Leading dimensions are tested in the order of the arguments, then what else is `refused`. A
/// query needs the leading dimensions of the copies, and no copies.
template <class I, class Call, class... M>
I transposed(const char* name, bool asks, int refused, Call&& call, M... matrices)
{
    int bad = 0;
    (void)((matrices.too_short() && (bad = matrices.position, true)) || ...);
    if (bad == 0)
        bad = refused;
    if (bad != 0)
        return misused<I>(name, bad);
    I info = 0;
    if (asks) {
        call(&info, matrices...);
        return shifted(info);
    }
    ((matrices.place = nullptr), ...);
    if (all_allocated(matrices...)) {
        (matrices.bring_in(), ...);
        call(&info, matrices...);
        info = shifted(info);
        (matrices.bring_back(), ...);
    } else {
        info = transposition_failed;
    }
    (matrices.release(), ...);
    if (info == transposition_failed)
        LAPACKE_xerbla(name, transposition_failed);
    return info;
}

/// Row-major of a function: what it gives back is its value, which is 0 if there was no memory.
template <class I, class R, class Call, class... M>
R transposed_value(const char* name, Call&& call, M... matrices)
{
    R value{};
    I info = transposed<I>(
        name, false, 0, [&](void* /*info*/, M&... copies) { value = call(nullptr, copies...); }, matrices...);
    return info == 0 || info == transposition_failed ? value : static_cast<R>(info);
}

/// Row-major of a routine that does the same to the transpose: sizes change places, the triangle is the other
/// one, the norm of columns is that of rows. A norm of rows needs workspace that the caller has not provided.
template <class R, class E, class Call>
R turned(const char* name, int bad, char norm, char uplo, core_int length, Call&& call)
{
    if (bad != 0)
        return misused<R>(name, bad);
    // Without a norm or a triangle there is a blank, and nothing to ask.
    const char other_norm = norm == ' '                              ? norm
                            : option(norm, '1') || option(norm, 'o') ? 'i'
                            : option(norm, 'i')                      ? '1'
                                                                     : norm;
    const char other_uplo = uplo == ' ' ? uplo : option(uplo, 'u') ? 'l' : option(uplo, 'l') ? 'u' : uplo;
    E* work = nullptr;
    constexpr bool has_work = !std::is_same_v<E, char>; // not if no norm is asked for
    if (has_work && other_norm == 'i') {
        work = obtained<E>(room(length));
        if (work == nullptr) {
            LAPACKE_xerbla(name, work_failed);
            return R(0);
        }
    }
    const R result = call(&other_norm, &other_uplo, work);
    if (work != nullptr)
        Memory::release(work);
    return result;
}

/// The TRANS of a routine that takes either layout by it.
inline char told(int layout, char trans)
{
    return !option(trans, 't') && layout == column_major ? 'n' : 't';
}

/// The layout in which such a routine reads its matrices.
inline int option_layout(int layout, char trans)
{
    return layout == column_major && option(trans, 'n') ? column_major : row_major;
}

/// The rows that exchanges reach: LASWP is not told how many the matrix has.
template <class I>
core_int reached(I first, I last, const I* pivots, I increment)
{
    core_int rows = room(core_int{last});
    const core_int step = increment < 0 ? -core_int{increment} : core_int{increment};
    for (core_int i = first; i <= last; ++i) {
        const core_int row = pivots[first + (i - first) * step - 1];
        rows = row > rows ? row : rows;
    }
    return rows;
}

} // namespace qnm
