// What a debugger is shown of this process.
#pragma once

#include <windows.h>

#include <string>

namespace qz::test {

/// The texts shown since the object was made. There is one object at a time.
class DebuggerWatch {
 public:
  DebuggerWatch() : handler_(AddVectoredExceptionHandler(1, keep)) { shown().clear(); }
  DebuggerWatch(const DebuggerWatch&) = delete;
  DebuggerWatch& operator=(const DebuggerWatch&) = delete;
  ~DebuggerWatch() { RemoveVectoredExceptionHandler(handler_); }

  const std::string& text() const { return shown(); }

 private:
  static std::string& shown() {
    static std::string text;
    return text;
  }
  // Wide texts come here too, once no debugger has taken them as such.
  static long CALLBACK keep(EXCEPTION_POINTERS* exception) {
    constexpr unsigned long kDebugOutput = 0x40010006;
    const auto& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == kDebugOutput) shown() += reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    return EXCEPTION_CONTINUE_SEARCH;
  }

  void* handler_;
};

}  // namespace qz::test
