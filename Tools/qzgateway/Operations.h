// The operations of the demonstration interface.
#pragma once

#include "Tools/qzgateway/Conversations.h"
#include "Tools/qzgateway/Reply.h"

namespace qzgateway {

/// A call that has been read.
struct Request {
  ITKSOAP& call;
  Session session;
  bool compressed;      ///< whether its arguments were
  bool isConversation;  ///< whether the caller takes replies that are not final
};

/// What operations work with.
struct Surroundings {
  GatewayTime& time;
  Conversations& conversations;
};

/// Runs the operation that the call names and makes its reply. The interface is `Demo`:
///   echo                          the arguments, as they came
///   add LONG LONG                 their sum as one long
///   fail [LONG CODE] [TEXT]       a server error with that code (12) and text, its serialized form attached
///   fault [TEXT]                  a SOAP fault
///   wait SECONDS [OUTCOME]        takes its time, see waitAWhile()
///   logon                         a SOAP fault that asks for a logon
///   page                          an HTML page instead of a reply
/// Wrong arguments are a server error 22; an unknown interface or operation is a SOAP fault.
ReplyPointer run(const Request& request, const Surroundings& surroundings);

// What the operations share.

constexpr long kFailed = 12;
constexpr long kWrongArguments = 22;

std::string textOf(const char* text);

/// The call's arguments, or its error.
ReplyPointer replyOf(const Request& request);
ReplyPointer serverError(const Request& request, long code, const std::string& text);
/// The failures that a caller asks for; an empty text stands for a sentence that says so.
ReplyPointer failureOnRequest(const Request& request, long code = kFailed, const std::string& text = "");
ReplyPointer faultOnRequest(const Request& request, const std::string& text = "");

/// Code of the server error that ends a conversation at the wish of its caller.
constexpr long kCancelled = 125;

/// A reply that is not the last one of the conversation `id`.
ReplyPointer stillWorking(const Request& request, const std::string& id);
/// The last reply of a conversation that was cancelled.
ReplyPointer cancelled(const Request& request);

}  // namespace qzgateway
