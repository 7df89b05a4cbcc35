// Answering calls by a script.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Tools/qzgateway/ExpiringTable.h"
#include "Tools/qzgateway/Operations.h"
#include "Tools/qzgateway/Script.h"

namespace qzgateway {

/// Whether a rule is for this call, as far as the call itself tells.
bool fits(const CallPattern& pattern, const ITKSOAP& call);

/// A script and how far it has come. May be used from any thread.
class ScriptPlayer {
 public:
  /// @param time must outlive it
  ScriptPlayer(Script script, GatewayTime& time);

  /// A reply, and the rule that it comes from.
  struct Played {
    ReplyPointer reply;
    std::string rule;
  };

  /// Answers a call; nothing when the built-in operations are to do that. Takes as long as the script says.
  std::optional<Played> play(const Request& request);

 private:
  /// A conversation that has not come to its last reply.
  struct Running {
    std::string owner;  ///< passport of the caller
    std::size_t rule;
    long polls;                ///< that are left
    std::string objectHandle;  ///< with which the conversation began; meanwhile its place is taken
  };

  std::optional<std::size_t> choose(const ITKSOAP& call);
  std::optional<Running> goOn(const std::string& id, const Request& request);
  ReplyPointer answer(const Request& request, Running running, std::string id);
  std::string labelOf(std::size_t rule) const;

  const Script script_;
  GatewayTime& time_;
  std::mutex mutex_;
  std::vector<long> fitting_;   // how many calls each rule was for
  std::vector<long> answered_;  // and how many it answered
  ExpiringTable<Running> running_;
};

}  // namespace qzgateway
