#include "Tools/qzcall/FileBytes.h"

#include <algorithm>

namespace qzcall {

std::string_view WindowBytes::from(std::uint64_t at, std::size_t least) {
  if (at >= size_) return {};
  least = static_cast<std::size_t>(std::min<std::uint64_t>(least, size_ - at));
  if (at < begin_ || at + least > begin_ + window_.size()) load(at, least);
  const auto skipped = static_cast<std::size_t>(at - begin_);
  return std::string_view(window_.data(), window_.size()).substr(std::min(skipped, window_.size()));
}

void WindowBytes::load(std::uint64_t at, std::size_t least) {
  constexpr std::size_t kPiece = std::size_t{1} << 18;
  window_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(std::max(least, kPiece), size_ - at)));
  begin_ = at;
  std::size_t filled = 0;
  while (filled < window_.size()) {
    const auto got = read_(at + filled, window_.data() + filled, window_.size() - filled);
    if (!got || *got == 0) break;
    filled += *got;
  }
  hasFailed_ = hasFailed_ || filled < window_.size();
  window_.resize(filled);
}

std::optional<std::uint64_t> Search::find(std::string_view text, std::uint64_t at, std::uint64_t end) {
  while (at + text.size() <= end && left_ > 0) {
    std::string_view window = bytes_.from(at, text.size());
    window = window.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(window.size(), end - at)));
    if (window.size() < text.size()) break;
    const std::size_t found = window.find(text);
    const std::size_t passed = std::min(found, window.size() - text.size() + 1);
    left_ -= std::min<std::uint64_t>(left_, passed);
    if (found != std::string_view::npos) return at + found;
    at += passed;
  }
  return std::nullopt;
}

}  // namespace qzcall
