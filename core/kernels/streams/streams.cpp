// Kernels of streams: made, copied, moved on, deleted.
#include "buffer.hpp"
#include "exported.hpp"
#include "registry.hpp"

#include <cstdlib>
#include <cstring>

namespace qnm::vsl {
namespace {

Stream* allocated(std::uint32_t id, const Generator* generator)
{
    auto* const stream = static_cast<Stream*>(std::calloc(1, stream_size(*generator)));
    if (stream != nullptr) {
        stream->id = id;
        stream->valid = 1;
        stream->generator = generator;
    }
    return stream;
}

void forget_spares(Stream* stream)
{
    spare_of(stream) = {};
}

template <class T>
int make_abstract(Stream** slot, std::uint32_t id, int n, T* buffer, double low, double high,
                  typename Buffer<T>::Refill* refill)
{
    *slot = nullptr;
    if (n < 1 || buffer == nullptr || refill == nullptr || !(low < high))
        return bad_argument;
    Stream* const stream = allocated(id, find_generator(id));
    if (stream == nullptr)
        return out_of_memory;
    *reinterpret_cast<Buffer<T>*>(stream + 1) = {buffer, refill, low, high, n, 0, n};
    *slot = stream;
    return ok;
}

int copy(Stream** slot, const Stream* source)
{
    const std::size_t size = stream_size(*source->generator);
    auto* const stream = static_cast<Stream*>(std::malloc(size));
    *slot = stream;
    if (stream == nullptr)
        return out_of_memory;
    std::memcpy(stream, source, size);
    return ok;
}

int move(Stream* stream, int (*by)(Stream*, Distance), Distance distance)
{
    forget_spares(stream);
    return by(stream, distance);
}

} // namespace
} // namespace qnm::vsl

using namespace qnm::vsl;

QNM_STREAMS int __vslNewStreamEx(Stream** slot, int id, int n, const std::uint32_t* parameters)
{
    *slot = nullptr;
    const Generator* const generator = find_generator(static_cast<std::uint32_t>(id));
    if (generator == nullptr)
        return unknown_generator;
    if (n < 0 || (n > 0 && parameters == nullptr))
        return bad_argument;
    Stream* const stream = allocated(static_cast<std::uint32_t>(id), generator);
    if (stream == nullptr)
        return out_of_memory;
    const int status = generator->start(stream, n, parameters);
    if (status < 0) {
        std::free(stream);
        return status;
    }
    *slot = stream;
    return status;
}

QNM_STREAMS int __vsliNewAbstractStream(Stream** slot, int n, std::uint32_t* buffer,
                                        Buffer<std::uint32_t>::Refill* refill)
{
    return make_abstract(slot, 0xA00000, n, buffer, 0, 1, refill);
}
QNM_STREAMS int __vsldNewAbstractStream(Stream** slot, int n, double* buffer, double a, double b,
                                        Buffer<double>::Refill* refill)
{
    return make_abstract(slot, 0xB00000, n, buffer, a, b, refill);
}
QNM_STREAMS int __vslsNewAbstractStream(Stream** slot, int n, float* buffer, float a, float b,
                                        Buffer<float>::Refill* refill)
{
    return make_abstract(slot, 0xC00000, n, buffer, static_cast<double>(a), static_cast<double>(b), refill);
}

QNM_STREAMS int __vslDeleteStream(Stream** slot)
{
    Stream* const stream = *slot;
    // Some programs look at a stream that they deleted: as long as the memory lies there, it tells so.
    *const_cast<volatile std::uint8_t*>(&stream->valid) = 0;
    std::free(stream);
    *slot = nullptr;
    return ok;
}

QNM_STREAMS int __vslCopyStream(Stream** slot, const Stream* source)
{
    return copy(slot, source);
}

QNM_STREAMS int __vslCopyStreamState(Stream* destination, const Stream* source)
{
    if (destination->id != source->id)
        return unlike_generators;
    std::memmove(destination, source, stream_size(*source->generator));
    return ok;
}

QNM_STREAMS int __vslLeapfrogStream(Stream* stream, int k, int streams)
{
    const auto leapfrog = stream->generator->leapfrog;
    if (leapfrog == nullptr)
        return no_leapfrog;
    if (k < 0 || streams < 1 || k >= streams)
        return bad_argument;
    forget_spares(stream);
    return leapfrog(stream, k, streams);
}

QNM_STREAMS int __vslSkipAheadStream(Stream* stream, long long distance)
{
    const auto skip = stream->generator->skip;
    if (skip == nullptr)
        return no_skip;
    if (distance < 0)
        return bad_argument;
    const std::uint64_t word = static_cast<std::uint64_t>(distance);
    return move(stream, skip, {1, &word});
}

QNM_STREAMS int __vslSkipAheadStreamEx(Stream* stream, int n, const std::uint64_t* distance)
{
    if (!stream->generator->wide_skip)
        return no_wide_skip;
    if (n < 1 || distance == nullptr)
        return bad_argument;
    return move(stream, stream->generator->skip, {n, distance});
}

QNM_STREAMS int __vslGetStreamStateBrng(const Stream* stream)
{
    return static_cast<int>(stream->id);
}

QNM_STREAMS int __vslGetNumRegBrngs()
{
    return registered();
}

QNM_STREAMS int __vslRegisterBrng(const Properties* properties)
{
    return properties == nullptr ? bad_argument : add_generator(*properties);
}

QNM_STREAMS int __vslGetBrngProperties(int id, Properties* properties)
{
    const Generator* const generator = find_generator(static_cast<std::uint32_t>(id));
    if (generator == nullptr)
        return unknown_generator;
    if (properties == nullptr)
        return bad_argument;
    *properties = generator->properties;
    return ok;
}
