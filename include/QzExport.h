/// @file
/// Marks what the DLL exports. Both faces are usable from the compiler that built the DLL; the flat functions from any.
#pragma once

#if defined(QZSOAP_BUILDING)
#define QZSOAP_API __declspec(dllexport)
#elif defined(QZSOAP_STATIC)
#define QZSOAP_API
#else
#define QZSOAP_API __declspec(dllimport)
#endif
