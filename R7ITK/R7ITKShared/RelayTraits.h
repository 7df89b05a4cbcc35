// The toolkit face as the message codec sees it.
#pragma once

#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "ITKBuffer.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "ITKString.h"
#include "R7ITK/R7ITKShared/ToolkitLayer.h"
#include "References/Libraries/Rpc/RelayCodec.h"

namespace itk {

struct ToolkitRelay : ToolkitLayer {
  using Text = ITKString;

  static constexpr const char* kRelaySource = "R7ITK/R7ITKShared/ITKRelayMessage";
  static constexpr const char* kDomSource = "R7ITK/R7ITKShared/ITKXmlDom";

  static const char* schemaHost() { return getITKes().getSchemaHost(); }

  /// Arguments come only from the attachment, so nothing of the body needs a parser.
  static std::optional<qz::rpc::RelayFields> readFields(std::string_view body, qz::rpc::Notes& notes) {
    return qz::rpc::readEscapedFields(body, notes);
  }

  static const char* assign(ITKString& out, std::string_view text) {
    out = ITKString(text.data(), static_cast<long>(text.size()));
    // The string only logs that memory is short.
    if (static_cast<std::size_t>(out.getLength()) != text.size()) throw std::bad_alloc();
    return out.c_str();
  }
  static std::string_view viewOf(const ITKString& text) { return text.c_str(); }

  static int writeError(const ITKSOAPError& error, ITKBuffer& out, int level) { return error.serializeOut(out, level); }
  static int readError(ITKSOAPError& error, const ITKBuffer& in) { return error.serializeIn(in); }
};

using ToolkitCodec = qz::rpc::RelayCodec<ToolkitRelay>;
using ToolkitDom = qz::rpc::XmlDomOps<ToolkitRelay>;

}  // namespace itk
