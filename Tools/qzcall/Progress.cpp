#include "Tools/qzcall/Progress.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "Tools/qzcall/Invoke.h"

namespace qzcall {
namespace {

bool isTerminal(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != FALSE;
}

}  // namespace

ProgressLine::ProgressLine() : isOpen_(isTerminal(STD_ERROR_HANDLE)), onInterrupt_([this] { close(); }) {}

ProgressLine::~ProgressLine() { close(); }

void __cdecl ProgressLine::tell(void* line, long attempts, double waited, long limit) {
  char text[96];
  const int length =
      limit == kLongestTimeout
          ? std::snprintf(text, sizeof text, "Attempt %ld, waited %.1f s", attempts, waited)
          : std::snprintf(text, sizeof text, "Attempt %ld, waited %.1f s of %ld s", attempts, waited, limit);
  static_cast<ProgressLine*>(line)->show({text, static_cast<std::size_t>(length)});
}

void ProgressLine::show(std::string_view text) {
  const std::lock_guard lock(mutex_);
  if (!isOpen_) return;
  const int padded = static_cast<int>(std::max(width_, text.size()));
  std::fprintf(stderr, "\r%-*.*s", padded, static_cast<int>(text.size()), text.data());
  std::fflush(stderr);
  width_ = text.size();
}

void ProgressLine::close() {
  const std::lock_guard lock(mutex_);
  if (width_ != 0) std::fprintf(stderr, "\r%*s\r", static_cast<int>(width_), "");
  std::fflush(stderr);
  width_ = 0;
  isOpen_ = false;
}

}  // namespace qzcall
