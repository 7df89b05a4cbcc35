// Replies in the form that clients of the library read.
#pragma once

#include <memory>
#include <string>

#include "ITKBuffer.h"
#include "ITKSOAP.h"

namespace qzgateway {

/// The caller's session as it goes into every reply.
struct Session {
  std::string passport;  ///< letters, digits and "-._:" only, so it fits into XML and into a cookie as it is
  std::string context;   ///< the same
};

/// One HTTP reply. Its body is head, attachment, tail; the attachment may be large and is never copied.
struct Reply {
  int status = 200;
  std::string contentType;
  std::string head;
  ITKBuffer attachment;
  std::string tail;
  bool carriesSession = false;  ///< the session goes along, in the envelope and as cookies
};

using ReplyPointer = std::unique_ptr<Reply>;

/// Plain text for a request that cannot be served.
ReplyPointer refusal(int status, const std::string& reason);

/// An HTML page, which is no reply to a call.
ReplyPointer htmlPage(const std::string& title, const std::string& text);

/// The reply to `call`: its output arguments, or its error. Empties the call's argument list once it is written.
/// @param compressed whether the caller sent compressed arguments; the reply follows
ReplyPointer answer(ITKSOAP& call, const Session& session, bool compressed);

/// A SOAP fault with the HTTP status 500.
/// @param code what follows "SOAP-ENV:" in the faultcode, "Client" or "Server"
/// @param detail the message in the fault's detail, may be empty
ReplyPointer fault(const Session& session, const std::string& code, const std::string& text, const std::string& detail);

/// A SOAP fault that says that the caller must log on.
ReplyPointer logonFault();

/// A session for the caller: the passport and context that it brought if they are fit to be sent back, else new ones.
Session sessionOf(ITKSOAP& call);

}  // namespace qzgateway
