#include "Tools/qzgateway/Conversations.h"

#include "Tools/qzgateway/RandomId.h"

namespace qzgateway {

Conversations::Conversations(const GatewayTime& time) : running_(time, 1000, std::chrono::minutes(5)) {}

std::string Conversations::open(Conversation conversation) {
  const std::string id = randomId();
  const std::lock_guard lock(mutex_);
  running_.put(id, std::move(conversation));
  return id;
}

std::optional<Conversation> Conversations::find(const std::string& id, const std::string& owner) {
  const std::lock_guard lock(mutex_);
  const Conversation* const found = running_.find(id);
  return found != nullptr && found->owner == owner ? std::optional(*found) : std::nullopt;
}

void Conversations::close(const std::string& id) {
  const std::lock_guard lock(mutex_);
  running_.erase(id);
}

}  // namespace qzgateway
