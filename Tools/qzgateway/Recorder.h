// Keeping what went through the gateway, for reading it later.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

#include "Tools/qzgateway/Exchange.h"
#include "Tools/qzgateway/RecordFiles.h"

namespace qzgateway {

/// A request as it arrived.
struct RawRequest {
  std::string method;
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string_view body;
};

/// A folder of exchanges: one dump file for each, 000001.dump and so on in the order of the requests, and index.jsonl
/// with one JSON object per line and exchange, in the order of the replies. May be used from any thread, and several
/// recorders may share a folder.
///
/// A dump file has the form that the library's own dumps have. Nothing is masked: passwords in forms and the values of
/// cookies are there.
class Recorder {
 public:
  /// Called with a sentence whenever an exchange could not be kept.
  using Complain = std::function<void(const std::string&)>;

  /// Makes the folder if there is none. What it holds already stays, and the numbers go on behind it.
  /// @param limit bytes that the dump files and the index may have together, with what the folder holds already; an
  ///   exchange that would go beyond is not kept
  /// @return the recorder, or a sentence that says why there is none
  static tl::expected<std::unique_ptr<Recorder>, std::string> open(const std::filesystem::path& folder,
                                                                   std::uintmax_t limit, Complain complain);

  /// One exchange of which the request is written. Without an end it stays in the folder as a request without a reply,
  /// and is not in the index.
  struct Exchange {
    std::string file;  ///< empty when it is not kept
    bool isCall = false;
    bool isHead = false;  ///< whose reply has no body, whatever its headers say
    std::uintmax_t requestSize = 0;
    std::uintmax_t written = 0;  ///< bytes of the file
    std::string title;
    std::chrono::system_clock::time_point begin;
    std::chrono::steady_clock::time_point started;
  };

  /// Writes a request.
  Exchange begin(const RawRequest& request);

  /// Writes the reply, as far as it is sent, and the line of the index.
  void end(const Exchange& exchange, const Served& served);

 private:
  Recorder(std::filesystem::path folder, std::uintmax_t limit, Complain complain);

  bool takeStock();
  bool reserve(std::uintmax_t size);
  std::string makeNextFile();
  void take(Exchange& exchange, std::uintmax_t size);
  void drop(const Exchange& exchange, const std::string& why);
  void complainAbout(const Exchange& exchange, const std::string& why) const;

  const std::filesystem::path folder_;
  const std::uintmax_t limit_;
  const Complain complain_;
  std::mutex mutex_;
  std::uintmax_t used_ = 0;
  unsigned last_ = 0;
  LineFile index_;
};

}  // namespace qzgateway
