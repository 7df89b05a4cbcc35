// The operation that takes its time.
#pragma once

#include "Tools/qzgateway/Operations.h"

namespace qzgateway {

/// `wait SECONDS [OUTCOME]`: SECONDS is a long or double from 0 to 3600; OUTCOME is a text:
///   done        the default: the arguments, as they came
///   fail        a server error 12
///   fault       a SOAP fault
///   never       goes on until it is cancelled
///   stubborn    goes on even then
/// As a conversation each request waits for a second at the most, and for no longer than the time that it leaves; the
/// replies up to the last say that the operation is working and carry the conversation's id as their object handle. A
/// request with an object handle goes on with that conversation; one with a time limit below 0 cancels it, which is a
/// server error kCancelled. A call that is no conversation is answered when the seconds have passed.
ReplyPointer waitAWhile(const Request& request, const Surroundings& surroundings);

}  // namespace qzgateway
