#include "RuntimeEngine/qzSOAP/FlatLayer.h"

#include <new>

#include "References/Common/Ascii.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Platform/Variant.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"
#include "RuntimeEngine/qzSOAP/ZCompression.h"

namespace qz::flat {

std::unique_ptr<CqzBuffer> FlatLayer::newBuffer(unsigned char type, std::span<const std::byte> bytes) {
  const auto size = static_cast<long>(bytes.size());
  auto buffer = std::make_unique<CqzBufferImpl>(size, type);
  if (size > 0) buffer->write(static_cast<const void*>(bytes.data()), size);
  return buffer;
}

std::unique_ptr<CqzBuffer> FlatLayer::newText(const char* text) {
  return newBuffer(ITKBufferType::DT_TEXT, bytesOf(viewOf(text)));
}

void FlatLayer::move(CqzBuffer& to, CqzBuffer& from) {
  static_cast<CqzBufferImpl&>(to).take(static_cast<CqzBufferImpl&>(from));
}

bool FlatLayer::compress(const CqzBuffer& from, CqzBuffer& to, int level) {
  return getZCompression().compress(from, to, level, 0) != 0;
}

// Without zlib a block cannot be restored either, so a list hears of no exception.
bool FlatLayer::decompress(const CqzBuffer& from, CqzBuffer& to) {
  return guarded(bufferListSource, "serializeIn", false, [&] { return getZCompression().decompress(from, to) != 0; });
}

bool FlatLayer::toVariant(const CqzBuffer& buffer, tagVARIANT& value) {
  if (value.vt != VT_EMPTY) return refuse(bufferListSource, "serializeOut", "Check BOOL failed", false);
  const auto stored = platform::storeByteArray(value, contentOf(buffer));
  return stored || refuse(bufferListSource, "serializeOut", describeHresult(stored.error()).c_str(), false);
}

bool FlatLayer::fromVariant(CqzBuffer& buffer, const tagVARIANT& value) {
  const platform::VariantContent content(value);
  const auto size = static_cast<long>(content.bytes().size());
  if (FAILED(content.result()) || buffer.reset(size, content.type()) == 0) return false;
  return size == 0 || buffer.write(static_cast<const void*>(content.bytes().data()), size) != 0;
}

void FlatLayer::errorCodeReplaced(long before, long now) {
  constexpr long kReported = 3;
  if (traceLevel() < kReported) return;
  reportError(kReported, soapErrorSource, "setErrorCode", __LINE__, "Error code %ld is replaced with %ld", before, now);
}

}  // namespace qz::flat
