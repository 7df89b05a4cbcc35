#include "Tests/Support/ScriptedServer.h"

#include <array>
#include <regex>

#include <gtest/gtest.h>
#include <ws2tcpip.h>

#include "References/Common/Ascii.h"
#include "References/Common/Number.h"

namespace qz::test {
namespace {

constexpr DWORD kDeadline = 20000;
constexpr std::size_t kMostRecorded = 1u << 20;

class Socket {
 public:
  explicit Socket(SOCKET socket) : socket_(socket) {}
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket() {
    if (socket_ != INVALID_SOCKET) closesocket(socket_);
  }
  SOCKET get() const { return socket_; }

 private:
  SOCKET socket_;
};

sockaddr_in loopback(unsigned short port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

template <class Value>
void setOption(SOCKET socket, int level, int option, const Value& value) {
  setsockopt(socket, level, option, reinterpret_cast<const char*>(&value), sizeof value);
}

bool readable(SOCKET socket) {
  fd_set set{1, {socket}};
  timeval wait{kDeadline / 1000, 0};
  return select(0, &set, nullptr, nullptr, &wait) == 1;
}

std::size_t announcedBody(std::string_view head) {
  constexpr std::string_view kHeader = "\r\nContent-Length:";
  const auto at = findIgnoringAsciiCase(head, kHeader);
  return at == std::string_view::npos ? 0 : static_cast<std::size_t>(parseLong(head.substr(at + kHeader.size())));
}

/// Reads up to the end of the announced body, or to what arrives before the client stops. Only the beginning is kept.
std::string readRequest(SOCKET connection) {
  std::string request;
  std::size_t wanted = std::string::npos, received = 0;
  while (received < wanted) {
    std::array<char, 65536> piece;
    const int got = recv(connection, piece.data(), static_cast<int>(piece.size()), 0);
    if (got <= 0) break;
    received += static_cast<std::size_t>(got);
    if (request.size() < kMostRecorded) request.append(piece.data(), static_cast<std::size_t>(got));
    const auto head = wanted == std::string::npos ? request.find("\r\n\r\n") : std::string::npos;
    if (head != std::string::npos) wanted = head + 4 + announcedBody(std::string_view(request).substr(0, head));
  }
  return request;
}

}  // namespace

ScriptedServer::ScriptedServer(std::vector<ScriptedReply> script) : script_(std::move(script)) {
  WSADATA data;
  static const int started = WSAStartup(MAKEWORD(2, 2), &data);  // for as long as the test program runs
  listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address = loopback(0);
  int size = sizeof address;
  if (started != 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener_, 16) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    ADD_FAILURE() << "the scripted server cannot listen: " << WSAGetLastError();
    return;
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

ScriptedServer::~ScriptedServer() {
  stopping_ = true;
  {
    const Socket wake(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    const sockaddr_in address = loopback(port_);
    connect(wake.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  if (thread_.joinable()) thread_.join();
  closesocket(listener_);
  EXPECT_EQ(used_, script_.size()) << "prepared replies were not asked for";
  EXPECT_EQ(unexpected_, 0u) << "requests came that the script does not have";
}

void ScriptedServer::serve() {
  while (readable(listener_)) {
    const Socket connection(accept(listener_, nullptr, nullptr));
    if (stopping_) return;
    setOption(connection.get(), SOL_SOCKET, SO_RCVTIMEO, kDeadline);
    setOption(connection.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    auto request = readRequest(connection.get());
    if (request.empty()) continue;  // connected and went away
    requests_.push_back(std::move(request));
    if (used_ == script_.size())
      ++unexpected_;
    else
      answer(connection.get(), script_[used_++]);
  }
}

void ScriptedServer::answer(SOCKET connection, const ScriptedReply& reply) {
  Sleep(reply.delay);
  const std::size_t step = reply.fragment == 0 ? reply.bytes.size() : reply.fragment;
  for (std::size_t at = 0; at < reply.bytes.size(); at += step) {
    const auto piece = std::string_view(reply.bytes).substr(at, step);
    if (send(connection, piece.data(), static_cast<int>(piece.size()), 0) != static_cast<int>(piece.size())) return;
  }
  if (reply.end == ScriptedReply::End::reset) setOption(connection, SOL_SOCKET, SO_LINGER, linger{1, 0});
}

std::string ScriptedServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

std::string masked(std::string request, unsigned short port) {
  std::array<char, 256> computer{};
  DWORD size = computer.size();
  GetComputerNameA(computer.data(), &size);
  const auto replaceAll = [&request](std::string_view what, std::string_view by) {
    for (std::size_t at = 0; (at = request.find(what, at)) != std::string::npos; at += by.size())
      request.replace(at, what.size(), by);
  };
  replaceAll("127.0.0.1:" + std::to_string(port), "HOST");
  replaceAll(std::string("TARVON.QZ.NIRA.") + computer.data() + ".", "TARVON.QZ.NIRA.COMPUTER.");
  request = std::regex_replace(request, std::regex("D\\d{8}T\\d\\d:\\d\\d:\\d\\d"), "TIME");
  return std::regex_replace(request, std::regex("D\\d{8}T\\d\\d_\\d\\d_\\d\\d"), "TIME");
}

std::string httpReply(const std::string& status, const std::string& contentType, const std::string& body,
                      const std::string& moreHeaders) {
  return "HTTP/1.1 " + status + "\r\nContent-Type: " + contentType +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n" + moreHeaders + "\r\n" +
         body;
}

}  // namespace qz::test
