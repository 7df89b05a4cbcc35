#include "Tools/qzcall/DoctorInternet.h"

#include <windows.h>
//
#include <wininet.h>

#include <optional>

#include "Tools/qzcall/DoctorParts.h"
#include "Tools/qzcall/Encoding.h"

namespace qzcall {
namespace {

/// One option of this user's connections; nothing when the system does not know it.
std::optional<INTERNET_PER_CONN_OPTIONW> connectionOption(DWORD id) {
  INTERNET_PER_CONN_OPTIONW option{};
  option.dwOption = id;
  INTERNET_PER_CONN_OPTION_LISTW list{};
  list.dwSize = sizeof list;
  list.dwOptionCount = 1;
  list.pOptions = &option;
  DWORD size = sizeof list;
  if (!InternetQueryOptionW(nullptr, INTERNET_OPTION_PER_CONNECTION_OPTION, &list, &size)) return std::nullopt;
  return option;
}

std::string connectionText(DWORD id) {
  const auto option = connectionOption(id);
  if (!option || option->Value.pszValue == nullptr) return {};
  std::string text = utf8Of(option->Value.pszValue);
  GlobalFree(option->Value.pszValue);
  return text;
}

/// Systems before Windows 7 do not know the first option. Where it is known, the second one leaves out a detection that
/// has found nothing yet.
std::optional<DWORD> connectionFlags() {
  for (const DWORD id : {INTERNET_PER_CONN_FLAGS_UI, INTERNET_PER_CONN_FLAGS})
    if (const auto option = connectionOption(id)) return option->Value.dwValue;
  return std::nullopt;
}

/// Texts outlive the switches that they belong to, so the switches decide.
std::optional<ProxySettings> readProxySettings() {
  const auto flags = connectionFlags();
  if (!flags) return std::nullopt;
  ProxySettings proxy;
  proxy.isDetected = (*flags & PROXY_TYPE_AUTO_DETECT) != 0;
  if ((*flags & PROXY_TYPE_AUTO_PROXY_URL) != 0) proxy.script = connectionText(INTERNET_PER_CONN_AUTOCONFIG_URL);
  if ((*flags & PROXY_TYPE_PROXY) != 0) {
    proxy.server = connectionText(INTERNET_PER_CONN_PROXY_SERVER);
    proxy.bypass = connectionText(INTERNET_PER_CONN_PROXY_BYPASS);
  }
  return proxy;
}

void lookAtProxy(Findings& findings) {
  const auto proxy = readProxySettings();
  if (!proxy) return findings.notable("proxy", "the system does not say, " + systemText(GetLastError()));
  findings.sound("proxy", proxyText(*proxy));
}

void lookAtDecoding(Findings& findings, HINTERNET session) {
  constexpr DWORD kDecodingOption = 65;
  BOOL wanted = TRUE;
  const bool isOffered = InternetSetOptionA(session, kDecodingOption, &wanted, sizeof wanted) != FALSE;
  findings.sound("decoding", std::string("deflated and gzipped replies are restored by the library; WinINet ") +
                                 (isOffered ? "could do it too, and is not asked to" : "cannot"));
}

}  // namespace

std::string proxyText(const ProxySettings& proxy) {
  constexpr const char* kElse = "; otherwise ";
  std::string text;
  if (proxy.isDetected) text.append("what the network announces (automatic detection is on)").append(kElse);
  if (!proxy.script.empty()) text.append("what the script ").append(proxy.script).append(" says").append(kElse);
  if (proxy.server.empty()) return text += "none: connections go straight to the server";
  text += proxy.server;
  return proxy.bypass.empty() ? text : text.append(", but not for ").append(proxy.bypass);
}

void examineInternet(Findings& findings) {
  const HINTERNET session = InternetOpenA("qzcall", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
  if (session == nullptr)
    return findings.fault("WinINet", "no session can be opened, " + systemText(GetLastError()),
                          "Repair the system's Internet component (wininet.dll).");
  findings.sound("WinINet", described(fileOf(GetModuleHandleW(L"wininet.dll"))));
  lookAtProxy(findings);
  lookAtDecoding(findings, session);
  InternetCloseHandle(session);
}

}  // namespace qzcall
