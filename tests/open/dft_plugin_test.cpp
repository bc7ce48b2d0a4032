// Engines of transforms that are opened at run time.
#include "core.hpp"
#include "open/dft/descriptor.hpp"
#include "open/services.hpp"

#include <cstdarg>
#include <cstdio>

void qnm::core::print_to(int fd, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    vdprintf(fd, format, arguments);
    va_end(arguments);
}
