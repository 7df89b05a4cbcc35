#include "References/Libraries/Wire/PortalForm.h"

namespace qz::wire {
namespace {

constexpr std::string_view kCloseQuery = "?b_action=xts.run&m=portal/close.xts";
constexpr std::string_view kComponentKey = "&ui.compid=";

std::string closeQuery(std::string_view action, std::string_view componentId) {
  return std::string(kCloseQuery).append(action).append(kComponentKey).append(componentId);
}

}  // namespace

std::string urlEncoded(std::string_view text, FormPlainByte isPlain) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (isPlain(byte))
      encoded += c;
    else
      encoded.append(1, '%').append(1, kDigits[byte >> 4]).append(1, kDigits[byte & 15]);
  }
  return encoded;
}

void addUrlToken(std::string_view name, std::string_view value, FormPlainByte isPlain, std::string& body) {
  if (value.empty()) return;
  if (!body.empty()) body += '&';
  body.append(urlEncoded(name, isPlain)).append("=").append(urlEncoded(value, isPlain));
}

std::string logonBody(const LogonForm& form, std::string_view componentId, FormPlainByte isPlain) {
  std::string body;
  addUrlToken("ZOTUsername", form.user, isPlain, body);
  addUrlToken("ZOTPassword", form.password, isPlain, body);
  addUrlToken("ZOTNamespace", form.nameSpace, isPlain, body);
  addUrlToken("ZOTNamespaceDisplayName", form.displayName, isPlain, body);
  return body.append("&h_ZOT_action=logonAs&o_encoding=UTF-8&o_m=portal%2Fclose.xts&o_b_action=xts.run&o_ui.compid=")
      .append(componentId)
      .append("&m=portal%2Fmain.xts&b_action=xts.run&m_method=GET\r\n");
}

std::string logonQuery(std::string_view componentId) { return closeQuery("&h_ZOT_action=logon", componentId); }

std::string logonAsQuery(std::string_view componentId) { return closeQuery("&h_ZOT_action=logonAs", componentId); }

std::string contextQuery(std::string_view componentId) { return closeQuery("", componentId); }

}  // namespace qz::wire
