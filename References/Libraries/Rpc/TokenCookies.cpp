#include "References/Libraries/Rpc/TokenCookies.h"

#include <utility>

namespace qz::rpc {

std::vector<StoredCookies> readCookiesOfPrefixes(std::string_view url) {
  std::vector<StoredCookies> stored;
  for (const auto prefix : wire::storePrefixes(url)) {
    std::string address(prefix);
    if (auto text = platform::readStoredCookies(address)) stored.push_back({std::move(address), *std::move(text)});
  }
  return stored;
}

std::optional<FoundCookie> findStoredCookie(const std::vector<StoredCookies>& stored, std::string_view name) {
  for (const auto& entry : stored) {
    if (const auto value = wire::cookieValue(entry.text, name)) return FoundCookie{&entry, *value};
  }
  return std::nullopt;
}

}  // namespace qz::rpc
