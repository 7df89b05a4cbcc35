/// @file
/// The toolkit's entry points for remote calls.
#pragma once

#include "QzExport.h"

class ITKSOAP;

/// Makes one remote call with a client of its own.
/// @param in the request: gateway URL, SOAP action, interface, method, arguments, token. Not changed.
/// @param out receives output arguments, error and session; may be `in`
/// @param dumpFile path of a file to whose end everything sent and received is appended; null or empty: none
/// @return 0 for success, otherwise what ITKhttpClientHelper::invoke() returns; `out`'s error then tells more
QZSOAP_API long ITKrpcSOAPInvoke(const ITKSOAP* in, ITKSOAP* out, const char* dumpFile);

/// What kind of fault a reply is.
/// @param text the reply's envelope
/// @return 0 for an ordinary reply, E_LOGON when the server asks for a logon, E_FAULT for any other fault and for a text
///   that is no SOAP envelope; null counts as such a text
QZSOAP_API long ITKrpcSOAPGetRelayFaultError(const char* text);
