#include "References/Libraries/Wire/InflatedReply.h"

#include <algorithm>
#include <cstdint>

namespace qz::wire {
namespace {

constexpr int kZlibRoomTooSmall = -5;

/// Deflate packs at most 1032 bytes into one.
std::size_t largestExpansion(std::size_t size, std::size_t most) {
  return static_cast<std::size_t>(std::min(std::uint64_t{size} * 1032 + 64, std::uint64_t{most}));
}

}  // namespace

tl::expected<std::vector<std::byte>, int> inflateAll(const ZlibFunctions& zlib, std::span<const std::byte> stream,
                                                     std::size_t limit) {
  const std::size_t most = largestExpansion(stream.size(), limit);
  const auto* from =
      reinterpret_cast<const unsigned char*>(stream.empty() ? "" : static_cast<const void*>(stream.data()));
  for (std::size_t room = std::min(most, stream.size() * 4 + 1024);; room = std::min(most, room * 2)) {
    std::vector<std::byte> content(room);
    auto length = static_cast<unsigned long>(room);
    const int result = zlib.uncompress(reinterpret_cast<unsigned char*>(content.data()), &length, from,
                                       static_cast<unsigned long>(stream.size()));
    if (result == 0) {
      content.resize(length);
      return content;
    }
    if (result != kZlibRoomTooSmall || room == most) return tl::unexpected(result);
  }
}

bool MemorySource::readLine(std::string& line, std::size_t limit) {
  const auto end = std::ranges::find(rest_, std::byte{'\n'});
  const auto whole = static_cast<std::size_t>(end - rest_.begin()) + (end == rest_.end() ? 0 : 1);
  const std::size_t count = std::min(whole, limit);
  line.assign(reinterpret_cast<const char*>(rest_.data()), count);
  rest_ = rest_.subspan(count);
  return count > 0;
}

std::size_t MemorySource::read(std::span<std::byte> into) {
  const std::size_t count = std::min(into.size(), rest_.size());
  std::ranges::copy(rest_.first(count), into.begin());
  rest_ = rest_.subspan(count);
  return count;
}

}  // namespace qz::wire
