// What the engine templates need to know of the toolkit's buffers, lists and error objects.
#pragma once

#include <memory>
#include <span>

#include "ITKBuffer.h"

namespace itk {

/// A part of ToolkitLayer.
struct ToolkitBuffers {
  /// Source paths for log lines.
  static constexpr const char* bufferListSource = "R7ITK/R7ITKShared/ITKBufferList";
  static constexpr const char* soapErrorSource = "R7ITK/R7ITKShared/ITKSOAPError";

  /// A new buffer with a copy of `bytes`; empty when memory is short for them.
  static std::unique_ptr<ITKBuffer> newBuffer(unsigned char type, std::span<const std::byte> bytes) {
    return std::make_unique<ITKBuffer>(bytes.data(), static_cast<long>(bytes.size()), type);
  }
  /// The same for text, which may be null.
  static std::unique_ptr<ITKBuffer> newText(const char* text) { return std::make_unique<ITKBuffer>(text); }
  /// Hands the block of `from` to `to`.
  static void move(ITKBuffer& to, ITKBuffer& from) { to.attach(from); }

  static bool compress(const ITKBuffer& from, ITKBuffer& to, int level) { return ITKBuffer::compress(from, to, level); }
  static bool decompress(const ITKBuffer& from, ITKBuffer& to) { return ITKBuffer::decompress(from, to); }
  static bool toFile(const ITKBuffer& buffer, HANDLE file) { return buffer.toFile(file); }
  static bool fromFile(ITKBuffer& buffer, HANDLE file) { return buffer.fromFile(file); }
  static bool toVariant(const ITKBuffer& buffer, VARIANT& value) { return buffer.toVARIANT(value); }
  static bool fromVariant(ITKBuffer& buffer, const VARIANT& value) { return buffer.fromVARIANT(value); }

  static constexpr long noError = E_OK;
  /// The toolkit's error objects do not tell when their code changes.
  static void errorCodeReplaced(long /*before*/, long /*now*/) {}
};

}  // namespace itk
