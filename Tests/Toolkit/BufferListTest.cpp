#include <gtest/gtest.h>

#include <string>

#include "ITKBufferList.h"
#include "ITKFile.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ToolkitLog.h"

namespace qz::test {
namespace {

using namespace std::string_literals;
using T = ITKBufferType;

template <class Face>
class BufferListTest : public testing::Test {
 public:
  using Buffer = typename Face::OwnBuffer;
  using List = typename Face::OwnBufferList;

  static void add(List& list, const std::string& bytes, unsigned char type) {
    list.add(Buffer(bytes.data(), static_cast<long>(bytes.size()), type));
  }
  static Buffer bufferOf(const std::string& bytes) {
    return Buffer(bytes.data(), static_cast<long>(bytes.size()), T::DT_LIST);
  }
  static std::string streamOf(const List& list) {
    Buffer out;
    EXPECT_EQ(list.serializeTo(out, 0), 1);
    EXPECT_EQ(out.getType(), T::DT_LIST);
    return contentOf(out);
  }
  static std::string textsOf(const List& list) {
    std::string texts;
    for (long i = 0; i < list.getCount(); ++i) texts += contentOf(*list.getAt(i)) + ";";
    return texts;
  }
};
using Faces = testing::Types<ToolkitFace>;
TYPED_TEST_SUITE(BufferListTest, Faces);

TYPED_TEST(BufferListTest, StreamsHaveTheseBytes) {
  typename TestFixture::List list, outer;
  EXPECT_EQ(this->streamOf(list), "\x07\x00"s);
  this->add(list, "hi", T::DT_TEXT);
  this->add(list, "\x2A\x00\x00\x00"s, T::DT_LONG);
  const auto inner = "\x07\x02\x01\x02\x00\x00\x00hi\x04\x04\x00\x00\x00\x2A\x00\x00\x00"s;
  EXPECT_EQ(this->streamOf(list), inner);
  EXPECT_EQ(outer.add(list), 0);
  EXPECT_EQ(this->streamOf(outer), "\x07\x01\x07\x12\x00\x00\x00"s + inner);
  typename TestFixture::List again;
  EXPECT_EQ(again.serializeFrom(*outer.getAt(0)), 1);
  EXPECT_EQ(this->textsOf(again), "hi;\x2A\x00\x00\x00;"s);
}

TYPED_TEST(BufferListTest, GoesThroughACompressedStreamOfAnyType) {
  typename TestFixture::List list, again;
  this->add(list, std::string(5000, 'a'), T::DT_TEXT);
  typename TestFixture::Buffer packed, packedTwice;
  ASSERT_EQ(list.serializeTo(packed, 6), 1);
  EXPECT_EQ(packed.getType(), T::DT_COMPRESSED);
  EXPECT_LT(packed.getLength(), 200);
  list.add(packed);
  ASSERT_EQ(list.serializeTo(packedTwice, 1), 1);
  EXPECT_EQ(again.serializeFrom(this->bufferOf(contentOf(packedTwice))), 1);
  EXPECT_EQ(again.getCount(), 2);
  EXPECT_EQ(contentOf(*again.getAt(1)), contentOf(packed));
  EXPECT_EQ(again.getAt(1)->getType(), T::DT_COMPRESSED);
}

TYPED_TEST(BufferListTest, RefusedStreamsLeaveItEmpty) {
  typename TestFixture::List list, valid;
  this->add(valid, "hi", T::DT_TEXT);
  this->add(valid, "1234", T::DT_LONG);
  const auto stream = this->streamOf(valid);
  for (std::size_t size = 0; size < stream.size(); ++size) {
    this->add(list, "old", T::DT_TEXT);
    EXPECT_EQ(list.serializeFrom(this->bufferOf(stream.substr(0, size))), 0) << size;
    EXPECT_EQ(list.getCount(), 0);
  }
  EXPECT_EQ(list.serializeFrom(this->bufferOf(stream + "more")), 1);
  ToolkitLogWatch log;
  EXPECT_EQ(list.serializeFrom(this->bufferOf("\x08\x00"s)), 0);
  EXPECT_EQ(list.serializeFrom(this->bufferOf("NIRA"s + std::string(20, '\0'))), 0);
  EXPECT_EQ(log.messages(),
            "received binary stream is not a list\nthe input data was corrupted\ndecompression failed\n");
}

TYPED_TEST(BufferListTest, MemoryStreamsCountModulo256AndFilesDoNot) {
  for (const long count : {255L, 256L, 257L}) {
    typename TestFixture::List list, fromMemory, fromFile;
    for (long i = 0; i < count; ++i) this->add(list, std::to_string(i), T::DT_TEXT);
    EXPECT_EQ(fromMemory.serializeFrom(this->bufferOf(this->streamOf(list))), 1);
    EXPECT_EQ(fromMemory.getCount(), count % 256);
    const ScratchFile scratch;
    ITKFile file;
    ASSERT_TRUE(file.openWrite(scratch.path()));
    EXPECT_EQ(list.serializeTo(file.getHandle()), 1);
    ASSERT_TRUE(file.openRead(scratch.path()));
    EXPECT_EQ(fromFile.serializeFrom(file.getHandle()), 1);
    EXPECT_EQ(this->textsOf(fromFile), this->textsOf(list));
  }
}

TYPED_TEST(BufferListTest, FilesThatAreNoListsAreRefused) {
  typename TestFixture::List list;
  ToolkitLogWatch log;
  for (const auto& bytes : {""s, "\x08\x00\x00\x00\x00"s, "\x07\x01\x00"s, "\x07\xFF\xFF\xFF\xFF"s,
                            "\x07\xFF\xFF\xFF\x7F\x01\x01\x00\x00\x00x"s}) {
    const ScratchFile scratch(bytes);
    ITKFile file;
    ASSERT_TRUE(file.openRead(scratch.path()));
    this->add(list, "old", T::DT_TEXT);
    EXPECT_EQ(list.serializeFrom(file.getHandle()), 0);
  }
  EXPECT_EQ(this->textsOf(list), "x;");
  EXPECT_EQ(list.serializeTo(INVALID_HANDLE_VALUE), 0);
  EXPECT_EQ(log.messages(),
            "Input file is not a list\nInput file is not a list\nInput file is not a list\nInput file is not a list\n"
            "Failed to serialize a buffer from file\nFailed to serialize a list to file\n");
}

TYPED_TEST(BufferListTest, KeepsOrderAndOwnership) {
  using Buffer = typename TestFixture::Buffer;
  typename TestFixture::List list;
  for (const auto* text : {"a", "b", "c"}) list.add(text);
  EXPECT_EQ(list.removeAt(1), 1);
  EXPECT_EQ(list.setAt(0, new Buffer("z")), 1);
  EXPECT_EQ(list.setAt(1, list.getAt(1)), 1);
  EXPECT_EQ(this->textsOf(list), "z;c;");
  ToolkitLogWatch log;
  EXPECT_EQ(list.getAt(-1), nullptr);
  EXPECT_EQ(list.getAt(2), nullptr);
  Buffer kept("kept");
  EXPECT_EQ(list.setAt(2, &kept), 0);
  EXPECT_EQ(list.removeAt(-1), 0);
  EXPECT_EQ(list.add(static_cast<typename TypeParam::Buffer*>(nullptr)), -1);
  EXPECT_EQ(list.setAt(0, nullptr), 0);
  EXPECT_EQ(
      log.messages(),
      "index [2] out of range\nindex [-1] out of range\nNULL pointer\nNULL pointer\nNULL pointer\nNULL pointer\n");
}

TYPED_TEST(BufferListTest, MayBeItsOwnArgument) {
  typename TestFixture::List list;
  list.add("a");
  list.add("b");
  EXPECT_EQ(list.copy(list), 1);
  EXPECT_EQ(list.add(list), 2);
  const auto nested = contentOf(*list.getAt(2));
  EXPECT_EQ(list.serializeTo(*list.getAt(0), 0), 1);
  EXPECT_EQ(list.add(*list.getAt(2)), 3);
  EXPECT_EQ(list.serializeFrom(*list.getAt(3)), 1);
  EXPECT_EQ(this->textsOf(list), "a;b;");
  EXPECT_EQ(nested, this->streamOf(list));
}

TYPED_TEST(BufferListTest, JoinsTextsUpToTheirTerminators) {
  typename TestFixture::List list, copied;
  this->add(list, "a\0"s, T::DT_TEXT);
  this->add(list, "", T::DT_TEXT);
  this->add(list, "b\0c"s, T::DT_BINARY);
  EXPECT_EQ(copied.copy(list), 1);
  typename TestFixture::Buffer out;
  out.write(">", true);
  copied.toString(out);
  EXPECT_STREQ(out.getStrBuffer(), ">ab");
  EXPECT_EQ(copied.getAt(2)->getType(), T::DT_BINARY);
}

TEST(BufferList, TakesStringsAndVariants) {
  ITKBufferList list, again;
  BSTR wide = SysAllocString(L"wide");
  EXPECT_EQ(list.add(wide), 0);
  SysFreeString(wide);
  VARIANT value;
  VariantInit(&value);
  EXPECT_EQ(list.serializeTo(value), 1);
  EXPECT_EQ(value.vt, VT_ARRAY | VT_UI1);
  EXPECT_EQ(list.add(value), 1);
  EXPECT_EQ(again.serializeFrom(value), 1);
  EXPECT_STREQ(again.getAt(0)->c_str(), "wide");
  EXPECT_EQ(list.serializeTo(value), 0);
  VariantClear(&value);
  EXPECT_EQ(again.serializeFrom(value), 0);
  EXPECT_EQ(list.add("first line", 1), 0);
  EXPECT_EQ(list.add("second line", 0), 1);
  EXPECT_EQ(list.serializeOut(nullptr, 0), 0);
  EXPECT_EQ(list.serializeIn(nullptr), 0);
  EXPECT_EQ(list.getCount(), 2);
}

TEST(BufferList, CarriesAQuarterOfAGigabyte) {
  constexpr long kSize = 256 * 1024 * 1024;
  ITKBuffer stream;
  {
    ITKBufferList list;
    auto* large = new ITKBuffer;
    ASSERT_NE(large->getBufferSetLen(kSize), nullptr);
    large->getBuffer()[kSize - 1] = 0x5A;
    ASSERT_EQ(list.add(large), 0);
    ASSERT_EQ(list.serializeTo(stream, 0), 1);
  }
  EXPECT_EQ(stream.getLength(), kSize + 7);
  ITKBufferList again;
  ASSERT_EQ(again.serializeFrom(stream), 1);
  EXPECT_EQ(again.getAt(0)->getBuffer()[kSize - 1], 0x5A);
}

}  // namespace
}  // namespace qz::test
