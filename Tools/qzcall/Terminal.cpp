#include "Tools/qzcall/Terminal.h"

#include <windows.h>

namespace qzcall {
namespace {

constexpr std::size_t kUsualWidth = 120;

bool findConsole(CONSOLE_SCREEN_BUFFER_INFO& console) {
  return GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &console) != FALSE;
}

}  // namespace

bool isOutputTerminal() {
  CONSOLE_SCREEN_BUFFER_INFO console;
  return findConsole(console);
}

std::size_t outputWidth() {
  CONSOLE_SCREEN_BUFFER_INFO console;
  if (!findConsole(console)) return kUsualWidth;
  // A line that fills the last column would be followed by an empty one.
  return static_cast<std::size_t>(console.srWindow.Right - console.srWindow.Left);
}

}  // namespace qzcall
