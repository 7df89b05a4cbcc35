#include "References/Libraries/Wire/ResponseReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <vector>

#include <zlib.h>

#include "References/Libraries/Wire/InflatedReply.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;

constexpr std::string_view kEnvelope = "<SOAP-ENV:Envelope a=\"b\">text</SOAP-ENV:Envelope>";

/// Bytes that arrive in pieces: no read returns more than `fragment` of them.
class FragmentSource final : public ByteSource {
 public:
  FragmentSource(std::string data, std::size_t fragment, bool whole = true)
      : data_(std::move(data)), fragment_(fragment), whole_(whole) {}

  bool readLine(std::string& line, std::size_t limit) override {
    const auto end = data_.find('\n', at_);
    line = data_.substr(at_, std::min(limit, end == std::string::npos ? data_.size() - at_ : end + 1 - at_));
    at_ += line.size();
    return !line.empty();
  }
  std::size_t read(std::span<std::byte> into) override {
    const std::size_t count = std::min({into.size(), fragment_, data_.size() - at_});
    if (count > 0) std::memcpy(into.data(), data_.data() + at_, count);
    at_ += count;
    return count;
  }
  bool complete() override { return whole_; }

 private:
  std::string data_;
  std::size_t fragment_;
  bool whole_;
  std::size_t at_ = 0;
};

struct Log final : ReplyListener {
  void line(std::string_view raw) override { traced += raw; }
  void bytes(std::span<const std::byte> data) override {
    traced.append(reinterpret_cast<const char*>(data.data()), data.size());
    ++pieces;
  }
  void information(const char*, std::string_view message) override { informations.emplace_back(message); }
  void error(const char* operation, std::string_view message) override {
    errors.push_back(std::string(operation) + ": " + std::string(message));
  }

  std::string traced;
  int pieces = 0;
  std::vector<std::string> informations, errors;
};

struct Attachments final : AttachmentSink {
  std::span<std::byte> resize(std::size_t index, std::size_t size) override {
    if (index >= wanted) return {};
    if (parts.size() <= index) parts.resize(index + 1);
    parts[index].resize(size);
    largest = std::max(largest, size);
    return std::as_writable_bytes(std::span(parts[index]));
  }

  std::size_t wanted = 100;
  std::size_t largest = 0;
  std::vector<std::string> parts;
};

std::string multipart(const std::vector<std::string>& parts) {
  std::string text = "preamble\r\n--B\r\nContent-Type: text/xml\r\nContent-ID: <x>\r\n\r\n" + std::string(kEnvelope);
  for (const auto& part : parts) text += "\r\n--B\r\n" + part;
  return text + "\r\n--B--\r\n";
}

TEST(ResponseReader, PlainReplyJoinsTrimmedLines) {
  struct Case {
    std::string body, envelope;
  };
  for (const Case& c :
       {Case{std::string(kEnvelope), std::string(kEnvelope)},
        Case{"<?xml version=\"1.0\"?>\r\n" + std::string(kEnvelope) + "\r\ntrailer", std::string(kEnvelope)},
        Case{"\n  <SOAP-ENV:Envelope\t\r\n\r\n x='1'>a \n b</SOAP-ENV:Envelope>\r\n",
             "<SOAP-ENV:Envelopex='1'>ab</SOAP-ENV:Envelope>"},
        Case{"<SOAP-ENV:Envelope>\xC2\x85</SOAP-ENV:Envelope>", "<SOAP-ENV:Envelope>\xC2\x85</SOAP-ENV:Envelope>"},
        Case{"</SOAP-ENV:Envelope><SOAP-ENV:Envelope></SOAP-ENV:Envelope></SOAP-ENV:Envelope>",
             "<SOAP-ENV:Envelope></SOAP-ENV:Envelope>"}}) {
    FragmentSource source(c.body, 8);
    Log log;
    const auto reply = readPlainReply(source, log);
    ASSERT_TRUE(reply) << c.body;
    EXPECT_EQ(reply->envelope(), c.envelope);
    EXPECT_EQ(log.traced, c.body);
    EXPECT_TRUE(log.errors.empty());
  }
}

TEST(ResponseReader, PlainReplyWithoutEnvelopeFails) {
  struct Case {
    std::string body, reason;
  };
  const std::string start = "ExtractSoapEnvXml: Could'n find the starting mark of soap envelope";
  const std::string end = "ExtractSoapEnvXml: Could'n find the ending mark of soap envelope";
  for (const Case& c : {Case{"", start}, Case{"<html>\r\n</html>", start}, Case{"<soap-env:Envelope>", start},
                        Case{"</SOAP-ENV:Envelope><SOAP-ENV:Envelope>", end}}) {
    FragmentSource source(c.body, 8);
    Log log;
    const auto reply = readPlainReply(source, log);
    ASSERT_FALSE(reply);
    EXPECT_EQ(reply.error().raised, "");
    ASSERT_EQ(log.errors.size(), 2u);
    EXPECT_EQ(log.errors[0], c.reason);
    EXPECT_TRUE(log.errors[1].starts_with("ReadResponse: ExtractSoapEnvXml failed")) << log.errors[1];
  }
}

/// Replies that must read the same however they arrive.
TEST(ResponseReader, MultipartRepliesInFragments) {
  const std::string binary = "\x07\x01\0\r\n--B\r\n--B--\r\nContent-Length: 9\r\n"s;
  const std::string length = "Content-Length: " + std::to_string(binary.size()) + "\r\n";
  struct Case {
    const char* name;
    std::string body;
    std::vector<std::string> attachments;
  };
  const std::vector<Case> cases{
      {"bytes right behind the length", multipart({"Content-Type: x/y\r\n" + length + binary}), {binary}},
      {"blank line before the bytes", multipart({length + "\r\n" + binary}), {binary}},
      {"bare line feeds", multipart({length + "\n" + binary}), {binary}},
      {"headers behind the length",
       multipart({length + "Content-Type: x/y\r\nContent-ID: <a>\r\n\r\n" + binary}),
       {binary}},
      {"headers, no blank line", multipart({length + "Content-Type: x/y\r\n" + binary}), {binary}},
      {"length in another case",
       multipart({"CONTENT-LENGTH:" + std::to_string(binary.size()) + "\r\n\r\n" + binary}),
       {binary}},
      {"compressed block",
       multipart({"Content-Length: 20\r\n\r\nNIRA\x04\0\0\0:\0\0\0\r\n\r\nabcd"s}),
       {"NIRA\x04\0\0\0:\0\0\0\r\n\r\nabcd"s}},
      {"text that runs into the mark", multipart({"Content-Length: 2\r\n\r\nab"}), {"ab"}},
      {"nothing behind the bytes", multipart({"Content-Length: 2\r\n\r\n\x07\0--B--"s}), {"\x07\0"s}},
      {"two attachments", multipart({length + "\r\n" + binary, "Content-Length: 3\r\n\r\n\x07yz"}), {binary, "\x07yz"}},
      {"an empty one adds nothing", multipart({"Content-Length: 0\r\n\r\n", length + "\r\n" + binary}), {binary}},
      {"only an empty one", multipart({"Content-Length: 0\r\n\r\n"}), {}},
  };
  for (const auto& c : cases) {
    for (std::size_t fragment : {1, 2, 3, 5, 7, 8, 100000}) {
      SCOPED_TRACE(std::string(c.name) + " by " + std::to_string(fragment));
      // Short reads are budgeted; this is about content alone.
      FragmentSource source(c.body, std::max<std::size_t>(fragment, binary.size() / 16 + 1));
      Log log;
      Attachments sink;
      const auto reply = readMultipartReply(source, "B", sink, log);
      ASSERT_TRUE(reply) << (log.errors.empty() ? "" : log.errors[0]);
      EXPECT_EQ(reply->envelope(), kEnvelope);
      EXPECT_EQ(reply->attachments, c.attachments.size());
      EXPECT_EQ(sink.parts, c.attachments);
      EXPECT_EQ(log.traced.substr(0, c.body.size()), c.body.substr(0, log.traced.size()));
    }
  }
}

TEST(ResponseReader, BrokenMultipartRepliesFail) {
  const std::string envelopePart = "--B\r\n" + std::string(kEnvelope);
  struct Case {
    std::string body, error;
  };
  for (const Case& c :
       {Case{"", "ReadResponseMultiPart: ExtractSoapEnvXml failed"},
        Case{"no mark\r\n" + std::string(kEnvelope), "ReadResponseMultiPart: ExtractSoapEnvXml failed"},
        Case{"--B\r\n<html>\r\n--B\r\n", "ReadResponseMultiPart: ExtractSoapEnvXml failed"},
        Case{envelopePart, "ReadResponseMultiPart: No header mark found"},
        Case{envelopePart + "\r\n--B--\r\n", "ReadResponseMultiPart: Reply has no part behind the envelope"},
        Case{envelopePart + "\r\n--B\r\nX: y\r\n", "ReadResponseMultiPart: No header mark found"},
        Case{envelopePart + "\r\n--B\r\nX: y\r\n\r\nabc\r\n--B--\r\n", "ReadResponseMultiPart: No header mark found"},
        Case{envelopePart + "\r\n--B\r\nContent-Length: 1\r\n\r\nx\r\n", "ReadResponseMultiPart: No header mark found"},
        Case{envelopePart + "\r\n--B\r\nContent-Length: -5\r\n\r\nx\r\n--B--",
             "ReadResponseMultiPart: Length of the attachment is no number"},
        Case{envelopePart + "\r\n--B\r\nContent-Length: 2147483648\r\n\r\nx\r\n--B--",
             "ReadResponseMultiPart: Length of the attachment is no number"},
        Case{envelopePart + "\r\n--B\r\nContent-Length: all\r\n\r\nx\r\n--B--",
             "ReadResponseMultiPart: Length of the attachment is no number"}}) {
    FragmentSource source(c.body, 8);
    Log log;
    Attachments sink;
    EXPECT_FALSE(readMultipartReply(source, "B", sink, log)) << c.body;
    ASSERT_FALSE(log.errors.empty());
    EXPECT_TRUE(log.errors.back().starts_with(c.error)) << log.errors.back();
  }
  FragmentSource source(multipart({"Content-Length: 1\r\n\r\n\x07"}), 8);
  Log log;
  Attachments sink;
  EXPECT_FALSE(readMultipartReply(source, "", sink, log)) << "a reply without a boundary";
}

/// Wherever a reply breaks off, it is not taken for a whole one.
TEST(ResponseReader, EveryTruncationFails) {
  const std::string body = multipart({"Content-Length: 9\r\nX-Y: z\r\n\r\n\x07\x01\r\n--B\r\n"});
  for (std::size_t size = 0; size + 2 < body.size(); ++size) {
    FragmentSource source(body.substr(0, size), 8);
    Log log;
    Attachments sink;
    EXPECT_FALSE(readMultipartReply(source, "B", sink, log)) << size << " of " << body.size();
  }
  for (const bool parts : {false, true}) {
    FragmentSource source(parts ? body : std::string(kEnvelope), 8, false);
    Log log;
    Attachments sink;
    EXPECT_FALSE(parts ? readMultipartReply(source, "B", sink, log) : readPlainReply(source, log))
        << "all marks are there, but fewer bytes than announced";
  }
}

TEST(ResponseReader, ReadBudget) {
  // 1000 bytes may take 1000 / 128 + 16 = 23 reads.
  struct Case {
    std::size_t fragment;
    bool enough;
  };
  const std::string body = multipart({"Content-Length: 1000\r\n\r\n\x07" + std::string(999, 'x')});
  for (const Case& c : {Case{44, true}, Case{43, false}, Case{1, false}}) {
    FragmentSource source(body, c.fragment);
    Log log;
    Attachments sink;
    const auto reply = readMultipartReply(source, "B", sink, log);
    EXPECT_EQ(log.informations.at(0), "Max predicted reads for attachment 23, for total bytes 1000");
    ASSERT_EQ(reply.has_value(), c.enough) << c.fragment;
    if (c.enough) continue;
    const auto got = 23 * c.fragment;
    EXPECT_EQ(reply.error().raised, "Max reads exceeded for attachment, bytes read " + std::to_string(got) +
                                        ", bytes remaining " + std::to_string(1000 - got));
    EXPECT_EQ(log.errors.at(0), "ReadResponseMultiPart: " + reply.error().raised);
  }
}

TEST(ResponseReader, AnnouncedLengthAloneCostsNoMemory) {
  FragmentSource source(
      "--B\r\n" + std::string(kEnvelope) + "\r\n--B\r\nContent-Length: 2147483647\r\n\r\n\x07 that is all", 100);
  Log log;
  Attachments sink;
  const auto reply = readMultipartReply(source, "B", sink, log);
  ASSERT_FALSE(reply);
  EXPECT_EQ(reply.error().raised, "Max reads exceeded for attachment, bytes read 13, bytes remaining 2147483634");
  EXPECT_LE(sink.largest, std::size_t{16} << 20);
}

TEST(ResponseReader, LargeAttachmentGrowsToItsExactSize) {
  std::string data(40u << 20, 'x');
  for (std::size_t i = 0; i < data.size(); i += 4096) data[i] = static_cast<char>(i >> 12);
  FragmentSource source(multipart({"Content-Length: " + std::to_string(data.size()) + "\r\n\r\n" + data}), 1u << 20);
  Log log;
  Attachments sink;
  ASSERT_TRUE(readMultipartReply(source, "B", sink, log));
  EXPECT_TRUE(sink.parts.at(0) == data);
}

TEST(ResponseReader, UnwantedAttachmentsAreReadAndDropped) {
  FragmentSource source(multipart({"Content-Length: 3\r\n\r\n\x07"
                                   "ab",
                                   "Content-Length: 5000\r\n\r\n\x07" + std::string(4999, 'y')}),
                        10000);
  Log log;
  Attachments sink;
  sink.wanted = 1;
  const auto reply = readMultipartReply(source, "B", sink, log);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->attachments, 2u);
  EXPECT_EQ(sink.parts, std::vector<std::string>{"\x07"
                                                 "ab"});
}

/// An endless reply, as a hostile gateway could send it.
class EndlessSource final : public ByteSource {
 public:
  explicit EndlessSource(std::string line) : line_(std::move(line)) {}
  bool readLine(std::string& line, std::size_t limit) override {
    line = line_.substr(0, limit);
    return true;
  }
  std::size_t read(std::span<std::byte> into) override {
    std::ranges::fill(into, std::byte{'x'});
    return into.size();
  }
  bool complete() override { return true; }

 private:
  std::string line_;
};

TEST(ResponseReader, EndlessTextEnds) {
  for (const std::string& line : {std::string(1 << 20, 'x'), std::string(1 << 20, 'x') + "\n"}) {
    EndlessSource plain(line), parts(line);
    Log log;
    log.traced.reserve(2 * kMaxReplyText);
    Attachments sink;
    EXPECT_FALSE(readPlainReply(plain, log));
    EXPECT_EQ(log.errors.back(), "ReadResponse: Text of the reply is too long");
    EXPECT_FALSE(readMultipartReply(parts, "B", sink, log));
  }
}

constexpr ZlibFunctions kZlib{&compress2, &uncompress, &crc32};

std::vector<std::byte> deflated(std::string_view text) {
  unsigned long size = compressBound(static_cast<unsigned long>(text.size()));
  std::vector<std::byte> out(size);
  compress2(reinterpret_cast<unsigned char*>(out.data()), &size, reinterpret_cast<const unsigned char*>(text.data()),
            static_cast<unsigned long>(text.size()), 9);
  out.resize(size);
  return out;
}

TEST(InflatedReply, RestoresAnySizeAndRefusesDamage) {
  for (const std::size_t size : {0u, 1u, 5000u, 10u << 20}) {
    const std::string text(size, 'z');
    const auto packed = deflated(text);
    const auto content = inflateAll(kZlib, packed);
    ASSERT_TRUE(content) << size;
    EXPECT_TRUE(std::ranges::equal(*content, std::as_bytes(std::span(text))));
    for (const std::size_t cut : {std::size_t{0}, packed.size() / 2, packed.size() - 1})
      EXPECT_FALSE(inflateAll(kZlib, std::span(packed).first(cut))) << size << " cut at " << cut;
  }
  const std::string garbage = "this is no zlib stream";
  EXPECT_FALSE(inflateAll(kZlib, std::as_bytes(std::span(garbage))));
}

TEST(InflatedReply, IsReadLikeAnyOther) {
  const std::string body =
      multipart({"Content-Length: 4\r\n\r\n\x07"
                 "abc"});
  MemorySource source(std::as_bytes(std::span(body)));
  Log log;
  Attachments sink;
  ASSERT_TRUE(readMultipartReply(source, "B", sink, log));
  EXPECT_EQ(sink.parts, std::vector<std::string>{"\x07"
                                                 "abc"});
}

}  // namespace
}  // namespace qz::wire
