// qzcall: remote calls from the command line.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
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

namespace {

/// Output is UTF-8 with plain line feeds, on a console as in a pipe; the console gets its own code page back.
class Utf8Output {
 public:
  Utf8Output() : previous_(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
    // Byte by byte, a console would take the bytes of one character for several.
    std::setvbuf(stdout, nullptr, _IOFBF, 65536);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    // Unbuffered, it would go to a console character by character. std::cerr flushes it behind every piece.
    std::setvbuf(stderr, nullptr, _IOFBF, BUFSIZ);
  }
  ~Utf8Output() {
    std::cout.flush();
    if (previous_ != 0) SetConsoleOutputCP(previous_);
  }
  Utf8Output(const Utf8Output&) = delete;
  Utf8Output& operator=(const Utf8Output&) = delete;

 private:
  UINT previous_;
};

qzcall::Ended runInUtf8(int count, wchar_t** words) {
  const Utf8Output output;
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
  std::cerr << "qzcall: not enough memory for this call or for what it returned\n";
  leave(qzcall::kTransport);
} catch (const std::exception& error) {
  std::cerr << "qzcall: " << error.what() << '\n';
  leave(qzcall::kTransport);
}
