#pragma once

#include "maths/maths_api.h"

#if defined(__GNUC__)
#define MATHS_PRINTF_LIKE __attribute__((format(printf, 1, 2)))
#else
#define MATHS_PRINTF_LIKE
#endif

/// Prints one line, "maths: " and the formatted message, on standard error and stops the program.
/// Called by `MATHS_CHECK` alone.
[[noreturn]] MATHS_API void utCheckFailed(char const * format, ...) MATHS_PRINTF_LIKE;

#undef MATHS_PRINTF_LIKE

/// `MATHS_CHECK(holds, format, ...)`: in a checked build (option `MATHS_CHECKED`), stops with the printf-like message
/// when `holds` is false. In every other build it is nothing: its arguments are not even evaluated.
#if defined(MATHS_CHECKED)
#define MATHS_CHECK(holds, ...) ((holds) ? static_cast<void>(0) : utCheckFailed(__VA_ARGS__))
#else
#define MATHS_CHECK(holds, ...) static_cast<void>(0)
#endif
