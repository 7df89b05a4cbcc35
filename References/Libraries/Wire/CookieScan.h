// Reading and writing the cookies of HTTP headers and of the system's cookie store.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qz::wire {

/// The cookies that a reply's headers update a token with, in the order of look-up.
inline constexpr std::array<const char*, 7> kSessionCookies = {"zot_passport", "pry", "vel-ssa",      "AS_TICKET",
                                                               "pw_session",   "VTN", "usersessionid"};
/// The SiteMinder session, taken from the system's store only.
inline constexpr const char* kSiteMinderCookie = "SMSESSION";
/// The one cookie that is never sent.
inline constexpr std::string_view kUnsentCookie = "userCapabilities";
/// Name under which requests carry cookies.
inline constexpr const char* kCookieLinePrefix = "Cookie: ";

/// Name and value of a cookie, views into the text it was found in.
struct CookieView {
  std::string_view name;
  std::string_view value;
  bool operator==(const CookieView&) const = default;
};

/// The cookie lines of raw response headers, "Set-Cookie: " included, without their line ends: every line that spells
/// it so, in order, then the first one that spells it "set-cookie: ". A last line without line end runs to the end.
std::vector<std::string_view> cookieLines(std::string_view headers);

/// The cookies that raw response headers set, "Set-Cookie: " in any case. A name has at least one character and runs to
/// the next "=", a value from there to the next "; ", wherever those come, even lines later.
std::vector<CookieView> headerCookies(std::string_view headers);

/// The cookies of a text "name=value; name=value". A value may contain "=".
std::vector<CookieView> splitCookies(std::string_view text);

/// The value behind the first place where `name` stands in `text`, be it inside another name: from one character past
/// the name to the next ";" or the end. Nothing when `name` is empty, does not occur or ends the text.
std::optional<std::string_view> cookieValue(std::string_view text, std::string_view name);

/// The same for a value that must end with ";": nothing when it runs to the end.
std::optional<std::string_view> endedCookieValue(std::string_view text, std::string_view name);

/// First segment of the URL's path with its leading slash; "" when there is no "//" or no "/" behind the host.
std::string_view cookiePath(std::string_view url);

/// The prefixes of a URL that end with a slash, from the one behind the host on, shortest first.
std::vector<std::string_view> storePrefixes(std::string_view url);

/// The request header line for `cookies`: prefix, "name=value; " for each but kUnsentCookie, less the last two
/// characters, CR LF. Nothing when there are no cookies.
std::optional<std::string> cookieHeaderLine(std::string_view prefix, std::span<const CookieView> cookies);

/// `line` as it may be handed to the system: the CR and LF inside it removed, one CR LF at its end. Empty when there is
/// no ":" and so no header.
std::string sanitizedCookieLine(std::string_view line);

}  // namespace qz::wire
