#include "References/Libraries/Wire/SoapHeaders.h"

#include "References/Libraries/Wire/HeaderParameters.h"

namespace qz::wire {

std::string soapRequestHeaders(std::string_view soapAction, std::string_view extra) {
  std::string text = "Content-Type: text/xml\r\nsoapaction: \"";
  text.append(soapAction).append("\"\r\n");
  if (!extra.empty()) text.append(extra).append("\r\n");
  return text;
}

std::string_view soapActionIn(std::string_view headers) {
  auto action = headerValue(headers, "soapaction").value_or(std::string_view());
  if (action.size() >= 2 && action.starts_with('"') && action.ends_with('"'))
    action = action.substr(1, action.size() - 2);
  return action;
}

bool hasCookieLine(std::string_view headers) { return headerValue(headers, "Cookie").has_value(); }

std::string withOneLineEnd(std::string_view headers) {
  const auto last = headers.find_last_not_of("\r\n");
  if (last == std::string_view::npos) return {};
  return std::string(headers.substr(0, last + 1)).append("\r\n");
}

}  // namespace qz::wire
