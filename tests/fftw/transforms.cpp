#include "transforms.hpp"

namespace qnm::tests {

namespace {

std::string told;
int left = 0;
std::int64_t failure = 0;
int dimensions = 0, arrays_of_one = 0;
bool in_place = false;
char descriptor; // the one that all get

template <class... T>
std::int64_t note(const T&... words)
{
    std::ostringstream out;
    out << (told.empty() ? "" : "; ");
    ((out << words), ...);
    told += out.str();
    return left > 0 && --left == 0 ? failure : 0;
}

std::string numbers(const std::int64_t* values, std::int64_t count)
{
    std::string text;
    for (std::int64_t i = 0; i < count; ++i)
        text += " " + std::to_string(values[i]);
    return text;
}

std::int64_t create(const char* what, void** made, int domain, std::int64_t rank, const std::int64_t* lengths)
{
    dimensions = static_cast<int>(rank);
    arrays_of_one = 1;
    in_place = true;
    std::int64_t status = note(what, " ", domain, numbers(lengths, rank));
    status = rank < 1 ? 2 : status;
    if (status == 0)
        *made = &descriptor;
    return status;
}

/// With as many arrays as the descriptor has; what is not passed is not looked at.
std::int64_t compute(const char* what, void* d, std::initializer_list<const void*> passed)
{
    EXPECT_EQ(d, &descriptor);
    std::string names;
    for (int i = 0; i < arrays_of_one * (in_place ? 1 : 2); ++i)
        names += " " + name_of(passed.begin()[i]);
    return note(what, names);
}

template <class R>
void trigonometric(const std::string& what, const R* f, void** handle, const int* ipar, int* stat)
{
    EXPECT_EQ(*stat, 0);
    const bool made = what.ends_with("commit");
    *stat = static_cast<int>(made ? note(what, " ", name_of(f), " ", ipar[10], " ", ipar[14], " ", ipar[15])
                                  : note(what, " ", f[0], " ", f[1]));
    *handle = *stat == 0 ? &descriptor : nullptr;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {
#define QNM_TRIGONOMETRIC(L, R, STEP)                                                                        \
    void L##_##STEP##_trig_transform(R* f, void** handle, int* ipar, R*, int* stat)                          \
    {                                                                                                        \
        trigonometric(#L "_" #STEP, f, handle, ipar, stat);                                                  \
    }
#define QNM_PRECISION(L, R)                                                                                  \
    long DftiCreateDescriptor_##L##_1d(void** made, int domain, std::int64_t n)                              \
    {                                                                                                        \
        return create(#L "_1d", made, domain, 1, &n);                                                        \
    }                                                                                                        \
    long DftiCreateDescriptor_##L##_md(void** made, int domain, std::int64_t rank, const std::int64_t* n)    \
    {                                                                                                        \
        return create(#L "_md", made, domain, rank, n);                                                      \
    }                                                                                                        \
    void L##_init_trig_transform(const int* n, const int* type, int* ipar, R*, int* stat)                    \
    {                                                                                                        \
        EXPECT_EQ(*stat, 0);                                                                                 \
        ipar[0] = *n;                                                                                        \
        ipar[5] = *type;                                                                                     \
        *stat = static_cast<int>(note(#L "_init ", *n, " ", *type, " ", ipar[1], ipar[2], " ", ipar[9]));    \
    }                                                                                                        \
    QNM_TRIGONOMETRIC(L, R, commit)                                                                          \
    QNM_TRIGONOMETRIC(L, R, forward)                                                                         \
    QNM_TRIGONOMETRIC(L, R, backward)
QNM_PRECISION(d, double)
QNM_PRECISION(s, float)

long DftiSetValue(void* d, int code, std::int64_t value)
{
    EXPECT_EQ(d, &descriptor);
    arrays_of_one += code == 8 ? 1 : 0;
    in_place = in_place && code != 11;
    if (code == 12 || code == 13)
        return note(code, numbers(reinterpret_cast<const std::int64_t*>(value), dimensions + 1));
    return note(code, " ",
                code == 7 || code == 14 || code == 15 || code == 27 ? value : static_cast<int>(value));
}
long DftiCommitDescriptor(void* d)
{
    EXPECT_EQ(d, &descriptor);
    return note("commit");
}
long DftiFreeDescriptor(void** d)
{
    EXPECT_EQ(*d, &descriptor);
    *d = nullptr;
    note("free");
    return 0;
}
long DftiComputeForward(void* d, void* a, void* b, void* c, void* e)
{
    return compute("forward", d, {a, b, c, e});
}
long DftiComputeBackward(void* d, void* a, void* b)
{
    return compute("backward", d, {a, b});
}
}
#pragma GCC visibility pop

std::string asked()
{
    return std::exchange(told, "");
}

void fail(int n, std::int64_t status)
{
    left = n;
    failure = status;
}

std::string life(const std::string& prefix, Record* plan)
{
    if (plan == nullptr)
        return "null";
    const std::string making = asked();
    EXPECT_EQ(plan->reserved, nullptr);
    call(prefix, "execute", {plan});
    call(prefix, "destroy_plan", {plan});
    told = making + " => " + told;
    return asked();
}

Fftw::Fftw()
{
    told.clear();
    fail(0);
    fftw3_qnm.threads = 1;
}

} // namespace qnm::tests
