// The flat face as the engine templates see it.
#pragma once

#include <memory>
#include <source_location>
#include <span>
#include <string_view>

#include "CqzSOAPError.h"
#include "References/Common/BufferImpl.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Log/logHelperImpl.h"

class CqzBufferList;
class CqzBufferListImpl;
class CqzSOAPErrorImpl;
class CRpcSOAP;
class CRpcSOAPImpl;
struct tagVARIANT;

namespace qz::flat {

struct FlatLayer {
  using Buffer = CqzBuffer;
  using OwnBuffer = CqzBufferImpl;
  using BufferList = CqzBufferList;
  using OwnBufferList = CqzBufferListImpl;
  using Error = CqzSOAPError;
  using OwnError = CqzSOAPErrorImpl;
  using Call = CRpcSOAP;
  using OwnCall = CRpcSOAPImpl;

  /// Source paths for log lines.
  static constexpr const char* bufferListSource = "RuntimeEngine/qzSOAP/BufferListImpl";
  static constexpr const char* soapErrorSource = "RuntimeEngine/qzSOAP/SOAPErrorImpl";

  static int traceLevel() { return log::flatSettings().getTraceLevel(); }
  static void report(long level, const char* operation, const char* source, std::string_view message,
                     std::source_location at = std::source_location::current()) {
    reportText(level, source, operation, static_cast<long>(at.line()), message);
  }

  /// A new buffer with a copy of `bytes`; empty when memory is short for them.
  static std::unique_ptr<CqzBuffer> newBuffer(unsigned char type, std::span<const std::byte> bytes);
  /// The same for text, which may be null.
  static std::unique_ptr<CqzBuffer> newText(const char* text);
  /// Hands the block of `from` to `to`.
  static void move(CqzBuffer& to, CqzBuffer& from);

  /// Compressed blocks are made with the zlib that the flat face loads.
  static bool compress(const CqzBuffer& from, CqzBuffer& to, int level);
  static bool decompress(const CqzBuffer& from, CqzBuffer& to);
  static bool toFile(const CqzBuffer& buffer, void* file) { return buffer.serializeToFile(file) != 0; }
  static bool fromFile(CqzBuffer& buffer, void* file) { return buffer.serializeFromFile(file) != 0; }
  /// Stores the bytes in `value`, which must be VT_EMPTY.
  static bool toVariant(const CqzBuffer& buffer, tagVARIANT& value);
  /// Takes the text or the bytes of `value`; false when it carries neither.
  static bool fromVariant(CqzBuffer& buffer, const tagVARIANT& value);

  static constexpr long noError = CqzSOAPError::noError;
  /// The flat face's error objects report every change of their code.
  static void errorCodeReplaced(long before, long now);
};

}  // namespace qz::flat
