// The operations of the demonstration interface.
#pragma once

#include "Tools/qzgateway/Reply.h"

namespace qzgateway {

/// Runs the operation that `call` names and makes its reply. The interface is `Demo`:
///   echo                          the arguments, as they came
///   add LONG LONG                 their sum as one long
///   fail [LONG CODE] [TEXT]       a server error with that code (12) and text, its serialized form attached
///   fault [TEXT]                  a SOAP fault
///   logon                         a SOAP fault that asks for a logon
///   page                          an HTML page instead of a reply
/// Wrong arguments are a server error 22; an unknown interface or operation is a SOAP fault.
ReplyPointer run(ITKSOAP& call, const Session& session, bool compressed);

}  // namespace qzgateway
