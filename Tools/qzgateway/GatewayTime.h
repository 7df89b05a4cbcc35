// Time as the gateway sees it: what lasts, expires or waits asks here, so that tests can turn the clock.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace qzgateway {

class GatewayTime {
 public:
  using Point = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  virtual ~GatewayTime() = default;

  virtual Point now() const = 0;
  /// Waits; false when the gateway ends before the time has passed.
  virtual bool wait(Duration duration) = 0;
};

/// The time of the system.
class SystemTime : public GatewayTime {
 public:
  Point now() const override { return std::chrono::steady_clock::now(); }
  bool wait(Duration duration) override;

  /// Ends every wait, those to come too; may be called from any thread.
  void stop();

 private:
  std::mutex mutex_;
  std::condition_variable ending_;
  bool stopped_ = false;
};

}  // namespace qzgateway
