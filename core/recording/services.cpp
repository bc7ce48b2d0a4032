// The services that the layer cannot do without, each in a few lines over the words of its call.
#include "peek.hpp"
#include "state.hpp"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

namespace qnm::recording {

namespace {

using Pair = Memory::Pair;

std::size_t size_word(const Call& call, std::size_t i)
{
    return static_cast<std::size_t>(call.word(i));
}

// An alignment is an int by value: its upper half is undefined.
std::size_t alignment_word(const Call& call, std::size_t i)
{
    return static_cast<std::uint32_t>(call.word(i));
}

template <Pair pair>
void allocate(Core& core, Call& call, Answer& answer)
{
    answer.returns(Services::state(core).memory.allocate(pair, size_word(call, 0), alignment_word(call, 1)));
}

template <Pair pair>
void release(Core& core, Call& call, Answer&)
{
    Services::state(core).memory.release(pair, call.pointer<void>(0));
}

void clear_allocate(Core& core, Call& call, Answer& answer)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(size_word(call, 0), size_word(call, 1), &bytes))
        bytes = std::numeric_limits<std::size_t>::max();
    void* block = Services::state(core).memory.allocate(Pair::malloc, bytes, alignment_word(call, 2));
    if (block != nullptr)
        std::memset(block, 0, bytes);
    answer.returns(block);
}

void reallocate(Core& core, Call& call, Answer& answer)
{
    answer.returns(Services::state(core).memory.resize(call.pointer<void>(0), size_word(call, 1)));
}

void lsame(Core&, Call& call, Answer& answer)
{
    const auto upper = [&](std::size_t i) { return std::toupper(*call.pointer<const unsigned char>(i)); };
    answer.returns(upper(0) == upper(1) ? 1 : 0);
}

// The fields of a va_list, as the x86-64 calling convention lays them down.
struct VariadicState {
    std::uint32_t gp_offset;
    std::uint32_t fp_offset;
    void* overflow_arg_area;
    void* reg_save_area;
};
static_assert(sizeof(VariadicState) == sizeof(va_list));

// What stands behind a format: the call's words are laid out as a register save area and its overflow, so
// that a va_list can walk them. Writes less than `room` characters and a zero, and gives back how many were
// wanted.
int formatted(const Call& call, std::uint32_t format, std::size_t room)
{
    Arguments arguments = call.arguments();
    const VariadicState state{(format + 1) * std::uint32_t{sizeof(std::uint64_t)},
                              offsetof(Arguments, vectors), arguments.stack.data(), &arguments};
    va_list rest;
    std::memcpy(rest, &state, sizeof state);
    return std::vsnprintf(call.pointer<char>(0), room, call.pointer<const char>(format), rest);
}

// (buffer, size, most characters, format, ...)
void snprintf_s(Core&, Call& call, Answer& answer)
{
    const std::size_t size = size_word(call, 1), most = size_word(call, 2);
    if (size == 0) {
        answer.returns(-1);
        return;
    }
    const std::size_t room = most < size ? most + 1 : size;
    const int needed = formatted(call, 3, room);
    answer.returns(needed < 0 ? needed : std::min(needed, static_cast<int>(room) - 1));
}

// (buffer, size, format, ...)
void sprintf_s(Core&, Call& call, Answer& answer)
{
    answer.returns(formatted(call, 2, size_word(call, 1)));
}

// (buffer, characters left, format, ...): gives back the new end.
void sprintf_char_s(Core&, Call& call, Answer& answer)
{
    std::size_t& left = *call.pointer<std::size_t>(1);
    const auto written = std::min(static_cast<std::size_t>(std::max(formatted(call, 2, left + 1), 0)), left);
    left -= written;
    answer.returns(call.pointer<char>(0) + written);
}

void strnlen_s(Core&, Call& call, Answer& answer)
{
    const char* text = call.pointer<const char>(0);
    answer.returns(text == nullptr ? std::size_t{0} : strnlen(text, size_word(call, 1)));
}

// (buffer, size of the buffer, source, most characters)
void strncat_s(Core&, Call& call, Answer& answer)
{
    char* buffer = call.pointer<char>(0);
    const std::size_t size = size_word(call, 1);
    const std::size_t held = strnlen(buffer, size);
    const std::size_t added = strnlen(call.pointer<const char>(2), size_word(call, 3));
    if (held + added >= size) {
        answer.returns(1);
        return;
    }
    std::memcpy(buffer + held, call.pointer<const char>(2), added);
    buffer[held + added] = '\0';
}

// (name, buffer, size): no variable is set, and a buffer of any size says so.
void getenv(Core&, Call& call, Answer&)
{
    if (size_word(call, 2) > 0)
        *call.pointer<char>(1) = '\0';
}

void dsecnd(Core& core, Call&, Answer& answer)
{
    answer.returns(Services::state(core).clock.read());
}

void verbose_mode(Core& core, Call&, Answer& answer)
{
    answer.returns(core.mode_word());
}

void xerbla(Core& core, Call& call, Answer&)
{
    const Handler head = core.head();
    if (head != nullptr && Services::state(core).forwards.load(std::memory_order_relaxed))
        head(call.pointer<const char>(0), call.pointer<const int>(1), call.int32(2));
}

void set_xerbla_interface(Core& core, Call& call, Answer&)
{
    Services::state(core).head.store(reinterpret_cast<Handler>(call.word(0)), std::memory_order_relaxed);
}

} // namespace

Services::Service Services::find(std::string_view name)
{
    static const std::unordered_map<std::string_view, Service> services{
        {"qnm_serv_allocate", allocate<Pair::allocate>},
        {"qnm_serv_deallocate", release<Pair::allocate>},
        {"qnm_serv_malloc", allocate<Pair::malloc>},
        {"qnm_serv_calloc", clear_allocate},
        {"qnm_serv_realloc", reallocate},
        {"qnm_serv_free", release<Pair::malloc>},
        {"qnm_serv_lsame", lsame},
        {"qnm_serv_snprintf_s", snprintf_s},
        {"qnm_serv_sprintf_s", sprintf_s},
        {"qnm_serv_sprintf_char_s", sprintf_char_s},
        {"qnm_serv_strnlen_s", strnlen_s},
        {"qnm_serv_strncat_s", strncat_s},
        {"qnm_serv_getenv", getenv},
        {"qnm_serv_dsecnd", dsecnd},
        {"qnm_serv_verbose_mode", verbose_mode},
        {"qnm_serv_xerbla", xerbla},
        {"qnm_serv_set_xerbla_interface", set_xerbla_interface},
        {"qnm_serv_load_vml", load_kernels},
        {"dlsym", look_up},
    };
    const auto found = services.find(name);
    return found == services.end() ? nullptr : found->second;
}

void Services::read_text(Call& call)
{
    constexpr std::size_t line_bytes = 450;
    constexpr std::size_t longest_text = 4096;
    const std::string_view name = call.name;
    if (name == "qnm_serv_xerbla" || name == "qnm_serv_default_xerbla") {
        const auto length = static_cast<std::size_t>(std::max(call.int32(2), 0));
        call.text = peek_text(call.word(0), std::min(length, longest_text), false);
    } else if (name == "qnm_serv_print_verbose_info") {
        call.text = peek_text(call.word(1), longest_text, true);
        const std::string last = peek_text(call.word(1) + line_bytes - 1, 1, false);
        if (!last.empty())
            call.last_byte = last.front();
    } else if (name == "qnm_serv_snprintf_s") {
        call.text = peek_text(call.word(3), longest_text, true);
    } else if (name == "qnm_serv_strnlen_s" || name == "dlsym") {
        call.text = peek_text(call.word(0), longest_text, true);
    } else if (name == "qnm_serv_print" && call.int32(2) > 0) {
        call.text = peek_text(call.word(3), longest_text, true);
    }
}

} // namespace qnm::recording
