#include "References/Libraries/Wire/Replace.h"

namespace qz::wire {
namespace {

std::size_t countOf(std::string_view text, std::string_view pattern) {
  std::size_t count = 0;
  for (auto at = text.find(pattern); at != std::string_view::npos; at = text.find(pattern, at + pattern.size()))
    ++count;
  return count;
}

}  // namespace

std::size_t replaceAll(std::string& text, std::string_view pattern, std::string_view value) {
  if (pattern.empty()) return 0;
  const auto count = countOf(text, pattern);
  if (count == 0) return 0;
  std::string result;
  result.reserve(text.size() - count * pattern.size() + count * value.size());
  const std::string_view rest = text;
  std::size_t from = 0;
  for (auto at = rest.find(pattern); at != std::string_view::npos; at = rest.find(pattern, from)) {
    result.append(rest, from, at - from).append(value);
    from = at + pattern.size();
  }
  result.append(rest, from);
  text = std::move(result);
  return count;
}

}  // namespace qz::wire
