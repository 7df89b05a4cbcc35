#include "References/Libraries/Wire/ResponseReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include <zlib.h>

#include "References/Common/Bytes.h"
#include "References/Libraries/Wire/InflatedReply.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;

const std::string kEnvelope = "<SOAP-ENV:Envelope a=\"b\">text</SOAP-ENV:Envelope>";

/// A reply and everything that comes of reading it.
struct Reading final : ByteSource, ReplyListener, AttachmentSink {
  explicit Reading(std::string body, std::size_t largestRead = 8) : data(std::move(body)), fragment(largestRead) {}

  bool plain() { return finish(readPlainReply(*this, *this)); }
  bool parts(std::string_view boundary = "B") { return finish(readMultipartReply(*this, boundary, *this, *this)); }
  bool finish(tl::expected<ReplyText, ReadFailure> result) {
    if (result)
      reply = *result;
    else
      raised = result.error().raised;
    return result.has_value();
  }

  std::string_view rest() {
    if (at == data.size() && endless) at = *endless;
    return std::string_view(data).substr(at);
  }
  bool readLine(std::string& line, std::size_t limit) override {
    line = rest().substr(0, std::min({limit, rest().find('\n'), rest().size()}) + 1).substr(0, limit);
    at += line.size();
    return !line.empty();
  }
  std::size_t read(std::span<std::byte> into) override {
    const auto piece = rest().substr(0, std::min(into.size(), fragment));
    copyBytes(into.data(), bytesOf(piece));
    at += piece.size();
    return piece.size();
  }
  bool complete() override { return whole; }

  void line(std::string_view raw) override { traced += raw; }
  void bytes(std::span<const std::byte> piece) override { traced += textOf(piece); }
  void information(const char*, std::string_view message) override { informations.emplace_back(message); }
  void error(const char* operation, std::string_view message) override {
    errors.push_back(operation + ": "s + std::string(message));
  }

  std::span<std::byte> resize(std::size_t index, std::size_t size) override {
    attachments.resize(std::max(attachments.size(), index + 1));
    attachments[index].resize(size);
    largest = std::max(largest, size);
    return std::as_writable_bytes(std::span(attachments[index]));
  }

  std::string data;
  std::size_t fragment, at = 0, largest = 0;
  std::optional<std::size_t> endless;  ///< where the data begin anew
  bool whole = true;
  ReplyText reply;
  std::string traced, raised;
  std::vector<std::string> informations, errors, attachments;
};

std::string multipart(const std::vector<std::string>& parts) {
  std::string text = "preamble\r\n--B\r\nContent-Type: text/xml\r\nContent-ID: <x>\r\n\r\n" + kEnvelope;
  text.insert(text.find("text<"), "\r\n\t");  // the line break goes
  for (const auto& part : parts) text += "\r\n--B\r\n" + part;
  return text + "\r\n--B--\r\n";
}

std::string part(std::string_view bytes, std::string_view between = "\r\n") {
  return "Content-Length: " + std::to_string(bytes.size()) + "\r\n" + std::string(between) + std::string(bytes);
}

TEST(ResponseReader, PlainReplyJoinsTrimmedLines) {
  const std::pair<std::string, std::string> cases[] = {
      {"<?xml version=\"1.0\"?>\r\n" + kEnvelope + "\r\ntrailer", kEnvelope},
      {"\n  <SOAP-ENV:Envelope\t\r\n\r\n x='1'>a \n b</SOAP-ENV:Envelope>",
       "<SOAP-ENV:Envelopex='1'>ab</SOAP-ENV:Envelope>"},
      {"<SOAP-ENV:Envelope>\n\xC2\x85\n</SOAP-ENV:Envelope>", "<SOAP-ENV:Envelope>\xC2\x85</SOAP-ENV:Envelope>"},
      {"</SOAP-ENV:Envelope><SOAP-ENV:Envelope></SOAP-ENV:Envelope></SOAP-ENV:Envelope>",
       "<SOAP-ENV:Envelope></SOAP-ENV:Envelope>"}};
  for (const auto& [body, envelope] : cases) {
    Reading reading(body);
    ASSERT_TRUE(reading.plain()) << body;
    EXPECT_EQ(reading.reply.envelope(), envelope);
    EXPECT_EQ(reading.traced, body);
    EXPECT_TRUE(reading.errors.empty());
  }
}

TEST(ResponseReader, PlainReplyWithoutEnvelopeFails) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "start"}, {"<soap-env:Envelope>", "start"}, {"</SOAP-ENV:Envelope><SOAP-ENV:Envelope>", "end"}};
  for (const auto& [body, mark] : cases) {
    Reading reading(body);
    ASSERT_FALSE(reading.plain());
    EXPECT_EQ(reading.errors, (std::vector{"ExtractSoapEnvXml: Could'n find the " + mark + "ing mark of soap envelope",
                                           "ReadResponse: ExtractSoapEnvXml failed" + body}));
  }
}

/// Replies that must read the same however they arrive.
TEST(ResponseReader, MultipartRepliesInFragments) {
  const std::string binary = "\x07\x01\0\r\n--B\r\n--B--\r\nContent-Length: 9\r\n"s;
  const std::string block = "NIRA\x04\0\0\0:\0\0\0\r\n\r\nabcd"s;
  const std::string headers = "Content-Type: x/y\r\nContent-ID: <a>\r\n";
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {multipart({"Content-Type: x/y\r\n" + part(binary, "")}), {binary}},
      {multipart({part(binary)}), {binary}},
      {multipart({part(binary, "\n")}), {binary}},
      {multipart({part(binary, headers + "\r\n")}), {binary}},
      {multipart({part(binary, headers)}), {binary}},
      {multipart({"CONTENT-LENGTH:20\r\n\r\n" + block}), {block}},
      {multipart({part("ab")}), {"ab"}},
      {multipart({"Content-Length: 2\r\n\r\n\x07\0--B--"s}), {"\x07\0"s}},
      {multipart({part(binary), part("\x07yz")}), {binary, "\x07yz"}},
      {multipart({part(""), part(binary)}), {binary}},
      {multipart({part("")}), {}},
  };
  for (const auto& [body, attachments] : cases) {
    for (std::size_t fragment : {4, 7, 100000}) {  // smaller ones exhaust the budget
      SCOPED_TRACE(body + " by " + std::to_string(fragment));
      Reading reading(body, fragment);
      ASSERT_TRUE(reading.parts()) << reading.errors.at(0);
      EXPECT_EQ(reading.reply.envelope(), kEnvelope);
      EXPECT_EQ(reading.reply.attachments, attachments.size());
      EXPECT_EQ(reading.attachments, attachments);
      EXPECT_TRUE(body.starts_with(reading.traced));
    }
  }
  // Text right in front of a mark that holds a colon is no header.
  Reading colon("--B:1\r\n" + kEnvelope + "\r\n--B:1\r\nContent-Length: 1\r\nx--B:1--\r\n");
  EXPECT_TRUE(colon.parts("B:1"));
  EXPECT_EQ(colon.attachments, std::vector{"x"s});
}

TEST(ResponseReader, BrokenMultipartRepliesFail) {
  const std::string envelopePart = "--B\r\n" + kEnvelope + "\r\n--B";
  const std::string noEnvelope = "ExtractSoapEnvXml failed", noMark = "No header mark found";
  const std::string noNumber = "Length of the attachment is no number";
  const std::pair<std::string, std::string> cases[] = {
      {"", noEnvelope},
      {"no mark\r\n" + kEnvelope, noEnvelope},
      {"--B\r\n<html>\r\n--B\r\n", noEnvelope},
      {envelopePart, noMark},
      {envelopePart + "--\r\n", "Reply has no part behind the envelope"},
      {envelopePart + "\r\nX: y\r\n\r\nabc\r\n--B--\r\n", noMark},
      {envelopePart + "\r\nX: y\r\n\r\nabc\r\n--B\r\n" + part("x") + "--B--\r\n", noMark},
      {envelopePart + "\r\n" + part("x"), noMark},
      {envelopePart + "\r\nContent-Length: -5\r\n\r\nx\r\n--B--", noNumber},
      {envelopePart + "\r\nContent-Length: 2147483648\r\n\r\nx\r\n--B--", noNumber},
      {envelopePart + "\r\nContent-Length: all\r\n\r\nx\r\n--B--", noNumber},
      {envelopePart + "\r\n" + part("\x07x") + "\r\n--B\r\nContent-Length: 2147483646\r\n\r\n",
       "Attachments of the reply are too long"}};
  for (const auto& [body, error] : cases) {
    Reading reading(body);
    EXPECT_FALSE(reading.parts()) << body;
    EXPECT_TRUE(reading.errors.back().starts_with("ReadResponseMultiPart: " + error)) << reading.errors.back();
  }
  EXPECT_FALSE(Reading(multipart({part("\x07")})).parts("")) << "a reply that does not name its boundary";
}

/// Wherever a reply breaks off, it is not taken for a whole one.
TEST(ResponseReader, EveryTruncationFails) {
  const std::string body = multipart({part("\x07\x01\r\n--B\r\n", "X-Y: z\r\n\r\n")});
  for (std::size_t size = 0; size + 2 < body.size(); ++size)
    EXPECT_FALSE(Reading(body.substr(0, size)).parts()) << size << " of " << body.size();
  // All marks are there, but fewer bytes than announced.
  Reading parts(body), plain(kEnvelope);
  parts.whole = plain.whole = false;
  EXPECT_FALSE(parts.parts());
  EXPECT_FALSE(plain.plain());
}

TEST(ResponseReader, ReadBudget) {
  // 1000 bytes may take 1000 / 128 + 16 = 23.
  const std::string body = multipart({part("\x07" + std::string(999, 'x'))});
  for (const std::size_t fragment : {44, 43, 1}) {
    Reading reading(body, fragment);
    ASSERT_EQ(reading.parts(), fragment == 44) << fragment;
    EXPECT_EQ(reading.informations.at(0), "Max predicted reads for attachment 23, for total bytes 1000");
    if (fragment == 44) continue;
    EXPECT_EQ(reading.raised, "Max reads exceeded for attachment, bytes read " + std::to_string(23 * fragment) +
                                  ", bytes remaining " + std::to_string(1000 - 23 * fragment));
    EXPECT_EQ(reading.errors, std::vector{"ReadResponseMultiPart: " + reading.raised});
  }
}

TEST(ResponseReader, MemoryOfAnAttachmentGrowsWithItsBytes) {
  Reading liar("--B\r\n" + kEnvelope + "\r\n--B\r\nContent-Length: 2147483647\r\n\r\n\x07 that is all", 100);
  EXPECT_FALSE(liar.parts());
  EXPECT_EQ(liar.raised, "Max reads exceeded for attachment, bytes read 13, bytes remaining 2147483634");
  EXPECT_LE(liar.largest, std::size_t{16} << 20);

  std::string data(40u << 20, 'x');
  for (std::size_t i = 0; i < data.size(); i += 4096) data[i] = static_cast<char>(i >> 12);
  Reading large(multipart({part(data)}), 1u << 20);
  ASSERT_TRUE(large.parts());
  EXPECT_TRUE(large.attachments.at(0) == data);
}

TEST(ResponseReader, EndlessTextEnds) {
  for (const std::string& line : {std::string(1 << 20, 'x'), std::string(1 << 20, 'x') + "\n"}) {
    Reading plain(line), parts("--B\r\n" + kEnvelope + "\r\n--B\r\n" + line);
    plain.endless = 0;
    parts.endless = parts.data.size() - line.size();
    EXPECT_FALSE(plain.plain());
    EXPECT_EQ(plain.errors.back(), "ReadResponse: Text of the reply is too long");
    EXPECT_FALSE(parts.parts());
  }
}

TEST(InflatedReply, RestoresAnySizeAndRefusesDamage) {
  constexpr ZlibFunctions kZlib{&crc32, &compress2, &uncompress};
  for (const std::size_t size : {0u, 1u, 5000u, 10u << 20}) {
    const std::string text(size, 'z');
    unsigned long length = compressBound(static_cast<unsigned long>(size));
    std::vector<std::byte> packed(length);
    compress2(reinterpret_cast<Bytef*>(packed.data()), &length, unsignedChars(bytesOf(text)),
              static_cast<unsigned long>(size), 9);
    packed.resize(length);
    const auto content = inflateAll(kZlib, packed);
    ASSERT_TRUE(content) << size;
    EXPECT_TRUE(textOf(*content) == text);
    for (const std::size_t cut : {std::size_t{0}, packed.size() / 2, packed.size() - 1})
      EXPECT_FALSE(inflateAll(kZlib, std::span(packed).first(cut))) << size << " cut at " << cut;
    EXPECT_EQ(inflateAll(kZlib, packed, 5000).has_value(), size <= 5000);
  }
  EXPECT_FALSE(inflateAll(kZlib, bytesOf("this is no zlib stream")));
}

}  // namespace
}  // namespace qz::wire
