// The faces that behaviour suites run over: types and the few words that differ.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"

namespace qz::test {

/// The toolkit classes.
struct ToolkitFace {
  using Buffer = ITKBuffer;
  using BufferList = ITKBufferList;
  using Error = ITKSOAPError;
  /// The same as objects that a test can make on its stack.
  using OwnBuffer = ITKBuffer;
  using OwnBufferList = ITKBufferList;
  using OwnError = ITKSOAPError;
  using Call = ITKSOAP;

  static std::unique_ptr<Call> makeCall(const char* interfaceName, const char* methodName, int keepAlive,
                                        const char* objectHandle, const char* relayHeader, const ITKRTT* token,
                                        long timeoutLimit) {
    return std::make_unique<Call>(interfaceName, methodName, keepAlive, objectHandle, relayHeader, token, timeoutLimit);
  }

  /// Zero bytes kept behind the capacity.
  static constexpr long hiddenBytes = 2;
  /// Capacity of a buffer that was reset to no size.
  static constexpr long capacityOfNothing = 0;
  /// Capacity beyond the text after writing it with a reset.
  static constexpr long roomBehindText = 1;
};

/// The content of a buffer of any face.
template <class Buffer>
std::string contentOf(const Buffer& buffer) {
  const auto* data = reinterpret_cast<const char*>(buffer.getBuffer());
  return data == nullptr ? std::string() : std::string(data, static_cast<std::size_t>(buffer.getLength()));
}

/// A buffer of a face with these bytes.
template <class Face>
typename Face::OwnBuffer bufferOf(std::string_view bytes, unsigned char type = ITKBufferType::DT_LIST) {
  return typename Face::OwnBuffer(bytes.data(), static_cast<long>(bytes.size()), type);
}

}  // namespace qz::test
