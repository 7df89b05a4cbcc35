/// @file
/// The run-time token: who is calling, through which gateway, with which session cookies.
#pragma once

#include <string_view>
#include <unordered_map>
#include <vector>

#include "ITKCredential.h"
#include "ITKString.h"
#include "QzExport.h"

class ITKBuffer;
class ITKBufferList;

/// @addtogroup shared
/// @{

/// One session cookie.
struct ITKCookie {
  ITKString name;   ///< compared exactly, case included
  ITKString value;  ///< as the server gave it
  ITKString path;   ///< where it belongs on its host; never sent
};

/// Cookies in the order in which their names first came, at most one per name. Null texts mean "".
class QZSOAP_API ITKCookieArray {
 public:
  /// Overwrites value and path of the cookie `name`, or appends a new one. The texts may belong to this array. Short
  /// memory is logged at level 1 and changes nothing.
  void add(const char* name, const char* value, const char* path) noexcept;
  /// The same, sharing the texts of `cookie`.
  void add(const ITKCookie& cookie) noexcept;
  /// Sets the path of an existing cookie; false when there is none of that name.
  bool setPath(const char* name, const char* path) noexcept;
  /// The cookie, valid until the array changes; null when there is none of that name.
  const ITKCookie* find(const char* name) const noexcept;
  /// Number of cookies.
  long getCount() const noexcept;
  /// The cookie at `index`, valid until the array changes; null when `index` is outside 0..getCount()-1.
  const ITKCookie* getAt(long index) const noexcept;
  /// Removes all cookies.
  void removeAll() noexcept;
  /// True when both hold the same names, values and paths in the same order.
  bool operator==(const ITKCookieArray& other) const noexcept;

 private:
  ITKCookie* Find(std::string_view name) noexcept;
  void Store(ITKCookie cookie);

  std::vector<ITKCookie> records_;
  // Index of the names once there are many records, its keys are their texts; of no use while it lacks one.
  std::unordered_map<std::string_view, std::size_t> places_;
};

/// The run-time token that every call to the server carries.
///
/// Apart from credential, URL and PRY context everything is a named cookie: "zot_passport", "pry", "vel-ssa",
/// "AS_TICKET", "pw_session", "VTN", "SMSESSION" and "usersessionid". Getters never return null; a missing cookie reads
/// as "". A returned text lives until the token changes. Every setter of a cookie value also clears that cookie's path.
///
/// A token is a plain value without a lock. Its copies share texts with it and may live on other threads.
class QZSOAP_API ITKRTT : public ITKCredential {
 public:
  /// Everything empty.
  ITKRTT() noexcept;
  /// A copy of `other`; empty when `other` is null.
  explicit ITKRTT(const ITKRTT* other) noexcept;
  /// A copy of `other`.
  ITKRTT(const ITKRTT& other) noexcept;
  ~ITKRTT() override;

  /// Copies credential, URL, PRY context and cookies.
  ITKRTT& operator=(const ITKRTT& other) noexcept;
  /// The same; null calls empty().
  ITKRTT& operator=(const ITKRTT* other) noexcept;

  /// Clears credential, PRY context and cookies. The URL stays: an emptied token still knows its gateway.
  void empty() noexcept;
  /// True when there is no passport id, whatever else the token holds.
  bool isEmpty() const noexcept;
  /// True when credential, URL and PRY context share storage with those of `other` (a copy does, a token filled
  /// separately does not) and the cookies have the same content.
  bool operator==(const ITKRTT& other) const noexcept;
  /// The same; null equals a token that isEmpty().
  bool operator==(const ITKRTT* other) const noexcept;

  /// The gateway URL.
  const char* getURL() const noexcept;
  /// Context id of the application firewall, sent in every relay header.
  const char* getPryContext() const noexcept;
  /// Passport of the signed-on user: cookie "zot_passport".
  const char* getPassportID() const noexcept;
  /// Cookie "pry".
  const char* getPry() const noexcept;
  /// Cookie "vel-ssa".
  const char* getSessionSharing() const noexcept;
  /// Cookie "AS_TICKET".
  const char* getAsTicket() const noexcept;
  /// Cookie "pw_session".
  const char* getPwSession() const noexcept;
  /// Cookie "VTN".
  const char* getVTN() const noexcept;
  /// Cookie "SMSESSION".
  const char* getSMSession() const noexcept;
  /// Path of the cookie "SMSESSION".
  const char* getSMSessionUrl() const noexcept;
  /// Cookie "usersessionid".
  const char* getUserSessionID() const noexcept;

  /// Sets the gateway URL; null means "".
  void setURL(const char* url) noexcept;
  /// Sets the PRY context; null means "".
  void setPryContext(const char* context) noexcept;
  /// Sets the cookie "zot_passport".
  void setPassportID(const char* value) noexcept;
  /// Sets the cookie "pry".
  void setPry(const char* value) noexcept;
  /// Sets the cookie "vel-ssa".
  void setSessionSharing(const char* value) noexcept;
  /// Sets the cookie "AS_TICKET".
  void setAsTicket(const char* value) noexcept;
  /// Sets the cookie "pw_session".
  void setPwSession(const char* value) noexcept;
  /// Sets the cookie "VTN".
  void setVTN(const char* value) noexcept;
  /// Sets the cookie "SMSESSION" and clears its path, so call setSMSessionUrl() afterwards.
  void setSMSession(const char* value) noexcept;
  /// Sets the path of the cookie "SMSESSION"; nothing when there is no such cookie.
  void setSMSessionUrl(const char* url) noexcept;
  /// Sets the cookie "usersessionid".
  void setUserSessionID(const char* value) noexcept;

  /// The value of the named cookie, or "".
  const char* getCookieValue(const char* name) const noexcept;
  /// Adds the cookie or replaces its value; its path becomes "". Null means "".
  void setCookieValue(const char* name, const char* value) noexcept;
  /// The path of the named cookie, or "".
  const char* getCookiePath(const char* name) const noexcept;
  /// Sets the path of an existing cookie; nothing when there is none of that name.
  void setCookiePath(const char* name, const char* path) noexcept;
  /// All cookies in order, owned by the token.
  const ITKCookieArray& getCookies() const noexcept;
  /// The cookie path of a URL: the first segment of its path with the leading slash ("/dir" for http://h/dir/gw.cgi,
  /// "/gw" for http://h/gw). Returns `out`'s text; "" when the URL has no "//" or no "/" behind its host.
  static const char* buildCookiePath(const char* url, ITKString& out) noexcept;

  /// Writes the request header line that carries the cookies, `prefix` (usually "Cookie: ") in front and CR LF at the
  /// end, into `out`, and returns the buffer's text. Without cookies `out` stays as it is. The cookie
  /// "userCapabilities" is left out; when it is the only one, the line is the prefix less its last two characters.
  const char* buildHTTPCookieHeader(ITKBuffer& out, const char* prefix) const noexcept;

  /// Replaces the cookies by those that raw response headers set, each with the cookie path of `url`. Credential, URL
  /// and PRY context stay. A value runs up to the next "; ", wherever that comes. True when there is a cookie now.
  bool createFromHTTPHeader(const char* url, const char* headers) noexcept;
  /// Empties the token, sets its URL and takes over what the system's cookie store holds for `url`: for every prefix of
  /// it that ends with a slash. True when there was a cookie.
  bool createFromCookies(const char* url) noexcept;
  /// Adds what the system's cookie store holds for `url`; a cookie of a known name replaces value and path. False when
  /// the store has nothing; the token is then unchanged.
  bool updateFromCookies(const char* url) noexcept;
  /// Writes every cookie with its path into the system's cookie store, for the token's URL. A cookie that the system
  /// refuses gives two lines at level 1; the others are written all the same.
  void setAllInternetCookies() noexcept;
  /// Ends the browser session of this process, which drops the session cookies of the system's store. A failure is
  /// logged at level 1.
  void cleanAllInternetCookies() noexcept;

 protected:
  /// Reads the system's cookie store for every prefix of `url` that ends with a slash: cookie texts into
  /// `cookieStrings`, their prefixes into `urls`. Both are emptied first. True when there was a cookie text.
  static bool readAllINetCookies(const char* url, ITKBufferList& cookieStrings, ITKBufferList& urls) noexcept;
  /// Adds the cookies of every text, with the URL of the same index, and returns the number of cookies in the array.
  static long extractCookie(const ITKBufferList& cookieStrings, const ITKBufferList& urls,
                            ITKCookieArray& cookies) noexcept;
  /// Adds the cookies of every text, all with the same URL, and returns the number of cookies in the array.
  static long extractCookie(const ITKBufferList& cookieStrings, const char* url, ITKCookieArray& cookies) noexcept;
  /// Adds the cookies of one text "name=value; name=value".
  static void extractCookie(const char* cookieString, const char* url, ITKCookieArray& cookies) noexcept;

 private:
  ITKString url_;
  ITKString pryContext_;
  ITKCookieArray cookies_;
};

/// @}
