// Saved streams: a head, the state, the spare variates. What is saved has no address of this process.
#include "exported.hpp"
#include "stream.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace qnm::vsl {
namespace {

struct Head {
    char magic[8];
    std::uint32_t version;
    std::uint32_t id;
    std::uint64_t size;     // of what follows
    std::uint64_t checksum; // of that and of the fields above
};
constexpr char magic[8] = {'Q', 'N', 'M', 's', 't', 'r', 'e', 'a'};
constexpr std::uint32_t version = 1;

/// Fowler, Noll, Vo, by bytes.
std::uint64_t checksum(const void* data, std::size_t size, std::uint64_t sum)
{
    for (const char* at = static_cast<const char*>(data); size != 0; --size, ++at)
        sum = (sum ^ static_cast<unsigned char>(*at)) * 0x100000001B3U;
    return sum;
}
std::uint64_t checksum(const Head& head, const void* state)
{
    constexpr std::uint64_t start = 0xCBF29CE484222325U;
    return checksum(state, head.size, checksum(&head, offsetof(Head, checksum), start));
}

std::size_t state_size(const Generator& generator)
{
    return stream_size(generator) - sizeof(Stream);
}
std::size_t saved_size(const Stream* stream)
{
    return sizeof(Head) + state_size(*stream->generator);
}
/// Streams of a program's buffer are nothing without it.
bool can_be_saved(const Generator& generator)
{
    return generator.id < 0xA00000 || generator.id > 0xC00000;
}

Head head_of(const Stream* stream)
{
    Head head{};
    std::memcpy(head.magic, magic, sizeof magic);
    head.version = version;
    head.id = stream->id;
    head.size = state_size(*stream->generator);
    head.checksum = checksum(head, stream + 1);
    return head;
}

/// What is wrong with a head.
struct Answers {
    int damaged, of_other_version;
};
int look_at(const Head& head, const Answers& answers)
{
    if (std::memcmp(head.magic, magic, sizeof magic) != 0)
        return answers.damaged;
    if (head.version != version)
        return answers.of_other_version;
    const Generator* const generator = find_generator(head.id);
    if (generator == nullptr || !can_be_saved(*generator) || head.size != state_size(*generator))
        return answers.damaged;
    return ok;
}

/// A stream of a head, its state read by `read`; nothing where that fails.
template <class Read>
int load(Stream** slot, const Head& head, const Answers& answers, Read read)
{
    const int seen = look_at(head, answers);
    if (seen < 0)
        return seen;
    const Generator* const generator = find_generator(head.id);
    auto* const stream = static_cast<Stream*>(std::calloc(1, stream_size(*generator)));
    if (stream == nullptr)
        return out_of_memory;
    stream->id = head.id;
    stream->valid = 1;
    stream->generator = generator;
    int status = read(stream + 1, head.size);
    if (status >= 0 && checksum(head, stream + 1) != head.checksum)
        status = answers.damaged;
    if (status < 0)
        std::free(stream);
    else
        *slot = stream;
    return status;
}

/// A name that ends at its length, at a zero or, as Fortran's texts do, ahead of blanks.
class Path {
public:
    Path(const char* name, int length)
    {
        std::string_view text = length < 0
                                    ? std::string_view(name)
                                    : std::string_view(name, strnlen(name, static_cast<std::size_t>(length)));
        while (length >= 0 && !text.empty() && text.back() == ' ')
            text.remove_suffix(1);
        if (text.size() < sizeof path_) {
            std::memcpy(path_, text.data(), text.size());
            fits_ = true;
        }
    }
    std::FILE* open(const char* how) const { return fits_ ? std::fopen(path_, how) : nullptr; }

private:
    char path_[4096] = {};
    bool fits_ = false;
};

} // namespace
} // namespace qnm::vsl

using namespace qnm::vsl;

QNM_STREAMS int __vslGetStreamSize(const Stream* stream)
{
    return static_cast<int>(saved_size(stream));
}

QNM_STREAMS int __vslSaveStreamM(const Stream* stream, char* memory)
{
    if (!can_be_saved(*stream->generator))
        return bad_argument;
    const Head head = head_of(stream);
    std::memcpy(memory, &head, sizeof head);
    std::memcpy(memory + sizeof head, stream + 1, head.size);
    return ok;
}

QNM_STREAMS int __vslLoadStreamM(Stream** slot, const char* memory)
{
    *slot = nullptr;
    Head head;
    std::memcpy(&head, memory, sizeof head);
    return load(slot, head, {memory_damaged, memory_damaged}, [memory](void* state, std::size_t size) {
        std::memcpy(state, memory + sizeof(Head), size);
        return int{ok};
    });
}

QNM_STREAMS int __vslSaveStreamF(const Stream* stream, const char* name, int length)
{
    if (!can_be_saved(*stream->generator))
        return bad_argument;
    std::FILE* const file = Path(name, length).open("wb");
    if (file == nullptr)
        return file_not_opened;
    const Head head = head_of(stream);
    const bool written = std::fwrite(&head, sizeof head, 1, file) == 1 &&
                         std::fwrite(stream + 1, head.size, 1, file) == 1 && std::fflush(file) == 0;
    const bool closed = std::fclose(file) == 0;
    return !written ? file_not_written : !closed ? file_not_closed : ok;
}

QNM_STREAMS int __vslLoadStreamF(Stream** slot, const char* name, int length)
{
    *slot = nullptr;
    std::FILE* const file = Path(name, length).open("rb");
    if (file == nullptr)
        return file_not_opened;
    Head head;
    int status = file_not_read;
    if (std::fread(&head, sizeof head, 1, file) == 1)
        status =
            load(slot, head, {file_damaged, file_of_other_version}, [file](void* state, std::size_t size) {
                return std::fread(state, size, 1, file) == 1 ? int{ok} : int{file_not_read};
            });
    std::fclose(file);
    return status;
}
