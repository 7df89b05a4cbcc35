/// @file
/// A thin object layer over the WinINet handles: session, connection, request, and the exception of a failed one. It
/// only works synchronously. An object is used by one thread at a time and must not outlive the one that made it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <windows.h>
#include <wininet.h>

class XHttpConnection;
class XHttpFile;
class XInternetSession;

/// Services that a URL can name.
enum XServiceType : unsigned long {
  kServiceFtp = 1,
  kServiceGopher = 2,
  kServiceHttp = 3,
  kServiceUnknown = 0x1000,
  kServiceFile = 0x1001,
  kServiceMailto = 0x1002,
  kServiceNews = 0x1006,
  kServiceHttps = 0x100B
};

/// Indexes into the table of request verbs.
enum XVerb : int { kPost = 0, kGet, kHead, kPut, kLink, kDelete, kUnlink };

/// Takes a URL apart.
/// @param url the URL; null fails
/// @param serviceType receives an XServiceType; kServiceUnknown for a scheme that is none of them and after a failure
/// @param server receives the host name
/// @param object receives path and query, beginning with "/"
/// @param port receives the port, the scheme's own one when the URL has none
/// @return false when the URL cannot be taken apart, for example because it has no scheme
bool xParseURL(const char* url, unsigned long& serviceType, std::string& server, std::string& object,
               unsigned short& port);

/// The same on caller's terms: canonicalises `url` and cracks it into `components`, whose buffers the caller provides.
/// @param flags of these, 0x3E000000 go to the canonicalisation and 0xC0000000 to the cracking
bool _xParseURLWorker(const char* url, URL_COMPONENTSA& components, unsigned long& serviceType, unsigned short& port,
                      unsigned long flags);

/// A WinINet call that a constructor needed has failed.
class XInternetException {
 public:
  /// @param context context value of the object that failed
  /// @param error the system's error code
  XInternetException(DWORD_PTR context, unsigned long error) : context_(context), error_(error) {}

  DWORD_PTR getContext() const { return context_; }
  unsigned long getError() const { return error_; }

  /// Writes the error's text, zero-terminated and cut to fit; for an extended error with the server's own words.
  /// @param text receives it; @param maximum its size; @param helpContext receives 0, may be null
  /// @return false when there is no buffer or the system knows no text for the error; the buffer is then empty
  bool GetErrorMessage(char* text, unsigned maximum, unsigned* helpContext = nullptr) const;
  /// The same as a text of any length, empty when the system knows none.
  std::string errorText() const;

 private:
  DWORD_PTR context_;
  unsigned long error_;
};

/// Owner of one WinINet handle.
class XInternetHandle {
 public:
  XInternetHandle() = default;
  explicit XInternetHandle(HINTERNET handle) : handle_(handle) {}
  XInternetHandle(XInternetHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  XInternetHandle& operator=(XInternetHandle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~XInternetHandle() { close(); }

  HINTERNET get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }
  /// Closes the handle now. False when the system refuses; the handle is given up in any case.
  bool close() {
    const HINTERNET handle = std::exchange(handle_, nullptr);
    return handle == nullptr || InternetCloseHandle(handle) != FALSE;
  }

 private:
  HINTERNET handle_ = nullptr;
};

/// A WinINet session.
class XInternetSession {
 public:
  /// Opens the session.
  /// @param agent user agent; null means "QZ NIRA Client"
  /// @param accessType how proxies are found, an INTERNET_OPEN_TYPE value
  /// @param flags without INTERNET_FLAG_ASYNC, which is refused as an internal error
  /// @throws XInternetException when the system fails
  explicit XInternetSession(const char* agent, DWORD_PTR context = 1,
                            unsigned long accessType = INTERNET_OPEN_TYPE_PRECONFIG, const char* proxyName = nullptr,
                            const char* proxyBypass = nullptr, unsigned long flags = 0);
  XInternetSession(const XInternetSession&) = delete;
  XInternetSession& operator=(const XInternetSession&) = delete;
  virtual ~XInternetSession();

  /// Prepares a connection to a host; null on failure, the system's last error tells why.
  std::unique_ptr<XHttpConnection> GetHttpConnection(const char* server, unsigned short port, const char* user,
                                                     const char* password);

  /// Sets an option of the session.
  /// @param option 1 to 62; @param buffer not null; @param flags only the two low bits. A breach is an internal error.
  /// @return false when the system refuses
  bool SetOption(unsigned long option, void* buffer, unsigned long length, unsigned long flags = 0);
  /// Sets an option that is a 32-bit number.
  bool SetOption(unsigned long option, unsigned long value, unsigned long flags = 0);

  /// Installs or removes the status callback. Doing either twice is an internal error.
  /// @throws XInternetException when the system refuses the callback
  void EnableStatusCallback(bool enable);
  /// Hears what the status callback hears; does nothing by default.
  virtual void OnStatusCallback(DWORD_PTR context, unsigned long status, void* information, unsigned long length);

  HINTERNET getHandle() const { return handle_.get(); }
  DWORD_PTR getContext() const { return context_; }

 private:
  DWORD_PTR context_;
  XInternetHandle handle_;
  INTERNET_STATUS_CALLBACK previousCallback_ = nullptr;
  bool callbackEnabled_ = false;
};

/// The status callback: hands the values to the session whose handle it is, if there is one.
void CALLBACK AfxInternetStatusCallback(HINTERNET handle, DWORD_PTR context, unsigned long status, void* information,
                                        unsigned long length);

/// A connection of a session to one host.
class XInternetConnection {
 public:
  XInternetConnection(XInternetSession& session, XInternetHandle handle, const char* server, unsigned short port,
                      DWORD_PTR context);
  virtual ~XInternetConnection() = default;

  /// Sets an option of the connection; the rules are those of the session's options.
  bool SetOption(unsigned long option, void* buffer, unsigned long length, unsigned long flags = 0);
  /// Sets an option that is a 32-bit number.
  bool SetOption(unsigned long option, unsigned long value, unsigned long flags = 0);

  HINTERNET getHandle() const { return handle_.get(); }
  DWORD_PTR getContext() const { return context_; }
  const std::string& getServerName() const { return server_; }
  unsigned short getPort() const { return port_; }
  XInternetSession& getSession() const { return session_; }

 private:
  XInternetSession& session_;
  XInternetHandle handle_;
  std::string server_;
  unsigned short port_;
  DWORD_PTR context_;
};

/// A connection over which requests are made.
class XHttpConnection : public XInternetConnection {
 public:
  using XInternetConnection::XInternetConnection;

  /// Prepares a request; null on failure, the system's last error tells why.
  /// @param verb an XVerb; any other number is an internal error
  /// @param object path and query
  /// @param referrer may be null
  /// @param context 1 means the connection's own context
  /// @param acceptTypes list that ends with null, or null
  /// @param version null means "HTTP/1.0"
  /// @param flags without INTERNET_FLAG_ASYNC, which is refused as an internal error
  std::unique_ptr<XHttpFile> OpenRequest(int verb, const char* object, const char* referrer, DWORD_PTR context,
                                         const char** acceptTypes, const char* version, unsigned long flags);
  /// The same with the verb as a text.
  std::unique_ptr<XHttpFile> OpenRequest(const char* verb, const char* object, const char* referrer, DWORD_PTR context,
                                         const char** acceptTypes, const char* version, unsigned long flags);
};

/// Reads and writes through one request handle.
class XInternetFile {
 public:
  XInternetFile(XInternetHandle handle, HINTERNET connection, std::string object, std::string server,
                DWORD_PTR context);
  XInternetFile(const XInternetFile&) = delete;
  XInternetFile& operator=(const XInternetFile&) = delete;
  virtual ~XInternetFile();

  /// Reads up to `count` bytes; what a line read ahead comes first.
  /// @param got receives the number of bytes read, 0 at the end of the data
  /// @return false when the system fails before any byte could be read
  virtual bool Read(void* buffer, unsigned long count, unsigned long& got);
  /// Writes all of `count` bytes; false when the system fails.
  bool Write(const void* buffer, unsigned long count);
  /// Reads up to and including the next line feed, or to the end of the data.
  /// @param limit most bytes to return; the rest of a longer line comes with the next call
  /// @return false at the end of the data and when the system fails before any byte could be read
  bool ReadString(std::string& line, std::size_t limit = std::string::npos);
  /// True once the system has failed a read; what was read before it still counts.
  bool hasReadFailed() const { return readFailed_; }
  /// Moves the read position and forgets what was read ahead; returns the new position or -1.
  long Seek(long offset, unsigned long from);
  /// Number of bytes that can be read without waiting; 0 also on failure.
  unsigned long GetLength();
  /// Size of the block that line reading asks the system for; 4096 unless set. 0 is an internal error.
  void SetReadBufferSize(unsigned long size);
  /// Closes the request and ignores a failure.
  void Abort() noexcept;
  /// Closes the request. @throws XInternetException when the system fails
  void Close();

  HINTERNET getHandle() const { return handle_.get(); }
  const std::string& getObjectName() const { return object_; }
  const std::string& getServerName() const { return server_; }
  DWORD_PTR getContext() const { return context_; }

 private:
  std::size_t buffered() const { return bufferEnd_ - bufferAt_; }
  std::size_t takeBuffered(char* into, std::size_t count);
  bool fillBuffer();

  XInternetHandle handle_;
  HINTERNET connection_;  ///< of the connection that made the request, not owned
  std::string object_;
  std::string server_;
  std::vector<char> buffer_;
  std::size_t bufferAt_ = 0;
  std::size_t bufferEnd_ = 0;
  unsigned long bufferSize_;
  bool readFailed_ = false;
  DWORD_PTR context_;
};

/// One HTTP request and its reply.
class XHttpFile : public XInternetFile {
 public:
  XHttpFile(XInternetHandle handle, const XHttpConnection& connection, std::string object, std::string verb,
            DWORD_PTR context, bool secure);

  /// Adds header lines. @param flags HTTP_ADDREQ_FLAG values. False when the system refuses.
  bool AddRequestHeaders(const char* text, unsigned long flags);
  /// Sends the request and waits for the head of the reply.
  /// @param headers further header lines, or null; @param headersLength their length
  /// @param data the body, or null; @param dataLength its length
  /// @return false when the system fails
  bool SendRequest(const char* headers, unsigned long headersLength, const void* data, unsigned long dataLength);
  /// Reads a header or property of the reply. @param level an HTTP_QUERY value
  /// @param index the how-manieth, moved on; may be null. False when there is none.
  bool QueryInfo(unsigned long level, std::string& text, unsigned long* index = nullptr);
  /// Reads the status code of the reply; false when there is none.
  bool QueryInfoStatusCode(unsigned long& code);
  /// The URL of the request.
  std::string GetFileURL() const;
  /// Shows the system's dialog for an error of this request. @return what the dialog answers
  unsigned long ErrorDlg(HWND parent, unsigned long error, unsigned long flags, void** data);

  const std::string& getVerb() const { return verb_; }

 private:
  std::string verb_;
  unsigned short port_;
  bool secure_;
};
