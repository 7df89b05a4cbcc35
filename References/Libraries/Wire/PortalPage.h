// What is read from the pages of the gateway's portal. The pages are searched as text, never parsed.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace qz::wire {

/// The authentication namespaces that a logon page offers, views into it.
struct PortalNamespaces {
  std::vector<std::string_view> names;
  std::vector<std::string_view> displayNames;  ///< may be fewer when a page names a single namespace only
};

/// The namespaces of a logon page: the one in its hidden field, or else every option behind the list of namespaces, those
/// of later lists included. Nothing when the page has neither, or no complete entry.
std::optional<PortalNamespaces> portalNamespaces(std::string_view page);

/// The firewall context id of a portal page, which may be empty; nothing when the page has none.
std::optional<std::string_view> portalContextId(std::string_view page);

/// True when the page says that its session has a user already.
bool isUserAlreadyAuthenticated(std::string_view page);

}  // namespace qz::wire
