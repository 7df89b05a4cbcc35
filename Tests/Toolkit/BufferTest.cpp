#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>

#include "ITKBuffer.h"
#include "ITKFile.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ToolkitLog.h"

namespace qz::test {
namespace {

using namespace std::string_literals;
using T = ITKBufferType;

template <class Face>
class BufferTest : public testing::Test {};
using Faces = testing::Types<ToolkitFace>;
TYPED_TEST_SUITE(BufferTest, Faces);

/// The fields of a buffer, taken out of it.
struct Fields {
  long capacity = 0, length = 0;
  unsigned char type = 0;
  std::string memory;  // the content and every byte behind it, hidden ones included
};

template <class Face>
Fields fieldsOf(typename Face::Buffer& buffer) {
  Fields fields;
  unsigned char* p = nullptr;
  buffer.detach(fields.capacity, fields.length, fields.type, p);
  if (p == nullptr) return fields;
  fields.memory.assign(reinterpret_cast<const char*>(p), static_cast<std::size_t>(fields.capacity + Face::hiddenBytes));
  HeapFree(GetProcessHeap(), 0, p);
  return fields;
}

TYPED_TEST(BufferTest, GrowsByTheseRules) {
  using Face = TypeParam;
  using Buffer = typename Face::Buffer;
  struct Case {
    std::function<void(Buffer&)> act;
    long capacity, length;
    unsigned char type;
  };
  const std::string bytes(2000, 'x');
  const auto* p = static_cast<const void*>(bytes.data());
  const Case cases[] = {
      {[&](Buffer& b) { b.write(p, 10); }, 1024, 10, T::DT_BINARY},
      {[&](Buffer& b) { b.write(p, 2000); }, 2000, 2000, T::DT_BINARY},
      {[&](Buffer& b) { b.write(p, 10), b.write(p, 1014); }, 1024, 1024, T::DT_BINARY},
      {[&](Buffer& b) { b.write(p, 10), b.write(p, 1015); }, 2048, 1025, T::DT_BINARY},
      {[&](Buffer& b) { b.getBuffer(5); }, 1024, 0, T::DT_BINARY},
      {[&](Buffer& b) { b.getBuffer(1500); }, 1500, 0, T::DT_BINARY},
      {[&](Buffer& b) { b.getBufferSetLen(5); }, 5, 5, T::DT_BINARY},
      {[&](Buffer& b) { b.getBufferSetLen(5), b.getBufferSetLen(7); }, 7, 7, T::DT_BINARY},
      {[&](Buffer& b) { b.getBufferSetLen(7), b.getBufferSetLen(3); }, 7, 3, T::DT_BINARY},
      {[&](Buffer& b) { b.reset(100, T::DT_LONG); }, 100, 0, T::DT_LONG},
      {[&](Buffer& b) { b.write(p, 10), b.reset(0, T::DT_LIST); }, Face::capacityOfNothing, 0, T::DT_LIST},
      {[&](Buffer& b) { b.reset(9, T::DT_I2), b.empty(); }, Face::capacityOfNothing, 0, T::DT_I2},
      {[&](Buffer& b) { b.write("abc", true); }, 3 + Face::roomBehindText, 3, T::DT_TEXT},
      {[&](Buffer& b) { b.write("abc", false); }, 1024, 3, T::DT_BINARY},
      {[&](Buffer& b) { b.write("abcdef", true), b.truncate(2); }, 6 + Face::roomBehindText, 4, T::DT_TEXT},
      {[&](Buffer& b) { b.write("abc", true), b.truncate(4); }, 3 + Face::roomBehindText, 3, T::DT_TEXT},
      {[&](Buffer& b) { b.write("abc", true), b.truncate(3); }, 3 + Face::roomBehindText, 0, T::DT_TEXT}};
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    typename Face::OwnBuffer buffer;
    cases[i].act(buffer);
    const auto fields = fieldsOf<Face>(buffer);
    EXPECT_EQ(fields.capacity, cases[i].capacity) << i;
    EXPECT_EQ(fields.length, cases[i].length) << i;
    EXPECT_EQ(fields.type, cases[i].type) << i;
    const auto behind = fields.memory.substr(std::min(fields.memory.size(), static_cast<std::size_t>(fields.length)));
    EXPECT_EQ(behind.find_first_not_of('\0'), std::string::npos) << i;
  }
}

TYPED_TEST(BufferTest, TextStaysTerminatedWhateverLayThereBefore) {
  typename TypeParam::OwnBuffer buffer;
  buffer.write("a long text that is cut", true);
  buffer.truncate(18);
  buffer.write("!", false);
  EXPECT_STREQ(buffer.getStrBuffer(), "a lon!");
  buffer.getBufferSetLen(2);
  buffer.getBufferSetLen(4);
  EXPECT_EQ(contentOf(buffer), "a \0\0"s);
  std::memset(buffer.getBuffer(1024), 'x', 1024);
  buffer.getBufferSetLen(3000);
  EXPECT_EQ(contentOf(buffer), "xxxx"s + std::string(2996, '\0'));
}

TYPED_TEST(BufferTest, TakesItsOwnBytesAsArguments) {
  typename TypeParam::OwnBuffer buffer;
  buffer.write("0123456789", true);
  for (int i = 0; i < 8; ++i) buffer.write(static_cast<const void*>(buffer.getBuffer()), buffer.getLength());
  EXPECT_EQ(buffer.getLength(), 2560);
  EXPECT_EQ(contentOf(buffer).substr(2550), "0123456789");
  buffer.write(buffer.getStrBuffer() + 2555, true);
  EXPECT_EQ(contentOf(buffer), "56789");
  buffer.copy(buffer);
  EXPECT_EQ(contentOf(buffer), "56789");
}

TYPED_TEST(BufferTest, ComparesTypeLengthAndBytes) {
  typename TypeParam::OwnBuffer a, b;
  EXPECT_EQ(a == b, 1);
  a.write("same", true);
  b.write(static_cast<const void*>("same"), 4);
  EXPECT_EQ(a == b, 0);
  b.copy(a);
  EXPECT_EQ(a == b, 1);
  b.write("!", false);
  EXPECT_EQ(a == b, 0);
}

TEST(Buffer, ConstructorsAndTheirTypes) {
  EXPECT_EQ(ITKBuffer("text").getType(), T::DT_TEXT);
  EXPECT_EQ(ITKBuffer(static_cast<const char*>(nullptr)).getBuffer(), nullptr);
  EXPECT_STREQ(ITKBuffer(static_cast<const char*>(nullptr)).c_str(), "");
  EXPECT_EQ(contentOf(ITKBuffer("bytes", 3, T::DT_LIST)), "byt");
  EXPECT_EQ(ITKBuffer(nullptr, 3, T::DT_LIST).getBuffer(), nullptr);
  EXPECT_EQ(ITKBuffer("bytes", -3, T::DT_I1).getType(), T::DT_I1);
  ITKBuffer text("first block");
  EXPECT_EQ(fieldsOf<ToolkitFace>(text).capacity, 1024);
  ITKBuffer null("x");
  null.write(nullptr, true);
  EXPECT_EQ(null.getType(), T::DT_TEXT);
  EXPECT_EQ(fieldsOf<ToolkitFace>(null).capacity, 2);
  EXPECT_EQ(contentOf(ITKBuffer("text") += " and more"), "text and more");
}

TEST(Buffer, AFailedCheckIsLoggedTwiceAndChangesNothing) {
  ITKBuffer buffer("kept");
  ToolkitLogWatch log;
  buffer.write(static_cast<const void*>("x"), -1);
  buffer.write(static_cast<const void*>(nullptr), 0);
  buffer.write(static_cast<const void*>(nullptr), 1);
  buffer.write(static_cast<const ITKBuffer*>(nullptr));
  EXPECT_EQ(buffer.getBufferSetLen(-1), nullptr);
  buffer.attach(4, 5, T::DT_BINARY, nullptr);
  EXPECT_EQ(contentOf(buffer), "kept");
  EXPECT_EQ(log.messages(),
            "Check failed\nCheck failed\nNULL pointer\nNULL pointer\nNULL pointer\nNULL pointer\n"
            "Check failed\nCheck failed\nCheck failed\nCheck failed\n");
}

TEST(Buffer, SurvivesAnAllocationThatCannotBe) {
  ITKBuffer buffer("kept");
  ToolkitLogWatch log;
  EXPECT_EQ(buffer.getBufferSetLen(0x7FFFFFFF), nullptr);
  buffer.write(static_cast<const void*>(buffer.getBuffer()), 0x7FFFFFFF);
  EXPECT_EQ(contentOf(buffer), "kept");
  EXPECT_EQ(log.messages(),
            "insufficient memory for 2147483647 bytes\ninsufficient memory for 2147483647 bytes\n"
            "insufficient memory for 2147483647 bytes\ninsufficient memory for 2147483647 bytes\n");
}

TEST(Buffer, MovesItsBlockAround) {
  ITKBuffer a("moved"), b("freed");
  const auto* block = a.getBuffer();
  b.attach(a);
  EXPECT_EQ(b.getBuffer(), block);
  EXPECT_EQ(a.getBuffer(), nullptr);
  EXPECT_EQ(a.getType(), T::DT_BINARY);
  b.detach(a);
  EXPECT_EQ(a.getBuffer(), block);
  a.attach(a);
  a.attach(1024, 2, T::DT_TEXT, a.getBuffer());
  EXPECT_EQ(contentOf(a), "mo");
  void* p = nullptr;
  ASSERT_TRUE(ITKBuffer::coAlloc_(p, 4));
  std::memcpy(p, "four", 4);
  a.attach(4, static_cast<unsigned char*>(p));
  EXPECT_EQ(a.getType(), T::DT_BINARY);
  a.truncate(0);
  a += " and more";
  EXPECT_STREQ(a.c_str(), "four and more");
  p = a.getBuffer();
  a.detach();
  EXPECT_EQ(a.getLength(), 0);
  ITKBuffer::coFree_(p);
  EXPECT_EQ(p, nullptr);
}

TEST(Buffer, StreamFormsFollowOneAnother) {
  const ScratchFile scratch;
  ITKFile file;
  ASSERT_TRUE(file.openWrite(scratch.path()));
  EXPECT_TRUE(ITKBuffer("hi").toFile(file.getHandle()));
  EXPECT_TRUE(ITKBuffer(0, T::DT_TEXT).toFile(file.getHandle()));
  EXPECT_TRUE(ITKBuffer("\x01\x00\x02", 3, T::DT_FLOAT).toFile(file.getHandle()));
  file.close();
  EXPECT_EQ(scratch.content(), "\x01\x02\x00\x00\x00hi\x01\x00\x00\x00\x00\x05\x03\x00\x00\x00\x01\x00\x02"s);
  ASSERT_TRUE(file.openRead(scratch.path()));
  ITKBuffer buffer;
  for (const auto* text : {"hi", "", "\x01"}) {
    EXPECT_TRUE(buffer.fromFile(file.getHandle()));
    EXPECT_STREQ(buffer.c_str(), text);
  }
  EXPECT_EQ(buffer.getType(), T::DT_FLOAT);
  EXPECT_FALSE(buffer.fromFile(file.getHandle()));
  EXPECT_FALSE(buffer.fromFile("no such file"));
  EXPECT_FALSE(buffer.toFile("no such folder\\file"));
}

TEST(Buffer, StreamFormsThatLieAreRefused) {
  for (const auto& bytes : {""s, "\x01"s, "\x01\x02\x00\x00"s, "\x01\x03\x00\x00\x00hi"s, "\x01\xFF\xFF\xFF\x7Fhi"s,
                            "\x01\xFF\xFF\xFF\xFFhi"s}) {
    const ScratchFile scratch(bytes);
    ITKBuffer buffer("old", 3, T::DT_TEXT);
    EXPECT_FALSE(buffer.fromFile(scratch.path()));
    EXPECT_EQ(buffer.getLength(), 0);
    EXPECT_EQ(buffer.getType(), T::DT_TEXT);
  }
}

TEST(Buffer, ReadsFromAPipeThatAnnouncesMoreThanItSends) {
  HANDLE in = nullptr, out = nullptr;
  ASSERT_TRUE(CreatePipe(&in, &out, nullptr, 0));
  const ITKBuffer sent(std::string(300, 'p').c_str());
  ASSERT_TRUE(sent.toFile(out));
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(out, "\x00\xFF\xFF\xFF\x7Fxyz", 8, &written, nullptr));
  CloseHandle(out);
  ITKBuffer buffer;
  EXPECT_TRUE(buffer.fromFile(in));
  EXPECT_EQ(buffer == sent, 1);
  EXPECT_FALSE(buffer.fromFile(in));
  EXPECT_EQ(buffer.getBuffer(), nullptr);
  CloseHandle(in);
}

TEST(Buffer, LoadsAndSavesRawFiles) {
  const ScratchFile scratch;
  const ITKBuffer source("\x00raw\xFF", 5, T::DT_BINARY);
  EXPECT_TRUE(ITKBuffer::saveFile(scratch.path(), source));
  ITKBuffer target("type stays");
  EXPECT_TRUE(ITKBuffer::loadFile(scratch.path(), target));
  EXPECT_EQ(contentOf(target), "\x00raw\xFF"s);
  EXPECT_EQ(target.getType(), T::DT_TEXT);
  EXPECT_TRUE(ITKBuffer::saveFile(scratch.path(), ITKBuffer()));
  EXPECT_TRUE(ITKBuffer::loadFile(scratch.path(), target));
  EXPECT_EQ(target.getLength(), 0);
  ITKFile closed;
  EXPECT_FALSE(ITKBuffer::loadFile(closed, target));
  EXPECT_FALSE(ITKBuffer::saveFile(closed, source));
  EXPECT_FALSE(ITKBuffer::loadFile("no such file", target));
}

/// A variant that is cleared at the end.
struct OwnVariant : VARIANT {
  OwnVariant() { VariantInit(this); }
  OwnVariant(const OwnVariant&) = delete;
  OwnVariant& operator=(const OwnVariant&) = delete;
  ~OwnVariant() { VariantClear(this); }
};

TEST(Buffer, GoesThroughVariants) {
  OwnVariant text, bytes, none;
  EXPECT_TRUE(ITKBuffer("gr\xFC\xDF\x80").toVARIANT(text));
  ASSERT_EQ(text.vt, VT_BSTR);
  EXPECT_EQ(std::wstring(text.bstrVal), L"gr\u00FC\u00DF\u20AC");
  EXPECT_TRUE(ITKBuffer("\x00\x01", 2, T::DT_I2).toVARIANT(bytes));
  ASSERT_EQ(bytes.vt, VT_ARRAY | VT_UI1);
  EXPECT_TRUE(ITKBuffer().toVARIANT(none));
  EXPECT_EQ(ITKBuffer(text) == ITKBuffer("gr\xFC\xDF\x80"), 1);
  EXPECT_EQ(ITKBuffer(bytes) == ITKBuffer("\x00\x01", 2, T::DT_BINARY), 1);
  ITKBuffer buffer("old");
  EXPECT_TRUE(buffer.fromVARIANT(none));
  EXPECT_EQ(buffer.getLength(), 0);
  ToolkitLogWatch log;
  EXPECT_FALSE(ITKBuffer("x").toVARIANT(text));
  EXPECT_EQ(log.messages(), "Check BOOL failed.\nCheck BOOL failed\n");
}

TEST(Buffer, TakesNoVariantOfAnotherShape) {
  SAFEARRAYBOUND square[2] = {{2, 0}, {2, 0}}, shifted[1] = {{2, 1}};
  OwnVariant variants[6];
  variants[0].vt = VT_ARRAY | VT_UI1, variants[0].parray = SafeArrayCreate(VT_UI1, 2, square);
  variants[1].vt = VT_ARRAY | VT_UI1, variants[1].parray = SafeArrayCreate(VT_UI1, 1, shifted);
  variants[2].vt = VT_ARRAY | VT_I2, variants[2].parray = SafeArrayCreateVector(VT_I2, 0, 2);
  variants[3].vt = VT_BYREF | VT_ARRAY | VT_UI1, variants[3].pparray = &variants[0].parray;
  variants[4].vt = VT_I4;
  for (const auto& variant : variants) {
    ITKBuffer buffer("kept");
    EXPECT_FALSE(buffer.fromVARIANT(variant));
    EXPECT_STREQ(buffer.c_str(), "kept");
  }
}

TEST(Buffer, CompressesAndRestores) {
  const std::string content(50000, 'c');
  const ITKBuffer source(content.c_str());
  ITKBuffer packed, restored;
  ASSERT_TRUE(ITKBuffer::compress(source, packed, 9));
  EXPECT_TRUE(ITKBuffer::isCompressed(packed));
  EXPECT_EQ(packed.getType(), T::DT_COMPRESSED);
  EXPECT_TRUE(ITKBuffer::decompress(packed, restored));
  EXPECT_EQ(restored.getType(), T::DT_BINARY);
  EXPECT_EQ(contentOf(restored), content);
  OwnVariant plain, block, whole;
  EXPECT_TRUE(source.toVARIANT(plain));
  EXPECT_TRUE(ITKBuffer::compress(plain, block, 9));
  EXPECT_EQ(contentOf(ITKBuffer(block)), contentOf(packed));
  EXPECT_TRUE(ITKBuffer::decompress(block, whole));
  EXPECT_EQ(contentOf(ITKBuffer(whole)), content);
  EXPECT_FALSE(ITKBuffer::decompress(packed, whole));
  const auto fields = fieldsOf<ToolkitFace>(packed);
  EXPECT_EQ(fields.capacity, fields.length);
}

TEST(Buffer, CompressesInPlaceAndKeepsTheTypeOnTheWayBack) {
  std::mt19937 random(1);
  std::string content(3000, '\0');
  for (auto& c : content) c = static_cast<char>(random());
  ITKBuffer buffer(content.data(), 3000, T::DT_BINARY);
  EXPECT_TRUE(ITKBuffer::compress(buffer, buffer, 6));
  EXPECT_TRUE(ITKBuffer::decompress(buffer, buffer));
  EXPECT_EQ(contentOf(buffer), content);
  EXPECT_EQ(buffer.getType(), T::DT_COMPRESSED);
}

TEST(Buffer, TellsWhyABlockDoesNotRestore) {
  ITKBuffer packed, target("before");
  ASSERT_TRUE(ITKBuffer::compress(ITKBuffer("content"), packed, 1));
  ToolkitLogWatch log;
  EXPECT_FALSE(ITKBuffer::decompress(ITKBuffer("content"), target));
  EXPECT_STREQ(target.c_str(), "before");
  packed.getBuffer()[12] ^= 1;
  EXPECT_FALSE(ITKBuffer::decompress(packed, target));
  EXPECT_EQ(target.getLength(), 7);
  packed.getBuffer()[11] = 0x70;
  EXPECT_FALSE(ITKBuffer::decompress(packed, target));
  EXPECT_EQ(target.getLength(), 7);
  EXPECT_FALSE(ITKBuffer::compress(packed, target, 99));
  EXPECT_EQ(log.messages(),
            "Check failed\nCheck failed\nChecksum mismatch: input stream corrupted\nthe input data was corrupted\n"
            "the level parameter is invalid\n");
}

TEST(Buffer, HoldersOwnWhatTheyHold) {
  ITKBuffer00 holder;
  holder->write("held", true);
  ITKBuffer* buffer = holder.detach();
  EXPECT_EQ(holder.detach(), nullptr);
  EXPECT_STREQ(buffer->c_str(), "held");
  delete buffer;
  ITKCharBuffer characters(3);
  EXPECT_EQ(std::string(characters.getBuffer(), 4), "\0\0\0\0"s);
}

}  // namespace
}  // namespace qz::test
