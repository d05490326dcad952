#include "platform/utCheck.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

void utCheckFailed(char const * format, ...) {
    std::fputs("maths: ", stderr);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
    std::abort();
}
