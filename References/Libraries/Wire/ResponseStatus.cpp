#include "References/Libraries/Wire/ResponseStatus.h"

#include "References/Common/Number.h"

namespace qz::wire {
namespace {

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

}  // namespace

bool checkContentType(std::string_view rawHeaders) {
  return contains(rawHeaders, "Content-Type:") &&
         (contains(rawHeaders, "text/xml") || contains(rawHeaders, "text/html"));
}

StatusVerdict judgeStatus(unsigned long status, unsigned long lastAccepted, bool siteMinderSession,
                          std::string_view rawHeaders) {
  if (status == 200 && siteMinderSession && !checkContentType(rawHeaders)) return StatusVerdict::notLoggedOn;
  if (status >= 200 && status <= lastAccepted) return StatusVerdict::read;
  return status == 500 ? StatusVerdict::readFault : StatusVerdict::refuse;
}

std::string statusMessage(unsigned long status, std::string_view text) {
  return std::string(DecimalText(static_cast<std::int64_t>(status)).view()).append(" - ").append(text).append(" ");
}

std::string contextLine(std::string_view url, std::string_view soapAction) {
  return std::string("URL: ").append(url).append(", SOAP action: ").append(soapAction);
}

}  // namespace qz::wire
