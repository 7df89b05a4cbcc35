#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <regex>
#include <string>

#include "ITKBuffer.h"
#include "ITKFile.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/OwnVariant.h"
#include "Tests/Support/ScratchFile.h"

namespace qz::test {
namespace {

using namespace std::string_literals;
using T = ITKBufferType;

template <class Face>
class BufferTest : public FaceTest<Face> {};
TYPED_TEST_SUITE(BufferTest, BothFaces);

// Takes the block out of a buffer: its capacity. Every byte behind the content, hidden ones included, must be zero.
template <class Face>
long capacityOf(typename Face::Buffer& buffer) {
  long capacity = 0, length = 0;
  unsigned char type = 0, *p = nullptr;
  buffer.detach(capacity, length, type, p);
  if (p == nullptr) return capacity;
  for (long i = length; i < capacity + Face::hiddenBytes; ++i) EXPECT_EQ(p[i], 0) << i;
  HeapFree(GetProcessHeap(), 0, p);
  return capacity;
}

TYPED_TEST(BufferTest, GrowsByTheseRules) {
  using Face = TypeParam;
  using Buffer = typename Face::Buffer;
  const char* const none = nullptr;
  const std::string bytes(2000, 'x');
  const auto append = [&](Buffer& b, long n) { b.write(static_cast<const void*>(bytes.data()), n); };
  const struct {
    std::function<void(Buffer&)> act;
    long capacity, length;
    unsigned char type;
  } cases[] = {{[&](Buffer& b) { append(b, 10); }, 1024, 10, T::DT_BINARY},
               {[&](Buffer& b) { append(b, 2000); }, 2000, 2000, T::DT_BINARY},
               {[&](Buffer& b) { append(b, 10), append(b, 1014); }, 1024, 1024, T::DT_BINARY},
               {[&](Buffer& b) { append(b, 10), append(b, 1015); }, 2048, 1025, T::DT_BINARY},
               {[&](Buffer& b) { b.getBuffer(5); }, 1024, 0, T::DT_BINARY},
               {[&](Buffer& b) { b.getBuffer(1500); }, 1500, 0, T::DT_BINARY},
               {[&](Buffer& b) { b.getBufferSetLen(5), b.getBufferSetLen(7); }, 7, 7, T::DT_BINARY},
               {[&](Buffer& b) { b.getBufferSetLen(7), b.getBufferSetLen(3); }, 7, 3, T::DT_BINARY},
               {[&](Buffer& b) { b.reset(100, T::DT_LONG); }, 100, 0, T::DT_LONG},
               {[&](Buffer& b) { append(b, 10), b.reset(0, T::DT_LIST); }, Face::capacityOfNothing, 0, T::DT_LIST},
               {[&](Buffer& b) { b.reset(9, T::DT_I2), b.empty(); }, Face::capacityOfNothing, 0, T::DT_I2},
               {[&](Buffer& b) { b.write("abc", true); }, 3 + Face::roomBehindText, 3, T::DT_TEXT},
               {[&](Buffer& b) { b.write("", true); }, Face::roomBehindText + Face::capacityOfNothing, 0, T::DT_TEXT},
               {[&](Buffer& b) { b.write(none, true); }, 1 + Face::roomBehindText, 0, T::DT_TEXT},
               {[&](Buffer& b) { append(b, 10), b.copy(this->buffer("")); }, Face::capacityOfNothing, 0, T::DT_LIST},
               {[&](Buffer& b) { b.write("abcdef", true), b.truncate(2); }, 6 + Face::roomBehindText, 4, T::DT_TEXT},
               {[&](Buffer& b) { b.write("abc", true), b.truncate(4); }, 3 + Face::roomBehindText, 3, T::DT_TEXT},
               {[&](Buffer& b) { b.write("abc", true), b.truncate(3); }, 3 + Face::roomBehindText, 0, T::DT_TEXT}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    auto& buffer = this->buffer();
    Face::dropBlock(buffer);
    c.act(buffer);
    EXPECT_EQ(buffer.getLength(), c.length);
    EXPECT_EQ(buffer.getType(), c.type);
    EXPECT_EQ(capacityOf<Face>(buffer), c.capacity);
  }
}

TYPED_TEST(BufferTest, TextStaysTerminatedWhateverLayThereBefore) {
  auto& buffer = this->buffer();
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
  auto &buffer = this->buffer(), &other = this->buffer();
  buffer.write("0123456789", true);
  for (int i = 0; i < 18; ++i) buffer.write(static_cast<const void*>(buffer.getBuffer()), buffer.getLength());
  EXPECT_EQ(buffer.getLength(), 10 << 18);
  buffer.write(buffer.getStrBuffer() + (10 << 18) - 5, true);
  buffer.copy(buffer);
  EXPECT_EQ(contentOf(buffer), "56789");
  other.copy(buffer);
  EXPECT_EQ(buffer == other, 1);
  other.getBuffer()[4] = '0';
  EXPECT_EQ(buffer == other, 0);
}

TEST(Buffer, IsMadeFromTextAndBytes) {
  const char* const none = nullptr;
  ITKBuffer empty(none), text("text");
  EXPECT_EQ(empty == ITKBuffer(0, T::DT_TEXT), 1);
  EXPECT_STREQ(empty.c_str(), "");
  EXPECT_EQ(text == ITKBuffer("text...", 4, T::DT_TEXT), 1);
  EXPECT_EQ(text == ITKBuffer("text...", 4, T::DT_LIST), 0);
  for (const auto& buffer : {ITKBuffer(nullptr, 3, T::DT_I1), ITKBuffer("bytes", -3, T::DT_I1)})
    EXPECT_TRUE(buffer.getBuffer() == nullptr && buffer.getType() == T::DT_I1);
  EXPECT_EQ(capacityOf<ToolkitFace>(text), 1024);
}

TEST(Buffer, AFailedCheckIsLoggedTwiceAndChangesNothing) {
  ITKBuffer buffer("kept");
  const void *x = "x", *none = nullptr;
  const struct {
    std::function<void()> act;
    const char* text;
  } cases[] = {{[&] { buffer.write(x, -1); }, "Check failed"},
               {[&] { buffer.write(none, 1); }, "NULL pointer"},
               {[&] { buffer.write(static_cast<const ITKBuffer*>(nullptr)); }, "NULL pointer"},
               {[&] { buffer.write("x", 1LL << 33); }, "Check failed"},
               {[&] { buffer.getBufferSetLen(-1); }, "Check failed"},
               {[&] { buffer.attach(4, 5, T::DT_BINARY, nullptr); }, "Check failed"},
               {[&] { buffer.getBufferSetLen(0x7FFFFFFF); }, "insufficient memory for 2147483647 bytes"},
               {[&] { buffer.write(buffer.getBuffer(), 0x7FFFFFFF); }, "insufficient memory for 2147483647 bytes"}};
  for (const auto& c : cases) {
    const auto log = ToolkitFace::watchLog();
    c.act();
    buffer.write(none, 0);
    EXPECT_EQ(log.messages(), c.text + "\n"s + c.text + "\n");
    EXPECT_EQ(contentOf(buffer), "kept");
  }
}

TEST(Buffer, MovesItsBlockAround) {
  ITKBuffer a("moved"), b("freed");
  const auto* block = a.getBuffer();
  b.attach(a);
  EXPECT_EQ(a == ITKBuffer(), 1);
  b.detach(a);
  EXPECT_EQ(a.getBuffer(), block);
  EXPECT_EQ(b == ITKBuffer(), 1);
  a.attach(a);
  a.attach(1024, 2, T::DT_TEXT, a.getBuffer());
  EXPECT_EQ(contentOf(a), "mo");
  void* p = nullptr;
  ASSERT_TRUE(ITKBuffer::coAlloc_(p, 2) && ITKBuffer::coAlloc_(p, 4));
  std::memcpy(p, "four", 4);
  a.attach(4, static_cast<unsigned char*>(p));
  EXPECT_EQ(a == ITKBuffer("four", 4, T::DT_BINARY), 1);
  a += " and more";
  EXPECT_STREQ(a.c_str(), "four and more");
  p = a.getBuffer();
  a.detach();
  EXPECT_EQ(a == ITKBuffer(), 1);
  ITKBuffer::coFree_(p);
  EXPECT_EQ(p, nullptr);
}

TYPED_TEST(BufferTest, StreamFormsFollowOneAnother) {
  const decltype(&this->buffer()) sent[] = {&this->buffer("hi", T::DT_TEXT), &this->buffer("", T::DT_TEXT),
                                            &this->buffer("\x01\x00\x02"s, T::DT_FLOAT)};
  const ScratchFile scratch;
  ITKFile file;
  ASSERT_TRUE(file.openWrite(scratch.path()));
  for (const auto* buffer : sent) EXPECT_TRUE(TypeParam::toFile(*buffer, file.getHandle()));
  file.close();
  EXPECT_EQ(scratch.content(), "\x01\x02\x00\x00\x00hi\x01\x00\x00\x00\x00\x05\x03\x00\x00\x00\x01\x00\x02"s);
  ASSERT_TRUE(file.openRead(scratch.path()));
  auto& buffer = this->buffer();
  for (const auto* expected : sent) EXPECT_TRUE(TypeParam::fromFile(buffer, file.getHandle()) && buffer == *expected);
  EXPECT_FALSE(TypeParam::toFile(buffer, file.getHandle()));
}

TYPED_TEST(BufferTest, StreamFormsThatLieAreRefusedFromFilesAndPipes) {
  for (const auto& bytes : {""s, "\x01"s, "\x01\x02\x00\x00"s, "\x01\x03\x00\x00\x00hi"s, "\x01\xFF\xFF\xFF\x7Fhi"s,
                            "\x01\xFF\xFF\xFF\xFFhi"s}) {
    const ScratchFile scratch(bytes);
    ITKFile file;
    HANDLE in = nullptr, out = nullptr;
    DWORD written = 0;
    ASSERT_TRUE(file.openRead(scratch.path()) && CreatePipe(&in, &out, nullptr, 0));
    ASSERT_TRUE(WriteFile(out, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    CloseHandle(out);
    const auto log = TypeParam::watchLog();
    for (const HANDLE source : {file.getHandle(), in}) {
      auto& buffer = this->buffer("old", T::DT_TEXT);
      EXPECT_FALSE(TypeParam::fromFile(buffer, source));
      EXPECT_TRUE(buffer == this->buffer("", T::DT_TEXT)) << bytes.size();
    }
    CloseHandle(in);
    EXPECT_EQ(log.messages().find("memory"), std::string::npos);  // nothing was allocated that cannot be had
  }
}

TEST(Buffer, StreamFormsGoByFileName) {
  const ScratchFile scratch;
  ITKBuffer buffer;
  EXPECT_TRUE(ITKBuffer("hi").toFile(scratch.path()) && buffer.fromFile(scratch.path()));
  EXPECT_STREQ(buffer.c_str(), "hi");
  EXPECT_FALSE(buffer.fromFile("no such file") || buffer.toFile("no such folder\\file"));
}

TEST(Buffer, LoadsAndSavesRawFiles) {
  const ScratchFile scratch("\x00raw\xFF"s);
  ITKBuffer target("type stays");
  EXPECT_TRUE(ITKBuffer::loadFile(scratch.path(), target));
  EXPECT_EQ(target == ITKBuffer("\x00raw\xFF", 5, T::DT_TEXT), 1);
  EXPECT_TRUE(ITKBuffer::saveFile(scratch.path(), ITKBuffer("new")));
  EXPECT_EQ(scratch.content(), "new");
  EXPECT_TRUE(ITKBuffer::saveFile(scratch.path(), ITKBuffer()) && ITKBuffer::loadFile(scratch.path(), target));
  EXPECT_EQ(target.getLength(), 0);
  ITKFile closed;
  EXPECT_FALSE(ITKBuffer::loadFile(closed, target) || ITKBuffer::saveFile(closed, target));
  EXPECT_FALSE(ITKBuffer::loadFile("no such file", target));
}

TEST(Buffer, GoesThroughVariants) {
  const ITKBuffer umlauts("gr\xFC\xDF\x80"), bytes("\x00\x01", 2, T::DT_I2);
  OwnVariant text, array, none;
  EXPECT_TRUE(umlauts.toVARIANT(text) && bytes.toVARIANT(array) && ITKBuffer().toVARIANT(none));
  ASSERT_EQ(text.vt, VT_BSTR);
  EXPECT_EQ(std::wstring(text.bstrVal), L"gr\u00FC\u00DF\u20AC");
  EXPECT_EQ(array.vt, VT_ARRAY | VT_UI1);
  EXPECT_EQ(ITKBuffer(text) == umlauts, 1);
  EXPECT_EQ(ITKBuffer(array) == ITKBuffer("\x00\x01", 2, T::DT_BINARY), 1);
  EXPECT_EQ(ITKBuffer(none) == ITKBuffer(), 1);
  const auto log = ToolkitFace::watchLog();
  EXPECT_FALSE(bytes.toVARIANT(text));
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

TEST(Buffer, CompressesVariants) {
  const ITKBuffer source(std::string(50000, 'c').c_str());
  ITKBuffer packed, restored;
  OwnVariant plain, block, whole;
  ASSERT_TRUE(ITKBuffer::compress(source, packed, 9) && ITKBuffer::decompress(packed, restored));
  ASSERT_TRUE(source.toVARIANT(plain) && ITKBuffer::compress(plain, block, 9) && ITKBuffer::decompress(block, whole));
  EXPECT_EQ(contentOf(ITKBuffer(block)), contentOf(packed));
  EXPECT_EQ(ITKBuffer(whole) == restored, 1);
  EXPECT_FALSE(ITKBuffer::decompress(packed, whole));
}

TEST(Buffer, HoldersOwnWhatTheyHold) {
  ITKBuffer00 holder;
  holder->write("held", true);
  const std::unique_ptr<ITKBuffer> buffer(holder.detach());
  EXPECT_EQ(holder.detach(), nullptr);
  EXPECT_STREQ(buffer->c_str(), "held");
  EXPECT_EQ(std::string(ITKCharBuffer(3).getBuffer(), 4), "\0\0\0\0"s);
  EXPECT_EQ(ITKCharBuffer(0x7FFFFFFF).getBuffer(), nullptr);
}

class FlatBuffer : public FaceTest<FlatFace> {};

TEST_F(FlatBuffer, SaysWhyItRefusesAndChangesNothing) {
  auto& kept = buffer("kept", T::DT_TEXT);
  const void *x = "x", *none = nullptr;
  auto* block = kept.getBuffer();
  const auto said = FlatFace::logged;
  const struct {
    std::function<bool()> act;
    std::string reports;
  } cases[] = {
      {[&] { return kept.write(x, -1) == 0; }, ""},
      {[&] { return kept.write(none, 0) == 0; }, ""},
      {[&] { return kept.getBufferSetLen(-1) == nullptr; }, ""},
      {[&] { return kept.attach(nullptr, 0, T::DT_LIST) == 0; }, ""},
      {[&] { return kept.attach(block, -1, T::DT_LIST) == 0; }, ""},
      {[&] { return kept.attach(block, 4, T::DT_TEXT) == 0; },
       said("attach", "Externally allocated memory block is not suitable for text types")},
      {[&] { return kept.getBufferSetLen(0x7FFFFFFF) == nullptr; },
       said("Grow", "insufficient memory for 2147483647 bytes")},
      {[&] { return kept.getBuffer(0x7FFFFF00) == nullptr; },
       said("coAlloc_", "Could not allocate %l bytes") + said("Grow", "insufficient memory for 2147483392 bytes")},
      {[&] { return kept.write(static_cast<const void*>(block), 0x7FFFFFFF) == 0; },
       said("Grow", "insufficient memory for 2147483647 bytes") +
           said("write", "insufficient memory for additional 2147483647 bytes")}};
  for (const auto& c : cases) {
    const auto log = FlatFace::watchLog();
    EXPECT_TRUE(c.act() && kept.write(x, 0) == 1) << &c - cases;
    EXPECT_EQ(log.messages(), c.reports) << &c - cases;
    EXPECT_TRUE(kept == buffer("kept", T::DT_TEXT) && kept.getBuffer() == block);
  }
}

TEST_F(FlatBuffer, NamesTheSystemErrorOfAFile) {
  const ScratchFile negative("\x01\xFF\xFF\xFF\xFF"s), cut("\x01\x03\x00\x00\x00hi"s);
  const auto log = FlatFace::watchLog();
  ITKFile file;
  ASSERT_TRUE(file.openRead(negative.path()) && !FlatFace::fromFile(buffer(), file.getHandle()));
  ASSERT_TRUE(file.openRead(cut.path()) && !FlatFace::fromFile(buffer(), file.getHandle()));
  EXPECT_FALSE(FlatFace::toFile(buffer("x"), file.getHandle()));
  std::string codes;
  const auto messages = log.messages();
  for (auto hit = messages.find(": System error [ "); hit != std::string::npos;
       hit = messages.find(": System", hit + 1))
    codes += messages.substr(hit + 17, 10) + " ";
  EXPECT_EQ(codes, "0x0000000D 0x00000026 0x00000005 ");
}

TEST_F(FlatBuffer, TellsOfMisuseAndOfItsRelease) {
  const auto said = [this] {
    auto& used = buffer();
    const auto log = FlatFace::watchLog();
    used.getStrBuffer();
    used.write(static_cast<const char*>(nullptr), true);
    used.reset(-1, T::DT_TEXT);
    used.serializeToFile(nullptr);
    used.serializeFromFile(nullptr);
    used.release();
    return std::regex_replace(log.messages(), std::regex("0x[^\n]*"), "*");
  };
  const std::string type = "getStrBuffer: Buffer is not string type\n";
  const std::string input = "write: input buffer is zero size\nreset: input buffer is zero size\n";
  const std::string to = "serializeToFile: System error [ *\n", from = "serializeFromFile: System error [ *\n";
  EXPECT_EQ(said(), to + from);
  {
    const auto information = FlatFace::logMore("LogInfo");
    EXPECT_EQ(said(), type + input + to + from);
  }
  const auto trace = FlatFace::logMore("LogTrace");
  EXPECT_EQ(said(), input + "Enter serializeToFile\n" + to + "Exit serializeToFile\nEnter serializeFromFile\n" + from +
                        "Exit serializeFromFile\nEnter release\nExit release\n");
}

TEST_F(FlatBuffer, GivesItsBlockAwayAndTakesAnother) {
  auto& taker = buffer("old", T::DT_I2);
  auto& giver = buffer("given", T::DT_FLOAT);
  auto* block = giver.getBuffer();
  EXPECT_EQ(giver.detach(), 1);
  EXPECT_TRUE(giver.getBuffer() == nullptr && giver.getLength() == 0 && giver.getType() == T::DT_FLOAT);
  EXPECT_STREQ(giver.getStrBuffer(), "");
  EXPECT_EQ(taker.attach(block, 5, T::DT_LONG), 1);
  EXPECT_TRUE(taker.getBuffer() == block && taker == buffer("given", T::DT_LONG));
  EXPECT_EQ(taker.write("!", false), 1);
  EXPECT_STREQ(taker.getStrBuffer(), "given!");
  EXPECT_EQ(taker.release(), 1);
  EXPECT_TRUE(taker.getBuffer() == nullptr && taker.getLength() == 0 && taker.getType() == T::DT_LONG);
  EXPECT_EQ(taker.empty(), 1);
  EXPECT_EQ(capacityOf<FlatFace>(taker), 1024);
  EXPECT_EQ(taker.getType(), T::DT_BINARY);
}

TEST_F(FlatBuffer, HoldersOwnWhatTheyHold) {
  CqzBuffer00 nothing, bytes(T::DT_I2, 4, "four");
  EXPECT_EQ(bytes->getLength(), 0);
  bytes->getBufferSetLen(4);
  EXPECT_TRUE(*bytes == buffer("four", T::DT_I2));
  EXPECT_EQ(capacityOf<FlatFace>(*nothing), 1024);
  EXPECT_EQ(CqzBuffer00(T::DT_I2, -1, "none").get(), nullptr);
  rpcSOAP_ReleaseBuffer(bytes.detach());
  EXPECT_TRUE(bytes.get() == nullptr && bytes.detach() == nullptr);
  rpcSOAP_ReleaseBuffer(nullptr);
}

}  // namespace
}  // namespace qz::test
