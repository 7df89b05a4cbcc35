// Integers as they stand in streams: least significant byte first, at any address.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qz {

static_assert(std::endian::native == std::endian::little, "the stream forms are written for little-endian machines");

/// Reads four bytes.
inline std::uint32_t loadLittle32(const std::byte* from) {
  std::uint32_t value = 0;
  std::memcpy(&value, from, sizeof value);
  return value;
}

/// Writes four bytes.
inline void storeLittle32(std::byte* to, std::uint32_t value) { std::memcpy(to, &value, sizeof value); }

}  // namespace qz
