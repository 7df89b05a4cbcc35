// Replies in the form that clients of the library read.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ITKBuffer.h"
#include "ITKSOAP.h"

namespace qzgateway {

/// The caller's session as it goes into every reply.
struct Session {
  std::string passport;  ///< isFit()
  std::string context;   ///< isFit()
};

/// One HTTP reply. Its body is head, attachment, tail; the attachment may be large and is never copied.
struct Reply {
  int status = 200;
  std::string contentType;
  std::string head;
  ITKBuffer attachment;
  std::string tail;
  std::vector<std::string> cookies;                          ///< values of Set-Cookie headers
  std::vector<std::pair<std::string, std::string>> headers;  ///< more of them
  std::optional<std::size_t> truncateAt;                     ///< the connection ends behind so many bytes of the body
  bool isDropped = false;  ///< the connection ends before anything is sent; nothing else counts then
};

using ReplyPointer = std::unique_ptr<Reply>;

/// Bytes of the whole body, as the headers announce it.
std::size_t lengthOf(const Reply& reply);

/// The body as far as it is sent, in pieces that belong to the reply.
std::vector<std::string_view> sentPiecesOf(const Reply& reply);

/// All headers that a reply is sent with, but for its length and those that are about the connection.
std::vector<std::pair<std::string, std::string>> headersOf(const Reply& reply);

/// Plain text for a request that cannot be served.
ReplyPointer refusal(int status, const std::string& reason);

/// Text for XML and HTML, attribute values too.
std::string escapeXml(std::string text);

/// An HTML page, which is no reply to a call.
/// @param title plain text
/// @param body markup
ReplyPointer htmlPage(const std::string& title, const std::string& body);

/// Whether a reply ends the conversation that it belongs to.
enum class Status { kComplete, kWorking };

/// The reply to `call`: its output arguments, or its error. Empties the call's argument list once it is written.
/// @param compressed whether the caller sent compressed arguments; the reply follows
ReplyPointer answer(ITKSOAP& call, const Session& session, bool compressed, Status status = Status::kComplete);

/// A SOAP fault with the HTTP status 500.
/// @param code what follows "SOAP-ENV:" in the faultcode, "Client" or "Server"
/// @param detail the message in the fault's detail, may be empty
ReplyPointer fault(const Session& session, const std::string& code, const std::string& text, const std::string& detail);

/// A SOAP fault that says that the caller must log on.
ReplyPointer logonFault(const std::string& text = "Log on first.");

/// Whether an id may be sent back: up to 128 letters, digits and "-._:", so it fits into XML and into a cookie as it is.
bool isFit(const std::string& id);

/// The cookies that carry a session.
std::vector<std::string> cookiesOf(const Session& session);

/// A session for the caller: the passport and context that it brought if they are fit to be sent back, else new ones.
Session sessionOf(ITKSOAP& call);

}  // namespace qzgateway
