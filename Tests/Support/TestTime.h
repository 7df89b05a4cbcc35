// The gateway's time in a test's hand.
#pragma once

#include "Tools/qzgateway/GatewayTime.h"

namespace qz::test {

/// Stands still but for those who wait, and when a test turns it.
class TestTime : public qzgateway::GatewayTime {
 public:
  Point now() const override { return now_; }
  bool wait(Duration duration) override {
    now_ += duration;
    return true;
  }
  std::chrono::milliseconds passed() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(now_ - Point());
  }

 private:
  Point now_;
};

}  // namespace qz::test
