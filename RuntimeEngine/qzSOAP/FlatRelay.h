// The flat face as the message codec sees it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "CRpcSOAP.h"
#include "CqzBuffer.h"
#include "CqzBufferList.h"
#include "CqzSOAPError.h"
#include "References/Libraries/Rpc/RelayCodec.h"
#include "RuntimeEngine/qzSOAP/FlatLayer.h"

namespace qz::flat {

struct FlatRelay : FlatLayer {
  using Text = CqzBuffer;

  static constexpr const char* kRelaySource = "RuntimeEngine/qzSOAP/RelayMessageImpl";
  static constexpr const char* kDomSource = "RuntimeEngine/qzSOAP/XmlDom";

  static const char* schemaHost() { return log::flatSettings().getSchemaHost(); }

  /// Arguments may stand in the body as typed elements, which takes a parser.
  static std::optional<rpc::RelayFields> readFields(std::string_view body, rpc::Notes& notes) {
    return rpc::readInnerDocument(body, notes);
  }

  static const char* assign(CqzBuffer& out, std::string_view text) {
    rpc::setText(out, std::string(text));
    return out.getStrBuffer();
  }
  static std::string_view viewOf(const CqzBuffer& text) { return rpc::messageIn(text); }

  static int writeError(const CqzSOAPError& error, CqzBuffer& out, int level) {
    return error.serializeOut(&out, level);
  }
  static int readError(CqzSOAPError& error, const CqzBuffer& in) { return error.serializeIn(&in); }
};

using FlatCodec = rpc::RelayCodec<FlatRelay>;
using FlatDom = rpc::XmlDomOps<FlatRelay>;

}  // namespace qz::flat
