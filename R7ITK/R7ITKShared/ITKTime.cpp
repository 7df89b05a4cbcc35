#include "ITKTime.h"

#include <chrono>

namespace {

long long monotonicMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

ITKTime::ITKTime() noexcept { restart(); }

void ITKTime::restart() noexcept {
  GetLocalTime(&local_);
  ticks_ = monotonicMilliseconds();
}

long long ITKTime::getElapsedMilliseconds() const noexcept { return monotonicMilliseconds() - ticks_; }
