#pragma once

// Where the library cannot keep its promises it does not compile, and says why. After #error compilers go on and bury
// the reason among errors that follow from it; after a missing file they stop.
#if defined(_MSC_VER) && !defined(__clang__)
#include <maths cannot be compiled by MSVC but by clang-cl>
#elif __cplusplus < 202002L
#include <maths needs C++20: compile with -std=c++20>
#elif __SIZEOF_POINTER__ != 8 // before any header of the system, which may lack its 32-bit half
#include <maths needs 64-bit pointers: compile for a 64-bit system>
#endif

#include <cfloat>
#include <limits>

static_assert(FLT_EVAL_METHOD == 0 || FLT_EVAL_METHOD == 1,
              "maths needs every operation rounded to double: the x87's registers hold more");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53,
              "maths needs doubles to be the 64-bit ones of IEEE 754, infinities and NaN included");

/// What the shared library exports; everything without one of these stays inside.
///
/// - `MATHS_API` precedes the names of ordinary classes (`class MATHS_API mlMatrix`) and free functions.
/// - A template that the library instantiates for its callers has one macro in the header and one in the source:
///
///       #if MATHS_EXTERN_TEMPLATES
///       extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<double>;     // header
///       #endif
///       template class MATHS_API_TEMPLATE_DEFINITION coDynArr<double>;             // the one source
///
///   GCC and Clang want the attribute on the declaration and ignore it, with a warning, on the definition;
///   clang-cl wants the export on the definition and only the import on the declaration. On Windows, GCC
///   exports no member of such a template that is defined in its class, so there callers get no declaration: they
///   compile these members themselves and still find the others in the DLL.
///
/// `MATHS_BUILDING_DLL` is defined while the shared library itself is compiled, `MATHS_STATIC` where the library is a
/// static one, also for its users: nothing is exported then. The Windows half is tested with MinGW's GCC; the
/// part for clang-cl has not been tried.
#if defined(MATHS_STATIC)
#define MATHS_API
#elif defined(_WIN32)
#if defined(MATHS_BUILDING_DLL)
#define MATHS_API __declspec(dllexport)
#else
#define MATHS_API __declspec(dllimport)
#endif
#else
#define MATHS_API __attribute__((visibility("default")))
#endif

#if defined(_MSC_VER) && defined(MATHS_BUILDING_DLL) && !defined(MATHS_STATIC)
#define MATHS_API_TEMPLATE_DECLARATION
#define MATHS_API_TEMPLATE_DEFINITION MATHS_API
#else
#define MATHS_API_TEMPLATE_DECLARATION MATHS_API
#define MATHS_API_TEMPLATE_DEFINITION
#endif

#if defined(__MINGW32__) && !defined(MATHS_BUILDING_DLL) && !defined(MATHS_STATIC)
#define MATHS_EXTERN_TEMPLATES 0
#else
#define MATHS_EXTERN_TEMPLATES 1
#endif
