// The strings of COM, and the ways into and out of UTF-16.
#pragma once

#include <windows.h>
//
#include <oleauto.h>

#include <string>
#include <string_view>
#include <utility>

namespace qz::platform {

/// Code pages that the library converts from and to: the system's own, and UTF-8.
enum CodePage : unsigned { kAnsi = CP_ACP, kUtf8 = CP_UTF8 };

/// Owner of one BSTR.
class Bstr {
 public:
  /// No string.
  Bstr() noexcept = default;
  /// Takes ownership of `owned`, which may be null.
  explicit Bstr(BSTR owned) noexcept : text_(owned) {}
  /// A new string with the characters of `text`; throws std::bad_alloc when memory is short.
  explicit Bstr(std::wstring_view text);
  /// A new string converted from `text`; throws std::bad_alloc when memory is short.
  Bstr(std::string_view text, CodePage codePage);
  Bstr(Bstr&& other) noexcept : text_(other.release()) {}
  Bstr& operator=(Bstr&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~Bstr() { SysFreeString(text_); }

  /// The string, still owned; may be null.
  BSTR get() const noexcept { return text_; }
  /// Hands the string to the caller, who frees it.
  BSTR release() noexcept { return std::exchange(text_, nullptr); }
  /// Frees the string and takes ownership of `owned`.
  void reset(BSTR owned = nullptr) noexcept {
    if (owned != text_) SysFreeString(std::exchange(text_, owned));
  }
  /// Frees the string and returns where a COM operation may store a new one.
  BSTR* receive() noexcept {
    reset();
    return &text_;
  }
  /// The characters; none when there is no string.
  std::wstring_view view() const noexcept {
    return text_ == nullptr ? std::wstring_view() : std::wstring_view(text_, SysStringLen(text_));
  }

 private:
  BSTR text_ = nullptr;
};

/// The characters of a BSTR, which may be null, in the system's code page up to the first zero.
std::string ansiText(const wchar_t* text);

/// `text` in UTF-16. Bytes that mean nothing in the code page become the replacement character of the system.
std::wstring widen(std::string_view text, CodePage codePage);

/// `text` in a code page. Characters that it does not have become its default character.
std::string narrow(std::wstring_view text, CodePage codePage);

}  // namespace qz::platform
