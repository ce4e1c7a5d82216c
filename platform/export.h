#pragma once

/// Marks what the modules of this library show to each other and to the editor.
///
/// CEL_API           classes and functions of the library
/// CEL_PLATFORM_API  classes and functions of the embedded host, which lives in the same module
/// CEL_PRINTF(f, a)  the parameter f (counted from 1, `this` included) is a printf format for those
///                   from a on (0: a va_list), so that the compiler checks the call
///
/// CEL_BUILDING is set while the library is compiled, CEL_STATIC for users of its static form,
/// CEL_PLATFORM_EXTERNAL when an editor provides the host: its own declarations then say all.

#if defined(_WIN32)
#define CEL_EXPORT_ __declspec(dllexport)
#define CEL_IMPORT_ __declspec(dllimport)
#else
#define CEL_EXPORT_ __attribute__((visibility("default")))
#define CEL_IMPORT_ __attribute__((visibility("default")))
#endif

#if defined(CEL_BUILDING)
#define CEL_API CEL_EXPORT_
#elif defined(CEL_STATIC) && defined(_WIN32)
#define CEL_API
#else
#define CEL_API CEL_IMPORT_
#endif

#if defined(CEL_PLATFORM_EXTERNAL)
#define CEL_PLATFORM_API
#else
#define CEL_PLATFORM_API CEL_API
#endif

#if defined(__MINGW32__) && !defined(__clang__)
#define CEL_PRINTF(fmtIndex, argsIndex) __attribute__((format(gnu_printf, fmtIndex, argsIndex)))
#elif defined(__GNUC__)
#define CEL_PRINTF(fmtIndex, argsIndex) __attribute__((format(printf, fmtIndex, argsIndex)))
#else
#define CEL_PRINTF(fmtIndex, argsIndex)
#endif
