// Texts in the encodings of the system.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qzcall {

/// UTF-8 of UTF-16.
std::string utf8Of(std::wstring_view text);

/// UTF-16 of UTF-8, as far as `text` is that.
std::wstring wideOf(std::string_view text);

/// `text`, UTF-8, in the ANSI code page, by which the library opens files. Nothing when that lacks a character.
std::optional<std::string> ansiOf(std::string_view text);

}  // namespace qzcall
