// The compressed block: a header of 16 bytes ("NIRA", compressed length, uncompressed length, checksum; little-endian)
// and a zlib stream. zlib itself is handed in, since one face links it and the other loads it at run time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <tl/expected.hpp>

namespace qz::wire {

/// The zlib functions that the library uses.
struct ZlibFunctions {
  unsigned long (*crc32)(unsigned long start, const unsigned char* from, unsigned int length);
  int (*compress2)(unsigned char* to, unsigned long* toLength, const unsigned char* from, unsigned long fromLength,
                   int level);
  int (*uncompress)(unsigned char* to, unsigned long* toLength, const unsigned char* from, unsigned long fromLength);
};

/// Size of the header.
inline constexpr std::size_t kBlockHeaderSize = 16;
/// "NIRA" as a number; also the start value of the checksum.
inline constexpr std::uint32_t kBlockMagic = 0x4152494E;
/// The longest content that a buffer can hold.
inline constexpr std::uint32_t kLongestContent = 0x7FFFFFFD;

/// The fields behind the magic.
struct BlockHeader {
  std::uint32_t compressedLength = 0;
  std::uint32_t uncompressedLength = 0;
  std::uint32_t checksum = 0;
};

/// Why a block could not be made or restored.
struct BlockFailure {
  enum class Reason { kNotCompressed, kNoRoom, kNoMemory, kBadLevel, kCorrupted, kUnknown, kChecksum, kSize };

  Reason reason = Reason::kUnknown;
  int zlibResult = 0;  ///< what zlib returned, 0 when it was not asked or content with the data

  /// The text for the log.
  std::string text() const;
};

/// True when there are more than 16 bytes and the first four are "NIRA".
bool isCompressed(std::span<const std::byte> block);

/// The header fields; null unless isCompressed().
std::optional<BlockHeader> loadBlockHeader(std::span<const std::byte> block);

/// Writes the 16 header bytes to `to`.
void storeBlockHeader(std::byte* to, const BlockHeader& header);

/// The room that compressing `length` bytes is given: a tenth and 12 bytes more, header not included.
std::size_t compressedBound(std::size_t length);

/// Checksum of uncompressed bytes.
std::uint32_t blockChecksum(const ZlibFunctions& zlib, std::span<const std::byte> content);

/// Compresses `content` to a whole block in `room`, whose size is the header's plus what zlib may use.
/// @param level zlib's 0 to 9, or -1
/// @return size of the block
tl::expected<std::size_t, BlockFailure> compressBlock(const ZlibFunctions& zlib, std::span<const std::byte> content,
                                                      std::span<std::byte> room, int level);

/// The header of a block that may be restored: the compressed bytes are all there, and the announced content is neither
/// longer than a buffer can hold nor than deflate can pack into them.
tl::expected<BlockHeader, BlockFailure> checkBlock(std::span<const std::byte> block);

/// Restores a checked block into `content`, whose size must be the announced one. On failure the bytes are undefined.
tl::expected<void, BlockFailure> decompressBlock(const ZlibFunctions& zlib, std::span<const std::byte> block,
                                                 std::span<std::byte> content);

}  // namespace qz::wire
