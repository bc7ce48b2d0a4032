// Text: letters, bounded lengths and formatting, messages.
#include "qnm/core/dft.h"
#include "services.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace qnm::core {

void print_to(int fd, const char* format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    const int wanted = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::size_t length = std::min(static_cast<std::size_t>(std::max(wanted, 0)), sizeof text - 1);
    while (::write(fd, text, length) < 0 && errno == EINTR) {
    }
}

} // namespace qnm::core

// First characters only, without regard to case; the hidden lengths say nothing more.
QNM_CORE int qnm_serv_lsame(const char* a, const char* b, std::size_t, std::size_t)
{
    return qnm::core::same_character(*a, *b);
}

QNM_CORE std::size_t qnm_serv_strnlen_s(const char* text, std::size_t most)
{
    return text == nullptr ? 0 : strnlen(text, most);
}

// At most `most` characters of the source, as far as the text has no more than `size` then; its terminator
// lies behind.
QNM_CORE int qnm_serv_strncat_s(char* text, std::size_t size, const char* source, std::size_t most)
{
    const std::size_t length = strnlen(text, size), more = strnlen(source, most);
    const std::size_t kept = std::min(more, size - length);
    std::copy_n(source, kept, text + length);
    text[length + kept] = '\0';
    return kept == more ? 0 : -1;
}

// At most `most` characters and the terminator, never beyond `size`. Returns how many were written, -1 if
// the text had to be cut or nothing could be written.
QNM_CORE int qnm_serv_snprintf_s(char* dest, std::size_t size, std::size_t most, const char* format, ...)
{
    if (dest == nullptr || size == 0)
        return -1;
    const std::size_t room = std::min(size - 1, most) + 1;
    const qnm::core::NumbersOfC point;
    va_list arguments;
    va_start(arguments, format);
    const int wanted = std::vsnprintf(dest, room, format, arguments);
    va_end(arguments);
    return wanted >= 0 && static_cast<std::size_t>(wanted) < room ? wanted : -1;
}

// The same, as much as the text has room for.
QNM_CORE int qnm_serv_sprintf_s(char* dest, std::size_t size, const char* format, ...)
{
    const qnm::core::NumbersOfC point;
    va_list arguments;
    va_start(arguments, format);
    const int wanted = std::vsnprintf(dest, size, format, arguments);
    va_end(arguments);
    return wanted >= 0 && static_cast<std::size_t>(wanted) < size ? wanted : -1;
}

// Where the next text begins; `left` loses what was written.
QNM_CORE char* qnm_serv_sprintf_char_s(char* to, std::size_t* left, const char* format, ...)
{
    const qnm::core::NumbersOfC point;
    va_list arguments;
    va_start(arguments, format);
    const int wanted = std::vsnprintf(to, *left + 1, format, arguments);
    va_end(arguments);
    const std::size_t written = std::min(static_cast<std::size_t>(std::max(wanted, 0)), *left);
    *left -= written;
    return to + written;
}

QNM_CORE const char* qnm_serv_get_msg(int number, int)
{
    struct Message {
        int number;
        const char* text;
    };
    static constexpr Message all[] = {
        {1, "the working folder is gone: change to one that exists; while loading"},
        {771,
         "no library of vector functions: put libqnm_kernels.so beside the core, or name it by QNM_KERNELS"},
        {772, "the library of vector functions lacks a symbol: is it of this version?"},
        {774, "DFTI: no error"},
        {775, "DFTI: not enough memory"},
        {776,
         "DFTI: the configuration cannot be: a length, rank, precision or domain, or nothing was committed"},
        {777, "DFTI: the configuration contradicts itself, or an argument is missing or unknown"},
        {778, "DFTI: the threads failed"},
        {779, "DFTI: no descriptor, or a descriptor that was freed"},
        {780, "DFTI: this configuration is not carried"},
        {781, "DFTI: internal error"},
        {782, "DFTI: a number of threads that the descriptor is not made for"},
        {783, "DFTI: a length beyond 32 bits"},
        {784, "DFTI: unknown status"},
        {1101, "DFTI: transforms on several processes need a library of their own, which is not linked"},
    };
    for (const Message& message : all)
        if (message.number == number)
            return message.text;
    return nullptr;
}

// What is said further is text.
QNM_CORE void qnm_serv_print(int, int number, int inserts, ...)
{
    char line[1000];
    char* end = line;
    std::size_t left = sizeof line - 1;
    const char* const text = qnm_serv_get_msg(number, 0);
    end = text != nullptr ? qnm_serv_sprintf_char_s(end, &left, "%s", text)
                          : qnm_serv_sprintf_char_s(end, &left, "message %d", number);
    va_list arguments;
    va_start(arguments, inserts);
    for (int i = 0; i < inserts; ++i) {
        const char* const insert = va_arg(arguments, const char*);
        end = qnm_serv_sprintf_char_s(end, &left, "%s%s", i == 0 ? ": " : ", ",
                                      insert != nullptr ? insert : "?");
    }
    va_end(arguments);
    qnm::core::print_to(STDERR_FILENO, "QNM ERROR: %s\n", line);
}

// To standard output. Returns how many characters were written, negative if that failed.
QNM_CORE int qnm_serv_printf_s(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vprintf(format, arguments);
    va_end(arguments);
    return written;
}

// The value's length; 0 and an empty text if the variable is not set or empty, or if the value does not fit.
// For a program with rights that its caller has not, no variable is set.
QNM_CORE int qnm_serv_getenv(const char* name, char* value, std::size_t size)
{
    const char* const found = secure_getenv(name);
    const std::size_t length = found == nullptr ? 0 : std::strlen(found);
    if (size == 0)
        return 0;
    const std::size_t kept = length < size ? length : 0;
    std::copy_n(found, kept, value);
    value[kept] = '\0';
    return static_cast<int>(kept);
}
