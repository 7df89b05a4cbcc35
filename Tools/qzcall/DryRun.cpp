#include "Tools/qzcall/DryRun.h"

#include <windows.h>
//
#include <wininet.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "ITKBuffer.h"
#include "References/Libraries/Wire/CookieScan.h"
#include "References/Libraries/Wire/RequestGuard.h"
#include "Tools/qzcall/DecodeText.h"

namespace qzcall {
namespace {

/// The stored lines set the session's cookies for a load test, where a call sends them.
std::string withCookies(const std::string& stored, const ITKRTT& token) {
  std::string headers;
  for (const std::string_view line : linesOf(stored))
    if (!line.starts_with("Set-Cookie: ")) headers.append(line).append("\r\n");
  ITKBuffer cookies;
  return headers + qz::wire::sanitizedCookieLine(token.buildHTTPCookieHeader(cookies, qz::wire::kCookieLinePrefix));
}

std::string canonical(const char* url) {
  // Every byte can become three.
  std::string text(2084 + 3 * std::string_view(url).size(), '\0');
  auto size = static_cast<unsigned long>(text.size());
  return InternetCanonicalizeUrlA(url, text.data(), &size, 0) ? std::string(text.c_str()) : std::string();
}

/// True for a URL to which a call would send. The library looks at it only when it connects.
bool isReachable(const char* url) {
  if (!qz::wire::textWithLineBreak(url, "").empty()) return false;
  const std::string text = canonical(url);
  URL_COMPONENTSA parts{};
  parts.dwStructSize = sizeof parts;
  parts.dwHostNameLength = 1;  // asks for a place in the text
  return !text.empty() && InternetCrackUrlA(text.c_str(), 0, 0, &parts) && parts.dwHostNameLength > 0 &&
         (parts.nScheme == INTERNET_SCHEME_HTTP || parts.nScheme == INTERNET_SCHEME_HTTPS);
}

}  // namespace

std::optional<DryRequest> dryRun(CallOptions& options) {
  const char* const url = options.token.getURL();
  if (!isReachable(url))
    throw std::runtime_error("bad URL: '" + forTerminal(url, 200) +
                             "'; it must begin with http:// or https:// and name a host");
  std::optional<StoredRequest> stored = storeRequest(options);
  if (!stored) return std::nullopt;
  return DryRequest{options.token.getURL(), withCookies(stored->headers, options.token), std::move(stored->body)};
}

void writeRequest(std::ostream& out, const DryRequest& request, std::size_t width) {
  constexpr std::size_t kWhole = std::numeric_limits<std::size_t>::max();
  out << "POST " << forTerminal(request.url, kWhole) << '\n';
  for (const std::string_view line : linesOf(request.headers)) out << forTerminal(line, kWhole) << '\n';
  out << '\n';
  writeTree(out, decode(request.body).root, width);
}

void writeRequestJson(std::ostream& out, const DryRequest& request) {
  const nlohmann::ordered_json head = {{"url", request.url}, {"verb", "POST"}, {"headers", linesOf(request.headers)}};
  const std::string text = head.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  out << std::string_view(text).substr(0, text.size() - 1) << ",\"body\":\n";
  writeTreeJson(out, decode(request.body).root);
  out << "}\n";
}

}  // namespace qzcall
