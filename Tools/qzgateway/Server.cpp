#include "Tools/qzgateway/Server.h"

// Large bodies arrive in fewer, larger pieces than the library takes by itself.
#define CPPHTTPLIB_RECV_BUFSIZ std::size_t(65536)
#include <httplib.h>

#include <iostream>
#include <mutex>

#include "Tools/qzgateway/Gateway.h"

namespace qzgateway {
namespace {

constexpr std::size_t kLargestBody = 640U << 20U;
/// Until this much has arrived, no more memory is taken for a body than has come in: its length is only an
/// announcement.
constexpr std::size_t kTrustedFrom = 16U << 20U;
constexpr int kIdleSeconds = 2;
constexpr int kSecondsWithoutData = 30;

std::size_t announcedLength(const httplib::Request& request) {
  const auto length = request.get_header_value<std::uint64_t>("Content-Length");
  return static_cast<std::size_t>(std::min<std::uint64_t>(length, kLargestBody));
}

/// @return 0, or the HTTP status that says why the body is not there
int readBody(const httplib::Request& request, const httplib::Response& response, const httplib::ContentReader& read,
             std::string& body) {
  const std::size_t announced = announcedLength(request);
  bool tooLarge = false;
  const bool whole = read([&](const char* data, std::size_t size) {
    tooLarge = body.size() + size > kLargestBody;
    if (tooLarge) return false;
    if (body.size() + size > kTrustedFrom && body.capacity() < announced) body.reserve(announced);
    body.append(data, size);
    return true;
  });
  if (whole) return 0;
  return tooLarge || response.status == 413 ? 413 : 400;
}

/// The slice of head, attachment and tail that starts at `offset`; pieces are sent one after the other.
bool sendPiece(const Reply& reply, std::size_t offset, httplib::DataSink& sink) {
  const std::string_view attachment(reinterpret_cast<const char*>(reply.attachment.getBuffer()),
                                    static_cast<std::size_t>(reply.attachment.getLength()));
  for (const std::string_view piece : {std::string_view(reply.head), attachment, std::string_view(reply.tail)}) {
    if (offset < piece.size()) return sink.write(piece.data() + offset, piece.size() - offset);
    offset -= piece.size();
  }
  return false;
}

void send(ReplyPointer reply, httplib::Response& response) {
  response.status = reply->status;
  const std::size_t length =
      reply->head.size() + static_cast<std::size_t>(reply->attachment.getLength()) + reply->tail.size();
  const std::string contentType = reply->contentType;
  response.set_content_provider(
      length, contentType,
      [shared = std::shared_ptr<const Reply>(std::move(reply))](
          std::size_t offset, std::size_t, httplib::DataSink& sink) { return sendPiece(*shared, offset, sink); });
}

void setCookies(const Session& session, httplib::Response& response) {
  response.set_header("Set-Cookie", "zot_passport=" + session.passport + "; path=/");
  response.set_header("Set-Cookie", "usersessionid=" + session.context + "; path=/; HttpOnly");
}

}  // namespace

struct Server::Impl {
  httplib::Server http;
  Verbosity verbosity;
  std::mutex outputMutex;

  void handle(const httplib::Request& request, httplib::Response& response, const httplib::ContentReader& read);
  void log(const httplib::Request& request, int status, std::size_t size, const std::string& summary);
};

void Server::Impl::handle(const httplib::Request& request, httplib::Response& response,
                          const httplib::ContentReader& read) {
  std::string body;
  if (const int status = readBody(request, response, read, body); status != 0) {
    const std::string reason = status == 413 ? "the body is too large" : "the body ended too early";
    log(request, status, body.size(), reason);
    return send(refusal(status, reason), response);
  }
  const std::size_t size = body.size();
  Served served = serve(request.get_header_value("Content-Type"), std::move(body));
  log(request, served.reply->status, size, served.summary);
  if (served.reply->carriesSession) setCookies(served.session, response);
  send(std::move(served.reply), response);
}

void Server::Impl::log(const httplib::Request& request, int status, std::size_t size, const std::string& summary) {
  if (verbosity == Verbosity::kQuiet) return;
  const std::lock_guard lock(outputMutex);
  std::cerr << status << "  " << printable(summary) << '\n';
  if (verbosity != Verbosity::kVerbose) return;
  std::cerr << "     " << request.method << ' ' << printable(request.path) << " from " << request.remote_addr << ':'
            << request.remote_port << ", " << size << " bytes\n";
  for (const auto& [name, value] : request.headers) std::cerr << "     " << printable(name + ": " + value) << '\n';
}

Server::Server(Verbosity verbosity) : impl_(std::make_unique<Impl>()) {
  impl_->verbosity = verbosity;
  httplib::Server& http = impl_->http;
  http.set_payload_max_length(kLargestBody);
  http.set_keep_alive_timeout(kIdleSeconds);
  http.set_read_timeout(kSecondsWithoutData);
  http.set_write_timeout(kSecondsWithoutData);
  http.Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                         const httplib::ContentReader& read) { impl_->handle(request, response, read); });
  http.Get(".*", [](const httplib::Request&, httplib::Response& response) {
    send(refusal(405, "This is a gateway for remote calls; it answers POST requests."), response);
  });
  http.set_exception_handler([](const httplib::Request&, httplib::Response& response, std::exception_ptr) {
    send(refusal(500, "the gateway ran into an error of its own"), response);
  });
}

Server::~Server() = default;

int Server::bind(const std::string& host, int port) {
  if (port != 0) return impl_->http.bind_to_port(host, port) ? port : 0;
  return std::max(0, impl_->http.bind_to_any_port(host));
}

bool Server::run() { return impl_->http.listen_after_bind(); }

void Server::stop() { impl_->http.stop(); }

}  // namespace qzgateway
