/// @file
/// What the status of a reply means for the call.
#pragma once

#include <string>
#include <string_view>

namespace qz::wire {

/// What to do with a reply.
enum class StatusVerdict {
  read,         ///< read it
  readFault,    ///< read it: the server failed and says why in the body
  notLoggedOn,  ///< the access manager answered in the gateway's place
  refuse        ///< the body is not worth reading
};

/// Whether raw headers name a content type that a gateway answers with. The texts are compared as they are written.
bool checkContentType(std::string_view rawHeaders);

/// Judges a status.
/// @param lastAccepted the highest of the statuses from 201 on that count as success
/// @param siteMinderSession the token holds a session of the access manager, so a reply of 200 must pass
///   checkContentType()
StatusVerdict judgeStatus(unsigned long status, unsigned long lastAccepted, bool siteMinderSession,
                          std::string_view rawHeaders);

/// "404 - Not Found ", the blank at the end included.
std::string statusMessage(unsigned long status, std::string_view text);

/// "URL: ..., SOAP action: ...".
std::string contextLine(std::string_view url, std::string_view soapAction);

}  // namespace qz::wire
