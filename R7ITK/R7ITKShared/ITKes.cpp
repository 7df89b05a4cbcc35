#include "ITKes.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cwchar>
#include <string_view>

#include "References/Common/Ascii.h"
#include "References/Common/PathText.h"
#include "References/Libraries/Log/LogFile.h"
#include "References/Libraries/Log/SettingsLayer.h"
#include "References/Libraries/Log/ToolkitSettings.h"

namespace {

constexpr QzSettingsLayer kToolkitSettings = {
    .iniName = "\\R7ITK.ini",
    .createsIniFolder = true,
    .commonSection = "R7ITK Common",
    .tracingSection = "R7ITK Internal Tracing",
    .version = 8300,
    .logFileKey = nullptr,
    .logName = "R7ITK",
    .heading = qz::wire::kToolkitHeading,
    .textPrefix = qz::wire::toolkitTextPrefix,
    .dumpPrefix = qz::wire::toolkitDumpPrefix,
};

constexpr const char* kNoAutoCert = "NoAutoCert";
constexpr const char* kCaption = "R7ITK Debug";
constexpr const char* kPlainTextCaption = "R7ITK Debug Debug";
constexpr const char* kBreakCaption = "R7ITK Debug: Break into source code?";

/// Room for a prefix and a message. The aids of developers allocate no more than the log does.
using DebugBuffer = std::array<char, qz::wire::kPrefixLimit + qz::wire::kMessageLimit>;

int processId() { return static_cast<int>(GetCurrentProcessId()); }
int threadId() { return static_cast<int>(GetCurrentThreadId()); }
int shown(std::string_view text, std::size_t limit) { return static_cast<int>(std::min(text.size(), limit)); }

void debugOutput(const char* sourceFile, long line, std::string_view text) {
  DebugBuffer out;
  const auto file = qz::lastComponent(qz::viewOf(sourceFile));
  std::snprintf(out.data(), out.size(), "[%d:%d] %.*s[%ld]: %.*s\r\n", processId(), threadId(),
                shown(file, qz::wire::kPrefixLimit / 2), file.data(), line, shown(text, qz::wire::kMessageLimit),
                text.data());
  OutputDebugStringA(out.data());
}

ITKes settings;

}  // namespace

ITKes::ITKes() : QzSettings(kToolkitSettings) {}

ITKes::~ITKes() = default;

ITKes& getITKes() { return settings; }

QzSettings& qz::log::toolkitSettings() { return settings; }

const char* ITKes::getLogFilePath() const { return logFilePath(); }

int ITKes::getNoAutoCert() const { return static_cast<int>(getIniKeyInt(kNoAutoCert, 0, nullptr, nullptr)); }

void ITKes::setNoAutoCert(int noAutoCert) { setIniKeyInt(kNoAutoCert, noAutoCert, nullptr, nullptr); }

void ITKes::logText(long level, const char* sourceFile, long line, const char* text) {
  writeText(level, nullptr, sourceFile, line, qz::viewOf(text));
}

void ITKes::logText(long level, const char* sourceFile, long line, std::string_view text) {
  writeText(level, nullptr, sourceFile, line, text);
}

void ITKes::logTextV(long level, const char* sourceFile, long line, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  writeTextV(level, nullptr, sourceFile, line, format, values);
  va_end(values);
}

void ITKes::logByteStream(const char* sourceFile, long line, const unsigned char* bytes, long count) {
  writeBytes(nullptr, sourceFile, line, bytes, count);
}

void ITKes::trace_(const char* sourceFile, long line, const char* text) {
  debugOutput(sourceFile, line, qz::viewOf(text));
}

void ITKes::traceV(const char* sourceFile, long line, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  qz::log::MessageBuffer message;
  debugOutput(sourceFile, line, qz::log::formatMessage(message, format, values));
  va_end(values);
}

void ITKes::debugMessageBox(const char* text) { MessageBoxA(nullptr, qz::orEmpty(text), kPlainTextCaption, MB_OK); }

void ITKes::debugMessageBoxV(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  qz::log::MessageBuffer message;
  MessageBoxA(nullptr, qz::log::formatMessage(message, format, values).data(), kCaption, MB_OK);
  va_end(values);
}

void ITKes::debugMessageBoxW(const wchar_t* text) {
  MessageBoxW(nullptr, text != nullptr ? text : L"", L"R7ITK Debug", MB_OK);
}

void ITKes::debugMessageBoxVW(const wchar_t* format, ...) {
  std::array<wchar_t, qz::wire::kMessageLimit + 1> message{};
  std::va_list values;
  va_start(values, format);
  if (format != nullptr) std::vswprintf(message.data(), message.size(), format, values);
  va_end(values);
  message.back() = L'\0';
  debugMessageBoxW(message.data());
}

void ITKes::debugBreakMessageBoxV(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  qz::log::MessageBuffer message;
  qz::log::formatMessage(message, format, values);
  va_end(values);
  DebugBuffer out;
  std::snprintf(out.data(), out.size(), "P%d,T%d: %s", processId(), threadId(), message.data());
  MessageBoxA(nullptr, out.data(), kBreakCaption, MB_YESNO);
}
