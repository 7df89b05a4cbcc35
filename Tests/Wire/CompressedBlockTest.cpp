#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

#include "References/Common/Bytes.h"
#include "References/Common/LittleEndian.h"
#include "References/Libraries/Wire/CompressedBlock.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;

constexpr ZlibFunctions kZlib{&::crc32, &::compress2, &::uncompress};
const std::string kContent = "abcabcabcabc";
const std::string kBlock =
    "NIRA\x0D\x00\x00\x00\x0C\x00\x00\x00\x81\x28\x31\x5A"
    "\x78\xDA\x4B\x4C\x4A\x4E\x84\x21\x00\x1D\xE0\x04\x99"s;

std::span<std::byte> roomIn(std::string& text) { return {reinterpret_cast<std::byte*>(text.data()), text.size()}; }

std::string compressed(std::string_view content, int level) {
  std::string block(kBlockHeaderSize + compressedBound(content.size()), '?');
  block.resize(compressBlock(kZlib, bytesOf(content), roomIn(block), level).value_or(0));
  return block;
}

// The restored content, or why there is none.
std::string restored(std::string_view block, const ZlibFunctions& zlib = kZlib) {
  const auto header = checkBlock(bytesOf(block));
  if (!header) return header.error().text();
  std::string content(header->uncompressedLength, '?');
  const auto outcome = decompressBlock(zlib, bytesOf(block), roomIn(content));
  return outcome ? content : outcome.error().text();
}

std::string withField(std::string block, std::size_t offset, std::uint32_t value) {
  storeLittle32(roomIn(block).data() + offset, value);
  return block;
}

// Content of other sizes and levels goes there and back through the faces.
TEST(CompressedBlock, HasTheseBytes) {
  EXPECT_EQ(compressed(kContent, 9), kBlock);
  EXPECT_EQ(restored(kBlock + "behind it"), kContent);
  EXPECT_EQ(restored(compressed({}, 1)), "");
}

TEST(CompressedBlock, IsKnownByItsHeaderAlone) {
  EXPECT_TRUE(isCompressed(bytesOf("NIRA5678901234567")));
  for (const auto* other : {"", "NIRA", "NIRA567890123456", "NIRB5678901234567"})
    EXPECT_EQ(restored(other), "Check failed");
}

TEST(CompressedBlock, EveryWrongFieldIsFound) {
  const auto packed = static_cast<std::uint32_t>(kBlock.size() - kBlockHeaderSize);
  const auto standard = static_cast<std::uint32_t>(::crc32(0, unsignedChars(bytesOf(kContent)), 12));
  const struct {
    std::size_t offset;
    std::uint32_t value;
    const char* failure;
  } cases[] = {{12, 0, "Checksum mismatch: input stream corrupted"},
               {12, standard, "Checksum mismatch: input stream corrupted"},
               {8, 13, "decompress buffer size mismatch: input stream corrupted"},
               {8, 11, "there was not enough room in the output buffer"},
               {8, packed * 1032 + 1, "the input data was corrupted"},
               {8, 0xFFFFFFFF, "the input data was corrupted"},
               {4, packed + 1, "the input data was corrupted"},
               {4, 0xFFFFFFFF, "the input data was corrupted"},
               {16, 0, "the input data was corrupted"}};
  for (const auto& c : cases)
    EXPECT_EQ(restored(withField(kBlock, c.offset, c.value)), c.failure) << c.offset << " " << c.value;
  EXPECT_EQ(restored(withField(withField(kBlock, 8, 13), 12, 0)), "Checksum mismatch: input stream corrupted");
}

TEST(CompressedBlock, NoCutStreamIsRestored) {
  for (auto size = kBlockHeaderSize + 1; size < kBlock.size(); ++size) {
    const auto cut = withField(kBlock.substr(0, size), 4, static_cast<std::uint32_t>(size - kBlockHeaderSize));
    EXPECT_NE(restored(cut), kContent) << size;
  }
}

int zlibAnswer = 0;

TEST(CompressedBlock, TellsWhatZlibSays) {
  const ZlibFunctions zlib{&::crc32, [](auto, auto, auto, auto, int) { return zlibAnswer; },
                           [](auto, auto, auto, auto) { return zlibAnswer; }};
  const struct {
    int answer;
    const char *compressing, *restoring;
  } cases[] = {{-5, "there was not enough room in the output buffer", "there was not enough room in the output buffer"},
               {-4, "there was not enough memory", "there was not enough memory"},
               {-3, "Unknown zlb error -3", "the input data was corrupted"},
               {-2, "the level parameter is invalid", "Unknown zlb error -2"},
               {2, "Unknown zlb error 2", "Unknown zlb error 2"}};
  for (const auto& c : cases) {
    zlibAnswer = c.answer;
    std::byte room[100];
    EXPECT_EQ(compressBlock(zlib, bytesOf(kContent), room, 1).error().text(), c.compressing);
    EXPECT_EQ(restored(kBlock, zlib), c.restoring);
  }
}

}  // namespace
}  // namespace qz::wire
