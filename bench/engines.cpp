// Transforms by their engines: the core's through the layer, FFTW and KissFFT directly.
#include "transforms.hpp"

#include <complex>
#include <cstring>
#include <kissfft.hh>

namespace qnm::bench {
namespace {

using Complex = std::complex<double>;

std::vector<Transform> all_transforms()
{
    std::vector<Transform> all{{"8", {8}, 1, false, {5, 1.6}},
                               {"64", {64}, 1, false, {4, 1.15}},
                               {"1024", {1024}, 1, false, {4, 1.03}},
                               {"4096", {4096}, 1, false, {4, 1.03}},
                               {"2^20", {1 << 20}, 1, false, {2, 1.03}},
                               {"1000", {1000}, 1, false, {2, 1.03}},
                               {"1009", {1009}, 1, false, {1.5, 1.03}},
                               {"256x256", {256, 256}, 1, false, {2.5, 1.03}},
                               {"64x64x64", {64, 64, 64}, 1, false, {4, 1.03}},
                               {"real 1024", {1024}, 1, true, {4, 1.03}},
                               {"1000 x 64", {1000}, 64, false, {4, 1.03}}};
    const char* const kinds[] = {"REDFT00", "REDFT01", "REDFT10", "REDFT11",
                                 "RODFT00", "RODFT01", "RODFT10", "RODFT11"};
    int kind = FFTW_REDFT00;
    for (const char* const name : kinds) {
        for (const int length : {64, 1000})
            all.push_back({name + (" " + std::to_string(length)), {length}, 1, true, {}, kind});
        ++kind;
    }
    return all;
}

struct Arrays {
    explicit Arrays(const Transform& what) : in(size(what)), out(size(what))
    {
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = {static_cast<double>(i % 7), static_cast<double>(i % 5)};
    }
    static std::size_t size(const Transform& what) { return static_cast<std::size_t>(what.elements()) + 2; }
    double* reals() { return reinterpret_cast<double*>(in.data()); }
    std::vector<Complex> in, out;
};

std::unique_ptr<Work> by_descriptor(const Library& layer, const Transform& what)
{
    if (what.kind != no_kind)
        return nullptr;
    void* const d = descriptor(layer, what.lengths, what.real);
    set(layer, d, placement, not_in_place);
    if (what.real)
        set(layer, d, even_storage, complex_complex);
    if (what.many > 1) {
        set(layer, d, transforms_code, what.many);
        set(layer, d, in_distance, what.lengths[0]);
        set(layer, d, out_distance, what.lengths[0]);
    }
    call(layer, "DftiCommitDescriptor", d);
    auto* const compute = reinterpret_cast<Entry<void*, void*, void*>*>(layer.function("DftiComputeForward"));
    return work([=, x = Arrays(what)]() mutable { compute(d, x.in.data(), x.out.data()); });
}

/// Plans of FFTW's interface, whoever has it.
class Plans {
public:
    explicit Plans(const Library& library, std::string wisdom = {})
        : library_(library), wisdom_(std::move(wisdom))
    {
    }

    // What was measured is kept, and forgotten by other plans: those that are estimated would follow it.
    std::unique_ptr<Work> planned(const Transform& what, unsigned effort) const
    {
        if (effort != FFTW_ESTIMATE)
            find<decltype(fftw_import_wisdom_from_filename)>("fftw_import_wisdom_from_filename")(
                wisdom_.c_str());
        Arrays x(what);
        auto* const in = reinterpret_cast<fftw_complex*>(x.in.data());
        auto* const out = reinterpret_cast<fftw_complex*>(x.out.data());
        const int rank = static_cast<int>(what.lengths.size()), length = what.lengths[0];
        const fftw_plan plan =
            what.kind != no_kind ? find<decltype(fftw_plan_r2r_1d)>("fftw_plan_r2r_1d")(
                                       length, x.reals(), reinterpret_cast<double*>(x.out.data()),
                                       static_cast<fftw_r2r_kind>(what.kind), effort)
            : what.real ? find<decltype(fftw_plan_dft_r2c)>("fftw_plan_dft_r2c")(rank, what.lengths.data(),
                                                                                 x.reals(), out, effort)
                        : find<decltype(fftw_plan_many_dft)>("fftw_plan_many_dft")(
                              rank, what.lengths.data(), what.many, in, nullptr, 1, length, out, nullptr, 1,
                              length, FFTW_FORWARD, effort);
        if (effort != FFTW_ESTIMATE)
            find<decltype(fftw_export_wisdom_to_filename)>("fftw_export_wisdom_to_filename")(wisdom_.c_str());
        find<decltype(fftw_forget_wisdom)>("fftw_forget_wisdom")();
        if (plan == nullptr)
            fail("no plan for " + what.name);
        auto* const execute = find<decltype(fftw_execute)>("fftw_execute");
        return work([=, kept = std::move(x)] { execute(plan); });
    }

private:
    template <class F>
    F* find(const char* name) const
    {
        return entry<F>(library_, name);
    }
    const Library& library_;
    std::string wisdom_;
};

/// One line at a time, of a length that has small factors.
std::unique_ptr<Work> by_kiss(const Transform& what)
{
    if (what.lengths.size() > 1 || what.lengths[0] == 1009 || what.kind != no_kind)
        return nullptr;
    const auto n = static_cast<std::size_t>(what.lengths[0]);
    using Kiss = kissfft<double>;
    if (what.real)
        return work([kiss = std::make_shared<Kiss>(n / 2, false), x = Arrays(what)]() mutable {
            kiss->transform_real(x.reals(), x.out.data());
        });
    return work([=, kiss = std::make_shared<Kiss>(n, false), x = Arrays(what)]() mutable {
        for (std::size_t line = 0; line < static_cast<std::size_t>(what.many); ++line)
            kiss->transform(&x.in[n * line], &x.out[n * line]);
    });
}

} // namespace

const std::vector<Transform> transforms = all_transforms();

void* descriptor(const Library& layer, const std::vector<int>& lengths, bool real)
{
    const std::vector<std::int64_t> wide(lengths.begin(), lengths.end());
    void* made = nullptr;
    call(layer, "DftiCreateDescriptor_d_md", &made, real ? 33 : 32, static_cast<std::int64_t>(wide.size()),
         wide.data());
    return made;
}

void set(const Library& layer, void* d, Code code, std::int64_t value)
{
    call(layer, "DftiSetValue", d, static_cast<int>(code), value);
}

bool is_plugged(const Libraries& in)
{
    if (std::getenv("QNM_FFT_ENGINE") == nullptr)
        return false;
    char text[128] = {};
    entry<void(char*, std::int64_t)>(in.core, "qnm_dft_dfti_get_version_string")(text, sizeof text);
    if (std::strstr(text, "fftw") == nullptr)
        fail(std::string("not by the engine that is to be measured: ") + text);
    return true;
}

std::vector<Engine> engines(const Libraries& in, const Library& fftw, const std::string& wisdom)
{
    const auto descriptor = [&](const Transform& what) { return by_descriptor(in.layer, what); };
    const auto plan = [&](const Transform& what) { return Plans(in.layer).planned(what, FFTW_ESTIMATE); };
    const Plans direct(fftw, wisdom);
    if (is_plugged(in))
        return {{plugged, descriptor}, {plugged_plan, plan}};
    return {{own, descriptor},
            {own_plan, plan},
            {"estimate", [=](const Transform& what) { return direct.planned(what, FFTW_ESTIMATE); }},
            {"measure", [=](const Transform& what) { return direct.planned(what, FFTW_MEASURE); }},
            {"kiss", by_kiss}};
}

} // namespace qnm::bench
