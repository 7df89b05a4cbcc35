// Compressed blocks, made and restored by each face with a zlib of its own.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

#include "Tests/Support/Faces.h"

namespace qz::test {
namespace {

using T = ITKBufferType;

bool compress(const ITKBuffer& source, ITKBuffer& target, int level) {
  return ITKBuffer::compress(source, target, level);
}
bool compress(const CqzBuffer& source, CqzBuffer& target, int level) {
  return rpcSOAPCompress(&source, &target, level) == 1;
}
bool decompress(const ITKBuffer& source, ITKBuffer& target) { return ITKBuffer::decompress(source, target); }
bool decompress(const CqzBuffer& source, CqzBuffer& target) { return rpcSOAPDecompress(&source, &target) == 1; }

// The toolkit tells a failed check again where it is caught.
std::string noBlock(ToolkitFace) { return "Check failed\nCheck failed\n"; }
std::string noBlock(FlatFace) { return FlatFace::logged("decompress", "Check failed"); }

template <class Face>
class CompressionTest : public FaceTest<Face> {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(rpcSOAPInitialize()); }
};
TYPED_TEST_SUITE(CompressionTest, BothFaces);

TYPED_TEST(CompressionTest, GoesThereAndBackInBlocksThatBothFacesMake) {
  std::string mixed(50000, 'c');
  for (std::size_t i = 0; i < mixed.size() / 2; ++i) mixed[i] = static_cast<char>(i * i / 7);
  for (const int level : {-1, 0, 1, 9})
    for (const std::string& content : {std::string(), std::string("x"), mixed}) {
      auto &source = this->buffer(content), &packed = this->buffer(), &restored = this->buffer("", T::DT_LONG);
      ASSERT_TRUE(compress(source, packed, level) && decompress(packed, restored));
      EXPECT_EQ(packed.getType(), T::DT_COMPRESSED);
      EXPECT_EQ(restored.getType(), T::DT_LONG);
      EXPECT_TRUE(contentOf(restored) == content);
      ITKBuffer linked;
      ASSERT_TRUE(ITKBuffer::compress(ITKBuffer(content.data(), source.getLength(), T::DT_BINARY), linked, level));
      EXPECT_TRUE(contentOf(packed) == contentOf(linked));
      ASSERT_TRUE(compress(source, source, level) && decompress(source, source));
      EXPECT_TRUE(contentOf(source) == content);
      EXPECT_EQ(source.getType(), T::DT_COMPRESSED);
    }
}

TYPED_TEST(CompressionTest, GivesBackTheRoomThatWasNotNeeded) {
  auto &source = this->buffer(std::string(50000, 'c')), &packed = this->buffer();
  ASSERT_TRUE(compress(source, packed, 9));
  long capacity = 0, length = 0;
  unsigned char type = 0, *bytes = nullptr;
  packed.detach(capacity, length, type, bytes);
  EXPECT_EQ(capacity, length);
  EXPECT_LT(HeapSize(GetProcessHeap(), 0, bytes), 200u);
  HeapFree(GetProcessHeap(), 0, bytes);
}

TYPED_TEST(CompressionTest, TellsWhyABlockIsNotMadeOrRestored) {
  auto &packed = this->buffer(), &target = this->buffer("before");
  ASSERT_TRUE(compress(this->buffer("content"), packed, 1));
  const auto log = TypeParam::watchLog();
  EXPECT_FALSE(decompress(this->buffer("NIRA but no block"), target));
  EXPECT_FALSE(decompress(this->buffer("content"), target));
  EXPECT_FALSE(compress(packed, target, 99));
  EXPECT_EQ(contentOf(target), "before");
  packed.getBuffer()[12] ^= 1;
  EXPECT_FALSE(decompress(packed, target));
  EXPECT_EQ(target.getLength(), 7);
  EXPECT_EQ(log.messages(), TypeParam::logged("decompress", "the input data was corrupted") + noBlock(TypeParam()) +
                                TypeParam::logged("compress", "the level parameter is invalid") +
                                TypeParam::logged("decompress", "Checksum mismatch: input stream corrupted"));
}

TEST(FlatCompression, TakesNoNull) {
  const CqzBuffer00 buffer;
  const auto log = FlatFace::watchLog();
  EXPECT_EQ(rpcSOAPCompress(nullptr, buffer, 1), 0);
  EXPECT_EQ(rpcSOAPCompress(buffer, nullptr, 1), 0);
  EXPECT_EQ(rpcSOAPDecompress(nullptr, buffer), 0);
  EXPECT_EQ(rpcSOAPDecompress(buffer, nullptr), 0);
  std::string expected;
  for (const char* function : {"rpcSOAPCompress", "rpcSOAPCompress", "rpcSOAPDecompress", "rpcSOAPDecompress"})
    expected += FlatFace::logged(function, "NULL pointer passed in");
  EXPECT_EQ(log.messages(), expected);
}

}  // namespace
}  // namespace qz::test
