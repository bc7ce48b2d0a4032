#include "descriptor.hpp"

#include <cstring>
#include <deque>

namespace qnm::tests {

namespace {

using D = Descriptor;

D& self(dft_descriptor* d)
{
    return *static_cast<D*>(d);
}

template <Integers D::*values>
std::int64_t give(dft_descriptor* d, std::int64_t* to)
{
    std::copy((self(d).*values).begin(), (self(d).*values).end(), to);
    return self(d).status;
}

template <Integers D::*values>
std::int64_t take(dft_descriptor* d, std::int64_t value)
{
    self(d).*values = {value};
    return self(d).status;
}

template <Integers D::*values>
std::int64_t take_all(dft_descriptor* d, const std::int64_t* from)
{
    (self(d).*values).assign(from, from + d->rank + 1);
    return self(d).status;
}

std::int64_t noted(dft_descriptor* d, const char* what)
{
    self(d).story += what;
    return self(d).status;
}

const dft_ops operations{
    [](dft_descriptor* d) { return noted(d, "commit "); },
    give<&D::input_strides>,
    give<&D::output_strides>,
    take_all<&D::input_strides>,
    take_all<&D::output_strides>,
    give<&D::lengths>,
    [](dft_descriptor* d, char* name, std::int64_t length) {
        std::memcpy(name, self(d).name.data(),
                    std::min(self(d).name.size(), static_cast<std::size_t>(length)));
        return self(d).status;
    },
    [](dft_descriptor* d, const char* name, std::int64_t length, int pad) {
        self(d).name = std::string(name, static_cast<std::size_t>(length)) + static_cast<char>(pad);
        return self(d).status;
    },
    [](dft_descriptor* d, double* scale, int code) {
        *scale = self(d).scales[code - 4];
        return self(d).status;
    },
    [](dft_descriptor* d, int code, double scale) {
        self(d).scales[code - 4] = scale;
        return self(d).status;
    },
    [](dft_descriptor* d, dft_handle* copy) {
        *copy = self(d).made;
        return noted(d, "copy ");
    },
    give<&D::input_distance>,
    give<&D::output_distance>,
    give<&D::transforms>,
    take<&D::input_distance>,
    take<&D::output_distance>,
    take<&D::transforms>,
    give<&D::limit>,
    take<&D::limit>,
    give<&D::told_rank>,
    [](dft_descriptor* d) { return noted(d, "release "); },
    give<&D::forward_distance>,
    give<&D::backward_distance>,
    give<&D::forward_strides>,
    give<&D::backward_strides>,
};

template <char way>
std::int64_t compute(dft_descriptor* d, void* a, void* b, void* c, void* e, void* null)
{
    self(d).story += way;
    for (const void* array : {a, b, c, e, null})
        self(d).story += array == nullptr ? "-" : static_cast<const char*>(array);
    return self(d).status;
}

} // namespace

Descriptor::Descriptor(std::uint32_t forward_domain, int dimensions, std::uint32_t its_precision)
    : dft_descriptor{}, told_rank{dimensions}
{
    forward = compute<'f'>;
    backward = compute<'b'>;
    array_count = 1;
    state = 0xFF;
    magic = 0x544644;
    commit_status = 30;
    rank = dimensions;
    free = [](dft_descriptor* d) { noted(d, "free "); };
    ops = &operations;
    domain = forward_domain;
    precision = its_precision;
    placement = 43;
    workspace = 51;
    forward_scale = backward_scale = 1;
    for (int i = 0; i < dimensions; ++i) {
        lengths.push_back(10 + i);
        input_strides.push_back(100 + i);
        output_strides.push_back(200 + i);
    }
    input_strides.push_back(199);
    output_strides.push_back(299);
    forward_strides.assign(input_strides.size(), 300);
    backward_strides.assign(input_strides.size(), 400);
}

bool is_uncommitted(const dft_descriptor& d)
{
    return d.commit_status == 31 && d.forward == nullptr && d.backward == nullptr && d.state == 0xFE;
}

support::Returned call(const std::string& name, const std::vector<Word>& words,
                       const std::vector<support::Real>& reals)
{
    return support::call_words(layer()[name], words, reals);
}

const std::int64_t* at(std::int64_t value)
{
    static std::deque<std::int64_t> all;
    return &all.emplace_back(value);
}

const int* at32(int value)
{
    static std::deque<int> all;
    return &all.emplace_back(value);
}

} // namespace qnm::tests
