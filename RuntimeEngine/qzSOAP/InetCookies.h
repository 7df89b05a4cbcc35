// Session cookies on their way into a run-time token: from a reply's headers, and from the system's cookie store.
#pragma once

#include "CqzBuffer.h"
#include "CqzBufferList.h"
#include "ITKRTT.h"

/// What a cookie text holds for a name is what stands one character behind the first place of the name, be it inside
/// another name, up to the next ";" or the end. A name that ends the text has no value there, while a value may be empty.
/// Null texts mean "". Nothing that is not there is a failure worth a log line.
class CINetCookies {
 public:
  /// Replaces the content of `list` by the cookie lines of raw response headers, "Set-Cookie: " included: all that spell
  /// it so, then the first that spells it "set-cookie: ". True when there is one.
  static bool extractCookiesFromHTTPHeader(const char* headers, CqzBufferList& list) noexcept;

  /// Stores every session cookie that an entry of the list holds, SMSESSION excepted, the first entry first; always true.
  static bool updateFromCookies(const CqzBufferList& list, ITKRTT& token) noexcept;
  /// Stores what the system's store holds for `url`: the URL, the session cookies, and SMSESSION with the prefix of the
  /// URL at which it was found. Then asks the portal at `url` for the context of that session, and goes on without one
  /// when there is none. False, and the token unchanged, when the store holds nothing.
  static bool updateFromCookies(const char* url, ITKRTT& token) noexcept;

  /// Reads the store's text for `url` itself; false, and `text` unchanged, when there is none.
  static bool readINetCookies(const char* url, CqzBuffer& text) noexcept;
  /// Reads the store's texts for every prefix of `url` that ends with a slash, shortest first: the prefixes that have
  /// one, and their texts, in place of what the lists held. True when there is one.
  static bool readAllINetCookies(const char* url, CqzBufferList& urls, CqzBufferList& texts) noexcept;
  /// Looks SMSESSION up in those; false, and nothing changed, when there is none.
  /// @param urlPrefix receives the prefix at which it was found
  static bool readINetSMCookies(const char* url, CqzBuffer& value, CqzBuffer& urlPrefix) noexcept;

  /// Stores what `text` holds for `name`; false, and `value` unchanged, when it holds nothing.
  static bool extractCookie(const char* name, const char* text, CqzBuffer& value) noexcept;
  /// The same for the first of several texts that holds something.
  static bool extractCookie(const char* name, const CqzBufferList& texts, CqzBuffer& value) noexcept;
  /// The same, with the URL at the same place of the other list; an empty one where that list is shorter.
  static bool extractCookie(const char* name, const CqzBufferList& urls, const CqzBufferList& texts, CqzBuffer& value,
                            CqzBuffer& url) noexcept;
};
