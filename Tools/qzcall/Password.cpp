#include "Tools/qzcall/Password.h"

#include <windows.h>

#include <CLI/CLI.hpp>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>

#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Input.h"
#include "Tools/qzcall/Interrupt.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

using PasswordRead = tl::expected<Password, std::string>;
using Text = tl::expected<std::size_t, const char*>;

constexpr std::size_t kRoom = Password::kLimit + 1;
constexpr const char* kTooLong = "is longer than 1024 bytes";
constexpr const char* kNotUtf8 = "is not UTF-8";
static_assert(Password::kLimit == 1024);

/// UTF-16 on its way to a password.
struct WidePassword {
  // A character of one byte takes one unit, one of four bytes takes two; the end is two units more on a console.
  wchar_t units[kRoom + 2] = {};

  ~WidePassword() { SecureZeroMemory(units, sizeof units); }
};

/// Reads up to a line end, the end of the input, or until there is no room left.
/// @return the length of the first line, without its end
Text readLine(Input& input, char* into) {
  std::size_t length = 0;
  while (length < kRoom && std::memchr(into, '\n', length) == nullptr) {
    const auto got = input.read(into + length, kRoom - length);
    if (!got) return tl::unexpected<const char*>("cannot be read");
    if (*got == 0) break;
    length += *got;
  }
  std::string_view line(into, length);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line.size();
}

/// Editors put a byte order mark in front of UTF-8.
std::size_t withoutMark(char* text, std::size_t length) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (!std::string_view(text, length).starts_with(kMark)) return length;
  std::memmove(text, text + kMark.size(), length - kMark.size());
  return length - kMark.size();
}

/// Takes `length` units as UTF-8 into `into`.
Text narrowed(const WidePassword& wide, std::size_t length, char* into) {
  if (length == 0) return 0;
  if (length > kRoom) return tl::unexpected(kTooLong);
  const int size = WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide.units, static_cast<int>(length), into,
                                       static_cast<int>(kRoom), nullptr, nullptr);
  if (size > 0) return static_cast<std::size_t>(size);
  return tl::unexpected(GetLastError() == ERROR_INSUFFICIENT_BUFFER ? kTooLong : kNotUtf8);
}

/// Ends the password behind its first `length` bytes, if it can be one.
/// @param what where it comes from, for the complaint
PasswordRead accept(Password password, const Text& length, const std::string& what) {
  const auto refuse = [&](const char* why) { return tl::unexpected(what + " " + why); };
  if (!length) return refuse(length.error());
  const std::string_view text(password.data(), *length);
  if (text.empty()) return refuse("is empty");
  if (text.size() > Password::kLimit) return refuse(kTooLong);
  if (text.find('\0') != std::string_view::npos) return refuse("holds a zero");
  if (!isUtf8(text)) return refuse(kNotUtf8);
  // What was read behind it is no part of it.
  SecureZeroMemory(password.data() + *length, kRoom + 1 - *length);
  return password;
}

PasswordRead fromFile(const std::string& path) {
  Password password;
  Input input(path);
  auto length = readLine(input, password.data());
  if (length) *length = withoutMark(password.data(), *length);
  return accept(std::move(password), length, "--password-file: the first line of '" + forTerminal(path, 60) + "'");
}

PasswordRead fromVariable(const std::string& name) {
  Password password;
  WidePassword wide;
  SetLastError(ERROR_SUCCESS);
  const DWORD length = GetEnvironmentVariableW(wideOf(name).c_str(), wide.units, std::size(wide.units));
  const bool isThere = length != 0 || GetLastError() != ERROR_ENVVAR_NOT_FOUND;
  const Text narrow = isThere ? narrowed(wide, length, password.data()) : tl::unexpected<const char*>("does not exist");
  return accept(std::move(password), narrow, "--password-env: the variable '" + forTerminal(name, 60) + "'");
}

// ---- the prompt

/// Nothing when `handle` is no console.
std::optional<DWORD> modeOf(HANDLE handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) ? std::optional(mode) : std::nullopt;
}

bool isTerminalThere() { return modeOf(GetStdHandle(STD_INPUT_HANDLE)).has_value(); }

/// The terminal while it shows nothing of what is typed.
class SilentTerminal {
 public:
  SilentTerminal()
      : in_(GetStdHandle(STD_INPUT_HANDLE)),
        out_(CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, 0, nullptr)),
        mode_(modeOf(in_).value_or(0)),
        onInterrupt_([this] { restore(); }) {
    SetConsoleMode(in_, (mode_ & ~DWORD{ENABLE_ECHO_INPUT}) | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT);
    // A console that is drawn on a terminal may leave the echo to that until it is first asked for input. This question
    // comes before the prompt, so that nobody types too early.
    INPUT_RECORD next;
    DWORD waiting = 0;
    PeekConsoleInputW(in_, &next, 1, &waiting);
  }
  ~SilentTerminal() {
    restore();
    CloseHandle(out_);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  void write(std::wstring_view text) {
    WriteConsoleW(out_, text.data(), static_cast<DWORD>(text.size()), nullptr, nullptr);
  }

  /// One line with its end; nothing when the line was given up.
  std::optional<std::size_t> readLine(WidePassword& into) {
    DWORD got = 0;
    if (!ReadConsoleW(in_, into.units, std::size(into.units), &got, nullptr) || got == 0) return std::nullopt;
    return got;
  }

 private:
  /// The end of the line was not shown either.
  void restore() {
    SetConsoleMode(in_, mode_);
    write(L"\n");
  }

  HANDLE in_;
  HANDLE out_;
  DWORD mode_;
  InterruptAction onInterrupt_;
};

/// Without the line end.
/// @return the length, nothing when the line does not end in the room that there was
std::optional<std::size_t> lineIn(const WidePassword& wide, std::size_t length) {
  std::wstring_view line(wide.units, length);
  if (!line.ends_with(L'\n')) return std::nullopt;
  line.remove_suffix(line.ends_with(L"\r\n") ? 2 : 1);
  return line.size();
}

/// The keys that end an input, here and elsewhere.
bool isEndOfInput(wchar_t first) { return first == 0x1A || first == 0x04; }

PasswordRead fromPrompt(const std::string& user) {
  constexpr const char* kNone = "no password was given";
  Password password;
  WidePassword wide;
  SilentTerminal terminal;
  terminal.write(wideOf("Password for " + forTerminal(user, 200) + ": "));
  const auto got = terminal.readLine(wide);
  if (!got) {
    // With Ctrl-C this thread may come back before those who care for it have begun.
    Sleep(1000);
    return tl::unexpected<std::string>(kNone);
  }
  if (isEndOfInput(wide.units[0])) return tl::unexpected<std::string>(kNone);
  const auto length = lineIn(wide, *got);
  const Text narrow = length ? narrowed(wide, *length, password.data()) : tl::unexpected(kTooLong);
  return accept(std::move(password), narrow, "the password");
}

bool isPrompt(const PasswordSource& source) {
  return source.variable.empty() && (source.file.empty() || (source.file == "-" && isTerminalThere()));
}

}  // namespace

Password::~Password() {
  if (room_ != nullptr) SecureZeroMemory(room_->bytes, sizeof room_->bytes);
}

void addPassword(CLI::App& command, PasswordSource& source) {
  CLI::Option* const file = addText(command, "--password-file", source.file,
                                    "Read the password from the first line of this file, - for the standard input");
  file->type_name("FILE")->check(refuseNothing, "", "");
  addText(command, "--password-env", source.variable, "Read the password from this variable of the environment")
      ->type_name("NAME")
      ->check(refuseNothing, "", "")
      ->excludes(file);
}

Understood checkPassword(const PasswordSource& source) {
  if (!isPrompt(source) || isTerminalThere()) return {};
  return tl::unexpected<std::string>(
      "there is no terminal to ask for the password on; use --password-file or --password-env");
}

PasswordRead readPassword(const PasswordSource& source, const std::string& user) {
  if (isPrompt(source)) return fromPrompt(user);
  return source.variable.empty() ? fromFile(source.file) : fromVariable(source.variable);
}

}  // namespace qzcall
