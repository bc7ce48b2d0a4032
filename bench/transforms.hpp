// What of the transforms' benchmark is compared, and what of the layer is counted.
#pragma once

#include "library.hpp"

#include <cstdint>
#include <fftw3.h>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qnm::bench {

/// Some work, ready to run.
class Work {
public:
    virtual ~Work() = default;
    virtual void repeat(long times) = 0;
};

template <class Call>
class Of final : public Work {
public:
    explicit Of(Call call) : call_(std::move(call)) {}
    void repeat(long times) override
    {
        for (; times > 0; --times)
            call_();
    }

private:
    Call call_;
};

template <class Call>
std::unique_ptr<Work> work(Call call)
{
    return std::make_unique<Of<Call>>(std::move(call));
}

template <class F>
F* entry(const Library& library, const char* name)
{
    return reinterpret_cast<F*>(library.function(name));
}

template <class... P>
using Entry = std::int64_t(P...);

template <class... P>
void call(const Library& layer, const char* name, P... arguments)
{
    if (reinterpret_cast<Entry<P...>*>(layer.function(name))(arguments...) != 0)
        fail(std::string(name) + " refuses");
}

struct Part {
    std::string name;
    std::unique_ptr<Work> work;
    long counted;
};
using Rivals = std::vector<Part>;

// ---- transforms: forward, in double precision, out of place

struct Aims {
    double own = 0, plugged = 0; // instructions by those of FFTW's estimated plan
};

constexpr int no_kind = -1;

struct Transform {
    std::string name;
    std::vector<int> lengths; // slowest first
    int many;
    bool real;
    Aims aims{};
    int kind = no_kind; // of real to real

    int elements() const
    {
        int product = many;
        for (const int length : lengths)
            product *= length;
        return product;
    }
    long counted() const { return elements() <= 5000 ? 100 : 1; }
};

extern const std::vector<Transform> transforms;

inline constexpr const char* own = "own";
inline constexpr const char* own_plan = "own plan";
inline constexpr const char* plugged = "plugged";
inline constexpr const char* plugged_plan = "plugged plan";

struct Engine {
    const char* name;
    std::function<std::unique_ptr<Work>(const Transform&)> ready; // null: it does not know this one
};

/// Where QNM_FFT_ENGINE is set there is the layer alone.
std::vector<Engine> engines(const Libraries& in, const Library& fftw, const std::string& wisdom);
bool is_plugged(const Libraries& in);

// ---- descriptors

enum Code {
    transforms_code = 7,
    complex_storage = 8,
    even_storage = 10,
    placement = 11,
    in_distance = 14,
    out_distance = 15
};
constexpr std::int64_t complex_complex = 39, real_real = 42, not_in_place = 44;

void* descriptor(const Library& layer, const std::vector<int>& lengths, bool real);
void set(const Library& layer, void* d, Code code, std::int64_t value);

// ---- Poisson problems

inline constexpr int steps = 1024;
inline constexpr double solve_aim = 4;
inline constexpr const char* problems[] = {"DDDD", "PPDD"};
inline constexpr const char* pair = "there and back";

/// On n by n steps; and a real transform of that size there and back.
std::unique_ptr<Work> problem(const Library& layer, int n, const char* sides);
std::unique_ptr<Work> real_pair(const Library& layer, int n);

// ---- the layer's own part

struct Call {
    const char* name;
    int aim;
    std::function<std::unique_ptr<Work>(const Library&)> ready;
};

extern const std::vector<Call> layer_calls;

} // namespace qnm::bench
