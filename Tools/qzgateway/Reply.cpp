#include "Tools/qzgateway/Reply.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>

#include "ITKRelayMessage.h"
#include "References/Common/Ascii.h"
#include "Tools/qzgateway/RandomId.h"

namespace qzgateway {
namespace {

constexpr std::size_t kLongestId = 128;

/// The inner body of a reply is XML inside XML text.
std::string escapeTwice(const std::string& text) { return escapeXml(escapeXml(text)); }

std::string typed(const char* name, const char* type, const std::string& content) {
  return "<" + std::string(name) + " xsi:type=\"" + type + "\">" + content + "</" + name + ">";
}

std::string preference(const char* name, const char* value) {
  return "<item>" + typed("name", "xsd:string", name) + typed("value", "xsd:string", value) + "</item>";
}

std::string relayHeader(const Session& session) {
  const std::string id = typed("id", "xs:string", session.passport);
  return typed("bus:relayHeader", "bus:relayHeader",
               typed("bus:PRY", "bus:PRY", typed("contextID", "xsd:string", session.context)) +
                   typed("bus:ZOT", "bus:ZOT", typed("bus:ZOTPassport", "bus:ZOTPassport", id)) +
                   "<bus:userPreferenceVars>" + preference("productLocale", "en") +
                   preference("contentLocale", "en-gb") + "</bus:userPreferenceVars>");
}

std::string envelope(const std::string& header, const char* body) {
  ITKRelayMessage codec;
  ITKString text(codec.GetDefaultRequestTemplate());
  text.replace(codec.BuildPlaceHolder("relayHeader").c_str(), header.c_str());
  text.replace(codec.BuildPlaceHolder("SOAP-ENV:Body").c_str(), body);
  return text.c_str();
}

std::string faultBody(const std::string& code, const std::string& text, const std::string& detail) {
  std::string out =
      "<SOAP-ENV:Fault><faultcode>SOAP-ENV:" + code + "</faultcode><faultstring>" + escapeXml(text) + "</faultstring>";
  if (!detail.empty())
    out +=
        "<detail><bus:exception><severity>error</severity><errorCode>500</errorCode><bus:message><nestingLevel>0"
        "</nestingLevel><messageString>" +
        escapeXml(detail) + "</messageString></bus:message></bus:exception></detail>";
  return out + "</SOAP-ENV:Fault>";
}

ReplyPointer xmlReply(int status, std::string text) {
  auto reply = std::make_unique<Reply>();
  reply->status = status;
  reply->contentType = "text/xml; charset=utf-8";
  reply->head = std::move(text);
  return reply;
}

bool contains(const ITKBuffer& buffer, std::string_view pattern) {
  const char* const begin = reinterpret_cast<const char*>(buffer.getBuffer());
  const char* const end = begin + buffer.getLength();
  return std::search(begin, end, std::boyer_moore_horspool_searcher(pattern.begin(), pattern.end())) != end;
}

/// A boundary that does not occur in the attachment.
std::string boundaryFor(const ITKBuffer& attachment) {
  std::string boundary;
  do {
    boundary = "qzgateway." + randomId();
  } while (contains(attachment, boundary));
  return boundary;
}

void frame(Reply& reply, const std::string& envelopeText) {
  const std::string boundary = boundaryFor(reply.attachment);
  const std::string mark = "--" + boundary;
  reply.contentType =
      "multipart/related; boundary=\"" + boundary + "\"; type=\"text/xml\"; start=\"<envelope@qzgateway>\"";
  reply.head = mark + "\r\nContent-Type: text/xml; charset=utf-8\r\nContent-ID: <envelope@qzgateway>\r\n\r\n" +
               envelopeText + "\r\n" + mark +
               "\r\nContent-Type: application/octet-stream\r\nContent-Transfer-Encoding: binary\r\n"
               "Content-ID: <arguments@qzgateway>\r\nContent-Length: " +
               std::to_string(reply.attachment.getLength()) + "\r\n\r\n";
  reply.tail = "\r\n" + mark + "--\r\n";
}

/// In the envelope the error text must be escaped; the serialized error beside it carries the exact text.
bool packError(ITKSOAP& call, ITKBuffer& body, ITKBuffer& arguments) {
  const ITKSOAPError exact = call.getError();
  const char* const text = exact.getErrorText();
  call.setError(exact.getErrorCode(), escapeTwice(text == nullptr ? "" : text).c_str());
  return ITKRelayMessage().packOutStub(call, body, arguments) != 0 &&
         exact.serializeOut(arguments, call.getComressParams()) != 0;
}

bool pack(ITKSOAP& call, ITKBuffer& body, ITKBuffer& arguments) {
  if (call.getError().isError() != 0) return packError(call, body, arguments);
  return ITKRelayMessage().packOutStub(call, body, arguments) != 0;
}

std::string fitOr(const char* id, const std::string& otherwise) {
  const std::string given = id == nullptr ? "" : id;
  return isFit(given) ? given : otherwise;
}

/// The codec's replies say that they are final. The status stands behind all that the caller has put into the body.
std::string withStatus(std::string body, Status status) {
  constexpr std::string_view kComplete = "conversationComplete";
  if (status == Status::kWorking) body.replace(body.rfind(kComplete), kComplete.size(), "working");
  return body;
}

}  // namespace

// The library's template engine inserts values as they are, so they go through here first.
std::string escapeXml(std::string text) {
  // XML has no way to write these, and a parser refuses the whole document.
  const auto isForbidden = [](char c) {
    return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
  };
  std::ranges::replace_if(text, isForbidden, '?');
  ITKString escaped(text.c_str());
  escaped.encodeXML();
  return escaped.c_str();
}

bool isFit(const std::string& id) {
  const auto fits = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           std::string_view("-._:").find(c) != std::string_view::npos;
  };
  return !id.empty() && id.size() <= kLongestId && std::ranges::all_of(id, fits);
}

std::size_t lengthOf(const Reply& reply) {
  return reply.head.size() + static_cast<std::size_t>(reply.attachment.getLength()) + reply.tail.size();
}

std::vector<std::string_view> sentPiecesOf(const Reply& reply) {
  const std::string_view attachment(reinterpret_cast<const char*>(reply.attachment.getBuffer()),
                                    static_cast<std::size_t>(reply.attachment.getLength()));
  std::vector<std::string_view> pieces{reply.head, attachment, reply.tail};
  std::size_t left = reply.truncateAt.value_or(lengthOf(reply));
  for (std::string_view& piece : pieces) {
    piece = piece.substr(0, left);
    left -= piece.size();
  }
  return pieces;
}

std::vector<std::pair<std::string, std::string>> headersOf(const Reply& reply) {
  std::vector<std::pair<std::string, std::string>> headers = reply.headers;
  for (const std::string& cookie : reply.cookies) headers.emplace_back("Set-Cookie", cookie);
  constexpr std::string_view kCacheControl = "Cache-Control";
  const auto isCacheControl = [&](const auto& header) {
    return qz::equalsIgnoringAsciiCase(header.first, kCacheControl);
  };
  if (std::ranges::none_of(headers, isCacheControl)) headers.emplace_back(kCacheControl, "no-store");
  headers.emplace_back("Content-Type", reply.contentType);
  return headers;
}

ReplyPointer refusal(int status, const std::string& reason) {
  auto reply = std::make_unique<Reply>();
  reply->status = status;
  reply->contentType = "text/plain; charset=utf-8";
  reply->head = reason + "\n";
  return reply;
}

ReplyPointer htmlPage(const std::string& title, const std::string& body) {
  auto reply = std::make_unique<Reply>();
  reply->contentType = "text/html; charset=utf-8";
  reply->head = "<!DOCTYPE html>\n<html>\n<head><meta charset=\"utf-8\"><title>" + escapeXml(title) +
                "</title></head>\n<body>\n" + body + "\n</body>\n</html>\n";
  return reply;
}

ReplyPointer answer(ITKSOAP& call, const Session& session, bool compressed, Status status) {
  ITKBuffer body;
  auto reply = std::make_unique<Reply>();
  call.setComressParams(compressed ? 1 : 0);
  if (!pack(call, body, reply->attachment)) return refusal(500, "the reply could not be packed");
  call.getListParams().removeAll();
  frame(*reply, envelope(relayHeader(session), withStatus(body.getStrBuffer(), status).c_str()));
  reply->cookies = cookiesOf(session);
  return reply;
}

ReplyPointer fault(const Session& session, const std::string& code, const std::string& text,
                   const std::string& detail) {
  auto reply = xmlReply(500, envelope(relayHeader(session), faultBody(code, text, detail).c_str()));
  reply->cookies = cookiesOf(session);
  return reply;
}

ReplyPointer logonFault(const std::string& text) {
  constexpr char kHeader[] =
      "<bus:relayHeader><ZOT><exception><errorCodeString>zotAuthUserRecoverable</errorCodeString></exception></ZOT>"
      "</bus:relayHeader>";
  return xmlReply(500, envelope(kHeader, faultBody("Client", text, "").c_str()));
}

std::vector<std::string> cookiesOf(const Session& session) {
  return {"zot_passport=" + session.passport + "; path=/; HttpOnly",
          "usersessionid=" + session.context + "; path=/; HttpOnly"};
}

Session sessionOf(ITKSOAP& call) {
  return {fitOr(call.getPassportId(), "demo:" + randomId()), fitOr(call.getRTT().getPryContext(), "demo-context")};
}

}  // namespace qzgateway
