#include "RuntimeEngine/qzSOAP/httpClientHelper.h"

#include <atomic>

#include "ITKCredential.h"
#include "References/Common/Ascii.h"

namespace {

std::atomic<const ITKCredential* (*)()> fallbackSource{nullptr};

const ITKCredential* fallback() {
  const auto source = fallbackSource.load();
  return source == nullptr ? nullptr : source();
}

bool setText(const XHttpFile& request, unsigned long option, const char* text) {
  std::string copy(qz::viewOf(text));
  return InternetSetOptionA(request.getHandle(), option, copy.data(), static_cast<unsigned long>(copy.size())) != FALSE;
}

std::string getText(const XHttpFile& request, unsigned long option) {
  unsigned long size = 0;
  if (InternetQueryOptionA(request.getHandle(), option, nullptr, &size) || GetLastError() != ERROR_INSUFFICIENT_BUFFER)
    return {};
  std::string text(std::size_t{size} + 1, '\0');
  size = static_cast<unsigned long>(text.size());
  if (!InternetQueryOptionA(request.getHandle(), option, text.data(), &size)) return {};
  return text.c_str();
}

}  // namespace

void setFallbackCredentialSource(const ITKCredential* (*source)()) { fallbackSource = source; }

bool setHTTPCredentials(XHttpFile& request, const char* user, const char* password) {
  if (user == nullptr || *user == '\0') {
    const ITKCredential* other = fallback();
    if (other == nullptr || other->getUserName().isEmpty()) return true;
    user = other->getUserName().c_str();
    password = other->getPassword().c_str();
  }
  const bool userSet = setText(request, INTERNET_OPTION_USERNAME, user);
  return setText(request, INTERNET_OPTION_PASSWORD, password) && userSet;
}

XHttpCredentials getHTTPCredentials(const XHttpFile& request) {
  return {getText(request, INTERNET_OPTION_USERNAME), getText(request, INTERNET_OPTION_PASSWORD)};
}
