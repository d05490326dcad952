#pragma once

/// What the shared library exports; everything without one of these stays inside.
///
/// - `MATHS_API` stands before ordinary classes (`class MATHS_API mlMatrix`) and free functions.
/// - A template that the library instantiates for its callers bears one macro in the header and one in the source:
///
///       #if MATHS_EXTERN_TEMPLATES
///       extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<double>;     // header
///       #endif
///       template class MATHS_API_TEMPLATE_DEFINITION coDynArr<double>;             // the one source
///
///   GCC and Clang want the attribute on the declaration and ignore it, with a warning, on the definition;
///   Microsoft's compiler wants the export on the definition and only the import on the declaration. On Windows, GCC
///   exports no member of such a template that is defined in its class, so there callers get no declaration: they
///   compile these members themselves and find the others in the DLL all the same.
///
/// `MATHS_BUILDING_DLL` is defined while the library itself is compiled. The Windows half is tested with MinGW's GCC,
/// and not with Microsoft's compiler.
#if defined(_WIN32)
#if defined(MATHS_BUILDING_DLL)
#define MATHS_API __declspec(dllexport)
#else
#define MATHS_API __declspec(dllimport)
#endif
#else
#define MATHS_API __attribute__((visibility("default")))
#endif

#if defined(_MSC_VER) && defined(MATHS_BUILDING_DLL)
#define MATHS_API_TEMPLATE_DECLARATION
#define MATHS_API_TEMPLATE_DEFINITION MATHS_API
#else
#define MATHS_API_TEMPLATE_DECLARATION MATHS_API
#define MATHS_API_TEMPLATE_DEFINITION
#endif

#if defined(__MINGW32__) && !defined(MATHS_BUILDING_DLL)
#define MATHS_EXTERN_TEMPLATES 0
#else
#define MATHS_EXTERN_TEMPLATES 1
#endif
