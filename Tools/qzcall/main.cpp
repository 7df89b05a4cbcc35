// qzcall: remote calls from the command line.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <future>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Tools/qzcall/Invoke.h"
#include "Tools/qzcall/Json.h"
#include "Tools/qzcall/Table.h"

namespace {

std::string utf8Of(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return {};
  std::string out(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  out.pop_back();
  return out;
}

std::wstring wideOf(const std::string& text) {
  const int size = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
  if (size <= 1) return {};
  std::wstring out(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, out.data(), size);
  out.pop_back();
  return out;
}

/// The library opens files by their ANSI names. Nothing when `path` has none.
std::optional<std::string> ansiPath(const std::string& path) {
  const std::wstring wide = wideOf(path);
  const int wideSize = static_cast<int>(wide.size());
  if (wideSize == 0) return std::string();
  BOOL lossy = FALSE;
  const int size =
      WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.c_str(), wideSize, nullptr, 0, nullptr, &lossy);
  if (size <= 0 || lossy != FALSE) return std::nullopt;
  std::string out(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.c_str(), wideSize, out.data(), size, nullptr, nullptr);
  return out;
}

/// Output is UTF-8 with plain line feeds, on a console as in a pipe; the console gets its own code page back.
class Utf8Output {
 public:
  Utf8Output() : previous_(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
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

int usageError(const char* complaint) {
  std::cerr << "qzcall: " << complaint << '\n';
  return qzcall::kUsage;
}

/// The library makes a call without its dump if need be; who asked for one wants to know before.
bool canAppendTo(const std::string& path) { return path.empty() || std::ofstream(path, std::ios::app); }

void print(const qzcall::Outcome& outcome, bool json) {
  if (json) {
    writeJson(std::cout, outcome);
  } else {
    std::cout << toTable(outcome);
  }
  if (!std::cout.flush()) throw std::runtime_error("the outcome could not be written");
}

/// What a call works on. The call's thread owns it too, so a call that nobody waits for any more still has it.
struct Call {
  qzcall::InvokeOptions options;
  std::string dumpFile;
};

/// Waits for `outcome`.
/// @param limit in seconds, 0 for none
/// @return false when it was not there in time
bool isThere(const std::future<qzcall::Outcome>& outcome, long limit) {
  if (limit != 0) return outcome.wait_for(std::chrono::seconds(limit)) == std::future_status::ready;
  outcome.wait();
  return true;
}

/// The outcome of `call`; nothing when its time limit has passed. It is then still under way.
std::optional<qzcall::Outcome> make(const std::shared_ptr<Call>& call, long limit) {
  std::packaged_task<qzcall::Outcome()> task([call] { return invoke(call->options, call->dumpFile); });
  auto outcome = task.get_future();
  std::thread thread(std::move(task));
  if (!isThere(outcome, limit)) {
    thread.detach();
    return std::nullopt;
  }
  thread.join();
  return outcome.get();
}

struct Ended {
  int code;
  bool callUnderWay = false;
};

Ended run(std::vector<std::string> words) {
  auto options = qzcall::parseCommandLine(std::move(words));
  if (!options) return {options.error()};
  const auto dumpFile = ansiPath(options->dumpFile);
  if (!dumpFile) return {usageError("--dump: the file name has characters that this system's ANSI code page lacks")};
  if (!canAppendTo(*dumpFile)) return {usageError("--dump: the file cannot be written")};
  const bool json = options->json;
  const long limit = options->timeout;
  const auto call = std::make_shared<Call>(std::move(*options), *dumpFile);
  const auto outcome = make(call, limit);
  const qzcall::Outcome shown = outcome ? *outcome : qzcall::timedOut(limit);
  print(shown, json);
  return {qzcall::exitCodeOf(shown.result), !outcome};
}

Ended runInUtf8(int count, wchar_t** words) {
  const Utf8Output output;
  std::vector<std::string> utf8;
  for (int i = 1; i < count; ++i) utf8.push_back(utf8Of(words[i]));
  return run(std::move(utf8));
}

}  // namespace

int wmain(int count, wchar_t** words) try {
  const Ended ended = runInUtf8(count, words);
  // A call cannot be broken off, and the library must not be unloaded under it.
  if (ended.callUnderWay) TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ended.code));
  return ended.code;
} catch (const std::bad_alloc&) {
  std::cerr << "qzcall: not enough memory for this call or for what it returned\n";
  return qzcall::kTransport;
} catch (const std::exception& error) {
  std::cerr << "qzcall: " << error.what() << '\n';
  return qzcall::kTransport;
}
