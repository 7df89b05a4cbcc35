// The faces as the suites of the message codec and of the XML object see them.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>

#include "ITKRelayMessage.h"
#include "ITKString.h"
#include "ITKXmlDom.h"
#include "Tests/Support/Faces.h"

namespace qz::test {

struct ToolkitCodecFace : ToolkitFace {
  /// What the codec hands out as text.
  using Text = ITKString;

  static auto makeText(const std::string& content) { return std::make_unique<Text>(content.c_str()); }
  static std::string contentOf(const Text& text) { return text.c_str(); }
  static auto makeCodec() { return std::make_unique<ITKRelayMessage>(); }
  /// An XML object that has loaded a reply; null when it could not.
  static auto makeDom(const std::string& reply) {
    auto dom = std::make_unique<ITKXmlDom>();
    if (!dom->createFromText(reply.c_str())) dom.reset();
    return dom;
  }
  static std::string placeHolder(ITKRelayMessage& codec, const char* name) {
    return codec.BuildPlaceHolder(name).c_str();
  }
  /// Whether a text was read, for a buffer that is not empty then.
  static bool appendFaultText(ITKXmlDom& dom, const char* text, ITKBuffer& out) {
    return dom.extractRELAYFaultText(text, out);
  }

  /// What unpacking a reply without an inner body returns.
  static constexpr int resultWithoutInnerBody = 1;
  /// How "&amp;amp;" in a field of the inner body is read.
  static constexpr const char* escapedTwice = "&amp;amp;";
  /// Which error code is read from `errorCodeString` 9 before `errorCode` 8.
  static constexpr const char* errorCodeBehindLongerName = "9";
};

struct FlatCodecFace : FlatFace {
  using Text = CqzBuffer;

  static auto makeText(const std::string& content) {
    auto text = makeBuffer();
    text->write(content.c_str(), true);
    return text;
  }
  static std::string contentOf(const Text& text) { return test::contentOf(text); }
  static auto makeCodec() { return Owner<CqzRelayMessage, rpcSOAP_ReleaseRelayMessage>(rpcSOAP_CreateRelayMessage()); }
  static auto makeDom(const std::string& reply) {
    return Owner<CqzXmlDom, releaseXmlDom>(createXmlDomFromText(reply.c_str()));
  }
  static std::string placeHolder(CqzRelayMessage& codec, const char* name) {
    const CqzBuffer00 out;
    return codec.BuildPlaceHolder(name, out);
  }
  static bool appendFaultText(CqzXmlDom& dom, const char* text, CqzBuffer& out) {
    return *dom.extractRELAYFaultText(text, &out) != '\0';
  }

  static constexpr int resultWithoutInnerBody = 0;
  static constexpr const char* escapedTwice = "&";
  static constexpr const char* errorCodeBehindLongerName = "8";
};

using BothCodecFaces = testing::Types<ToolkitCodecFace, FlatCodecFace>;

/// A suite over one of these faces.
template <class Face>
class CodecTest : public FaceTest<Face> {
 public:
  using Text = typename Face::Text;

  Text& text(const std::string& content = {}) { return *texts_.emplace_back(Face::makeText(content)); }
  typename FaceTest<Face>::Buffer& textBuffer(const std::string& content = {}) {
    return this->buffer(content, ITKBufferType::DT_TEXT);
  }

  /// What was logged, all of it by one operation, without that operation's name.
  static std::string saidBy(const std::string& operation, const LogWatch& log) {
    auto said = log.messages();
    const auto full = Face::logged(operation, "");
    const auto name = full.substr(0, full.size() - 1);
    for (std::size_t line = 0; line < said.size(); line = said.find('\n', line) + 1) {
      if (said.compare(line, name.size(), name) != 0) return "not only by " + operation + ":\n" + said;
      said.erase(line, name.size());
    }
    return said;
  }

 private:
  std::deque<decltype(Face::makeText({}))> texts_;
};

}  // namespace qz::test
