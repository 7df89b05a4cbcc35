// The stream form of one buffer in a file: type (1 byte), length (4 bytes, signed, little-endian), bytes.
#pragma once

#include <windows.h>

#include <algorithm>
#include <array>

#include "References/Common/ByteBlockOps.h"
#include "References/Common/LittleEndian.h"
#include "References/Libraries/Platform/OpenFile.h"

namespace qz::platform {

/// Writes the stream form; false at the first failed write (GetLastError() tells why).
inline bool writeBlock(HANDLE file, const ByteBlock& block) noexcept {
  std::array<std::byte, 5> head;
  head[0] = std::byte{block.type};
  storeLittle32(&head[1], static_cast<std::uint32_t>(block.length));
  return writeAll(file, head) && writeAll(file, bytesAt(block.data, block.length));
}

/// Appends `n` bytes from the file. What a disk file cannot hold is refused at once; from anything else the block grows
/// as the bytes arrive.
template <class Rules>
bool appendFromFile(HANDLE file, ByteBlock& block, long n) {
  using Ops = ByteBlockOps<Rules>;
  constexpr long kFirstStep = 64 * 1024;
  if (n == 0) return Ops::grow(block, 0) || failWith(ERROR_OUTOFMEMORY);
  const auto left = bytesLeft(file);
  if (left && *left < static_cast<std::uint64_t>(n)) return failWith(ERROR_HANDLE_EOF);
  for (long missing = n; missing > 0;) {
    const long at = block.length;
    const long step = left ? missing : std::min(missing, std::max(at, kFirstStep));
    if (!Ops::setLength(block, at + step)) return failWith(ERROR_OUTOFMEMORY);
    if (!readAll(file, {reinterpret_cast<std::byte*>(block.data) + at, static_cast<std::size_t>(step)})) return false;
    missing -= step;
  }
  return true;
}

/// Replaces the block by what the stream form at the current position holds. False when a read fails, the length is
/// negative or the file ends too early (GetLastError() tells why): the block is then empty, with the type that was read
/// if one was.
template <class Rules>
bool readBlock(HANDLE file, ByteBlock& block) {
  using Ops = ByteBlockOps<Rules>;
  std::array<std::byte, 5> head;
  Ops::destroy(block);
  if (!readAll(file, std::span(head).first(1))) return false;
  block.type = std::to_integer<unsigned char>(head[0]);
  if (!readAll(file, std::span(head).subspan(1))) return false;
  const auto length = static_cast<std::int32_t>(loadLittle32(&head[1]));
  if (length >= 0 && appendFromFile<Rules>(file, block, length)) return true;
  const DWORD error = length < 0 ? ERROR_INVALID_DATA : GetLastError();
  Ops::destroy(block);
  return failWith(error);
}

}  // namespace qz::platform
