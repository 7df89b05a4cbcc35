#include "References/Libraries/Wire/CompressedBlock.h"

#include "References/Common/Bytes.h"
#include "References/Common/LittleEndian.h"

namespace qz::wire {
namespace {

using Reason = BlockFailure::Reason;

// Deflate spends at least two bits on 258 bytes.
constexpr std::uint64_t kHighestRatio = 1032;

// zlib takes a null pointer for an error or for a request of its start value, even when the length is 0.
const std::byte kNothing[1] = {};

const unsigned char* neverNull(std::span<const std::byte> bytes) {
  return unsignedChars(bytes.empty() ? std::span<const std::byte>(kNothing) : bytes);
}

// zlib's results.
constexpr int kStreamError = -2, kDataError = -3, kMemoryError = -4, kBufferError = -5;

// One result means something in one direction only: `telling`.
BlockFailure zlibFailure(int result, int telling, Reason meaning) {
  if (result == telling) return {meaning, result};
  if (result == kBufferError) return {Reason::kNoRoom, result};
  if (result == kMemoryError) return {Reason::kNoMemory, result};
  return {Reason::kUnknown, result};
}

BlockFailure compressFailure(int result) { return zlibFailure(result, kStreamError, Reason::kBadLevel); }

BlockFailure decompressFailure(int result) { return zlibFailure(result, kDataError, Reason::kCorrupted); }

bool isPossible(const BlockHeader& header, std::size_t available) {
  return header.compressedLength <= available && header.uncompressedLength <= kLongestContent &&
         header.uncompressedLength <= kHighestRatio * header.compressedLength;
}

}  // namespace

std::string BlockFailure::text() const {
  switch (reason) {
    case Reason::kNotCompressed:
      return "Check failed";
    case Reason::kNoRoom:
      return "there was not enough room in the output buffer";
    case Reason::kNoMemory:
      return "there was not enough memory";
    case Reason::kBadLevel:
      return "the level parameter is invalid";
    case Reason::kCorrupted:
      return "the input data was corrupted";
    case Reason::kChecksum:
      return "Checksum mismatch: input stream corrupted";
    case Reason::kSize:
      return "decompress buffer size mismatch: input stream corrupted";
    case Reason::kUnknown:
      break;
  }
  return "Unknown zlb error " + std::to_string(zlibResult);
}

bool isCompressed(std::span<const std::byte> block) {
  return block.size() > kBlockHeaderSize && loadLittle32(block.data()) == kBlockMagic;
}

std::optional<BlockHeader> loadBlockHeader(std::span<const std::byte> block) {
  if (!isCompressed(block)) return std::nullopt;
  return BlockHeader{loadLittle32(block.data() + 4), loadLittle32(block.data() + 8), loadLittle32(block.data() + 12)};
}

void storeBlockHeader(std::byte* to, const BlockHeader& header) {
  storeLittle32(to, kBlockMagic);
  storeLittle32(to + 4, header.compressedLength);
  storeLittle32(to + 8, header.uncompressedLength);
  storeLittle32(to + 12, header.checksum);
}

std::size_t compressedBound(std::size_t length) {
  return static_cast<std::size_t>(static_cast<double>(length) * 1.1 + 12.0);
}

std::uint32_t blockChecksum(const ZlibFunctions& zlib, std::span<const std::byte> content) {
  return static_cast<std::uint32_t>(
      zlib.crc32(kBlockMagic, neverNull(content), static_cast<unsigned int>(content.size())));
}

tl::expected<std::size_t, BlockFailure> compressBlock(const ZlibFunctions& zlib, std::span<const std::byte> content,
                                                      std::span<std::byte> room, int level) {
  if (room.size() <= kBlockHeaderSize) return tl::unexpected(compressFailure(kBufferError));
  auto* stream = reinterpret_cast<unsigned char*>(room.data() + kBlockHeaderSize);
  auto length = static_cast<unsigned long>(room.size() - kBlockHeaderSize);
  const int result =
      zlib.compress2(stream, &length, neverNull(content), static_cast<unsigned long>(content.size()), level);
  if (result != 0) return tl::unexpected(compressFailure(result));
  storeBlockHeader(room.data(), {static_cast<std::uint32_t>(length), static_cast<std::uint32_t>(content.size()),
                                 blockChecksum(zlib, content)});
  return kBlockHeaderSize + length;
}

tl::expected<BlockHeader, BlockFailure> checkBlock(std::span<const std::byte> block) {
  const auto header = loadBlockHeader(block);
  if (!header) return tl::unexpected(BlockFailure{Reason::kNotCompressed});
  if (!isPossible(*header, block.size() - kBlockHeaderSize)) return tl::unexpected(BlockFailure{Reason::kCorrupted});
  return *header;
}

tl::expected<void, BlockFailure> decompressBlock(const ZlibFunctions& zlib, std::span<const std::byte> block,
                                                 std::span<std::byte> content) {
  const auto header = checkBlock(block);
  if (!header) return tl::unexpected(header.error());
  if (content.size() != header->uncompressedLength) return tl::unexpected(BlockFailure{Reason::kSize});
  std::byte none[1];
  const auto room = content.empty() ? std::span(none) : content;
  auto length = static_cast<unsigned long>(content.size());
  const int result = zlib.uncompress(reinterpret_cast<unsigned char*>(room.data()), &length,
                                     unsignedChars(block.subspan(kBlockHeaderSize)), header->compressedLength);
  if (result != 0) return tl::unexpected(decompressFailure(result));
  if (blockChecksum(zlib, content.first(length)) != header->checksum)
    return tl::unexpected(BlockFailure{Reason::kChecksum});
  if (length != header->uncompressedLength) return tl::unexpected(BlockFailure{Reason::kSize});
  return {};
}

}  // namespace qz::wire
