#include <gtest/gtest.h>

#include <string>

#include "ITKBufferList.h"
#include "ITKFile.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/OwnVariant.h"
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

  static std::string streamOf(const List& list) {
    Buffer out;
    EXPECT_EQ(list.serializeTo(out, 0), 1);
    EXPECT_EQ(out.getType(), T::DT_LIST);
    return contentOf(out);
  }
  static std::string textsOf(const List& list) {
    Buffer out;
    list.toString(out);
    return contentOf(out);
  }
};
using Faces = testing::Types<ToolkitFace>;
TYPED_TEST_SUITE(BufferListTest, Faces);

TYPED_TEST(BufferListTest, StreamsHaveTheseBytes) {
  typename TestFixture::List list, outer, again;
  EXPECT_EQ(this->streamOf(list), "\x07\x00"s);
  list.add("hi");
  list.add(bufferOf<TypeParam>("\x2A\x00\x00\x00"s, T::DT_LONG));
  const auto inner = "\x07\x02\x01\x02\x00\x00\x00hi\x04\x04\x00\x00\x00\x2A\x00\x00\x00"s;
  EXPECT_EQ(this->streamOf(list), inner);
  EXPECT_EQ(outer.add(list), 0);
  EXPECT_EQ(this->streamOf(outer), "\x07\x01\x07\x12\x00\x00\x00"s + inner);
  EXPECT_EQ(again.serializeFrom(*outer.getAt(0)), 1);
  EXPECT_EQ(this->streamOf(again), inner);
}

TYPED_TEST(BufferListTest, GoesThroughACompressedStreamOfAnyType) {
  typename TestFixture::List list, again;
  typename TestFixture::Buffer packed, packedTwice;
  list.add(std::string(5000, 'a').c_str());
  ASSERT_EQ(list.serializeTo(packed, 6), 1);
  EXPECT_EQ(packed.getType(), T::DT_COMPRESSED);
  list.add(packed);
  ASSERT_EQ(list.serializeTo(packedTwice, 1), 1);
  EXPECT_LT(packedTwice.getLength(), 200);
  EXPECT_EQ(again.serializeFrom(bufferOf<TypeParam>(contentOf(packedTwice))), 1);
  EXPECT_EQ(this->streamOf(again), this->streamOf(list));
}

TYPED_TEST(BufferListTest, RefusedStreamsLeaveItEmpty) {
  typename TestFixture::List list;
  ToolkitLogWatch log;
  for (const auto& stream :
       {""s, "\x08\x00"s, "\x07\x02\x01\x02\x00\x00\x00hi\x04\x04\x00\x00\x00"s, "NIRA"s + std::string(20, '\0')}) {
    list.add("old");
    EXPECT_EQ(list.serializeFrom(bufferOf<TypeParam>(stream)), 0);
    EXPECT_EQ(list.getCount(), 0);
  }
  const auto noList = "received binary stream is not a list\n"s;
  EXPECT_EQ(log.messages(), noList + noList + noList + "the input data was corrupted\ndecompression failed\n");
}

TYPED_TEST(BufferListTest, MemoryStreamsCountModulo256AndFilesDoNot) {
  for (const long count : {255L, 256L, 257L}) {
    typename TestFixture::List list, again;
    for (long i = 0; i < count; ++i) list.add(std::to_string(i).c_str());
    EXPECT_EQ(again.serializeFrom(bufferOf<TypeParam>(this->streamOf(list))), 1);
    EXPECT_EQ(again.getCount(), count % 256);
    const ScratchFile scratch;
    ITKFile file;
    ASSERT_TRUE(file.openWrite(scratch.path()));
    EXPECT_EQ(list.serializeTo(file.getHandle()), 1);
    const char head[] = {7, static_cast<char>(count), static_cast<char>(count >> 8), 0, 0};
    EXPECT_EQ(scratch.content(), std::string(head, 5) + this->streamOf(list).substr(2));
    ASSERT_TRUE(file.openRead(scratch.path()));
    EXPECT_EQ(again.serializeFrom(file.getHandle()), 1);
    EXPECT_EQ(this->streamOf(again), this->streamOf(list));
  }
}

TYPED_TEST(BufferListTest, FilesThatAreNoListsAreRefused) {
  typename TestFixture::List list;
  for (const auto& bytes : {""s, "\x08\x00\x00\x00\x00"s, "\x07\x01\x00"s, "\x07\xFF\xFF\xFF\xFF"s,
                            "\x07\xFF\xFF\xFF\x7F\x01\x01\x00\x00\x00x"s}) {
    const ScratchFile scratch(bytes);
    ToolkitLogWatch log;
    ITKFile file;
    ASSERT_TRUE(file.openRead(scratch.path()));
    list.add("old");
    EXPECT_EQ(list.serializeFrom(file.getHandle()), 0);
    EXPECT_EQ(this->textsOf(list), bytes.ends_with("x") ? "x" : "");
    EXPECT_EQ(log.messages(),
              bytes.ends_with("x") ? "Failed to serialize a buffer from file\n" : "Input file is not a list\n");
    EXPECT_EQ(list.serializeTo(file.getHandle()), 0);
  }
}

TYPED_TEST(BufferListTest, KeepsOrderAndOwnership) {
  using Buffer = typename TestFixture::Buffer;
  typename TestFixture::List list, copied;
  for (const auto* text : {"a", "b", "c", "d"}) list.add(text);
  EXPECT_EQ(list.removeAt(1), 1);
  EXPECT_EQ(list.setAt(0, new Buffer("z")), 1);
  EXPECT_EQ(list.setAt(1, list.getAt(1)), 1);
  EXPECT_EQ(copied.copy(list), 1);
  EXPECT_EQ(this->streamOf(copied), this->streamOf(list));
  EXPECT_EQ(this->textsOf(copied), "zcd");
  ToolkitLogWatch log;
  EXPECT_TRUE(list.getAt(-1) == nullptr && list.getAt(3) == nullptr);
  Buffer kept("kept");
  EXPECT_EQ(list.setAt(3, &kept), 0);
  EXPECT_EQ(list.removeAt(-1), 0);
  EXPECT_EQ(log.messages(), "index [3] out of range\nindex [-1] out of range\n");
  EXPECT_EQ(list.add(static_cast<typename TypeParam::Buffer*>(nullptr)), -1);
  EXPECT_EQ(list.setAt(0, nullptr), 0);
  EXPECT_EQ(list.getCount(), 3);
}

TYPED_TEST(BufferListTest, MayBeItsOwnArgument) {
  typename TestFixture::List list;
  for (const auto& bytes : {"a\0"s, "b\0c"s}) list.add(bufferOf<TypeParam>(bytes, T::DT_TEXT));
  EXPECT_EQ(list.copy(list), 1);
  EXPECT_EQ(list.add(list), 2);
  const auto nested = contentOf(*list.getAt(2));
  EXPECT_EQ(list.serializeTo(*list.getAt(0), 0), 1);
  EXPECT_EQ(list.add(*list.getAt(2)), 3);
  EXPECT_EQ(list.serializeFrom(*list.getAt(3)), 1);
  EXPECT_EQ(this->streamOf(list), nested);
  EXPECT_EQ(this->textsOf(list), "ab");
}

TEST(BufferList, TakesStringsAndVariants) {
  ITKBufferList list, again;
  OwnVariant wide, stream, number;
  wide.vt = VT_BSTR, wide.bstrVal = SysAllocString(L"wide");
  number.vt = VT_I4;
  EXPECT_EQ(list.add(wide.bstrVal), 0);
  EXPECT_EQ(list.add(wide), 1);
  EXPECT_EQ(list.add(number), -1);
  EXPECT_EQ(list.serializeTo(stream), 1);
  EXPECT_EQ(again.serializeFrom(stream), 1);
  EXPECT_STREQ(again.getAt(1)->c_str(), "wide");
  EXPECT_EQ(list.serializeTo(stream), 0);
  EXPECT_EQ(again.serializeFrom(number), 0);
  EXPECT_EQ(list.add("first line", 1), 0);
  EXPECT_EQ(list.add("second line", 0), 1);
  EXPECT_TRUE(list.serializeOut(nullptr, 0) == 0 && list.serializeIn(nullptr) == 0);
}

TEST(BufferList, CarriesAQuarterOfAGigabyte) {
  constexpr long kSize = 256 * 1024 * 1024;
  ITKBuffer stream;
  ITKBufferList list;
  auto* large = new ITKBuffer;
  ASSERT_EQ(list.add(large), 0);
  ASSERT_NE(large->getBufferSetLen(kSize), nullptr);
  large->getBuffer()[kSize - 1] = 0x5A;
  ASSERT_EQ(list.serializeTo(stream, 0), 1);
  ASSERT_EQ(list.serializeFrom(stream), 1);
  EXPECT_EQ(list.getAt(0)->getBuffer()[kSize - 1], 0x5A);
}

}  // namespace
}  // namespace qz::test
