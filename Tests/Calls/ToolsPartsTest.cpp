// The parts of the command-line client and of the gateway that need no network.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/Arguments.h"
#include "Tools/qzcall/CommandLine.h"
#include "Tools/qzcall/Outcome.h"
#include "Tools/qzgateway/RequestParts.h"

namespace {

using namespace std::string_literals;
using nlohmann::json;

qzcall::Bytes bytesOf(const ITKBuffer& buffer) {
  return {buffer.getBuffer(), static_cast<std::size_t>(buffer.getLength())};
}

qzcall::Bytes bytesOf(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

TEST(QzcallArguments, BecomeTypedLittleEndianBytes) {
  const struct {
    std::string written;
    int type;
    std::string hex;
  } kCases[] = {
      {"text:", 1, "00"},
      {"text:a:b", 1, "613a6200"},
      {"text:[x,y]", 1, "5b782c795d00"},
      {"long:-2147483648", 4, "00000080"},
      {"long:+7", 4, "07000000"},
      {"short:32767", 3, "ff7f"},
      {"byte:-128", 2, "80"},
      {"float:1.5", 5, "0000c03f"},
      {"double:-1e-3", 6, "fca9f1d24d6250bf"},
      {"hex:", 0, ""},
      {"hex:00fFA0", 0, "00ffa0"},
  };
  for (const auto& c : kCases) {
    const auto buffer = qzcall::parseArgument(c.written);
    ASSERT_TRUE(buffer) << c.written << ": " << buffer.error();
    EXPECT_EQ((*buffer)->getType(), c.type) << c.written;
    EXPECT_EQ(qzcall::toHex(bytesOf(**buffer)), c.hex) << c.written;
  }
}

TEST(QzcallArguments, RefuseWhatTheyCannotSay) {
  const struct {
    const char* written;
    const char* complaint;
  } kCases[] = {
      {"hello", "TYPE:VALUE"},
      {"int:1", "unknown type"},
      {"long:2147483648", "out of range (-2147483648 to 2147483647)"},
      {"short:-32769", "out of range (-32768 to 32767)"},
      {"byte:128", "out of range (-128 to 127)"},
      {"long:", "not a number"},
      {"long:12x", "not a number"},
      {"long: 1", "not a number"},
      {"long:+-1", "not a number"},
      {"long:0x10", "not a number"},
      {"double:1e999", "out of range"},
      {"double:1,5", "not a number"},
      {"hex:123", "hexadecimal"},
      {"hex:-1", "hexadecimal"},
      {"file:no/such/file", "cannot be read"},
      {"file:.", "cannot be read"},
  };
  for (const auto& c : kCases) {
    const auto buffer = qzcall::parseArgument(c.written);
    ASSERT_FALSE(buffer) << c.written;
    EXPECT_NE(buffer.error().find(c.complaint), std::string::npos) << c.written << ": " << buffer.error();
  }
}

TEST(QzcallText, TellsUtf8FromOtherBytes) {
  for (const char* const good :
       {"", "abc", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xED\x9F\xBF", "\xF4\x8F\xBF\xBF"})
    EXPECT_TRUE(qzcall::isUtf8(good)) << good;
  for (const char* const bad : {"\x80", "\xC3", "\xC0\xAF", "\xE2\x82", "\xE0\x9F\xBF", "\xED\xA0\x80",
                                "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF", "a\xE4z"})
    EXPECT_FALSE(qzcall::isUtf8(bad)) << qzcall::toHex(bytesOf(std::string(bad)));
}

TEST(QzcallText, NeverLetsAReplyDriveTheTerminal) {
  EXPECT_EQ(qzcall::forTerminal("a\x1B[2J\r\n\\\xC2\x9B\xFF\xC3\xA4\x7F", 99),
            "a\\x1b[2J\\r\\n\\\\\\xc2\\x9b\\xff\xC3\xA4\\x7f");
  EXPECT_EQ(qzcall::forTerminal("\xC3\xA4\xC3\xA4\xC3\xA4", 2), "\xC3\xA4\xC3\xA4... (6 bytes in all)");
  EXPECT_EQ(qzcall::forTerminal("ab", 2), "ab");
}

/// The JSON of one output argument.
json argumentJson(unsigned char type, const std::string& bytes) {
  qzcall::Outcome outcome;
  outcome.arguments.push_back({type, bytesOf(bytes)});
  return json::parse(qzcall::toJson(outcome))["arguments"][0];
}

template <class Number>
std::string rawBytes(Number number) {
  return {reinterpret_cast<const char*>(&number), sizeof number};
}

TEST(QzcallJson, SaysEveryArgumentExactlyOrAsHex) {
  const std::string nested = "\x07\x02\x04\x04\x00\x00\x00\x2A\x00\x00\x00\x07\x02\x00\x00\x00\x07\x00"s;
  const struct {
    unsigned char type;
    std::string bytes;
    json expected;
  } kCases[] = {
      {1, "abc\0"s, {{"type", "text"}, {"value", "abc"}}},
      {1, "abc", {{"type", "text"}, {"value", "abc"}}},
      {1, "a\0b\0"s, {{"type", "text"}, {"value", "a\0b"s}}},
      {1, "", {{"type", "text"}, {"value", ""}}},
      {1, "\xE4\0"s, {{"type", "text"}, {"hex", "e400"}}},
      {2, "\xFF", {{"type", "byte"}, {"value", -1}}},
      {3, "\x00\x80"s, {{"type", "short"}, {"value", -32768}}},
      {4, "\xFF\xFF\xFF\x7F", {{"type", "long"}, {"value", 2147483647}}},
      {4, "\x01\x02", {{"type", "long"}, {"hex", "0102"}}},
      {5, rawBytes(0.5F), {{"type", "float"}, {"value", 0.5}}},
      {6, rawBytes(0.1), {{"type", "double"}, {"value", 0.1}}},
      {6, rawBytes(std::numeric_limits<double>::infinity()), {{"type", "double"}, {"hex", "000000000000f07f"}}},
      {0, "\x00\xFF"s, {{"type", "binary"}, {"hex", "00ff"}}},
      {7,
       nested,
       {{"type", "list"},
        {"value", {{{"type", "long"}, {"value", 42}}, {{"type", "list"}, {"value", json::array()}}}}}},
      {7, "\x07\x05", {{"type", "list"}, {"hex", "0705"}}},
      {77, "x", {{"type", "type 77"}, {"hex", "78"}}},
  };
  for (const auto& c : kCases) EXPECT_EQ(argumentJson(c.type, c.bytes), c.expected) << int{c.type};
}

TEST(QzcallJson, IsValidWhateverTheServerSaid) {
  qzcall::Outcome outcome;
  outcome.result = outcome.errorCode = 12;
  outcome.errorText = "bad \xFF \"quoted\"\r\n";
  outcome.cookies = {{"a\xE4", "1"}};
  const json out = json::parse(qzcall::toJson(outcome));
  EXPECT_EQ(out["error"]["text"], "bad \xEF\xBF\xBD \"quoted\"\r\n");
  EXPECT_EQ(out["token"]["cookies"].size(), 1U);
  EXPECT_EQ(qzcall::exitCodeOf(12), qzcall::kServerError);
  EXPECT_EQ(qzcall::exitCodeOf(E_TIMEOUT), qzcall::kTimeOut);
}

// ---- the gateway's view of a request

constexpr char kContentType[] = "Multipart/Related; type=text/xml; Boundary=\"B:1;x\"; start=\"<s>\"";

std::string bodyWith(const std::string& attachment) {
  return "\r\n--B:1;x\r\nContent-Type: text/xml; charset=utf-8;\r\nContent-ID: \"<s>\"\r\n\r\n<e/>\r\n--B:1;x\r\n" +
         attachment + "--B:1;x--\r\n";
}

TEST(QzgatewayRequest, TakesTheAttachmentAsItIs) {
  for (const std::string& attachment : {"\x07\x00"s, "a\r\n--B:1;x\r\nb"s, "a--B:1;x--\r\n"s, "\r\n"s}) {
    const std::string body = bodyWith(attachment);
    const auto parts = qzgateway::splitRequest(kContentType, body);
    ASSERT_TRUE(parts) << parts.error();
    EXPECT_EQ(parts->envelope, "<e/>");
    EXPECT_EQ(parts->arguments, attachment);
  }
}

TEST(QzgatewayRequest, RefusesABodyCutAnywhere) {
  const std::string body = bodyWith("\x07\x00"s);
  for (std::size_t length = 0; length + 2 < body.size(); ++length) {
    const std::string cut = body.substr(0, length);
    EXPECT_FALSE(qzgateway::splitRequest(kContentType, cut)) << "cut at " << length;
  }
}

TEST(QzgatewayRequest, NamesWhatIsWrong) {
  const std::string good = bodyWith("\x07\x00"s);
  const struct {
    std::string contentType;
    std::string body;
    const char* complaint;
  } kCases[] = {
      {"text/xml", good, "not multipart/related"},
      {"", good, "not multipart/related"},
      {"multipart/related", good, "no boundary"},
      {"multipart/related; boundary=\"\"", good, "no boundary"},
      {"multipart/related; boundary=other", good, "start mark"},
      {kContentType, bodyWith(""), "second part is empty"},
      {kContentType, good + "trailing", "closing mark"},
  };
  for (const auto& c : kCases) {
    const auto parts = qzgateway::splitRequest(c.contentType, c.body);
    ASSERT_FALSE(parts) << c.complaint;
    EXPECT_NE(parts.error().find(c.complaint), std::string::npos) << parts.error();
  }
}

}  // namespace
