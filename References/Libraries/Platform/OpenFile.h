// Whole reads and writes on an open file that somebody else owns, and of a whole file.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qz::platform {

/// Writes all bytes; false at the first failure (GetLastError() tells why).
bool writeAll(HANDLE file, std::span<const std::byte> bytes) noexcept;

/// Reads until `bytes` is full; false when a read fails or the file ends too early (GetLastError() tells why).
bool readAll(HANDLE file, std::span<std::byte> bytes) noexcept;

/// Makes `error` what GetLastError() tells; false.
bool failWith(unsigned long error) noexcept;

/// How many bytes of a disk file lie behind the current position; null for pipes and everything else without a size.
std::optional<std::uint64_t> bytesLeft(HANDLE file) noexcept;

/// The whole content of a disk file; null when it cannot be read.
std::optional<std::string> readFile(const char* path);

}  // namespace qz::platform
