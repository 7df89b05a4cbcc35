#include <gtest/gtest.h>

#include <string>

#include "ITKFile.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/OwnVariant.h"
#include "Tests/Support/ScratchFile.h"

namespace qz::test {
namespace {

using namespace std::string_literals;
using T = ITKBufferType;

template <class Face>
class BufferListTest : public FaceTest<Face> {
 public:
  using typename FaceTest<Face>::List;

  std::string streamOf(const List& list) {
    auto& out = this->buffer();
    EXPECT_EQ(list.serializeTo(out, 0), 1);
    EXPECT_EQ(out.getType(), T::DT_LIST);
    return contentOf(out);
  }
  std::string textsOf(const List& list) {
    auto& out = this->buffer();
    list.toString(out);
    return contentOf(out);
  }
};
TYPED_TEST_SUITE(BufferListTest, BothFaces);

TYPED_TEST(BufferListTest, GoesThroughACompressedStreamOfAnyType) {
  auto &list = this->list(), &again = this->list();
  auto &packed = this->buffer(), &packedTwice = this->buffer();
  list.add(std::string(5000, 'a').c_str());
  ASSERT_EQ(list.serializeTo(packed, 6), 1);
  EXPECT_EQ(packed.getType(), T::DT_COMPRESSED);
  list.add(packed);
  ASSERT_EQ(list.serializeTo(packedTwice, 1), 1);
  EXPECT_LT(packedTwice.getLength(), 200);
  EXPECT_EQ(again.serializeFrom(this->buffer(contentOf(packedTwice))), 1);
  EXPECT_EQ(this->streamOf(again), this->streamOf(list));
}

TYPED_TEST(BufferListTest, RefusedStreamsLeaveItEmpty) {
  auto& list = this->list();
  const auto log = TypeParam::watchLog();
  for (const auto& stream :
       {""s, "\x08\x00"s, "\x07\x02\x01\x02\x00\x00\x00hi\x04\x04\x00\x00\x00"s, "NIRA"s + std::string(20, '\0')}) {
    list.add("old");
    EXPECT_EQ(list.serializeFrom(this->buffer(stream)), 0);
    EXPECT_EQ(list.getCount(), 0);
  }
  const auto noList = TypeParam::logged("serializeIn", "received binary stream is not a list");
  EXPECT_EQ(log.messages(), noList + noList + noList + TypeParam::logged("decompress", "the input data was corrupted") +
                                TypeParam::logged("serializeIn", "decompression failed"));
}

TYPED_TEST(BufferListTest, MemoryStreamsCountModulo256AndFilesDoNot) {
  for (const long count : {255L, 256L, 257L}) {
    auto &list = this->list(), &again = this->list();
    for (long i = 0; i < count; ++i) list.add(std::to_string(i).c_str());
    EXPECT_EQ(again.serializeFrom(this->buffer(this->streamOf(list))), 1);
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
  auto& list = this->list();
  for (const auto& bytes : {""s, "\x08\x00\x00\x00\x00"s, "\x07\x01\x00"s, "\x07\xFF\xFF\xFF\xFF"s,
                            "\x07\xFF\xFF\xFF\x7F\x01\x01\x00\x00\x00x"s}) {
    const ScratchFile scratch(bytes);
    const auto log = TypeParam::watchLog();
    ITKFile file;
    ASSERT_TRUE(file.openRead(scratch.path()));
    list.add("old");
    EXPECT_EQ(list.serializeFrom(file.getHandle()), 0);
    EXPECT_EQ(this->textsOf(list), bytes.ends_with("x") ? "x" : "");
    EXPECT_TRUE(log.messages().ends_with(TypeParam::logged(
        "serializeIn", bytes.ends_with("x") ? "Failed to serialize a buffer from file" : "Input file is not a list")));
    EXPECT_EQ(list.serializeTo(file.getHandle()), 0);
  }
}

TYPED_TEST(BufferListTest, KeepsOrderAndOwnership) {
  auto &list = this->list(), &copied = this->list();
  for (const auto* text : {"a", "b", "c", "d"}) list.add(text);
  EXPECT_EQ(list.removeAt(1), 1);
  auto z = TypeParam::makeBuffer(), kept = TypeParam::makeBuffer();
  z->write("z", true);
  EXPECT_EQ(list.setAt(0, z.release()), 1);
  EXPECT_EQ(list.setAt(1, list.getAt(1)), 1);
  EXPECT_EQ(copied.copy(list), 1);
  EXPECT_EQ(this->streamOf(copied), this->streamOf(list));
  EXPECT_EQ(this->textsOf(copied), "zcd");
  const auto log = TypeParam::watchLog();
  EXPECT_TRUE(list.getAt(-1) == nullptr && list.getAt(3) == nullptr);
  EXPECT_EQ(list.setAt(3, kept.get()), 0);
  EXPECT_EQ(list.removeAt(-1), 0);
  EXPECT_EQ(log.messages(), TypeParam::logged("setAt", "index [3] out of range") +
                                TypeParam::logged("removeAt", "index [-1] out of range"));
  EXPECT_EQ(list.add(static_cast<typename TypeParam::Buffer*>(nullptr)), -1);
  EXPECT_EQ(list.setAt(0, nullptr), 0);
  EXPECT_EQ(list.getCount(), 3);
}

TYPED_TEST(BufferListTest, MayBeItsOwnArgument) {
  auto& list = this->list();
  for (const auto& bytes : {"a\0"s, "b\0c"s}) list.add(this->buffer(bytes, T::DT_TEXT));
  EXPECT_EQ(list.copy(list), 1);
  EXPECT_EQ(list.add(list), 2);
  const auto nested = contentOf(*list.getAt(2));
  EXPECT_EQ(list.serializeTo(*list.getAt(0), 0), 1);
  EXPECT_EQ(list.add(*list.getAt(2)), 3);
  EXPECT_EQ(list.serializeFrom(*list.getAt(3)), 1);
  EXPECT_EQ(this->streamOf(list), nested);
  EXPECT_EQ(this->textsOf(list), "ab");
}

TYPED_TEST(BufferListTest, TakesStringsAndVariants) {
  auto &list = this->list(), &again = this->list();
  OwnVariant wide, stream, number;
  wide.vt = VT_BSTR, wide.bstrVal = SysAllocString(L"wide");
  number.vt = VT_I4;
  EXPECT_EQ(list.add(wide.bstrVal), 0);
  EXPECT_EQ(list.add(wide), 1);
  EXPECT_EQ(list.add(number), -1);
  EXPECT_EQ(list.add(static_cast<const char*>(nullptr)), 2);
  EXPECT_EQ(list.serializeTo(stream), 1);
  EXPECT_EQ(again.serializeFrom(stream), 1);
  EXPECT_EQ(this->streamOf(again), "\x07\x03\x01\x04\x00\x00\x00wide\x01\x04\x00\x00\x00wide\x01\x00\x00\x00\x00"s);
  EXPECT_EQ(list.serializeTo(stream), 0);
  EXPECT_EQ(again.serializeFrom(number), 0);
  EXPECT_EQ(again.getCount(), 0);
  EXPECT_EQ(list.add(list.getAt(0)->getStrBuffer(), -1), 0);
  EXPECT_EQ(list.add(" line", 0), 1);
  EXPECT_EQ(this->textsOf(list), "wide line");
}

TEST(FlatBufferList, NamesTheMissingObject) {
  const auto list = FlatFace::makeList();
  OwnVariant empty;
  ASSERT_EQ(list->add("kept"), 0);
  const auto log = FlatFace::watchLog();
  EXPECT_TRUE(list->add(static_cast<CqzBuffer*>(nullptr)) == -1 && list->add(empty) == -1);
  EXPECT_EQ(list->setAt(0, nullptr), 0);
  EXPECT_TRUE(list->serializeOut(nullptr, 0) == 0 && list->serializeIn(nullptr) == 0);
  EXPECT_EQ(log.messages(), FlatFace::logged("add", "NULL pointer") + FlatFace::logged("add", "Check failed") +
                                FlatFace::logged("setAt", "NULL pointer") +
                                FlatFace::logged("serializeOut", "Object receiving the out put is a NULL pointer") +
                                FlatFace::logged("serializeIn", "Input object is NULL"));
}

TEST(FlatBufferList, HoldersOwnWhatTheyHold) {
  CqzBufferList00 holder;
  EXPECT_EQ(holder->add("held"), 0);
  rpcSOAP_ReleaseBufferList(holder.detach());
  EXPECT_TRUE(holder.get() == nullptr && holder.detach() == nullptr);
  rpcSOAP_ReleaseBufferList(nullptr);
}

}  // namespace
}  // namespace qz::test
