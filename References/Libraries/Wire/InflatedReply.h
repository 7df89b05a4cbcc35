/// @file
/// Reads a reply whose body was deflated on its way.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <tl/expected.hpp>

#include "References/Libraries/Wire/CompressedBlock.h"
#include "References/Libraries/Wire/ResponseReader.h"

namespace qz::wire {

/// Most bytes that a deflated reply may turn into: a small reply must not fill the address space.
inline constexpr std::size_t kMostInflated = std::size_t{512} << 20;

/// Restores a whole stream of unknown original size, or returns zlib's error code. The memory for the result grows step
/// by step, no further than deflate can expand `stream`.
/// @param zlib its `uncompress` decides which streams are known
/// @param most a stream that holds more bytes fails
tl::expected<std::vector<std::byte>, int> inflateAll(const ZlibFunctions& zlib, std::span<const std::byte> stream,
                                                     std::size_t most = kMostInflated);

/// A reply that is whole in memory.
class MemorySource final : public ByteSource {
 public:
  /// @param body must outlive the source
  explicit MemorySource(std::span<const std::byte> body) : rest_(body) {}

  bool readLine(std::string& line, std::size_t limit) override;
  std::size_t read(std::span<std::byte> into) override;
  bool complete() override { return true; }

 private:
  std::span<const std::byte> rest_;
};

}  // namespace qz::wire
