// The file in which a user keeps what goes over the wire.
#pragma once

#include <cstddef>
#include <span>

#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/AppendFile.h"
#include "References/Libraries/Rpc/ExchangeTracer.h"

namespace qz::rpc {

/// The user's dump file. The dump is an extra: what cannot be opened or written is lost.
class DumpFile final : public WireDump {
 public:
  /// @param path null or empty: no file
  explicit DumpFile(const char* path)
      : file_(orEmpty(path), platform::AppendFile::Existing::Extend, platform::AppendFile::Others::Read) {}

  /// What an exchange dumps to; null when the file is not open.
  WireDump* ifOpen() { return file_.isOpen() ? this : nullptr; }
  void write(std::span<const std::byte> data) override {
    file_.write({reinterpret_cast<const char*>(data.data()), data.size()});
  }

 private:
  platform::AppendFile file_;
};

}  // namespace qz::rpc
