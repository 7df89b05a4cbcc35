// Where the trace of an exchange goes.
#pragma once

#include <cstddef>
#include <source_location>
#include <span>
#include <string_view>

#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Wire/ResponseReader.h"

namespace qz::rpc {

/// Takes what the exchange puts on the wire and gets from it, for the user's dump file. Failures are its own business.
class WireDump {
 public:
  virtual ~WireDump() = default;
  virtual void write(std::span<const std::byte> data) = 0;
};

/// Writes to the trace and to the dump file, and failures to the log.
class ExchangeTracer final : public wire::ReplyListener {
 public:
  /// @param operation public operation in whose name log() reports, a literal
  /// @param dump null: none
  ExchangeTracer(Journal& journal, WireDump* dump, const char* operation)
      : journal_(journal), dump_(dump), operation_(operation) {}

  void text(std::string_view message, std::source_location at = std::source_location::current()) {
    journal_.text(kTrace, operation_, message, at);
    if (dump_ != nullptr) dump_->write(std::as_bytes(std::span(message)));
  }
  void bytes(std::span<const std::byte> data) override {
    journal_.bytes(data);
    if (dump_ != nullptr) dump_->write(data);
  }
  void line(std::string_view raw) override { text(raw); }
  void information(const char* operation, std::string_view message) override {
    journal_.text(kInformation, operation, message);
  }
  void error(const char* operation, std::string_view message) override { journal_.text(kError, operation, message); }
  void log(std::string_view message, std::source_location at = std::source_location::current()) const {
    journal_.text(kError, operation_, message, at);
  }
  void log(const Err& failure) const { journal_.failure(operation_, failure); }
  Journal& journal() { return journal_; }

 private:
  Journal& journal_;
  WireDump* dump_;
  const char* operation_;
};

}  // namespace qz::rpc
