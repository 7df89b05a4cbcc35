// A server that answers requests with prepared bytes, for tests of whole calls.
#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <winsock2.h>

namespace qz::test {

/// One prepared answer and what goes wrong with it.
struct ScriptedReply {
  /// How the connection ends behind the last byte.
  enum class End { close, reset };

  std::string bytes;         ///< status line, headers and body as they go out
  std::size_t fragment = 0;  ///< sent in pieces of this size; 0: at once
  End end = End::close;
  unsigned long delay = 0;  ///< milliseconds that pass before the first byte
};

/// Listens on 127.0.0.1 and answers each request, one connection each, with the next entry of its script. Every wait
/// has a deadline. The destructor joins the thread and fails the test when an entry was not used or a request came that
/// the script does not have.
class ScriptedServer {
 public:
  explicit ScriptedServer(std::vector<ScriptedReply> script);
  /// A script of one reply, or none.
  explicit ScriptedServer(std::string reply) : ScriptedServer(std::vector<ScriptedReply>{{std::move(reply)}}) {}
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer();

  unsigned short port() const { return port_; }
  /// URL of `path` on this server.
  std::string url(std::string_view path = "/gw/gw.cgi") const;
  /// The raw requests so far, of each at least the first megabyte; to be called when the client has its answer.
  std::vector<std::string> requests() const { return requests_; }

 private:
  void serve();
  void answer(SOCKET connection, const ScriptedReply& reply);

  std::vector<ScriptedReply> script_;
  std::vector<std::string> requests_;
  std::size_t used_ = 0;
  std::size_t unexpected_ = 0;
  SOCKET listener_ = INVALID_SOCKET;
  unsigned short port_ = 0;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

/// A raw request with host, port, time stamps and the computer's name replaced by words, so that it can be compared.
std::string masked(std::string request, unsigned short port);

/// A raw reply: status line, headers, "Content-Length" and body. It says that the connection ends, as it does: the system
/// would send its next request there.
std::string httpReply(const std::string& status, const std::string& contentType, const std::string& body,
                      const std::string& moreHeaders = "");

}  // namespace qz::test
