// Text and byte helpers of the command-line client.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qzcall {

using Bytes = std::span<const unsigned char>;

/// True when `text` is well-formed UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(std::string_view text);

/// Length of the UTF-8 sequence at the head of `text`, which is not empty; 0 when there is none.
std::size_t sequenceLength(std::string_view text);

/// The character of a UTF-8 sequence.
std::uint32_t characterOf(std::string_view sequence);

/// Control characters, and those that turn the direction of what stands around them or have no width.
bool isHidden(std::uint32_t character);

/// Two lower-case digits per byte, no separators.
std::string toHex(Bytes bytes);

/// The bytes of an even number of hexadecimal digits of either case; nothing else is accepted. Empty text gives no
/// bytes.
std::optional<std::vector<unsigned char>> fromHex(std::string_view digits);

/// `text` for a terminal: hidden characters and bytes that are no UTF-8 become \n, \t, \\ or \xNN, and what does not fit in
/// `limit` characters is replaced by a note of its size.
std::string forTerminal(std::string_view text, std::size_t limit);

/// The lines of `text` without their line ends; trailing empty lines are dropped.
std::vector<std::string_view> linesOf(std::string_view text);

}  // namespace qzcall
