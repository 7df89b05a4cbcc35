#include "Tools/qzcall/Encoding.h"

#include <windows.h>

namespace qzcall {

std::string utf8Of(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  if (length == 0) return {};
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, out.data(), size, nullptr, nullptr);
  return out;
}

std::wstring wideOf(std::string_view text) {
  const int length = static_cast<int>(text.size());
  if (length == 0) return {};
  const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  std::wstring out(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), length, out.data(), size);
  return out;
}

std::optional<std::string> ansiOf(std::string_view text) {
  const std::wstring wide = wideOf(text);
  const int length = static_cast<int>(wide.size());
  if (length == 0) return std::string();
  BOOL lossy = FALSE;
  const int size = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), length, nullptr, 0, nullptr, &lossy);
  if (size <= 0 || lossy != FALSE) return std::nullopt;
  std::string out(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), length, out.data(), size, nullptr, nullptr);
  return out;
}

}  // namespace qzcall
