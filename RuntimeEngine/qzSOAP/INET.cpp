#include "RuntimeEngine/qzSOAP/INET.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <source_location>
#include <string_view>
#include <utility>

#include "References/Common/Ascii.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Platform/SystemMessage.h"

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/INET";
constexpr unsigned long kDefaultReadBuffer = 4096;
constexpr long kGeneralFailure = static_cast<long>(0x80004005);
constexpr std::array<const char*, 7> kVerbs = {"POST", "GET", "HEAD", "PUT", "LINK", "DELETE", "UNLINK"};

void traceEntry(const char* operation, std::source_location at = std::source_location::current()) {
  auto& settings = qz::log::flatSettings();
  if (settings.getTraceLevel() < 5) return;
  settings.logText(5, qz::log::kComponent, kSource, static_cast<long>(at.line()), operation);
}

/// A broken check is a fault of the program: it is reported and raised.
void check(bool condition, const char* operation, std::source_location at = std::source_location::current()) {
  if (condition) return;
  const qz::Err error(kGeneralFailure, qz::kInvalidCondition, kSource, operation, static_cast<long>(at.line()));
  qz::reportErr(1, error);
  throw error;
}

/// Only EnableStatusCallback() and the session's destructor touch it.
std::map<HINTERNET, XInternetSession*>& sessionsByHandle() {
  static std::map<HINTERNET, XInternetSession*> sessions;
  return sessions;
}

unsigned long serviceOf(INTERNET_SCHEME scheme) {
  switch (scheme) {
    case INTERNET_SCHEME_FTP:
      return kServiceFtp;
    case INTERNET_SCHEME_GOPHER:
      return kServiceGopher;
    case INTERNET_SCHEME_HTTP:
      return kServiceHttp;
    case INTERNET_SCHEME_HTTPS:
      return kServiceHttps;
    case INTERNET_SCHEME_FILE:
      return kServiceFile;
    case INTERNET_SCHEME_NEWS:
      return kServiceNews;
    case INTERNET_SCHEME_MAILTO:
      return kServiceMailto;
    default:
      return kServiceUnknown;
  }
}

/// The canonical form of `url`, or an empty text.
std::string canonicalUrl(const char* url, unsigned long flags) {
  std::string text(2084, '\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    unsigned long size = static_cast<unsigned long>(text.size());
    if (InternetCanonicalizeUrlA(url, text.data(), &size, flags)) return std::string(text.c_str());
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) break;
    text.assign(std::size_t{size} + 1, '\0');
  }
  return {};
}

bool setOption(HINTERNET handle, const char* operation, unsigned long option, void* buffer, unsigned long length,
               unsigned long flags) {
  check(option >= 1 && option <= 62, operation);
  check(buffer != nullptr, operation);
  check((flags & INTERNET_FLAG_ASYNC) == 0, operation);
  check((flags & ~3UL) == 0, operation);
  return InternetSetOptionExA(handle, option, buffer, length, flags) != FALSE;
}

std::string lastResponse() {
  std::string text(1024, '\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    unsigned long error = 0;
    unsigned long size = static_cast<unsigned long>(text.size());
    if (InternetGetLastResponseInfoA(&error, text.data(), &size)) return text.substr(0, size);
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) break;
    text.assign(std::size_t{size} + 1, '\0');
  }
  return {};
}

}  // namespace

bool _xParseURLWorker(const char* url, URL_COMPONENTSA& components, unsigned long& serviceType, unsigned short& port,
                      unsigned long flags) {
  traceEntry("_xParseURLWorker");
  serviceType = kServiceUnknown;
  port = 0;
  if (url == nullptr) return false;
  const std::string canonical = canonicalUrl(url, flags & 0x3E000000UL);
  if (canonical.empty()) return false;
  components.dwStructSize = sizeof components;
  if (!InternetCrackUrlA(canonical.c_str(), static_cast<unsigned long>(canonical.size()), flags & 0xC0000000UL,
                         &components))
    return false;
  serviceType = serviceOf(components.nScheme);
  // "host:8080/x" comes out as a scheme "host" with nothing behind it: that is a URL without a scheme.
  if (serviceType == kServiceUnknown && components.dwHostNameLength == 0) return false;
  port = components.nPort;
  return true;
}

bool xParseURL(const char* url, unsigned long& serviceType, std::string& server, std::string& object,
               unsigned short& port) {
  traceEntry("xParseURL");
  // Every byte can become three when it is made canonical.
  const std::size_t size = std::max<std::size_t>(2084, 3 * qz::viewOf(url).size() + 1);
  std::string host(size, '\0'), path(size, '\0'), extra(size, '\0');
  URL_COMPONENTSA parts{};
  parts.lpszHostName = host.data();
  parts.lpszUrlPath = path.data();
  parts.lpszExtraInfo = extra.data();
  parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = static_cast<unsigned long>(size);
  if (!_xParseURLWorker(url, parts, serviceType, port, 0)) return false;
  server = host.c_str();
  object = path.c_str();
  object += extra.c_str();
  if (!object.starts_with('/')) object.insert(0, 1, '/');
  return true;
}

std::string XInternetException::errorText() const {
  std::string text = qz::platform::systemMessage(error_, GetModuleHandleA("WININET.DLL")).value_or("");
  if (error_ != ERROR_INTERNET_EXTENDED_ERROR) return text;
  const std::string response = lastResponse();
  if (response.empty())
    qz::reportText(1, kSource, "GetErrorMessage", __LINE__, "Warning: Extended error reported with no response info\n");
  return text + response;
}

bool XInternetException::GetErrorMessage(char* text, unsigned maximum, unsigned* helpContext) const {
  traceEntry("GetErrorMessage");
  if (helpContext != nullptr) *helpContext = 0;
  if (text == nullptr || maximum == 0) return false;
  const std::string message = errorText();
  const std::size_t length = std::min<std::size_t>(message.size(), maximum - 1);
  std::memcpy(text, message.data(), length);
  text[length] = '\0';
  return !message.empty();
}

XInternetSession::XInternetSession(const char* agent, DWORD_PTR context, unsigned long accessType,
                                   const char* proxyName, const char* proxyBypass, unsigned long flags)
    : context_(context) {
  traceEntry("XInternetSession");
  check((flags & INTERNET_FLAG_ASYNC) == 0, "XInternetSession");
  handle_ = XInternetHandle(
      InternetOpenA(agent == nullptr ? "QZ NIRA Client" : agent, accessType, proxyName, proxyBypass, flags));
  if (!handle_) throw XInternetException(context, GetLastError());
}

XInternetSession::~XInternetSession() {
  if (callbackEnabled_) sessionsByHandle().erase(handle_.get());
}

std::unique_ptr<XHttpConnection> XInternetSession::GetHttpConnection(const char* server, unsigned short port,
                                                                     const char* user, const char* password) {
  traceEntry("GetHttpConnection");
  check(server != nullptr, "GetHttpConnection");
  XInternetHandle handle(
      InternetConnectA(handle_.get(), server, port, user, password, INTERNET_SERVICE_HTTP, 0, context_));
  if (!handle) return nullptr;
  return std::make_unique<XHttpConnection>(*this, std::move(handle), server, port, context_);
}

bool XInternetSession::SetOption(unsigned long option, void* buffer, unsigned long length, unsigned long flags) {
  traceEntry("SetOption");
  return setOption(handle_.get(), "SetOption", option, buffer, length, flags);
}

bool XInternetSession::SetOption(unsigned long option, unsigned long value, unsigned long flags) {
  return SetOption(option, &value, sizeof value, flags);
}

void XInternetSession::EnableStatusCallback(bool enable) {
  traceEntry("EnableStatusCallback");
  check(enable != callbackEnabled_, "EnableStatusCallback");
  if (enable) {
    sessionsByHandle()[handle_.get()] = this;
    const auto previous = InternetSetStatusCallbackA(handle_.get(), AfxInternetStatusCallback);
    if (previous == INTERNET_INVALID_STATUS_CALLBACK) {
      const unsigned long error = GetLastError();
      sessionsByHandle().erase(handle_.get());
      throw XInternetException(context_, error);
    }
    previousCallback_ = previous;
  } else {
    InternetSetStatusCallbackA(handle_.get(), previousCallback_);
    sessionsByHandle().erase(handle_.get());
  }
  callbackEnabled_ = enable;
}

void XInternetSession::OnStatusCallback(DWORD_PTR, unsigned long, void*, unsigned long) {}

void CALLBACK AfxInternetStatusCallback(HINTERNET handle, DWORD_PTR context, unsigned long status, void* information,
                                        unsigned long length) {
  const auto found = sessionsByHandle().find(handle);
  if (found != sessionsByHandle().end()) found->second->OnStatusCallback(context, status, information, length);
}

XInternetConnection::XInternetConnection(XInternetSession& session, XInternetHandle handle, const char* server,
                                         unsigned short port, DWORD_PTR context)
    : session_(session), handle_(std::move(handle)), server_(server), port_(port), context_(context) {}

bool XInternetConnection::SetOption(unsigned long option, void* buffer, unsigned long length, unsigned long flags) {
  traceEntry("SetOption");
  return setOption(handle_.get(), "SetOption", option, buffer, length, flags);
}

bool XInternetConnection::SetOption(unsigned long option, unsigned long value, unsigned long flags) {
  return SetOption(option, &value, sizeof value, flags);
}

std::unique_ptr<XHttpFile> XHttpConnection::OpenRequest(int verb, const char* object, const char* referrer,
                                                        DWORD_PTR context, const char** acceptTypes,
                                                        const char* version, unsigned long flags) {
  check(verb >= 0 && static_cast<std::size_t>(verb) < kVerbs.size(), "OpenRequest");
  return OpenRequest(kVerbs[static_cast<std::size_t>(verb)], object, referrer, context, acceptTypes, version, flags);
}

std::unique_ptr<XHttpFile> XHttpConnection::OpenRequest(const char* verb, const char* object, const char* referrer,
                                                        DWORD_PTR context, const char** acceptTypes,
                                                        const char* version, unsigned long flags) {
  traceEntry("OpenRequest");
  check(verb != nullptr && object != nullptr, "OpenRequest");
  check((flags & INTERNET_FLAG_ASYNC) == 0, "OpenRequest");
  if (context == 1) context = getContext();
  XInternetHandle handle(HttpOpenRequestA(getHandle(), verb, object, version == nullptr ? "HTTP/1.0" : version,
                                          referrer, acceptTypes, flags, context));
  if (!handle) return nullptr;
  return std::make_unique<XHttpFile>(std::move(handle), *this, object, verb, context,
                                     (flags & INTERNET_FLAG_SECURE) != 0);
}

XInternetFile::XInternetFile(XInternetHandle handle, HINTERNET connection, std::string object, std::string server,
                             DWORD_PTR context)
    : handle_(std::move(handle)),
      connection_(connection),
      object_(std::move(object)),
      server_(std::move(server)),
      bufferSize_(kDefaultReadBuffer),
      context_(context) {}

XInternetFile::~XInternetFile() = default;

std::size_t XInternetFile::takeBuffered(char* into, std::size_t count) {
  count = std::min(count, buffered());
  if (count > 0) std::memcpy(into, buffer_.data() + bufferAt_, count);
  bufferAt_ += count;
  return count;
}

bool XInternetFile::Read(void* buffer, unsigned long count, unsigned long& got) {
  traceEntry("Read");
  check(buffer != nullptr || count == 0, "Read");
  got = static_cast<unsigned long>(takeBuffered(static_cast<char*>(buffer), count));
  if (got == count) return true;
  unsigned long more = 0;
  const bool read = InternetReadFile(handle_.get(), static_cast<char*>(buffer) + got, count - got, &more) != FALSE;
  if (!read) readFailed_ = true;
  if (read) got += more;
  return read || got > 0;
}

bool XInternetFile::fillBuffer() {
  bufferAt_ = bufferEnd_ = 0;
  buffer_.resize(bufferSize_);
  unsigned long got = 0;
  if (!Read(buffer_.data(), bufferSize_, got)) return false;
  bufferEnd_ = got;
  return got > 0;
}

bool XInternetFile::ReadString(std::string& line, std::size_t limit) {
  traceEntry("ReadString");
  line.clear();
  while (line.size() < limit) {
    if (buffered() == 0 && !fillBuffer()) break;
    const char* begin = buffer_.data() + bufferAt_;
    const std::size_t room = std::min(buffered(), limit - line.size());
    const void* end = std::memchr(begin, '\n', room);
    const std::size_t count =
        end == nullptr ? room : static_cast<std::size_t>(static_cast<const char*>(end) - begin) + 1;
    line.append(begin, count);
    bufferAt_ += count;
    if (end != nullptr) break;
  }
  return !line.empty();
}

bool XInternetFile::Write(const void* buffer, unsigned long count) {
  traceEntry("Write");
  check(buffer != nullptr || count == 0, "Write");
  while (count > 0) {
    unsigned long written = 0;
    if (!InternetWriteFile(handle_.get(), buffer, count, &written) || written == 0) return false;
    buffer = static_cast<const char*>(buffer) + written;
    count -= written;
  }
  return true;
}

long XInternetFile::Seek(long offset, unsigned long from) {
  traceEntry("Seek");
  // The system's own position is behind what was read ahead.
  if (from == FILE_CURRENT) offset -= static_cast<long>(buffered());
  bufferAt_ = bufferEnd_ = 0;
  return static_cast<long>(InternetSetFilePointer(handle_.get(), offset, nullptr, from, context_));
}

unsigned long XInternetFile::GetLength() {
  traceEntry("GetLength");
  unsigned long available = 0;
  if (!InternetQueryDataAvailable(handle_.get(), &available, 0, 0)) available = 0;
  return available + static_cast<unsigned long>(buffered());
}

void XInternetFile::SetReadBufferSize(unsigned long size) {
  traceEntry("SetReadBufferSize");
  check(size > 0, "SetReadBufferSize");
  bufferSize_ = size;
}

void XInternetFile::Abort() noexcept {
  traceEntry("Abort");
  handle_.close();
}

void XInternetFile::Close() {
  traceEntry("Close");
  if (!handle_.close()) throw XInternetException(context_, GetLastError());
}

XHttpFile::XHttpFile(XInternetHandle handle, const XHttpConnection& connection, std::string object, std::string verb,
                     DWORD_PTR context, bool secure)
    : XInternetFile(std::move(handle), connection.getHandle(), std::move(object), connection.getServerName(), context),
      verb_(std::move(verb)),
      port_(connection.getPort()),
      secure_(secure) {}

bool XHttpFile::AddRequestHeaders(const char* text, unsigned long flags) {
  traceEntry("AddRequestHeaders");
  check(text != nullptr, "AddRequestHeaders");
  return HttpAddRequestHeadersA(getHandle(), text, static_cast<unsigned long>(std::strlen(text)), flags) != FALSE;
}

bool XHttpFile::SendRequest(const char* headers, unsigned long headersLength, const void* data,
                            unsigned long dataLength) {
  traceEntry("SendRequest");
  check(headers != nullptr || headersLength == 0, "SendRequest");
  check(data != nullptr || dataLength == 0, "SendRequest");
  return HttpSendRequestA(getHandle(), headers, headersLength, const_cast<void*>(data), dataLength) != FALSE;
}

bool XHttpFile::QueryInfo(unsigned long level, std::string& text, unsigned long* index) {
  traceEntry("QueryInfo");
  text.clear();
  unsigned long size = 0;
  if (HttpQueryInfoA(getHandle(), level, nullptr, &size, index)) return true;
  if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) return false;
  std::string value(std::size_t{size} + 1, '\0');
  size = static_cast<unsigned long>(value.size());
  if (!HttpQueryInfoA(getHandle(), level, value.data(), &size, index)) return false;
  value.resize(size);
  text = std::move(value);
  return true;
}

bool XHttpFile::QueryInfoStatusCode(unsigned long& code) {
  traceEntry("QueryInfoStatusCode");
  code = 0;
  unsigned long size = sizeof code;
  return HttpQueryInfoA(getHandle(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &code, &size, nullptr) != FALSE;
}

std::string XHttpFile::GetFileURL() const {
  traceEntry("GetFileURL");
  const unsigned short standardPort = secure_ ? INTERNET_DEFAULT_HTTPS_PORT : INTERNET_DEFAULT_HTTP_PORT;
  std::string url = (secure_ ? "https://" : "http://") + getServerName();
  if (port_ != standardPort) url += ":" + std::to_string(port_);
  return url + getObjectName();
}

unsigned long XHttpFile::ErrorDlg(HWND parent, unsigned long error, unsigned long flags, void** data) {
  traceEntry("ErrorDlg");
  return InternetErrorDlg(parent, getHandle(), error, flags, data);
}
