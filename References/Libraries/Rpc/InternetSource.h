// The body of a reply as the reader wants it, straight from the request handle.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "References/Libraries/Wire/ResponseReader.h"

class XInternetFile;

namespace qz::rpc {

/// Counts what arrives: the system takes a reply that breaks off for a whole one.
class InternetSource final : public wire::ByteSource {
 public:
  /// @param file outlives the source
  /// @param announced number of bytes that the reply's headers announce, if they do
  InternetSource(XInternetFile& file, std::optional<std::uint64_t> announced) : file_(file), announced_(announced) {}

  bool readLine(std::string& line, std::size_t limit) override;
  std::size_t read(std::span<std::byte> into) override;
  bool complete() override;

  /// Reads everything that is left; nothing when that is more than about `most` bytes.
  std::optional<std::vector<std::byte>> readAll(std::size_t most);

 private:
  XInternetFile& file_;
  std::optional<std::uint64_t> announced_;
  std::uint64_t received_ = 0;
};

}  // namespace qz::rpc
