// qzcall: remote calls from the command line.
#include <windows.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "Tools/qzcall/CommandLine.h"
#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Interrupt.h"
#include "Tools/qzcall/Run.h"
#include "Tools/qzcall/Utf8Output.h"

namespace {

qzcall::Ended runInUtf8(int count, wchar_t** words) {
  const qzcall::Utf8Output output;
  qzcall::catchInterrupts();
  std::vector<std::string> utf8;
  for (int i = 1; i < count; ++i) utf8.push_back(qzcall::utf8Of(words[i]));
  const auto command = qzcall::parseCommandLine(std::move(utf8));
  return command ? qzcall::run(*command) : qzcall::Ended{command.error()};
}

/// Ends the process without unloading the library: work that was left behind may still use it.
[[noreturn]] void leave(int code) {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
  std::abort();
}

}  // namespace

int wmain(int count, wchar_t** words) try {
  const qzcall::Ended ended = runInUtf8(count, words);
  if (ended.workUnderWay) leave(ended.code);
  return ended.code;
} catch (const std::bad_alloc&) {
  std::cerr << "qzcall: not enough memory for this command or for what it returned\n";
  leave(qzcall::kTransport);
} catch (const std::exception& error) {
  std::cerr << "qzcall: " << error.what() << '\n';
  leave(qzcall::kTransport);
}
