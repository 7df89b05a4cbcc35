// Who may log on at the portal.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

namespace qzgateway {

/// Where users are known.
struct Namespace {
  std::string id;  ///< letters, digits and "-._:" only
  std::string displayName;
};

/// The namespaces of the portal and their users; all texts are UTF-8.
class Accounts {
 public:
  /// Reads them as they stand on the command line.
  /// @param namespaces each ID=NAME; none means one namespace, Demo
  /// @param users each NAME:PASSWORD or NAME:PASSWORD@NAMESPACE; what stands behind the last "@" is a namespace, and
  ///   nothing there means any, as without "@". No users means demo, password demo.
  /// @return the accounts, or a sentence that says what is wrong
  static tl::expected<Accounts, std::string> parse(const std::vector<std::string>& namespaces,
                                                   const std::vector<std::string>& users);

  /// At least one.
  const std::vector<Namespace>& namespaces() const { return namespaces_; }
  bool hasNamespace(std::string_view id) const;
  bool isRight(std::string_view user, std::string_view password, std::string_view nameSpace) const;

 private:
  struct User {
    std::string name;
    std::string password;
    std::string nameSpace;  // empty: any
  };

  using Done = tl::expected<void, std::string>;
  Done addNamespace(std::string_view written);
  Done addUser(std::string_view written);

  std::vector<Namespace> namespaces_;
  std::vector<User> users_;
};

}  // namespace qzgateway
