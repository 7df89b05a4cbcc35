// Operations that are still running while their caller asks again and again.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "Tools/qzgateway/ExpiringTable.h"

namespace qzgateway {

/// How a wait ends.
enum class Outcome { kDone, kFail, kFault, kNever, kStubborn };

/// One running wait.
struct Conversation {
  std::string owner;  ///< passport of the caller, and nobody else's business
  GatewayTime::Point end;
  Outcome outcome;
  std::string arguments;  ///< as a list stream
};

/// All running conversations. May be used from any thread.
class Conversations {
 public:
  explicit Conversations(const GatewayTime& time);

  /// @return the id under which the caller goes on
  std::string open(Conversation conversation);
  /// Nothing when there is none, or it is somebody else's. One that nobody asks for for 5 minutes is forgotten.
  std::optional<Conversation> find(const std::string& id, const std::string& owner);
  void close(const std::string& id);

 private:
  std::mutex mutex_;
  ExpiringTable<Conversation> running_;
};

}  // namespace qzgateway
