#include "Tools/qzgateway/Recorder.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numeric>

#include "References/Common/Ascii.h"
#include "References/Libraries/Wire/DumpBanners.h"
#include "Tools/qzgateway/FormFields.h"
#include "Tools/qzgateway/Portal.h"
#include "Tools/qzgateway/RequestParts.h"

namespace qzgateway {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kExtension = ".dump";
constexpr char kIndex[] = "index.jsonl";
constexpr char kContentType[] = "Content-Type";
constexpr std::size_t kDigits = 6;
/// Higher numbers in a folder are somebody else's, so that there are always some left.
constexpr std::size_t kMostDigits = 9;

std::string fileName(unsigned number) {
  const std::string digits = std::to_string(number);
  return std::string(kDigits - std::min(kDigits, digits.size()), '0') + digits + std::string(kExtension);
}

/// The number of a dump file; 0 for other files.
unsigned numberOf(const fs::path& path) {
  const std::string stem = path.stem().string();
  unsigned number = 0;
  const auto [end, error] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
  const bool isNumber = error == std::errc() && end == stem.data() + stem.size() && stem.size() <= kMostDigits;
  return isNumber ? number : 0;
}

bool isOfRecord(const fs::path& path) { return path.extension() == kExtension || path.filename() == kIndex; }

bool isContentType(const std::pair<std::string, std::string>& header) {
  return qz::equalsIgnoringAsciiCase(header.first, kContentType);
}

/// A call has a dump's form of its own, which begins with the type of its content.
bool isCall(const RawRequest& request) {
  return request.method == "POST" && !Portal::isAskedBy(queryOf(request.url)) &&
         std::ranges::any_of(request.headers, [](const auto& header) {
           return isContentType(header) && isMultipartRelated(header.second);
         });
}

std::string linesOf(std::vector<std::pair<std::string, std::string>> headers) {
  const auto others = std::ranges::stable_partition(headers, isContentType);
  // Readers of dumps know the beginning of a call by this name as it is usually written.
  for (auto header = headers.begin(); header != others.begin(); ++header) header->first = kContentType;
  std::string lines;
  for (const auto& [name, value] : headers) lines += name + ": " + value + "\r\n";
  return lines;
}

std::string headOf(const RawRequest& request) {
  const std::string lines = linesOf(request.headers);
  if (isCall(request)) return std::string(qz::wire::kSentToGateway) + lines;
  return std::string(qz::wire::kSentToServer) + "URL:" + request.url + "\r\n" + lines;
}

std::string headOf(const Reply& reply, bool isCall) {
  const std::string status = std::to_string(reply.status);
  std::string out(isCall ? qz::wire::kReceivedFromGateway : qz::wire::kReceivedFromServer);
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

std::uintmax_t sizeOf(const std::vector<std::string_view>& pieces) {
  return std::accumulate(pieces.begin(), pieces.end(), std::uintmax_t{0},
                         [](std::uintmax_t sum, std::string_view piece) { return sum + piece.size(); });
}

/// What goes over the wire behind the headers.
std::vector<std::string_view> bodyOf(const Recorder::Exchange& exchange, const Reply& reply) {
  return exchange.isHead ? std::vector<std::string_view>() : sentPiecesOf(reply);
}

std::string indexLine(const Recorder::Exchange& exchange, const Served& served) {
  const Reply& reply = *served.reply;
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - exchange.started;
  nlohmann::ordered_json line = {{"file", exchange.file},
                                 {"time", utc(exchange.begin)},
                                 {"seconds", std::round(passed.count() * 1000) / 1000},
                                 {"request", cutToLine(exchange.title)},
                                 {"requestBytes", exchange.requestSize}};
  if (exchange.isCall)
    line.update({{"interface", cutToLine(served.interfaceName)}, {"method", cutToLine(served.method)}});
  if (!served.rule.empty()) line["rule"] = cutToLine(served.rule);
  line["summary"] = cutToLine(served.summary);
  if (reply.isDropped) {
    line["dropped"] = true;
  } else {
    const std::uintmax_t sent = sizeOf(bodyOf(exchange, reply));
    line.update({{"status", reply.status}, {"replyBytes", lengthOf(reply)}});
    if (sent < lengthOf(reply)) line["sentBytes"] = sent;
  }
  return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

constexpr char kLimitReached[] = "the record has reached its limit";
constexpr char kNotWritable[] = "its file cannot be written";

}  // namespace

Recorder::Recorder(fs::path folder, std::uintmax_t limit, Complain complain)
    : folder_(std::move(folder)), limit_(limit), complain_(std::move(complain)), index_(folder_ / kIndex) {}

tl::expected<std::unique_ptr<Recorder>, std::string> Recorder::open(const fs::path& folder, std::uintmax_t limit,
                                                                    Complain complain) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (!fs::is_directory(folder, error)) return tl::unexpected<std::string>("is no folder and cannot be made one");
  std::unique_ptr<Recorder> recorder(new Recorder(folder, limit, std::move(complain)));
  if (!recorder->index_.isOpen()) return tl::unexpected<std::string>("cannot be written to");
  if (!recorder->takeStock()) return tl::unexpected<std::string>("cannot be read");
  return recorder;
}

bool Recorder::takeStock() {
  std::error_code error;
  for (fs::directory_iterator entry(folder_, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    if (!isOfRecord(entry->path()) || !entry->is_regular_file(error)) continue;
    last_ = std::max(last_, numberOf(entry->path()));
    used_ += entry->file_size(error);
  }
  return !error;
}

bool Recorder::reserve(std::uintmax_t size) {
  if (size > limit_ - std::min(limit_, used_)) return false;
  used_ += size;
  return true;
}

void Recorder::complainAbout(const Exchange& exchange, const std::string& why) const {
  complain_(exchange.title + " is not recorded: " + why);
}

/// Another gateway that records into the folder may have taken the next number.
std::string Recorder::makeNextFile() {
  std::error_code error;
  std::string name;
  do {
    name = fileName(++last_);
    error = createNew(folder_ / name);
  } while (error == std::errc::file_exists);
  return error ? "" : name;
}

/// Gives the exchange its file, unless it cannot be kept.
void Recorder::take(Exchange& exchange, std::uintmax_t size) {
  const std::lock_guard lock(mutex_);
  if (!reserve(size)) return complainAbout(exchange, kLimitReached);
  exchange.written = size;
  exchange.file = makeNextFile();
  if (!exchange.file.empty()) return;
  used_ -= size;
  complainAbout(exchange, kNotWritable);
}

/// Half an exchange would look like one that was never answered.
void Recorder::drop(const Exchange& exchange, const std::string& why) {
  std::error_code ignored;
  fs::remove(folder_ / exchange.file, ignored);
  used_ -= exchange.written;
  complainAbout(exchange, why);
}

Recorder::Exchange Recorder::begin(const RawRequest& request) {
  Exchange exchange;
  exchange.isCall = isCall(request);
  exchange.isHead = request.method == "HEAD";
  exchange.requestSize = request.body.size();
  exchange.title = request.method + " " + request.url;
  exchange.begin = std::chrono::system_clock::now();
  exchange.started = std::chrono::steady_clock::now();
  const std::string head = headOf(request);
  const std::vector<std::string_view> pieces{head, request.body};
  take(exchange, sizeOf(pieces));
  if (exchange.file.empty() || append(folder_ / exchange.file, pieces)) return exchange;
  const std::lock_guard lock(mutex_);
  drop(exchange, kNotWritable);
  exchange.file.clear();
  return exchange;
}

void Recorder::end(const Exchange& exchange, const Served& served) {
  if (exchange.file.empty()) return;
  std::vector<std::string_view> pieces;
  const std::string head = headOf(*served.reply, exchange.isCall), line = indexLine(exchange, served);
  if (!served.reply->isDropped) {
    pieces = bodyOf(exchange, *served.reply);
    pieces.insert(pieces.begin(), head);
  }
  const std::uintmax_t size = sizeOf(pieces) + line.size();
  const std::lock_guard lock(mutex_);
  if (!reserve(size)) return drop(exchange, kLimitReached);
  if (append(folder_ / exchange.file, pieces)) {
    if (!index_.add(line)) complain_(exchange.title + " is not in the index: that cannot be written");
    return;
  }
  used_ -= size;
  drop(exchange, kNotWritable);
}

}  // namespace qzgateway
