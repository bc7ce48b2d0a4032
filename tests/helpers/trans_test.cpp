// Changes of layout beside the model: whole arrays are compared, so that nothing outside the form may be
// touched.
#include "forms.hpp"

#include <sys/mman.h>

namespace qnm::tests {
namespace {

/// For each helper of this kind, so many times.
template <class Test>
void each(bool trans, Test&& test)
{
    for (const catalogue::Entry& entry : helpers()) {
        const HelperCall call(entry);
        if (call.is_trans() == trans) {
            SCOPED_TRACE(entry.spellings()[0]);
            test(call);
        }
    }
}

std::string told(const Form& form)
{
    return std::string(form.by_rows ? "row" : "column") + "-major " + form.uplo + form.diag + form.transr +
           form.direct + " m " + std::to_string(form.m) + " n " + std::to_string(form.n) + " kl " +
           std::to_string(form.kl) + " ku " + std::to_string(form.ku) + " ld " + std::to_string(form.ld);
}

Elements numbers(const HelperCall& call, long count)
{
    Elements all(call, count, 0);
    for (long i = 0; i < count; ++i)
        all.set(i, static_cast<double>(i + 1));
    return all;
}

TEST(Trans, MovesTheElementsOfItsFormAndNoOther)
{
    each(true, [](const HelperCall& call) {
        for (int round = 0; round < 60; ++round) {
            const Form from = Form::random(call.form(), round % 10 == 0 ? 150 : 20), to = from.turned();
            SCOPED_TRACE(told(from) + " to " + std::to_string(to.ld));
            Elements in = numbers(call, from.length() + 2), out(call, to.length() + 2, -1), expected = out;
            const auto source = from.places(true), target = to.places(true);
            ASSERT_EQ(source.size(), target.size());
            for (std::size_t k = 0; k < source.size(); ++k)
                expected.copy(target[k], in, source[k]);
            call.run(from, {in.data(), out.data()}, &to);
            ASSERT_TRUE(out == expected);
        }
    });
}

TEST(Trans, BadOptionsAndMissingArraysChangeNothing)
{
    each(true, [](const HelperCall& call) {
        Form from = Form::random(call.form(), 9);
        from.m = from.n = 7;
        from.ld = 20;
        const Form to = from;
        Elements in = numbers(call, 400), out(call, 400, -1);
        const Elements before = out;
        const auto bad = [&](Form form, int layout) {
            call.run(form, {in.data(), out.data()}, &to, 1, layout);
            EXPECT_TRUE(out == before);
        };
        for (const catalogue::Argument& a : call.entry().row->arguments) {
            Form form = from;
            (a.name == "uplo"     ? form.uplo
             : a.name == "diag"   ? form.diag
             : a.name == "transr" ? form.transr
                                  : form.direct) = ' ';
            if (a.type == "char")
                bad(form, 0);
        }
        if (call.form() != "ge" && call.form() != "gg" &&
            !call.form().ends_with('f')) // which take it for row-major
            bad(from, 100);
        call.run(from, {in.data(), nullptr}, &to);
        call.run(from, {nullptr, out.data()}, &to);
        EXPECT_TRUE(out == before);
    });
}

TEST(Trans, PlacesBeyondThirtyTwoBits)
{
    constexpr long n = 50'000;
    constexpr std::size_t bytes = std::size_t{n} * n * sizeof(float);
    void* const block =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    float* const in = static_cast<float*>(block);
    for (long j = 0; j < n; ++j)
        in[j * n] = static_cast<float>(j);
    std::vector<float> out(n);
    const auto last = [&](const char* name, const std::vector<support::Word>& words) {
        out.assign(n, -1);
        support::call_words(layer()[name], words);
        EXPECT_EQ(out.back(), static_cast<float>(n - 1)) << name;
    };
    last("LAPACKE_sge_trans", {102, 1, int{n}, in, int{n}, out.data(), int{n}});
    last("LAPACKE_sgb_trans", {102, int{n}, int{n}, 0, 0, in, int{n}, out.data(), int{n}});
    munmap(block, bytes);
}

} // namespace
} // namespace qnm::tests
