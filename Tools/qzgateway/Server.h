// The HTTP side of the demonstration gateway.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Tools/qzgateway/Accounts.h"
#include "Tools/qzgateway/Recorder.h"
#include "Tools/qzgateway/Script.h"

namespace qzgateway {

/// How much is written to stderr.
enum class Verbosity { kQuiet, kNormal, kVerbose };

/// How the gateway behaves.
struct Setup {
  Verbosity verbosity = Verbosity::kNormal;
  bool isLogonRequired = false;  ///< calls need the passport of a user who has logged on
  Accounts accounts;
  std::optional<Script> script{};
  std::unique_ptr<Recorder> recorder{};  ///< null when nothing is recorded
};

/// An HTTP server that answers requests on any path.
class Server {
 public:
  explicit Server(Setup setup);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Takes the address; from here on connections are accepted, and answered once run() is called.
  /// @param port 0 for any free one
  /// @return the port, or 0 when the address cannot be had
  int bind(const std::string& host, int port);

  /// Answers requests until stop().
  /// @return false when serving failed
  bool run();

  /// Ends run(); may be called from any thread.
  void stop();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace qzgateway
