#include "References/Libraries/Platform/CookieStore.h"

#include <windows.h>
//
#include <wininet.h>

#include <cstring>

namespace qz::platform {
namespace {

// Another thread may add a cookie between asking for the size and asking for the text.
constexpr int kAttempts = 3;

std::optional<unsigned long> errorUnless(BOOL done) {
  if (done) return std::nullopt;
  return GetLastError();
}

}  // namespace

std::optional<std::string> readStoredCookies(const std::string& url) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    DWORD size = 0;
    if (!InternetGetCookieA(url.c_str(), nullptr, nullptr, &size) || size == 0) return std::nullopt;
    // The size counts the terminator, but not everywhere: one byte more keeps the text terminated.
    std::string text(size + 1, '\0');
    if (InternetGetCookieA(url.c_str(), nullptr, text.data(), &size)) {
      text.resize(std::strlen(text.c_str()));
      return text;
    }
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) return std::nullopt;
  }
  return std::nullopt;
}

std::optional<unsigned long> writeStoredCookie(const char* url, const char* name, const std::string& data) {
  return errorUnless(InternetSetCookieA(url, name, data.c_str()));
}

std::optional<unsigned long> endBrowserSession() {
  return errorUnless(InternetSetOptionA(nullptr, INTERNET_OPTION_END_BROWSER_SESSION, nullptr, 0));
}

}  // namespace qz::platform
