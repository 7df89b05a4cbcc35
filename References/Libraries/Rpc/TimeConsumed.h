// Tells the trace how long something took.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include <windows.h>

#include "References/Common/Number.h"
#include "References/Libraries/Rpc/Journal.h"

namespace qz::rpc {

/// Runs from construction to destruction and then writes one trace line: name, thread id, seconds. The line names no
/// operation.
class TimeConsumed {
 public:
  /// @param name shown in the line; outlives the object
  TimeConsumed(Journal& journal, std::string_view name) : journal_(journal), name_(name) {}
  TimeConsumed(const TimeConsumed&) = delete;
  TimeConsumed& operator=(const TimeConsumed&) = delete;
  ~TimeConsumed() {
    try {
      journal_.text(kTrace, "", line());
    } catch (...) {  // Out of memory for a trace line: the work itself is done.
    }
  }

 private:
  std::string line() const {
    using namespace std::chrono;
    const auto elapsed = duration_cast<microseconds>(steady_clock::now() - start_).count();
    std::string fraction(DecimalText(elapsed % 1000000).view());
    fraction.insert(0, 6 - fraction.size(), '0');
    return std::string("TIME CONSUMED BY , , ,")
        .append(name_)
        .append(",T=")
        .append(DecimalText(static_cast<std::int64_t>(GetCurrentThreadId())).view())
        .append(",")
        .append(DecimalText(elapsed / 1000000).view())
        .append(".")
        .append(fraction)
        .append("\n");
  }

  Journal& journal_;
  std::string_view name_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace qz::rpc
