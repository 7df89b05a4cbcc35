#include "References/Libraries/Wire/ErrorText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "References/Common/Number.h"
#include "References/Libraries/Wire/XmlEscape.h"

namespace qz::wire {
namespace {

struct NamedError {
  long code;
  const char* name;
};

// In the order of their numbers, for the binary search.
constexpr NamedError kWinsockErrors[] = {
    {10004, "WSAEINTR"},
    {10009, "WSAEBADF"},
    {10013, "WSAEACCES"},
    {10014, "WSAEFAULT"},
    {10022, "WSAEINVAL"},
    {10024, "WSAEMFILE"},
    {10035, "WSAEWOULDBLOCK"},
    {10036, "WSAEINPROGRESS"},
    {10037, "WSAEALREADY"},
    {10038, "WSAENOTSOCK"},
    {10039, "WSAEDESTADDRREQ"},
    {10040, "WSAEMSGSIZE"},
    {10041, "WSAEPROTOTYPE"},
    {10042, "WSAENOPROTOOPT"},
    {10043, "WSAEPROTONOSUPPORT"},
    {10044, "WSAESOCKTNOSUPPORT"},
    {10045, "WSAEOPNOTSUPP"},
    {10046, "WSAEPFNOSUPPORT"},
    {10047, "WSAEAFNOSUPPORT"},
    {10048, "WSAEADDRINUSE"},
    {10049, "WSAEADDRNOTAVAIL"},
    {10050, "WSAENETDOWN"},
    {10051, "WSAENETUNREACH"},
    {10052, "WSAENETRESET"},
    {10053, "WSAECONNABORTED"},
    {10054, "WSAECONNRESET"},
    {10055, "WSAENOBUFS"},
    {10056, "WSAEISCONN"},
    {10057, "WSAENOTCONN"},
    {10058, "WSAESHUTDOWN"},
    {10059, "WSAETOOMANYREFS"},
    {10060, "WSAETIMEDOUT"},
    {10061, "WSAECONNREFUSED"},
    {10062, "WSAELOOP"},
    {10063, "WSAENAMETOOLONG"},
    {10064, "WSAEHOSTDOWN"},
    {10065, "WSAEHOSTUNREACH"},
    {10066, "WSAENOTEMPTY"},
    {10067, "WSAEPROCLIM"},
    {10068, "WSAEUSERS"},
    {10069, "WSAEDQUOT"},
    {10070, "WSAESTALE"},
    {10071, "WSAEREMOTE"},
    {10091, "WSASYSNOTREADY"},
    {10092, "WSAVERNOTSUPPORTED"},
    {10093, "WSANOTINITIALISED"},
    {10101, "WSAEDISCON"},
    {10102, "WSAENOMORE"},
    {10103, "WSAECANCELLED"},
    {10104, "WSAEINVALIDPROCTABLE"},
    {10105, "WSAEINVALIDPROVIDER"},
    {10106, "WSAEPROVIDERFAILEDINIT"},
    {10107, "WSASYSCALLFAILURE"},
    {10108, "WSASERVICE_NOT_FOUND"},
    {10109, "WSATYPE_NOT_FOUND"},
    {10110, "WSA_E_NO_MORE"},
    {10111, "WSA_E_CANCELLED"},
    {10112, "WSAEREFUSED"},
    {11001, "WSAHOST_NOT_FOUND"},
    {11002, "WSATRY_AGAIN"},
    {11003, "WSANO_RECOVERY"},
    {11004, "WSANO_DATA"},
};

std::string hex8(std::uint32_t code) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%08X", static_cast<unsigned>(code));
  return text.data();
}

std::string_view orMissing(std::string_view description) {
  return description.empty() ? "-- message description not found --" : description;
}

void appendQuoted(std::string& line, std::string_view field) {
  line += '"';
  for (const char c : field) {
    if (c == '"') line += '"';
    line += c == '\0' ? ' ' : c;
  }
  line += '"';
}

}  // namespace

std::string unknownMessage(std::uint32_t code, std::uint32_t formatterError) {
  std::array<char, 128> text{};
  std::snprintf(text.data(), text.size(), "Unknown message %d (0x%x) [FormatMessage returned %d (0x%x)]",
                static_cast<int>(code), static_cast<unsigned>(code), static_cast<int>(formatterError),
                static_cast<unsigned>(formatterError));
  return text.data();
}

std::string winsockErrorName(long code) {
  const auto* hit = std::ranges::lower_bound(kWinsockErrors, code, {}, &NamedError::code);
  if (hit != std::end(kWinsockErrors) && hit->code == code) return hit->name;
  return std::string("WINSOCK error ").append(DecimalText(code).view());
}

std::string failedHresult(std::uint32_t code, std::string_view description) {
  return ("Failed HRESULT [" + hex8(code) + "] :").append(orMissing(description));
}

std::string systemError(std::uint32_t code, std::string_view description) {
  return ("System error [ " + hex8(code) + ", ").append(orMissing(description)) + " ]";
}

std::string csvLine(std::span<const std::string_view> fields) {
  std::string line;
  for (const auto field : fields) {
    if (!line.empty()) line += ',';
    appendQuoted(line, field);
  }
  return line + "\r\n";
}

std::string errorInformationXml(std::string_view source, std::string_view procedure, long line, long number,
                                std::string_view text) {
  std::string xml = "<errorInformation><applicationErrorSource>";
  xml.append(encodeXml(source)).append(":").append(encodeXml(procedure)).append(":");
  xml.append(DecimalText(static_cast<std::uint32_t>(line)).view());
  xml.append("</applicationErrorSource><applicationErrorParameters></applicationErrorParameters>");
  xml.append("<componentErrorNumber>").append(DecimalText(number).view()).append("</componentErrorNumber>");
  xml.append("<componentErrorText>").append(encodeXml(text)).append("</componentErrorText></errorInformation>");
  return xml;
}

}  // namespace qz::wire
