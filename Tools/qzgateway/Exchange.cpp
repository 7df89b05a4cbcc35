#include "Tools/qzgateway/Exchange.h"

#include <string_view>

#include "Tools/qzcall/Text.h"

namespace qzgateway {

std::string cutToLine(std::string text) {
  constexpr std::size_t kLongestLine = 1000;
  if (text.size() > kLongestLine) text.replace(kLongestLine, std::string::npos, "...");
  return text;
}

std::string printable(const std::string& text) {
  const std::string line = cutToLine(text);
  std::string out;
  for (std::string_view rest = line; !rest.empty();) {
    const std::size_t length = qzcall::sequenceLength(rest);
    const std::string_view sequence = rest.substr(0, length == 0 ? 1 : length);
    out += length == 0 || qzcall::isHidden(qzcall::characterOf(sequence)) ? "?" : sequence;
    rest.remove_prefix(sequence.size());
  }
  return out;
}

}  // namespace qzgateway
