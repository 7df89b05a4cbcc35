// Text and raw memory seen as bytes.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

namespace qz {

/// The bytes of a text.
inline std::span<const std::byte> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::byte*>(text.data()), text.size()};
}

/// `length` bytes at `data`, which may be null when the length is not above 0: then no bytes.
inline std::span<const std::byte> bytesAt(const void* data, long length) {
  if (data == nullptr || length <= 0) return {};
  return {static_cast<const std::byte*>(data), static_cast<std::size_t>(length)};
}

/// The content of a buffer.
template <class Buffer>
std::span<const std::byte> contentOf(const Buffer& buffer) {
  return bytesAt(buffer.getBuffer(), buffer.getLength());
}

/// Bytes seen as text.
inline std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The text in bytes up to their first zero byte, or all of it.
inline std::string_view textUpToZero(std::span<const std::byte> bytes) {
  const auto text = textOf(bytes);
  return text.substr(0, text.find('\0'));
}

/// Copies bytes; none may come from a null pointer.
inline void copyBytes(void* to, std::span<const std::byte> from) {
  if (!from.empty()) std::memcpy(to, from.data(), from.size());
}

/// Type of the object representation that zlib and the buffers speak.
inline const unsigned char* unsignedChars(std::span<const std::byte> bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

}  // namespace qz
