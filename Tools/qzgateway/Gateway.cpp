#include "Tools/qzgateway/Gateway.h"

#include <algorithm>
#include <tl/expected.hpp>

#include "ITKRelayMessage.h"
#include "ITKXmlDom.h"
#include "Tools/qzgateway/Operations.h"
#include "Tools/qzgateway/RequestParts.h"

namespace qzgateway {
namespace {

using Decoded = tl::expected<void, std::string>;

Decoded refuse(std::string reason) { return tl::unexpected(std::move(reason)); }

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

/// The session of the relay header, and proof that the envelope is XML at all.
Decoded readHeader(const std::string& envelope, ITKSOAP& call) {
  ITKXmlDom document;
  ITKSOAPError error;
  if (!document.createFromText(envelope.c_str(), error))
    return refuse("the envelope is no SOAP envelope: " + textOf(error.getErrorText()));
  if (!document.getRELAYInfo(call)) return refuse("the envelope has no relay header with a passport element");
  return {};
}

Decoded readBody(const std::string& envelope, const ITKBuffer& arguments, ITKSOAP& call) {
  ITKRelayMessage codec;
  ITKString header;
  ITKString body;
  const ITKBuffer text(envelope.c_str());
  if (codec.ExtractHdrBodyXml(text, header, body) == 0) return refuse("the envelope lacks its header or its body");
  if (codec.FindBeginTag(body.c_str(), 0, "qzSOAPBody", true) < 0 ||
      codec.FindEndTag(body.c_str(), 0, "qzSOAPBody", true) < 0)
    return refuse("the envelope carries no qzSOAPBody");
  if (codec.unpackInStub(body.c_str(), arguments, call) == 0)
    return refuse("the second part is no argument stream, a damaged one, or too large to be unpacked");
  return {};
}

/// The envelope's count and the stream are made from the same list.
Decoded checkCount(ITKSOAP& call) {
  const long announced = call.getNumParamsChecksum();
  if (announced == call.getNumParams()) return {};
  return refuse("the envelope announces " + std::to_string(announced) + " arguments, the stream holds " +
                std::to_string(call.getNumParams()));
}

/// Takes the call out of the body. Views into the body are gone when this returns.
Decoded decode(const std::string& contentType, const std::string& body, ITKSOAP& call, bool& compressed) {
  const auto parts = splitRequest(contentType, body);
  if (!parts) return refuse(parts.error());
  const std::string envelope(parts->envelope);
  const ITKBuffer arguments(parts->arguments.data(), static_cast<long>(parts->arguments.size()),
                            ITKBufferType::DT_BINARY);
  compressed = ITKBuffer::isCompressed(arguments);
  return readHeader(envelope, call).and_then([&] { return readBody(envelope, arguments, call); }).and_then([&] {
    return checkCount(call);
  });
}

std::string summaryOf(ITKSOAP& call, bool compressed) {
  return printable(textOf(call.getInterfaceName()) + "." + textOf(call.getMethodName())) + ", " +
         std::to_string(call.getNumParams()) + (compressed ? " compressed" : " plain") + " arguments";
}

}  // namespace

std::string printable(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
  return text;
}

Served serve(const std::string& contentType, std::string&& body) {
  ITKSOAP call;
  bool compressed = false;
  const Decoded decoded = decode(contentType, body, call, compressed);
  body = std::string();
  if (!decoded) return {refusal(400, decoded.error()), {}, printable(decoded.error())};
  std::string summary = summaryOf(call, compressed);
  Session session = sessionOf(call);
  ReplyPointer reply = run(call, session, compressed);
  return {std::move(reply), std::move(session), std::move(summary)};
}

}  // namespace qzgateway
