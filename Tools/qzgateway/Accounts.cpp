#include "Tools/qzgateway/Accounts.h"

#include <algorithm>
#include <utility>

#include "Tools/qzgateway/Reply.h"

namespace qzgateway {
namespace {

constexpr auto kNowhere = std::string_view::npos;

tl::unexpected<std::string> refuse(std::string_view subject, std::string_view complaint) {
  return tl::unexpected("'" + std::string(subject) + "' " + std::string(complaint));
}

/// What stands before and behind the character at `at`.
std::pair<std::string_view, std::string_view> splitAt(std::string_view text, std::size_t at) {
  return {text.substr(0, at), text.substr(at + 1)};
}

}  // namespace

Accounts::Done Accounts::addNamespace(std::string_view written) {
  const auto equals = written.find('=');
  if (equals == kNowhere) return refuse(written, "is no namespace: write ID=NAME");
  const auto [id, name] = splitAt(written, equals);
  if (!isFit(std::string(id))) return refuse(id, "is no id of a namespace: use letters, digits and \"-._:\"");
  if (name.empty()) return refuse(id, "is a namespace without a name");
  if (hasNamespace(id)) return refuse(id, "is a namespace already");
  namespaces_.push_back({std::string(id), std::string(name)});
  return {};
}

// Complaints name the user only: the rest is a password.
Accounts::Done Accounts::addUser(std::string_view written) {
  const auto colon = written.find(':');
  if (colon == kNowhere || colon == 0)
    return tl::unexpected<std::string>("a user is written NAME:PASSWORD or NAME:PASSWORD@NAMESPACE");
  const auto [name, rest] = splitAt(written, colon);
  const auto at = rest.rfind('@');
  const auto [password, nameSpace] = at == kNowhere ? std::pair(rest, std::string_view()) : splitAt(rest, at);
  if (password.empty()) return refuse(name, "is a user without a password");
  if (!nameSpace.empty() && !hasNamespace(nameSpace))
    return refuse(name,
                  "is a user of no namespace of this portal; one whose password has an \"@\" is written with "
                  "another \"@\" at the end");
  if (std::ranges::any_of(
          users_, [&, n = name, s = nameSpace](const User& user) { return user.name == n && user.nameSpace == s; }))
    return refuse(name, "is a user there already");
  users_.push_back({std::string(name), std::string(password), std::string(nameSpace)});
  return {};
}

tl::expected<Accounts, std::string> Accounts::parse(const std::vector<std::string>& namespaces,
                                                    const std::vector<std::string>& users) {
  Accounts accounts;
  Done done;
  for (const std::string& written : namespaces) done = done.and_then([&] { return accounts.addNamespace(written); });
  if (namespaces.empty()) done = accounts.addNamespace("Demo=Demonstration");
  for (const std::string& written : users) done = done.and_then([&] { return accounts.addUser(written); });
  if (users.empty()) done = done.and_then([&] { return accounts.addUser("demo:demo"); });
  return done.map([&] { return std::move(accounts); });
}

bool Accounts::hasNamespace(std::string_view id) const { return std::ranges::count(namespaces_, id, &Namespace::id); }

bool Accounts::isRight(std::string_view user, std::string_view password, std::string_view nameSpace) const {
  return std::ranges::any_of(users_, [&](const User& known) {
    return known.name == user && known.password == password &&
           (known.nameSpace.empty() || known.nameSpace == nameSpace);
  });
}

}  // namespace qzgateway
