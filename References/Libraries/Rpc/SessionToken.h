// The run-time token as the transport sees it.
#pragma once

#include <string>
#include <string_view>

namespace qz::rpc {

/// What one exchange reads from the token and leaves in it.
class SessionToken {
 public:
  virtual ~SessionToken() = default;

  /// The "Cookie: " line with its CR LF, safe to hand to the system: no line end inside, empty when there is nothing to
  /// send.
  virtual std::string cookieLine() const = 0;

  /// User name for HTTP authentication; never null, valid until the token changes.
  virtual const char* userName() const = 0;
  /// Password for HTTP authentication; never null, valid until the token changes.
  virtual const char* password() const = 0;
  /// Takes over the credential that a request ended up with; an empty text leaves the token's own.
  virtual void storeCredential(const std::string& user, const std::string& password) = 0;

  /// True when the token holds a SiteMinder session.
  virtual bool hasSiteMinderSession() const = 0;
  /// Stores the known session cookies that the raw headers of a reply set.
  virtual void takeReplyCookies(std::string_view rawHeaders) = 0;

  /// Passport id; never null, valid until the token changes.
  virtual const char* passport() const = 0;
  /// PRY context; never null, valid until the token changes.
  virtual const char* pryContext() const = 0;
};

}  // namespace qz::rpc
