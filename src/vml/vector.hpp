// A vector entry, of whatever root and form.
#pragma once

#include "frame/complex.hpp"
#include "vml/control.hpp"
#include "vml/root.hpp"

namespace qnm::vml {

// Kinds of arguments. A number comes by value or by reference, and is read no earlier than it is asked for.
template <class T>
struct Value {
    using type = T;
    T value;
    QNM_INLINE T get() const { return value; }
};
template <class T>
struct Reference {
    using referred = T;
    const T* value;
    QNM_INLINE T get() const { return *value; }
};

/// A vector, which is tested; its null is reported under this code.
template <int code, class T>
struct Vector {
    using type = T*;
    T* elements;
    QNM_INLINE T* get() const { return elements; }
};
/// An array that goes on as it came.
template <class T>
struct Array {
    using type = T*;
    T* elements;
    QNM_INLINE T* get() const { return elements; }
};

/// An argument that waits on the stack while functions are called.
template <class T>
struct Waiting {
    const volatile T& kept;
    QNM_INLINE T get() const { return kept; }
};
template <class T>
struct WaitingReference {
    const T* const volatile& kept;
    QNM_INLINE T get() const { return *kept; }
};

/// The mode of a form that has none.
struct NoMode {};

template <class A>
inline constexpr int code_of = 0;
template <int code, class T>
inline constexpr int code_of<Vector<code, T>> = code;

/// One jump for each test: the compiler would join them by arithmetic.
template <class A>
QNM_INLINE bool is_null(A argument)
{
    if constexpr (code_of<A> != 0) {
        asm volatile("");
        return unlikely(argument.get() == nullptr);
    } else {
        return false;
    }
}

/// The tested vectors of an argument list, for a refusal: what is not there is not null.
struct Tested {
    unsigned codes = 0;
    int count = 0;
    const void* vectors[3]{};

    template <class A>
    QNM_INLINE void add(A argument)
    {
        if constexpr (code_of<A> != 0) {
            codes |= static_cast<unsigned>(code_of<A>) << (8 * count);
            vectors[count++] = argument.get();
        }
    }
};

/// How a form differs from the narrow one of C.
struct Form {
    bool wide = false;
    bool by_reference = false;
    bool accuracy = false; // tells by a status that the index is not that of the best kernels
};

QNM_INLINE void leave_status(int status)
{
    VMLSETERRSTATUS_(&status);
}

/// The index of the kernel, behind which all that waits is read.
template <Form form>
QNM_INLINE long table_index(const Root& root)
{
    const int type = processor_type();
    stay_below(); // the cell is read where it is called: a register that kept it would have to be saved
    const long index = root.index(type);
    if constexpr (form.accuracy)
        if (unlikely(index != 2))
            leave_status(1000);
    return index;
}

/// The most elements that a wide entry of C hands over at once.
inline constexpr unsigned block = 0x7fff'ffff;

/// An argument of a later block: vectors go on by elements, whatever their increments.
template <class T>
QNM_INLINE T moved(T argument, long blocks)
{
    if constexpr (std::is_pointer_v<T>)
        return argument + blocks * block;
    else
        return argument;
}
static_assert(sizeof(float) * block == 0x1'ffff'fffc);
static_assert(sizeof(double) * block == 0x3'ffff'fff8 && sizeof(qnm_complex8) * block == 0x3'ffff'fff8);
static_assert(sizeof(qnm_complex16) * block == 0x7'ffff'fff0);

/// What stands behind the tests: the threader, or a kernel that is called at once.
template <auto* Threader>
struct Threaded {
    static constexpr bool in_blocks = true;
    template <class... A>
    QNM_INLINE static void call(const Root& root, long index, int n, A... arguments)
    {
        Threader(root.kernels[index], n, arguments..., vml_dll_handle, root.companions[index]);
    }
};
template <int width_code>
struct Direct {
    static constexpr bool in_blocks = false;
    QNM_INLINE static long long passed(int number) { return number; }
    template <class T>
    QNM_INLINE static T* passed(T* elements)
    {
        return elements;
    }
    template <class... A>
    QNM_INLINE static void call(const Root& root, long index, int n, A... arguments)
    {
        const auto kernel =
            reinterpret_cast<void (*)(decltype(passed(n)), decltype(passed(arguments))..., int)>(
                root.kernels[index]);
        kernel(passed(n), passed(arguments)..., width_code);
    }
};

template <Form form, class Target, class N, class... A>
QNM_INLINE void call(const Root& root, N n, A... arguments)
{
    const long index = table_index<form>(root);
    const int count = n.get();
    if constexpr (form.wide && form.by_reference) {
        if (unlikely(count <= 0)) // another thread may have changed it
            return;
    }
    if constexpr (form.wide && !form.by_reference && Target::in_blocks) {
        if (count <= 0)
            __builtin_unreachable(); // as tested
        unsigned left = static_cast<unsigned>(count);
        for (long blocks = 0;; ++blocks, left -= block) {
            Target::call(root, index, static_cast<int>(left), moved(arguments.get(), blocks)...);
            if (left <= block) // always, since a count has 31 bits: the compiler leaves the loop out
                break;
        }
    } else {
        Target::call(root, index, count, arguments.get()...);
    }
}

template <Form form, class Target, class... A>
QNM_INLINE void run(Root& root, NoMode, A... arguments)
{
    if (unlikely(root.index == nullptr))
        bind_root(root);
    call<form, Target>(root, arguments...);
}

/// Where a mode lies, computed for each call anew: kept, the address would take a register to be saved.
QNM_INLINE unsigned* place_of(unsigned& mode)
{
    unsigned* place = nullptr;
    asm volatile("lea %1, %0" : "=r"(place) : "m"(mode));
    return place;
}

/// With the mode of this call, which is set behind the tables and ahead of the index.
template <Form form, class Target, class M, class... A>
QNM_INLINE void run(Root& root, M given, A... arguments)
{
    const bool fresh = root.index == nullptr;
    if (unlikely(fresh))
        bind_tables(root);
    unsigned mode = given.get();
    mode = VMLSETMODE_(place_of(mode));
    if (unlikely(fresh))
        bind_index(root);
    call<form, Target>(root, arguments...);
    VMLSETMODE_(place_of(mode));
}

/// Integers and addresses in volatile variables: in saved registers each would cost two instructions more,
/// and other ways to keep them out of registers lose the jump at the end. Real numbers have no saved
/// registers. Each argument in turn comes from the front and goes to the end.
template <Form form, class Target, int left, class M, class A, class... Rest>
QNM_INLINE void keep(Root& root, M mode, A first, Rest... rest)
{
    if constexpr (left == 0) {
        run<form, Target>(root, mode, first, rest...);
    } else if constexpr (requires { typename A::referred; }) {
        const typename A::referred* const volatile kept = first.value;
        keep<form, Target, left - 1>(root, mode, rest..., WaitingReference<typename A::referred>{kept});
    } else if constexpr (std::is_class_v<typename A::type> || std::is_floating_point_v<typename A::type>) {
        keep<form, Target, left - 1>(root, mode, rest..., first);
    } else {
        const volatile typename A::type kept = first.get();
        keep<form, Target, left - 1>(root, mode, rest..., Waiting<typename A::type>{kept});
    }
}

template <Form form, class Target, class M, class N, class... A>
QNM_INLINE void entry(Root& root, M mode, N n, A... arguments)
{
    const int count = n.get();
    if (unlikely(count <= 0) || (is_null(arguments) || ...)) {
        Tested tested;
        (tested.add(arguments), ...);
        return refuse(root, count, form.wide, tested.codes, tested.vectors[0], tested.vectors[1]);
    }
    keep<form, Target, 1 + sizeof...(A)>(root, mode, n, arguments...);
}

} // namespace qnm::vml
