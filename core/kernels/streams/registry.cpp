// Which generator an id means: those of the library, and those that programs register.
#include "registry.hpp"
#include "../tables.hpp"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>

namespace qnm::vsl {
namespace sse2 {
extern const Generator generators[built_in];
}
namespace avx2 {
extern const Generator generators[built_in];
}
namespace avx512 {
extern const Generator generators[built_in];
}

const Generator* generators()
{
    static const Generator* const best = vml::best_set() == vml::avx512_table ? avx512::generators
                                         : vml::best_set() == vml::avx2_table ? avx2::generators
                                                                              : sse2::generators;
    return best;
}

namespace {

constexpr std::uint32_t family = 0x100000, first_own = (built_in + 1) * family;
constexpr int most = 512;

std::mutex registering;
std::atomic<int> own_count{0};
const Generator* own[most - built_in];

const Properties& functions_of(const Stream* stream)
{
    return stream->generator->properties;
}

// Counts of a call are 32 bits.
constexpr std::int64_t most_at_once = 1 << 30;
template <class T, class Make>
int in_parts(std::int64_t n, T* r, Make make)
{
    for (std::int64_t begin = 0; begin < n; begin += most_at_once) {
        const int status = make(static_cast<int>(std::min(n - begin, most_at_once)), r + begin);
        if (status < 0)
            return status;
    }
    return ok;
}

int start(Stream* stream, int n, const std::uint32_t* parameters)
{
    return functions_of(stream).start(start_stream, stream, n, parameters);
}
int words(Stream* stream, std::int64_t n, std::uint32_t* r)
{
    return in_parts(n, r, [=](int count, auto* at) { return functions_of(stream).words(stream, count, at); });
}
int doubles(Stream* stream, std::int64_t n, double* r, double a, double b)
{
    return in_parts(
        n, r, [=](int count, auto* at) { return functions_of(stream).doubles(stream, count, at, a, b); });
}
int floats(Stream* stream, std::int64_t n, float* r, float a, float b)
{
    return in_parts(
        n, r, [=](int count, auto* at) { return functions_of(stream).floats(stream, count, at, a, b); });
}
int leapfrog(Stream* stream, int k, int streams)
{
    const std::uint32_t parameters[] = {static_cast<std::uint32_t>(k), static_cast<std::uint32_t>(streams)};
    return functions_of(stream).start(start_leapfrog, stream, 2, parameters);
}
int skip(Stream* stream, Distance distance)
{
    // Words of 32 bits, the lowest first: both have that order.
    return functions_of(stream).start(distance.n == 1 ? start_skip : start_wide_skip, stream, 2 * distance.n,
                                      reinterpret_cast<const std::uint32_t*>(distance.word));
}

} // namespace

const Generator* find_generator(std::uint32_t id)
{
    const std::uint32_t number = id / family;
    if (number == 0)
        return nullptr;
    if (number <= built_in) {
        const Generator& generator = generators()[number - 1];
        return id - generator.id < generator.sets ? &generator : nullptr;
    }
    const std::uint32_t place = number - built_in - 1;
    return id % family == 0 && place < static_cast<std::uint32_t>(own_count.load(std::memory_order_acquire))
               ? own[place]
               : nullptr;
}

int registered()
{
    return built_in + own_count.load(std::memory_order_acquire);
}

int add_generator(const Properties& properties)
{
    if (properties.state_size < static_cast<int>(sizeof(Stream)))
        return bad_state_size;
    if (properties.word_size <= 0)
        return bad_word_size;
    if (properties.seeds < 0)
        return bad_seeds;
    if (properties.bits <= 0 || properties.bits > 8 * properties.word_size)
        return bad_bits;
    if (properties.start == nullptr || properties.floats == nullptr || properties.doubles == nullptr ||
        properties.words == nullptr)
        return bad_argument;
    const std::lock_guard lock(registering);
    const int place = own_count.load(std::memory_order_relaxed);
    if (place == most - built_in)
        return registry_full;
    auto* const generator = static_cast<Generator*>(std::calloc(1, sizeof(Generator)));
    if (generator == nullptr)
        return out_of_memory;
    generator->id = first_own + static_cast<std::uint32_t>(place) * family;
    generator->sets = 1;
    generator->properties = properties;
    generator->random_bits = properties.bits == 32;
    generator->start = start;
    generator->words = words;
    generator->doubles = doubles;
    generator->floats = floats;
    generator->leapfrog = leapfrog;
    generator->skip = skip;
    generator->wide_skip = true;
    own[place] = generator;
    own_count.store(place + 1, std::memory_order_release);
    return static_cast<int>(generator->id);
}

} // namespace qnm::vsl
