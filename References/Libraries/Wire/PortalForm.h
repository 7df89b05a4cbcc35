// What is sent to the gateway's portal: its query strings, header lines and forms.
#pragma once

#include <string>
#include <string_view>

namespace qz::wire {

/// Tells whether a byte goes into a form as it is: a letter or digit of the system's code page.
using FormPlainByte = bool (*)(unsigned char byte);

/// `text` for a form: every byte that is not plain as "%" and two upper-case hexadecimal digits.
std::string urlEncoded(std::string_view text, FormPlainByte isPlain);

/// Appends "name=value", both encoded, behind an "&" unless `body` is empty. Nothing for an empty value.
void addUrlToken(std::string_view name, std::string_view value, FormPlainByte isPlain, std::string& body);

/// What a user types into the logon form.
struct LogonForm {
  std::string_view user;
  std::string_view password;
  std::string_view nameSpace;
  std::string_view displayName;  ///< of the namespace
};

/// The body of a logon, its own or as another user alike.
std::string logonBody(const LogonForm& form, std::string_view componentId, FormPlainByte isPlain);

/// Query strings, to be put behind the gateway's URL.
std::string logonQuery(std::string_view componentId);
std::string logonAsQuery(std::string_view componentId);
std::string contextQuery(std::string_view componentId);
inline constexpr std::string_view kLogoffQuery = "?b_action=xts.run&m=portal/logoff.xts&h_ZOT_action=logoff";

/// Header lines of the request for namespaces.
inline constexpr std::string_view kNamespaceHeaders =
    "Accept: */*\r\nAccept-Language: en-us\r\nAccept-Encoding: gzip, deflate\r\n";
/// Header lines of a form.
inline constexpr std::string_view kFormHeaders =
    "Accept-Language: en-us\r\nContent-Type: application/x-www-form-urlencoded\r\nAccept-Encoding: gzip, deflate\r\n";
/// Header line of the request for the context.
inline constexpr std::string_view kContextHeaders = "Content-Type: text/xml\r\n";
/// Body of a logoff.
inline constexpr std::string_view kLogoffBody = "\r\n";

}  // namespace qz::wire
