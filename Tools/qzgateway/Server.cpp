#include "Tools/qzgateway/Server.h"

// Large bodies arrive in fewer, larger pieces than the library takes by itself.
#define CPPHTTPLIB_RECV_BUFSIZ std::size_t(65536)
// With the library's few places for connections to wait in, callers that come all at once are turned away.
#define CPPHTTPLIB_LISTEN_BACKLOG SOMAXCONN
#include <httplib.h>

#include <algorithm>
#include <iostream>
#include <mutex>
#include <string_view>

#include "Tools/qzgateway/Gateway.h"

// HttpServer overrides a private function of the library and calls others that are none of its interface. With another
// version they must be compared with what that does.
static_assert(std::string_view(CPPHTTPLIB_VERSION) == "0.11.4",
              "HttpServer::process_and_close_socket copies what httplib::Server does in 0.11.4: compare it anew");

namespace qzgateway {
namespace {

constexpr std::size_t kLargestBody = 640U << 20U;
/// Until this much has arrived, no more memory is taken for a body than has come in: its length is only an
/// announcement.
constexpr std::size_t kTrustedFrom = 16U << 20U;
/// Forms are small.
constexpr std::size_t kLargestForm = 64U << 10U;
constexpr int kIdleSeconds = 2;
constexpr int kSecondsWithoutData = 30;
/// A request that waits keeps one.
constexpr std::size_t kThreads = 32;

std::size_t announcedLength(const httplib::Request& request) {
  const auto length = request.get_header_value<std::uint64_t>("Content-Length");
  return static_cast<std::size_t>(std::min<std::uint64_t>(length, kLargestBody));
}

/// @return 0, or the HTTP status that says why the body is not there
int readBody(const httplib::Request& request, const httplib::Response& response, const httplib::ContentReader& read,
             std::size_t limit, std::string& body) {
  const std::size_t announced = announcedLength(request);
  std::size_t arrived = 0;
  const bool whole = read([&](const char* data, std::size_t size) {
    arrived += size;
    // What is dropped is read all the same: the connection's next request stands behind it.
    if (arrived > limit) return arrived <= kLargestBody;
    if (body.size() + size > kTrustedFrom && body.capacity() < announced) body.reserve(announced);
    body.append(data, size);
    return true;
  });
  if (arrived > limit || response.status == 413) return 413;
  return whole ? 0 : 400;
}

/// The HTTP library as it is, but for a way to end a connection without an answer.
class HttpServer : public httplib::Server {
 public:
  /// Ends the connection whose request this thread is serving; what is answered then reaches nobody.
  static void hangUp() { httplib::detail::shutdown_socket(socketOfThread); }

 private:
  bool process_and_close_socket(socket_t socket) override {
    socketOfThread = socket;
    const bool served = httplib::detail::process_server_socket(
        svr_sock_, socket, keep_alive_max_count_, keep_alive_timeout_sec_, read_timeout_sec_, read_timeout_usec_,
        write_timeout_sec_, write_timeout_usec_, [this](httplib::Stream& stream, bool closeConnection, bool& isClosed) {
          return process_request(stream, closeConnection, isClosed, nullptr);
        });
    httplib::detail::shutdown_socket(socket);
    httplib::detail::close_socket(socket);
    return served;
  }

  static thread_local socket_t socketOfThread;
};

thread_local socket_t HttpServer::socketOfThread = INVALID_SOCKET;

/// The piece of the body that starts at `offset`; pieces are sent one after the other. False behind the last one that
/// is sent, which ends the connection.
bool sendPiece(const Reply& reply, std::size_t offset, httplib::DataSink& sink) {
  for (const std::string_view piece : sentPiecesOf(reply)) {
    if (offset < piece.size()) return sink.write(piece.data() + offset, piece.size() - offset);
    offset -= piece.size();
  }
  return false;
}

void send(ReplyPointer reply, httplib::Response& response) {
  if (reply->isDropped) return HttpServer::hangUp();
  response.status = reply->status;
  for (const auto& [name, value] : headersOf(*reply)) response.set_header(name, value);
  const std::size_t length = lengthOf(*reply);
  if (length == 0) return;
  const std::string contentType = reply->contentType;
  // It would stand there twice.
  response.headers.erase("Content-Type");
  response.set_content_provider(
      length, contentType,
      [shared = std::shared_ptr<const Reply>(std::move(reply))](
          std::size_t offset, std::size_t, httplib::DataSink& sink) { return sendPiece(*shared, offset, sink); });
}

/// A client that adds a cookie line of its own to the system's sends two.
std::string cookiesOf(const httplib::Request& request) {
  std::string cookies;
  for (std::size_t i = 0; i < request.get_header_value_count("Cookie"); ++i)
    cookies += (i == 0 ? "" : "; ") + request.get_header_value("Cookie", i);
  return cookies;
}

/// A header's value without what must stay secret: passports, and proofs of who somebody is.
std::string shown(const std::string& name, const std::string& value) {
  const auto is = [&](const char* secret) { return _stricmp(name.c_str(), secret) == 0; };
  if (is("Cookie")) return cutCookies(value);
  return is("Authorization") || is("Proxy-Authorization") ? "..." : value;
}

/// The library adds some headers for itself.
bool isSent(std::string_view header) {
  constexpr std::string_view kAdded[] = {"REMOTE_ADDR", "REMOTE_PORT", "LOCAL_ADDR", "LOCAL_PORT"};
  return std::ranges::find(kAdded, header) == std::end(kAdded);
}

RawRequest rawRequestOf(const httplib::Request& request, std::string_view body) {
  RawRequest raw{request.method, request.target, {}, body};
  for (const auto& [name, value] : request.headers)
    if (isSent(name)) raw.headers.emplace_back(name, value);
  return raw;
}

}  // namespace

struct Server::Impl {
  explicit Impl(Setup setup)
      : verbosity(setup.verbosity),
        isScripted(setup.script.has_value()),
        gateway(std::move(setup.accounts), setup.isLogonRequired, time, std::move(setup.script)),
        recorder(std::move(setup.recorder)) {}

  SystemTime time;
  Verbosity verbosity;
  bool isScripted;
  Gateway gateway;
  std::unique_ptr<Recorder> recorder;
  HttpServer http;
  std::mutex outputMutex;

  void handlePost(const httplib::Request& request, httplib::Response& response, const httplib::ContentReader& read);
  void answer(const httplib::Request& request, httplib::Response& response, bool isPost, std::string body);
  void refuse(const httplib::Request& request, httplib::Response& response, int status, std::size_t size,
              const std::string& reason);
  void fail(const httplib::Request& request, httplib::Response& response, const std::exception_ptr& error);
  void log(const httplib::Request& request, const std::string& status, std::size_t size, const std::string& summary);
};

void Server::Impl::handlePost(const httplib::Request& request, httplib::Response& response,
                              const httplib::ContentReader& read) {
  std::string body;
  if (request.is_multipart_form_data()) {
    // The library hands out such a body in its own way only.
    read([](const httplib::MultipartFormData&) { return true; }, [](const char*, std::size_t) { return true; });
    return refuse(request, response, 415, 0, "a form is to be sent URL-encoded, not as multipart/form-data");
  }
  const std::size_t limit = Portal::isAskedBy(queryOf(request.target)) ? kLargestForm : kLargestBody;
  const int status = readBody(request, response, read, limit, body);
  if (status == 0) return answer(request, response, true, std::move(body));
  refuse(request, response, status, body.size(), status == 413 ? "the body is too large" : "the body ended too early");
}

void Server::Impl::refuse(const httplib::Request& request, httplib::Response& response, int status, std::size_t size,
                          const std::string& reason) {
  log(request, std::to_string(status), size, reason);
  send(refusal(status, reason), response);
}

void Server::Impl::fail(const httplib::Request& request, httplib::Response& response,
                        const std::exception_ptr& error) try {
  std::rethrow_exception(error);
} catch (const std::exception& thrown) {
  refuse(request, response, 500, request.body.size(),
         "the gateway ran into an error of its own: " + std::string(thrown.what()));
} catch (...) {
  refuse(request, response, 500, request.body.size(), "the gateway ran into an error of its own");
}

void Server::Impl::answer(const httplib::Request& request, httplib::Response& response, bool isPost, std::string body) {
  const std::size_t size = body.size();
  std::optional<Recorder::Exchange> recorded;
  if (recorder) recorded = recorder->begin(rawRequestOf(request, body));
  Served served = gateway.serve({isPost, queryOf(request.target), request.get_header_value("Content-Type"),
                                 request.get_header_value("SOAPAction"), cookiesOf(request), std::move(body)});
  log(request, served.reply->isDropped ? "---" : std::to_string(served.reply->status), size, served.summary);
  if (recorded) recorder->end(*recorded, served);
  send(std::move(served.reply), response);
}

void Server::Impl::log(const httplib::Request& request, const std::string& status, std::size_t size,
                       const std::string& summary) {
  if (verbosity == Verbosity::kQuiet) return;
  const std::lock_guard lock(outputMutex);
  std::cerr << status << "  " << printable(summary) << '\n';
  if (verbosity != Verbosity::kVerbose) return;
  std::cerr << "     " << request.method << ' ' << printable(request.path) << " from " << request.remote_addr << ':'
            << request.remote_port << ", " << size << " bytes\n";
  for (const auto& [name, value] : request.headers)
    if (isSent(name)) std::cerr << "     " << printable(name + ": " + shown(name, value)) << '\n';
}

Server::Server(Setup setup) : impl_(std::make_unique<Impl>(std::move(setup))) {
  httplib::Server& http = impl_->http;
  http.set_payload_max_length(kLargestBody);
  http.set_keep_alive_timeout(kIdleSeconds);
  http.set_read_timeout(kSecondsWithoutData);
  http.set_write_timeout(kSecondsWithoutData);
  http.Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                         const httplib::ContentReader& read) { impl_->handlePost(request, response, read); });
  http.Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
    impl_->answer(request, response, false, {});
  });
  const auto refuse = [this](const httplib::Request& request, httplib::Response& response) {
    impl_->refuse(request, response, 405, request.body.size(), "the gateway answers GET and POST only");
  };
  http.Put(".*", refuse).Patch(".*", refuse).Delete(".*", refuse).Options(".*", refuse);
  // WinINet repeats a request that gets no answer on a connection that has served others: a call that the script drops
  // would come again, and count again.
  if (impl_->isScripted) http.set_keep_alive_max_count(1);
  http.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  http.set_exception_handler([this](const httplib::Request& request, httplib::Response& response,
                                    std::exception_ptr error) { impl_->fail(request, response, error); });
}

Server::~Server() = default;

int Server::bind(const std::string& host, int port) {
  if (port != 0) return impl_->http.bind_to_port(host, port) ? port : 0;
  return std::max(0, impl_->http.bind_to_any_port(host));
}

bool Server::run() { return impl_->http.listen_after_bind(); }

void Server::stop() {
  impl_->time.stop();
  impl_->http.stop();
}

}  // namespace qzgateway
