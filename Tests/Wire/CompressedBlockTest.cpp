#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "References/Common/Bytes.h"
#include "References/Common/LittleEndian.h"
#include "References/Libraries/Wire/CompressedBlock.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;
using Reason = BlockFailure::Reason;

constexpr ZlibFunctions kZlib{&::compress2, &::uncompress, &::crc32};

std::string compressed(std::string_view content, int level = 6) {
  std::string room(kBlockHeaderSize + compressedBound(content.size()), '?');
  const auto size =
      compressBlock(kZlib, bytesOf(content), {reinterpret_cast<std::byte*>(room.data()), room.size()}, level);
  EXPECT_TRUE(size.has_value());
  room.resize(size.value_or(0));
  return room;
}

tl::expected<std::string, BlockFailure> decompressed(std::string_view block) {
  const auto header = checkBlock(bytesOf(block));
  if (!header) return tl::unexpected(header.error());
  std::string content(header->uncompressedLength, '?');
  const auto outcome =
      decompressBlock(kZlib, bytesOf(block), {reinterpret_cast<std::byte*>(content.data()), content.size()});
  if (!outcome) return tl::unexpected(outcome.error());
  return content;
}

std::string little(std::uint32_t value) {
  std::string text(4, '\0');
  storeLittle32(reinterpret_cast<std::byte*>(text.data()), value);
  return text;
}

std::string withField(std::string block, std::size_t offset, std::uint32_t value) {
  return block.replace(offset, 4, little(value));
}

std::string failureOf(std::string_view block) {
  const auto outcome = decompressed(block);
  return outcome ? "none" : outcome.error().text();
}

std::string randomText(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string text(size, '\0');
  for (auto& c : text) c = static_cast<char>(random() & (seed % 2 == 0 ? 0xFF : 0x03));
  return text;
}

TEST(CompressedBlock, IsAHeaderAndWhatZlibMakes) {
  const auto content = "to be packed, to be packed, to be packed"s;
  std::string stream(200, '\0');
  uLongf size = stream.size();
  const auto* bytes = reinterpret_cast<const Bytef*>(content.data());
  ASSERT_EQ(::compress2(reinterpret_cast<Bytef*>(stream.data()), &size, bytes, content.size(), 9), Z_OK);
  const auto crc = static_cast<std::uint32_t>(::crc32(0x4152494E, bytes, static_cast<uInt>(content.size())));
  EXPECT_EQ(compressed(content, 9), "NIRA" + little(static_cast<std::uint32_t>(size)) +
                                        little(static_cast<std::uint32_t>(content.size())) + little(crc) +
                                        stream.substr(0, size));
}

TEST(CompressedBlock, RestoresContentOfAnySizeAtAnyLevel) {
  unsigned seed = 0;
  for (const std::size_t size : {0u, 1u, 15u, 16u, 1000u, 65535u, 70000u})
    for (const int level : {-1, 0, 1, 9})
      for (int round = 0; round < 2; ++round) {
        const auto content = randomText(size, seed++);
        const auto block = compressed(content, level);
        EXPECT_TRUE(isCompressed(bytesOf(block)));
        EXPECT_EQ(decompressed(block).value_or("failed"), content) << size << " " << level;
        EXPECT_EQ(decompressed(block + "behind it").value_or("failed"), content);
      }
  EXPECT_EQ(loadBlockHeader(bytesOf(compressed("")))->checksum, kBlockMagic);
}

TEST(CompressedBlock, IsKnownByItsHeaderAlone) {
  EXPECT_FALSE(isCompressed(bytesOf("NIRA567890123456"s)));
  EXPECT_TRUE(isCompressed(bytesOf("NIRA5678901234567"s)));
  EXPECT_FALSE(isCompressed(bytesOf("NIRB5678901234567"s)));
  EXPECT_EQ(failureOf("NIRA"), "Check failed");
  EXPECT_EQ(failureOf(""), "Check failed");
}

TEST(CompressedBlock, EveryWrongFieldIsFound) {
  const auto block = compressed(std::string(500, 'a') + randomText(100, 2));
  const auto packed = static_cast<std::uint32_t>(block.size() - kBlockHeaderSize);
  const auto checksum = loadBlockHeader(bytesOf(block))->checksum;
  const auto corrupted = "the input data was corrupted"s;
  EXPECT_EQ(failureOf(withField(block, 12, checksum ^ 1)), "Checksum mismatch: input stream corrupted");
  EXPECT_EQ(failureOf(withField(block, 8, 601)), "decompress buffer size mismatch: input stream corrupted");
  EXPECT_EQ(failureOf(withField(block, 8, 599)), "there was not enough room in the output buffer");
  EXPECT_EQ(failureOf(withField(block, 8, 0)), "there was not enough room in the output buffer");
  for (const std::uint32_t length : {0x7FFFFFFEu, 0x80000000u, 0xFFFFFFFFu, packed * 1032 + 1})
    EXPECT_EQ(failureOf(withField(block, 8, length)), corrupted) << length;
  for (const std::uint32_t length : {packed + 1, 0x80000000u, 0xFFFFFFFFu})
    EXPECT_EQ(failureOf(withField(block, 4, length)), corrupted) << length;
  EXPECT_NE(failureOf(withField(block, 4, packed - 1)), "none");
  EXPECT_EQ(failureOf(withField(block, 16, 0)), corrupted);
}

TEST(CompressedBlock, ChecksumMustHaveBeenStartedWithTheMagic) {
  const auto content = "content"s;
  const auto standard = static_cast<std::uint32_t>(::crc32(0, reinterpret_cast<const Bytef*>(content.data()), 7));
  EXPECT_EQ(failureOf(withField(compressed(content), 12, standard)), "Checksum mismatch: input stream corrupted");
}

TEST(CompressedBlock, NoCutBlockIsRestored) {
  const auto block = compressed(randomText(300, 4));
  for (std::size_t size = 0; size < block.size(); ++size) {
    EXPECT_NE(failureOf(block.substr(0, size)), "none") << size;
    if (size <= kBlockHeaderSize) continue;
    const auto honest = withField(block.substr(0, size), 4, static_cast<std::uint32_t>(size - kBlockHeaderSize));
    EXPECT_NE(failureOf(honest), "none") << size;
  }
}

TEST(CompressedBlock, TellsWhyItCannotBeMade) {
  std::byte room[400];
  const auto content = randomText(300, 6);
  const auto failure = [&](std::size_t size, int level) {
    const auto outcome = compressBlock(kZlib, bytesOf(content), std::span(room).first(size), level);
    return outcome ? "none" : outcome.error().text();
  };
  EXPECT_EQ(failure(400, 10), "the level parameter is invalid");
  EXPECT_EQ(failure(100, 1), "there was not enough room in the output buffer");
  EXPECT_EQ(failure(16, 1), "there was not enough room in the output buffer");
  EXPECT_EQ((BlockFailure{Reason::kNoMemory, -4}.text()), "there was not enough memory");
  EXPECT_EQ((BlockFailure{Reason::kUnknown, 2}.text()), "Unknown zlb error 2");
}

}  // namespace
}  // namespace qz::wire
