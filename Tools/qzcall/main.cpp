// qzcall: remote calls from the command line.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
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

int run(std::vector<std::string> words) {
  auto options = qzcall::parseCommandLine(std::move(words));
  if (!options) return options.error();
  const auto dumpFile = ansiPath(options->dumpFile);
  if (!dumpFile) return usageError("--dump: the file name has characters that this system's ANSI code page lacks");
  if (!canAppendTo(*dumpFile)) return usageError("--dump: the file cannot be written");
  ITKSOAP reply;
  const qzcall::Outcome outcome = qzcall::invoke(*options, *dumpFile, reply);
  print(outcome, options->json);
  return qzcall::exitCodeOf(outcome.result);
}

}  // namespace

int wmain(int count, wchar_t** words) try {
  const Utf8Output output;
  std::vector<std::string> utf8;
  for (int i = 1; i < count; ++i) utf8.push_back(utf8Of(words[i]));
  return run(std::move(utf8));
} catch (const std::bad_alloc&) {
  std::cerr << "qzcall: not enough memory for this call or for what it returned\n";
  return qzcall::kTransport;
} catch (const std::exception& error) {
  std::cerr << "qzcall: " << error.what() << '\n';
  return qzcall::kTransport;
}
