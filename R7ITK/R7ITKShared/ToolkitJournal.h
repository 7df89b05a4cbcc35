// The toolkit's log for the engines that work for it.
#pragma once

#include "ITKes.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/Journal.h"

namespace itk {

/// Writes under one source path.
class ToolkitJournal final : public qz::rpc::Journal {
 public:
  /// @param source source path of the class that the engine works for, a literal
  explicit ToolkitJournal(const char* source) : source_(source) {}

  int traceLevel() const override { return getITKes().getTraceLevel(); }
  void text(long level, const char* /*operation*/, std::string_view message, std::source_location at) override {
    getITKes().logText(level, source_, static_cast<long>(at.line()), message);
  }
  void failure(const char* /*operation*/, const qz::Err& error) override {
    getITKes().logText(qz::rpc::kError, source_, error.line, std::string_view(error.description));
  }
  void requestFailed(const char* url, long error, std::source_location at) noexcept override {
    getITKes().logTextV(qz::rpc::kError, source_, static_cast<long>(at.line()),
                        "ITKSOAPSendGenericHTTP: URL=%s, HTTP error=%ld", url, error);
  }
  void bytes(std::span<const std::byte> data, std::source_location at) override {
    getITKes().logByteStream(source_, static_cast<long>(at.line()), reinterpret_cast<const unsigned char*>(data.data()),
                             static_cast<long>(data.size()));
  }

 private:
  const char* source_;
};

}  // namespace itk
