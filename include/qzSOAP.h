/// @file
/// The flat face of the library: exported functions named `rpcSOAP...`.
///
/// Conventions of this face:
/// - Every function is exported undecorated, follows the C calling convention and never throws: it returns its failure
///   value and has written the reason to the log by then.
/// - `long` has 32 bits, `bool` is the compiler's one-byte type. Texts are null-terminated.
/// - With the key "LogTrace" on, each function writes one log line when it is entered and one when it returns.
/// - Calls on different objects may run on different threads; one object belongs to one thread at a time. The settings
///   are shared by all and are not locked.
#pragma once

#include "CqzES.h"
#include "QzExport.h"
#include "QzTypes.h"

class ITKCredential;

extern "C" {

/// Whether the host has declared the process a service: the value of the last rpcSOAP_setIsService(), 0 before.
QZSOAP_API int __cdecl rpcSOAP_getIsService();
/// Declares whether the process runs as a service (non-zero).
QZSOAP_API void __cdecl rpcSOAP_setIsService(int isService);

/// The time-out of the transport in milliseconds: always 300,000.
QZSOAP_API long __cdecl rpcSOAPGetHTTPTimeOutValue();
/// Does nothing: the transport's time-out is fixed. Kept for the hosts that call it.
QZSOAP_API void __cdecl rpcSOAPSetHTTPTimeOutValue(long milliseconds);

/// Keeps a copy of the user's credential for requests whose token names no user. A service has no such user: in a
/// process declared as one, the call does nothing.
QZSOAP_API void __cdecl rpcSOAPSetUserCredential(const ITKCredential& credential);

}  // extern "C"
