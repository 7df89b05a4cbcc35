#include "Tools/qzgateway/Recorder.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numeric>

namespace qzgateway {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kExtension = ".dump";
constexpr std::size_t kDigits = 6;

std::string fileName(unsigned number) {
  const std::string digits = std::to_string(number);
  return std::string(kDigits - std::min(kDigits, digits.size()), '0') + digits + std::string(kExtension);
}

/// The number of a dump file; 0 for other files.
unsigned numberOf(const fs::path& path) {
  const std::string stem = path.stem().string();
  unsigned number = 0;
  const auto [end, error] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
  const bool isNumber = error == std::errc() && end == stem.data() + stem.size();
  return isNumber && path.extension() == kExtension ? number : 0;
}

/// A call has a dump's form of its own, which begins with the type of its content.
bool isCall(const RawRequest& request) {
  return request.method == "POST" && request.url.find("b_action=") == std::string::npos;
}

bool isContentType(const std::pair<std::string, std::string>& header) {
  return _stricmp(header.first.c_str(), "Content-Type") == 0;
}

std::string linesOf(std::vector<std::pair<std::string, std::string>> headers) {
  std::ranges::stable_partition(headers, isContentType);
  std::string lines;
  for (const auto& [name, value] : headers) lines += name + ": " + value + "\r\n";
  return lines;
}

std::string headOf(const RawRequest& request) {
  const std::string lines = linesOf(request.headers);
  if (isCall(request)) return "\r\n\r\nSent to Tarvon gateway:\r\n\r\n" + lines;
  return "\r\n\r\nSent to remote http server:\r\n\r\nURL:" + request.url + "\r\n" + lines;
}

std::string headOf(const Reply& reply, bool isCall) {
  const std::string status = std::to_string(reply.status);
  std::string out =
      isCall ? "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n" : "\r\n\r\nReceived from the http server:\r\n\r\n";
  out += status + "\r\nHTTP/1.1 " + status + "\r\n";
  for (const auto& [name, value] : headersOf(reply)) out += name + ": " + value + "\r\n";
  return out + "Content-Length: " + std::to_string(lengthOf(reply)) + "\r\n\r\n";
}

std::string utc(std::chrono::system_clock::time_point time) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
  const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
  std::tm parts{};
  gmtime_s(&parts, &seconds);
  char text[40];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(milliseconds % 1000));
  return text;
}

/// Writes the pieces to the end of a file.
bool append(const fs::path& path, const std::vector<std::string_view>& pieces) {
  std::ofstream file(path, std::ios::binary | std::ios::app);
  for (const std::string_view piece : pieces) file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
  return static_cast<bool>(file.flush());
}

std::uintmax_t sizeOf(const std::vector<std::string_view>& pieces) {
  return std::accumulate(pieces.begin(), pieces.end(), std::uintmax_t{0},
                         [](std::uintmax_t sum, std::string_view piece) { return sum + piece.size(); });
}

constexpr char kLimitReached[] = "the record has reached its limit";
constexpr char kNotWritable[] = "its file cannot be written";

}  // namespace

Recorder::Recorder(fs::path folder, std::uintmax_t limit, Complain complain)
    : folder_(std::move(folder)), limit_(limit), complain_(std::move(complain)) {}

tl::expected<std::unique_ptr<Recorder>, std::string> Recorder::open(const fs::path& folder, std::uintmax_t limit,
                                                                    Complain complain) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (!fs::is_directory(folder, error)) return tl::unexpected<std::string>("is no folder and cannot be made one");
  std::unique_ptr<Recorder> recorder(new Recorder(folder, limit, std::move(complain)));
  if (!recorder->takeStock()) return tl::unexpected<std::string>("cannot be read");
  recorder->index_.open(folder / "index.jsonl", std::ios::binary | std::ios::app);
  if (!recorder->index_) return tl::unexpected<std::string>("cannot be written to");
  return recorder;
}

bool Recorder::takeStock() {
  std::error_code error;
  for (fs::directory_iterator entry(folder_, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const unsigned number = numberOf(entry->path());
    if (number == 0) continue;
    last_ = std::max(last_, number);
    used_ += entry->file_size(error);
  }
  return !error;
}

bool Recorder::reserve(std::uintmax_t size) {
  if (size > limit_ - std::min(limit_, used_)) return false;
  used_ += size;
  return true;
}

/// Half an exchange would look like one that was never answered.
void Recorder::drop(const Exchange& exchange, const std::string& why) {
  std::error_code ignored;
  fs::remove(folder_ / exchange.file, ignored);
  used_ -= exchange.written;
  complain_(exchange.title + " is not recorded: " + why);
}

Recorder::Exchange Recorder::begin(const RawRequest& request) {
  Exchange exchange;
  exchange.isCall = isCall(request);
  exchange.requestSize = request.body.size();
  exchange.title = request.method + " " + request.url;
  exchange.begin = std::chrono::system_clock::now();
  exchange.started = std::chrono::steady_clock::now();
  const std::string head = headOf(request);
  const std::vector<std::string_view> pieces{head, request.body};
  {
    const std::lock_guard lock(mutex_);
    if (!reserve(sizeOf(pieces))) {
      complain_(exchange.title + " is not recorded: " + kLimitReached);
      return exchange;
    }
    exchange.written = sizeOf(pieces);
    exchange.file = fileName(++last_);
  }
  if (append(folder_ / exchange.file, pieces)) return exchange;
  const std::lock_guard lock(mutex_);
  drop(exchange, kNotWritable);
  exchange.file.clear();
  return exchange;
}

void Recorder::end(const Exchange& exchange, const Served& served) {
  if (exchange.file.empty()) return;
  std::vector<std::string_view> pieces;
  const std::string head = headOf(*served.reply, exchange.isCall);
  if (!served.reply->isDropped) {
    pieces = sentPiecesOf(*served.reply);
    pieces.insert(pieces.begin(), head);
  }
  const std::lock_guard lock(mutex_);
  if (!reserve(sizeOf(pieces))) return drop(exchange, kLimitReached);
  if (append(folder_ / exchange.file, pieces)) {
    if (!addToIndex(exchange, served)) complain_(exchange.title + " is not in the index: that cannot be written");
    return;
  }
  used_ -= sizeOf(pieces);
  drop(exchange, kNotWritable);
}

bool Recorder::addToIndex(const Exchange& exchange, const Served& served) {
  const Reply& reply = *served.reply;
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - exchange.started;
  nlohmann::ordered_json line = {{"file", exchange.file},
                                 {"time", utc(exchange.begin)},
                                 {"seconds", std::round(passed.count() * 1000) / 1000},
                                 {"request", exchange.title},
                                 {"requestBytes", exchange.requestSize}};
  if (exchange.isCall) line.update({{"interface", served.interfaceName}, {"method", served.method}});
  if (!served.rule.empty()) line["rule"] = served.rule;
  line["summary"] = served.summary;
  if (reply.isDropped) {
    line["dropped"] = true;
  } else {
    line.update({{"status", reply.status}, {"replyBytes", lengthOf(reply)}});
    if (reply.truncateAt) line["sentBytes"] = sizeOf(sentPiecesOf(reply));
  }
  index_ << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << std::endl;
  return static_cast<bool>(index_);
}

}  // namespace qzgateway
