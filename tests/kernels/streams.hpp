// Kernels of streams and distributions, called as the layer calls them.
#pragma once

#include "kernels/streams/stream.hpp"

#include <cstdint>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace streams {

using qnm::vsl::Stream;

template <class F>
F* kernel(const std::string& name)
{
    static void* const library = dlopen(QNM_KERNELS_FILE, RTLD_NOW | RTLD_LOCAL);
    F* const found = reinterpret_cast<F*>(dlsym(library, name.c_str()));
    if (found == nullptr)
        throw std::runtime_error(name);
    return found;
}

/// A kernel's status; arguments pass as they are.
template <class... A>
int call(const std::string& name, A... arguments)
{
    return kernel<int(A...)>(name)(arguments...);
}

/// A stream that deletes itself.
class Owned {
public:
    Owned() = default;
    Owned(int id, const std::vector<std::uint32_t>& seeds)
    {
        EXPECT_EQ(call("__vslNewStreamEx", slot(), id, static_cast<int>(seeds.size()), seeds.data()), 0);
    }
    Owned(Owned&& other) noexcept : stream_(std::exchange(other.stream_, nullptr)) {}
    Owned& operator=(Owned&& other) noexcept
    {
        std::swap(stream_, other.stream_);
        return *this;
    }
    ~Owned()
    {
        if (stream_ != nullptr)
            call("__vslDeleteStream", slot());
    }
    Stream** slot() { return &stream_; }
    operator Stream*() const { return stream_; }

    template <class T, class... P>
    std::vector<T> draw(const std::string& distribution, int n, P... parameters)
    {
        std::vector<T> r(static_cast<std::size_t>(n));
        EXPECT_EQ(call("_vsl" + distribution, 0, stream_, n, r.data(), parameters...), 0) << distribution;
        return r;
    }
    std::vector<std::uint32_t> words(int n) { return draw<std::uint32_t>("iRngUniformBits", n); }
    std::vector<double> doubles(int n) { return draw<double>("dRngUniform", n, 0.0, 1.0); }
    std::vector<float> floats(int n) { return draw<float>("sRngUniform", n, 0.0F, 1.0F); }

private:
    Stream* stream_ = nullptr;
};

} // namespace streams
