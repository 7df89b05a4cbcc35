/// @file
/// Marks what the DLL exports. Both faces are usable from the compiler that built the DLL. The flat functions can be
/// called from any, but for those that take or return a class (ITKRTT, ITKCredential, CqzES); the operations of their
/// objects from one that lays out virtual tables alike.
#pragma once

/// @addtogroup shared
/// @{

/// Exported when the library is built, imported when it is used; nothing in programs that link its parts.
#if defined(QZSOAP_BUILDING)
#define QZSOAP_API __declspec(dllexport)
#elif defined(QZSOAP_STATIC)
#define QZSOAP_API
#else
#define QZSOAP_API __declspec(dllimport)
#endif

/// Lets the compiler check the arguments of a function that formats like `printf`; counts from 1, `this` included.
#if defined(__GNUC__)
#define QZ_PRINTF(text, values) __attribute__((format(gnu_printf, text, values)))
#else
#define QZ_PRINTF(text, values)
#endif

/// @}
