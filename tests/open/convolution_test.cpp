// Convolution and correlation: by hand-counted indices, and by the sum over all pairs of elements.
#include "core.hpp"
#include "qnm/vsl.h"

#include <array>
#include <numeric>

namespace qnm::test {
namespace {

using Ints = std::vector<int>;
enum Kind { convolution = 1, correlation = 2 };

template <class T>
constexpr int field = is_complex<T> ? 2 : 1;
template <class T>
constexpr int precision = std::is_same_v<real_t<T>, float> ? 1 : 2;

/// A task that ends with its name.
struct Held {
    void* task = nullptr;
    ~Held()
    {
        if (task != nullptr) {
            EXPECT_EQ(by_value<int>("qnm_conv_deletetask", &task), 0);
        }
        EXPECT_EQ(task, nullptr);
    }
    int edit(int parameter, const int* value) const
    {
        return by_value<int>("qnm_conv_edittask", task, parameter, value);
    }
};

/// Elements of a shape in any places of an array: address of the first, and strides of both signs.
template <class T>
struct Spread {
    Ints shape, stride;
    std::vector<T> data;
    std::ptrdiff_t start = 0;

    explicit Spread(const Ints& of) : shape(of), stride(of.size())
    {
        int step = random_integer(1, 3);
        for (std::size_t i = 0; i < of.size(); ++i) {
            stride[i] = step * random_integer(of[i] == 1 ? 0 : 1, 1); // alone it needs none
            if (random_integer(0, 1) == 0)
                stride[i] = -stride[i];
            if (stride[i] < 0)
                start += std::ptrdiff_t{of[i] - 1} * step;
            step *= of[i] + random_integer(0, 1);
        }
        data = random_vector<T>(step + 1);
    }
    T* first() { return data.data() + start; }
    T& at(const Ints& place)
    {
        return data[static_cast<std::size_t>(
            std::inner_product(place.begin(), place.end(), stride.begin(), start))];
    }
};
template <class Work>
void over(const Ints& shape, const Work& work)
{
    Ints place(shape.size(), 0);
    for (std::size_t i = 0; i < shape.size();) {
        work(place);
        for (i = 0; i < shape.size() && ++place[i] == shape[i]; ++i)
            place[i] = 0;
    }
}

struct Case {
    Kind kind;
    int mode, inside; // precision inside; 0: as it is
    bool fixed;
    Ints xshape, yshape, zshape, start, step;
};
Ints any_ints(int dims, int low, int high)
{
    Ints all(static_cast<std::size_t>(dims));
    for (int& each : all)
        each = random_integer(low, high);
    return all;
}
Case any_case(int dims, int mode)
{
    const int most = dims == 1 ? 400 : dims == 2 ? 24 : dims < 5 ? 5 : 2;
    Case c{random_integer(0, 1) == 0 ? convolution : correlation,
           mode,
           random_integer(0, 2),
           random_integer(0, 1) == 0,
           any_ints(dims, 1, most),
           any_ints(dims, 1, most),
           any_ints(dims, 1, 2 * most),
           {},
           {}};
    if (random_integer(0, 2) > 0)
        c.start = any_ints(dims, -most, most);
    if (random_integer(0, 2) > 0)
        c.step = any_ints(dims, 1, 4);
    return c;
}

template <class T>
void expect_good(const Case& c)
{
    const int dims = static_cast<int>(c.xshape.size());
    Spread<T> x(c.xshape), y(c.yshape), z(c.zshape);
    Held held;
    if (c.fixed) {
        Held first;
        ASSERT_EQ(by_value<int>("qnm_conv_newtaskx", &first.task, static_cast<int>(c.kind), 1, c.mode,
                                field<T>, precision<T>, dims, x.shape.data(), y.shape.data(), z.shape.data(),
                                x.first(), x.stride.data()),
                  0);
        ASSERT_EQ(by_value<int>("qnm_conv_copytask", &held.task, first.task), 0);
    } else {
        ASSERT_EQ(by_value<int>("qnm_conv_newtask", &held.task, static_cast<int>(c.kind), 1, c.mode, field<T>,
                                precision<T>, dims, x.shape.data(), y.shape.data(), z.shape.data()),
                  0);
    }
    if (!c.start.empty()) {
        ASSERT_EQ(held.edit(5, c.start.data()), 0);
    }
    if (!c.step.empty()) {
        ASSERT_EQ(held.edit(6, c.step.data()), 0);
    }
    if (c.inside != 0) {
        ASSERT_EQ(held.edit(9, &c.inside), 0);
    }

    Spread<T> expected = z;
    over(z.shape, [&](const Ints& k) { expected.at(k) = 0; });
    over(x.shape, [&](const Ints& j) {
        over(y.shape, [&](const Ints& i) {
            Ints k(j.size());
            bool there = true;
            for (std::size_t d = 0; d < k.size(); ++d) {
                const int first = !c.start.empty() ? c.start[d] : c.kind == correlation ? 1 - x.shape[d] : 0;
                const int way = (c.kind == correlation ? i[d] - j[d] : i[d] + j[d]) - first;
                const int step = c.step.empty() ? 1 : c.step[d];
                k[d] = way / step;
                there = there && way >= 0 && way % step == 0 && k[d] < z.shape[d];
            }
            if (there)
                expected.at(k) += (c.kind == correlation ? conjugate(x.at(j)) : x.at(j)) * y.at(i);
        });
    });

    const auto x_before = x.data, y_before = y.data;
    if (c.fixed) { // x itself is not needed any more
        std::ranges::fill(x.data, T(77));
        ASSERT_EQ(by_value<int>("qnm_conv_execx", held.task, y.first(), y.stride.data(), z.first(),
                                z.stride.data()),
                  0);
    } else {
        ASSERT_EQ(by_value<int>("qnm_conv_exec", held.task, x.first(), x.stride.data(), y.first(),
                                y.stride.data(), z.first(), z.stride.data()),
                  0);
        EXPECT_EQ(x.data, x_before);
    }
    EXPECT_EQ(y.data, y_before);
    const bool single = c.inside != 0 ? c.inside == 1 : precision<T> == 1;
    if (c.mode ==
        VSL_CONV_MODE_DIRECT) { // sums of small whole numbers; nothing beside the results is written
        EXPECT_EQ(z.data, expected.data);
        return;
    }
    const double bound = (single || precision<T> == 1 ? 1e-3 : 1e-11);
    for (std::size_t i = 0; i < z.data.size(); ++i)
        ASSERT_LE(std::abs(cdouble(z.data[i]) - cdouble(expected.data[i])), bound) << "element " << i;
}

QNM_TYPED(Convolution, IsTheSumOverAllPairs)
{
    for (const int mode : {VSL_CONV_MODE_AUTO, VSL_CONV_MODE_DIRECT, VSL_CONV_MODE_FFT})
        for (int dims = 1; dims <= 7; ++dims)
            for (int repeated = 0; repeated < (dims < 3 ? 40 : 10); ++repeated) {
                SCOPED_TRACE("mode " + std::to_string(mode) + " of " + std::to_string(dims) + " dimensions");
                expect_good<T>(any_case(dims, mode));
                if (testing::Test::HasFailure())
                    return;
            }
}

using Edits = std::vector<std::pair<int, int>>;
std::vector<double> of_three_and_four(int kind, int zshape, const Edits& edits)
{
    const double x[] = {1, 2, 3}, y[] = {1, 10, 100, 1000};
    std::vector<double> z(static_cast<std::size_t>(zshape), 77);
    const int three = 3, four = 4, one = 1;
    Held held;
    EXPECT_EQ(by_value<int>("qnm_conv_newtask", &held.task, kind, 1, VSL_CONV_MODE_DIRECT, 1, 2, 1, &three,
                            &four, &zshape),
              0);
    for (const auto& [parameter, value] : edits)
        EXPECT_EQ(held.edit(parameter, &value), 0);
    EXPECT_EQ(by_value<int>("qnm_conv_exec", held.task, &x[0], &one, &y[0], &one, z.data(), &one), 0);
    return z;
}
TEST(Convolution, CountsIndicesAsByHand)
{
    using Numbers = std::vector<double>;
    EXPECT_EQ(of_three_and_four(convolution, 7, {}), Numbers({1, 12, 123, 1230, 2300, 3000, 0}));
    EXPECT_EQ(of_three_and_four(correlation, 7, {}), Numbers({3, 32, 321, 3210, 2100, 1000, 0}));
    EXPECT_EQ(of_three_and_four(convolution, 4, {{5, -1}, {6, 2}}), Numbers({0, 12, 1230, 3000}));
    EXPECT_EQ(of_three_and_four(correlation, 3, {{5, 0}}), Numbers({321, 3210, 2100}));
}

// Whatever the arrays have: in single precision the ones are lost behind 2^24.
QNM_TYPED(Convolution, SumsInThePrecisionThatIsAskedFor)
{
    const std::vector<T> x(3, T(1)), y{T(1), T(1), T(0x1p24F)};
    const int three = 3, zshape = 5, one = 1;
    for (const int mode : {VSL_CONV_MODE_DIRECT, VSL_CONV_MODE_FFT})
        for (const int inside : {1, 2}) {
            std::vector<T> z(5);
            Held held;
            ASSERT_EQ(by_value<int>("qnm_conv_newtask", &held.task, 1, 1, mode, field<T>, precision<T>, 1,
                                    &three, &three, &zshape),
                      0);
            ASSERT_EQ(held.edit(9, &inside), 0);
            ASSERT_EQ(
                by_value<int>("qnm_conv_exec", held.task, x.data(), &one, y.data(), &one, z.data(), &one), 0);
            if (mode == VSL_CONV_MODE_DIRECT) {
                EXPECT_EQ(z[2], T(inside == 1 ? 0x1p24F : 0x1p24F + 2));
            } else {
                EXPECT_EQ(std::abs(z[0] - T(1)) < 1e-6, inside == 2);
            }
        }
}

// What is not a number stays where it counts: beside an array is nothing, not zero.
TEST(Convolution, KeepsInfinitiesInTheirPlaces)
{
    const int three = 3, hundred = 100, all = 102, one = 1;
    std::vector<double> y(100, 1.0), z(102);
    const double x[] = {1, std::numeric_limits<double>::infinity(), 1};
    Held held;
    ASSERT_EQ(by_value<int>("qnm_conv_newtask", &held.task, 1, 1, VSL_CONV_MODE_DIRECT, 1, 2, 1, &three,
                            &hundred, &all),
              0);
    ASSERT_EQ(by_value<int>("qnm_conv_exec", held.task, &x[0], &one, y.data(), &one, z.data(), &one), 0);
    EXPECT_EQ(z.front(), 1);
    EXPECT_EQ(z.back(), 1);
    EXPECT_EQ(std::count(z.begin(), z.end(), x[1]), 100);
}

// Threads change nothing.
TEST(Convolution, HasTheSameBitsByAnyThreads)
{
    std::mt19937_64 generator(5);
    std::vector<double> x(700), y(5000), z[2];
    for (auto* const v : {&x, &y})
        for (double& each : *v)
            each = static_cast<double>(generator()) * 0x1p-64;
    const int xshape = 700, yshape = 5000, zshape = 5699, one = 1;
    for (const int threads : {1, 3}) {
        service<int>("domain_set_num_threads", threads, 3);
        Held held;
        ASSERT_EQ(by_value<int>("qnm_conv_newtask", &held.task, 1, 1, VSL_CONV_MODE_DIRECT, 1, 2, 1, &xshape,
                                &yshape, &zshape),
                  0);
        std::vector<double>& result = z[threads > 1 ? 1 : 0];
        result.resize(5699);
        ASSERT_EQ(
            by_value<int>("qnm_conv_exec", held.task, x.data(), &one, y.data(), &one, result.data(), &one),
            0);
    }
    EXPECT_EQ(z[0], z[1]);
}

// Each argument bad alone; the slot of a task that is not made is null.
TEST(Convolution, TellsWhatIsBad)
{
    const int two[] = {2, 2}, bad[] = {2, 0};
    double a[9] = {};
    struct Row {
        int status;
        std::array<int, 6> numbers;      // kind, family, mode, field, precision, dims
        std::array<const int*, 4> lists; // shapes, stride of x
        const double* x;
    };
    for (const Row& row : {Row{VSL_CONV_ERROR_KIND, {0, 1, 0, 1, 2, 2}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_KIND, {3, 1, 0, 1, 2, 2}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_FAMILY, {1, 2, 0, 1, 2, 2}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_MODE, {1, 1, 3, 1, 2, 2}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_FIELD, {1, 1, 0, 3, 2, 2}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_PRECISION, {1, 1, 0, 1, 0, 2}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_DIMS, {1, 1, 0, 1, 2, 8}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_DIMS, {1, 1, 0, 1, 2, 0}, {two, two, two, two}, a},
                           Row{VSL_CONV_ERROR_XSHAPE, {1, 1, 0, 1, 2, 2}, {bad, two, two, two}, a},
                           Row{VSL_CONV_ERROR_YSHAPE, {1, 1, 0, 1, 2, 2}, {two, nullptr, two, two}, a},
                           Row{VSL_CONV_ERROR_ZSHAPE, {1, 1, 0, 1, 2, 2}, {two, two, bad, two}, a},
                           Row{VSL_CONV_ERROR_XSTRIDE, {1, 1, 0, 1, 2, 2}, {two, two, two, bad}, a},
                           Row{VSL_CONV_ERROR_X, {1, 1, 0, 1, 2, 2}, {two, two, two, two}, nullptr}}) {
        void* task = &a;
        const auto& [kind, family, mode, field, precision, dims] = row.numbers;
        const auto& [xshape, yshape, zshape, stride] = row.lists;
        EXPECT_EQ(by_value<int>("qnm_conv_newtaskx", &task, kind, family, mode, field, precision, dims,
                                xshape, yshape, zshape, row.x, stride),
                  row.status);
        EXPECT_EQ(task, nullptr);
    }

    Held held;
    ASSERT_EQ(by_value<int>("qnm_conv_newtask", &held.task, 1, 1, 0, 1, 2, 2, &two[0], &two[0], &two[0]), 0);
    struct Edit {
        int status, parameter;
        const int* value;
    };
    const int three = 3;
    for (const Edit& edit :
         {Edit{VSL_CONV_ERROR_MODE, 3, &three}, Edit{VSL_CONV_ERROR_MODE, 3, nullptr},
          Edit{VSL_CONV_ERROR_START, 5, nullptr}, Edit{VSL_CONV_ERROR_DECIMATION, 6, nullptr},
          Edit{VSL_CONV_ERROR_DECIMATION, 6, bad}, Edit{VSL_CONV_ERROR_INTERNAL_PRECISION, 9, &three},
          Edit{VSL_CONV_ERROR_PARAMETER, 4, two}})
        EXPECT_EQ(held.edit(edit.parameter, edit.value), edit.status) << edit.parameter;
    struct Run {
        int status;
        const double *x, *y, *z;
        std::array<const int*, 3> strides;
    };
    for (const Run& run : {Run{VSL_CONV_ERROR_X, nullptr, a, a, {two, two, two}},
                           Run{VSL_CONV_ERROR_Y, a, nullptr, a, {two, two, two}},
                           Run{VSL_CONV_ERROR_Z, a, a, nullptr, {two, two, two}},
                           Run{VSL_CONV_ERROR_XSTRIDE, a, a, a, {nullptr, two, two}},
                           Run{VSL_CONV_ERROR_YSTRIDE, a, a, a, {two, bad, two}},
                           Run{VSL_CONV_ERROR_ZSTRIDE, a, a, a, {two, two, bad}}})
        EXPECT_EQ(by_value<int>("qnm_conv_exec", held.task, run.x, run.strides[0], run.y, run.strides[1],
                                run.z, run.strides[2]),
                  run.status);
    EXPECT_EQ(by_value<int>("qnm_conv_execx", held.task, &a[0], &two[0], &a[0], &two[0]), VSL_CONV_ERROR_X);
    void* none = nullptr;
    EXPECT_EQ(by_value<int>("qnm_conv_execx", none, &a[0], &two[0], &a[0], &two[0]), VSL_CONV_ERROR_TASK);
    EXPECT_EQ(by_value<int>("qnm_conv_copytask", &none, none), VSL_CONV_ERROR_TASK);
    EXPECT_EQ(by_value<int>("qnm_conv_deletetask", &none), VSL_CONV_ERROR_TASK);
    EXPECT_EQ(by_value<int>("qnm_conv_edittask", none, 3, &two[0]), VSL_CONV_ERROR_TASK);
}

// Memory that ends sooner and sooner: the task, its array, its copy, a run's room.
TEST(Convolution, LosesNothingWhereMemoryFails)
{
    const Use before = in_use();
    const int shape = 300, zshape = 599, one = 1;
    std::vector<double> x(300, 1.0), z(599);
    for (const int mode : {VSL_CONV_MODE_DIRECT, VSL_CONV_MODE_FFT}) {
        int failures = 0, status = VSL_CONV_ERROR_MEMORY;
        for (std::int64_t more = 64; status == VSL_CONV_ERROR_MEMORY; more += 256) {
            ASSERT_LT(more, 1 << 20);
            Held held, copy;
            service("set_memory_limit", 1, static_cast<std::size_t>(before.first + more));
            status = by_value<int>("qnm_conv_newtaskx", &held.task, 1, 1, mode, 1, 2, 1, &shape, &shape,
                                   &zshape, x.data(), &one);
            EXPECT_EQ(status == 0, held.task != nullptr);
            if (status == 0)
                status = by_value<int>("qnm_conv_copytask", &copy.task, held.task);
            if (status == 0)
                status = by_value<int>("qnm_conv_execx", copy.task, x.data(), &one, z.data(), &one);
            failures += status != 0 ? 1 : 0;
            service("set_memory_limit", 1, std::size_t{0});
        }
        EXPECT_EQ(status, 0);
        EXPECT_GT(failures, 10);
    }
    EXPECT_EQ(in_use(), before);
}

} // namespace
} // namespace qnm::test
