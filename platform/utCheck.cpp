#include "platform/utCheck.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

// GCOV_EXCL_START: active in the checked build, and a program that stops here writes no coverage data
void utCheckFailed(char const * format, ...) {
    std::fputs("maths: ", stderr);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
    std::abort();
}
// GCOV_EXCL_STOP
