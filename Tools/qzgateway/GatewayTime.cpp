#include "Tools/qzgateway/GatewayTime.h"

namespace qzgateway {

bool SystemTime::wait(Duration duration) {
  std::unique_lock lock(mutex_);
  return !ending_.wait_for(lock, duration, [this] { return stopped_; });
}

void SystemTime::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  ending_.notify_all();
}

}  // namespace qzgateway
