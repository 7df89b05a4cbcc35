// The gateway's portal, through the library: who can log on, logging on and off.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tools/qzcall/Command.h"
#include "Tools/qzcall/Failure.h"
#include "Tools/qzcall/Session.h"

namespace qzcall {

/// The component that asks, where nobody names another one; the flat face knows no other.
inline constexpr char kDefaultComponent[] = "pc";

/// A directory of users.
struct Namespace {
  std::string id;
  std::string displayName;
};

/// Who logs on. Texts are UTF-8.
struct PortalUser {
  std::string name;
  const char* password = nullptr;
  Namespace nameSpace;  ///< what is empty is not sent
};

using PortalResult = tl::expected<Session, Failure>;

/// One portal, through one face. Texts are UTF-8, but for the dump file's.
///
/// Of a failure the library says only that there was one. What can be said beyond that comes from the token, and from a
/// further request for the logon page.
class Portal {
 public:
  struct Address {
    Face face;
    std::string url;
    std::string component;  ///< kDefaultComponent with the flat face
    std::string dumpFile;   ///< path for the library, in the ANSI code page; empty for no dump
  };

  explicit Portal(Address address) : address_(std::move(address)) {}

  /// The namespaces that users can be of; one may lack a display name.
  tl::expected<std::vector<Namespace>, Failure> namespaces() const;
  /// Logs the user on.
  /// @return the new session. E_LOGON: the portal has answered, and did not let the user in.
  PortalResult logon(const PortalUser& user) const;
  /// Logs the user on in a session that there is.
  /// @return what is another session then; `session` itself when the portal says that this has a user already
  PortalResult logonAs(const PortalUser& user, const Session& session) const;
  /// Ends the session.
  std::optional<Failure> logoff(const Session& session) const;

 private:
  const char* dumpFile() const { return address_.dumpFile.empty() ? nullptr : address_.dumpFile.c_str(); }
  /// What is known of a failed operation that has left `token`; `otherwise` when the portal can be reached.
  Failure explained(const ITKRTT& token, Failure otherwise) const;

  Address address_;
};

}  // namespace qzcall
