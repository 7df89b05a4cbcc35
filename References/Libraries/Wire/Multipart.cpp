#include "References/Libraries/Wire/Multipart.h"

#include <array>
#include <initializer_list>

#include "References/Common/Bytes.h"
#include "References/Libraries/Wire/CookieScan.h"

namespace qz::wire {
namespace {

/// Domain of the Content-IDs; only unique within a message, so it names nobody.
constexpr std::string_view kContentIdDomain = "tessel.example";

void appendPadded(std::string& out, int number, int digits) {
  std::array<char, 8> text{};
  for (int i = digits; i-- > 0; number /= 10) text[static_cast<std::size_t>(i)] = static_cast<char>('0' + number % 10);
  out.append(text.data(), static_cast<std::size_t>(digits));
}

std::string timeStamp(const CivilTime& t, char separator) {
  std::string out = "D";
  appendPadded(out, t.year, 4);
  appendPadded(out, t.month, 2);
  appendPadded(out, t.day, 2);
  out += 'T';
  appendPadded(out, t.hour, 2);
  out += separator;
  appendPadded(out, t.minute, 2);
  out += separator;
  appendPadded(out, t.second, 2);
  return out;
}

MessageBody concatenate(std::initializer_list<std::span<const std::byte>> pieces) {
  std::size_t size = 0;
  for (const auto piece : pieces) size += piece.size();
  MessageBody body(size);
  std::byte* at = body.bytes().data();
  for (const auto piece : pieces) {
    copyBytes(at, piece);
    at += piece.size();
  }
  return body;
}

std::string contentTypeLine(const MultipartIds* ids) {
  if (ids == nullptr) return "Content-Type: text/xml\r\n";
  return "Content-Type: multipart/related; boundary=\"" + ids->boundary + "\"; type=text/xml; start=\"" + ids->start +
         "\"\r\n";
}

}  // namespace

MultipartIds makeMultipartIds(std::string_view computerName, const CivilTime& now) {
  return {std::string("TARVON.QZ.NIRA.").append(computerName).append(".").append(timeStamp(now, ':')),
          "<" + timeStamp(now, '_') + "@qzRPC." + std::string(kContentIdDomain) + ">"};
}

MessageBody plainBody(std::string_view envelope) { return concatenate({bytesOf(envelope)}); }

MessageBody multipartBody(const MultipartIds& ids, std::string_view envelope, std::span<const std::byte> attachment) {
  // The argument part has neither headers nor a blank line, and nothing stands between it and the closing mark: this is
  // how the gateways expect it.
  return concatenate({bytesOf("\r\n--"), bytesOf(ids.boundary),
                      bytesOf("\r\nContent-Type: text/xml; charset=utf-8;\r\nContent-ID: \""), bytesOf(ids.start),
                      bytesOf("\"\r\n\r\n"), bytesOf(envelope), bytesOf("\r\n--"), bytesOf(ids.boundary),
                      bytesOf("\r\n"), attachment, bytesOf("--"), bytesOf(ids.boundary), bytesOf("--\r\n")});
}

std::vector<std::string> requestHeaderLines(const MultipartIds* ids, std::string_view soapAction) {
  // The misspelt encoding is what the gateways have always been sent.
  return {contentTypeLine(ids), "Accept: */*\r\n", "Accept-Encoding: gxip, deflate\r\n", "MIME-Version: 1.0\r\n",
          std::string("soapaction: \"").append(soapAction).append("\"\r\n")};
}

std::vector<std::string> loadTestHeaderLines(const MultipartIds* ids, std::string_view soapAction,
                                             std::string_view passport, std::string_view context) {
  auto lines = requestHeaderLines(ids, soapAction);
  if (!passport.empty())
    lines.push_back(
        sanitizedCookieLine(std::string("Set-Cookie: zot_passport=").append(passport).append(";pry=").append(context)));
  return lines;
}

}  // namespace qz::wire
