// Compressed blocks made and restored where they stay.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "References/Common/ByteBlockOps.h"
#include "References/Libraries/Wire/CompressedBlock.h"

namespace qz::platform {

/// Replaces what `block` holds by `content` as a compressed block, DT_COMPRESSED. The content lies elsewhere.
/// @param room bytes that the compressed data may take
template <class Rules>
tl::expected<void, wire::BlockFailure> compressInto(ByteBlock& block, const wire::ZlibFunctions& zlib,
                                                    std::span<const std::byte> content, std::size_t room, int level) {
  using Ops = ByteBlockOps<Rules>;
  // A size beyond a signed number becomes one that no heap can satisfy.
  const auto size =
      std::min<std::uint64_t>(std::uint64_t{wire::kBlockHeaderSize} + room, std::numeric_limits<std::int32_t>::max());
  if (!Ops::reset(block, static_cast<long>(size), ITKBufferType::DT_COMPRESSED))
    return tl::unexpected(wire::BlockFailure{wire::BlockFailure::Reason::kNoMemory});
  const auto used = wire::compressBlock(
      zlib, content, {reinterpret_cast<std::byte*>(block.data), static_cast<std::size_t>(size)}, level);
  if (!used) return tl::unexpected(used.error());
  block.length = static_cast<long>(*used);
  Ops::fit(block);
  return {};
}

/// Restores the content of a compressed block.
/// @param makeRoom called with the length of the content once the block's header is known to be sound; returns where the
///   content is to go, or null
template <class MakeRoom>
tl::expected<void, wire::BlockFailure> decompressInto(MakeRoom&& makeRoom, const wire::ZlibFunctions& zlib,
                                                      std::span<const std::byte> block) {
  const auto header = wire::checkBlock(block);
  if (!header) return tl::unexpected(header.error());
  const std::size_t length = header->uncompressedLength;
  auto* const room = reinterpret_cast<std::byte*>(makeRoom(static_cast<long>(length)));
  if (room == nullptr && length > 0) return tl::unexpected(wire::BlockFailure{wire::BlockFailure::Reason::kNoMemory});
  return wire::decompressBlock(zlib, block, {room, length});
}

}  // namespace qz::platform
