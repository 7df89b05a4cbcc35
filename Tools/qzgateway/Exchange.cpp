#include "Tools/qzgateway/Exchange.h"

#include <algorithm>

namespace qzgateway {

std::string cutToLine(std::string text) {
  constexpr std::size_t kLongestLine = 1000;
  if (text.size() > kLongestLine) text.replace(kLongestLine, std::string::npos, "...");
  return text;
}

std::string printable(std::string text) {
  text = cutToLine(std::move(text));
  std::ranges::replace_if(
      text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
  return text;
}

}  // namespace qzgateway
