#include "Tools/qzgateway/Gateway.h"

#include <algorithm>
#include <string_view>
#include <tl/expected.hpp>

#include "ITKRelayMessage.h"
#include "ITKXmlDom.h"
#include "Tools/qzgateway/Operations.h"
#include "Tools/qzgateway/RequestParts.h"

namespace qzgateway {
namespace {

using Decoded = tl::expected<void, std::string>;

Decoded refuse(std::string reason) { return tl::unexpected(std::move(reason)); }

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
  return textOf(call.getInterfaceName()) + "." + textOf(call.getMethodName()) + ", " +
         std::to_string(call.getNumParams()) + (compressed ? " compressed" : " plain") + " arguments";
}

bool isOfConversation(std::string_view soapAction) {
  if (soapAction.ends_with('"')) soapAction.remove_suffix(1);
  return soapAction.ends_with(".session");
}

/// A script cannot know how long a reply will be.
std::string noteOnCut(const Reply& reply) {
  if (!reply.truncateAt || *reply.truncateAt < lengthOf(reply)) return "";
  return ", not truncated: the body has only " + std::to_string(lengthOf(reply)) + " bytes";
}

}  // namespace

Gateway::Gateway(Accounts accounts, bool isLogonRequired, GatewayTime& time, std::optional<Script> script)
    : accounts_(std::move(accounts)), time_(time), sessions_(time, isLogonRequired), conversations_(time) {
  if (script) player_.emplace(std::move(*script), time);
}

Served Gateway::serve(HttpRequest&& request) {
  if (Portal::isAskedBy(request.query)) return portal_.serve(request);
  if (request.isPost) return serveCall(std::move(request));
  return {refusal(405, "This is a gateway for remote calls; it answers POST requests."), "no call"};
}

Served Gateway::serveCall(HttpRequest&& request) {
  ITKSOAP call;
  bool compressed = false;
  const Decoded decoded = decode(request.contentType, request.body, call, compressed);
  request.body = std::string();
  if (!decoded) return {refusal(400, decoded.error()), decoded.error()};
  Served served{nullptr, summaryOf(call, compressed), textOf(call.getInterfaceName()), textOf(call.getMethodName())};
  const std::string passport = textOf(call.getPassportId());
  if (!sessions_.accepts(passport)) {
    served.reply = logonFault();
    served.summary += ", refused: nobody is logged on";
    return served;
  }
  const auto user = sessions_.find(passport);
  const bool isConversation = call.getAsyncMode() != 0 && isOfConversation(request.soapAction);
  answer({call, user ? user->session : sessionOf(call), compressed, isConversation}, served);
  return served;
}

/// Rules are for calls, and a request of a conversation only goes on with one.
bool Gateway::isOfBuiltIn(const Request& request) {
  return request.isConversation &&
         conversations_.find(textOf(request.call.getObjectHandle()), request.session.passport).has_value();
}

void Gateway::answer(const Request& request, Served& served) {
  auto played = player_ && !isOfBuiltIn(request) ? player_->play(request) : std::nullopt;
  if (!played) {
    served.reply = run(request, {time_, conversations_});
    return;
  }
  served.reply = std::move(played->reply);
  served.rule = std::move(played->rule);
  served.summary += ", " + served.rule + (served.reply->isDropped ? ", dropped" : "") + noteOnCut(*served.reply);
}

}  // namespace qzgateway
