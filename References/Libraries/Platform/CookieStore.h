// The system's cookie store, which the process shares with the user's browser.
#pragma once

#include <optional>
#include <string>

namespace qz::platform {

/// The cookies that the store holds for `url`, as one text "name=value; name=value"; nothing when there are none.
std::optional<std::string> readStoredCookies(const std::string& url);

/// Stores one cookie. `data` is the value and its attributes. Returns the system's error if it failed.
std::optional<unsigned long> writeStoredCookie(const char* url, const char* name, const std::string& data);

/// Ends the browser session, which drops its session cookies. Returns the system's error if it failed.
std::optional<unsigned long> endBrowserSession();

}  // namespace qz::platform
