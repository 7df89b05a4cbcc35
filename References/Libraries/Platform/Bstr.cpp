#include "References/Libraries/Platform/Bstr.h"

#include <limits>
#include <new>
#include <stdexcept>

namespace qz::platform {
namespace {

// The conversions count in int.
int lengthOf(std::size_t size) {
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) throw std::length_error("text too long");
  return static_cast<int>(size);
}

int convert(std::string_view from, wchar_t* to, int room, CodePage codePage) {
  return MultiByteToWideChar(codePage, 0, from.data(), lengthOf(from.size()), to, room);
}

}  // namespace

Bstr::Bstr(std::wstring_view text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(lengthOf(text.size())))) {
  if (text_ == nullptr) throw std::bad_alloc();
}

Bstr::Bstr(std::string_view text, CodePage codePage) {
  const int length = text.empty() ? 0 : convert(text, nullptr, 0, codePage);
  text_ = SysAllocStringLen(nullptr, static_cast<UINT>(length));
  if (text_ == nullptr) throw std::bad_alloc();
  if (length > 0) convert(text, text_, length, codePage);
}

std::string ansiText(const wchar_t* text) { return narrow(text == nullptr ? L"" : text, kAnsi); }

std::wstring widen(std::string_view text, CodePage codePage) {
  if (text.empty()) return {};
  std::wstring wide(static_cast<std::size_t>(convert(text, nullptr, 0, codePage)), L'\0');
  convert(text, wide.data(), lengthOf(wide.size()), codePage);
  return wide;
}

std::string narrow(std::wstring_view text, CodePage codePage) {
  if (text.empty()) return {};
  const int length = lengthOf(text.size());
  const int size = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(codePage, 0, text.data(), length, result.data(), size, nullptr, nullptr);
  return result;
}

}  // namespace qz::platform
