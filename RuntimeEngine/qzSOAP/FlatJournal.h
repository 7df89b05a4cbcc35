// The flat face's log for the engines that work for it.
#pragma once

#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/Journal.h"

namespace qz::flat {

/// Writes under one source path; failures go to the error log as well.
class FlatJournal final : public rpc::Journal {
 public:
  /// @param source source path of the class that the engine works for, a literal
  explicit FlatJournal(const char* source) : source_(source) {}

  int traceLevel() const override { return log::flatSettings().getTraceLevel(); }
  void text(long level, const char* operation, std::string_view message, std::source_location at) override {
    reportText(level, source_, operation, static_cast<long>(at.line()), message);
  }
  void failure(const char* operation, const Err& error) override {
    reportErr(rpc::kError, {error.number, error.description, source_, operation, error.line});
  }
  void bytes(std::span<const std::byte> data, std::source_location at) override {
    log::flatSettings().logByteStream(log::kComponent, source_, static_cast<long>(at.line()),
                                      reinterpret_cast<const unsigned char*>(data.data()),
                                      static_cast<long>(data.size()));
  }

 private:
  const char* source_;
};

}  // namespace qz::flat
