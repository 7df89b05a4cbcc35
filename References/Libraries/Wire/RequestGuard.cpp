#include "References/Libraries/Wire/RequestGuard.h"

namespace qz::wire {
namespace {

bool hasLineBreak(std::string_view text) { return text.find_first_of("\r\n") != std::string_view::npos; }

}  // namespace

std::string_view textWithLineBreak(std::string_view url, std::string_view soapAction) {
  if (hasLineBreak(url)) return "URL";
  if (hasLineBreak(soapAction)) return "SOAP action";
  return {};
}

}  // namespace qz::wire
