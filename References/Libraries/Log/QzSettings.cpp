#include "QzSettings.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "References/Common/Ascii.h"
#include "References/Common/Number.h"
#include "References/Common/PathText.h"
#include "References/Libraries/Log/LogFile.h"
#include "References/Libraries/Log/SettingsLayer.h"
#include "References/Libraries/Platform/Clock.h"
#include "References/Libraries/Platform/ModulePath.h"

namespace {

constexpr const char* kConfigurationFolder = "\\configuration";

/// Room for a path of any length that can be built from two that fit.
using LongPath = std::array<char, 4 * QZ_PATH_LIMIT>;

// A path is kept whole or not at all: a cut one would name another file.
template <std::size_t N>
void keep(char (&field)[N], std::string_view path) {
  const auto kept = path.size() < N ? path : std::string_view();
  std::memmove(field, kept.data(), kept.size());
  field[kept.size()] = '\0';
}

QZ_PRINTF(2, 3)
std::string_view formatPath(LongPath& out, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const int size = std::vsnprintf(out.data(), out.size(), format, values);
  va_end(values);
  return size < 0 ? std::string_view() : std::string_view(out.data());
}

// Like opening for writing with truncation: the file exists and is empty afterwards.
bool emptyFile(const char* path) {
  const HANDLE file = CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  return file != INVALID_HANDLE_VALUE && CloseHandle(file);
}

long toLong(std::string_view text) {
  return static_cast<long>(std::clamp<std::int64_t>(qz::parseInteger(text), INT32_MIN, INT32_MAX));
}

}  // namespace

QzSettings::~QzSettings() = default;

int QzSettings::initialize(void* module) {
  module_ = module != nullptr ? module : qz::platform::programModule();
  locate();
  locateIniFile();
  return reInitialize();
}

void QzSettings::locate() {
  qz::platform::PathBuffer buffer;
  const auto library = qz::platform::modulePath(buffer, module_);
  keep(renditionFolder_, qz::cutAtLastBackslash(qz::cutAtLastBackslash(library)));
}

void QzSettings::locateIniFile() {
  iniPath_[0] = '\0';
  if (renditionFolder_[0] == '\0') return;
  LongPath path;
  formatPath(path, "%s%s", renditionFolder_, kConfigurationFolder);
  const bool inRoot = layer_.createsIniFolder && CheckFolderExistence(path.data()) == 0;
  keep(iniPath_, formatPath(path, "%s%s%s", renditionFolder_, inRoot ? "" : kConfigurationFolder, layer_.iniName));
}

int QzSettings::reInitialize() {
  CheckVersion();
  locateLogFile();
  CreateHeaders();
  logBinary_ = readSwitch("LogBinary");
  logInfo_ = readSwitch("LogInfo");
  logTrace_ = readSwitch("LogTrace");
  logComponent_ = getIniKeyInt("UseLogComponent", 0, layer_.tracingSection, nullptr) != 0;
  getIniKeyString("SchemaHost", schemaHost_, sizeof schemaHost_, "", nullptr, nullptr);
  return 1;
}

void QzSettings::locateLogFile() {
  if (layer_.logFileKey != nullptr) {
    readLogFilePath();
  } else {
    BuildLoggerFilePath();
  }
  LongPath folder;
  const auto view = qz::cutAtLastBackslash(logFilePath_);
  if (view.size() == std::strlen(logFilePath_)) return;
  CheckFolderExistence(formatPath(folder, "%.*s", static_cast<int>(view.size()), view.data()).data());
}

void QzSettings::readLogFilePath() {
  LongPath path;
  if (getIniKeyString(layer_.logFileKey, path.data(), path.size(), "", layer_.tracingSection, nullptr) == nullptr) {
    if (renditionFolder_[0] == '\0') return;
    formatPath(path, "%s\\Logs\\%s.log", renditionFolder_, layer_.logName);
    setIniKeyString(layer_.logFileKey, path.data(), layer_.tracingSection, nullptr);
  }
  keep(logFilePath_, path.data());
}

void QzSettings::BuildLoggerFilePath() {
  if (logFilePath_[0] != '\0' || renditionFolder_[0] == '\0') return;
  const auto today = qz::platform::localTime();
  LongPath path;
  keep(logFilePath_, formatPath(path, "%s\\Logs\\%s_%d-%02d-%02d.log", renditionFolder_, layer_.logName, today.year,
                                today.month, today.day));
}

void QzSettings::CreateHeaders() {
  if (!layer_.heading.empty()) qz::log::beginLogFile(logFilePath_, layer_.heading);
}

int QzSettings::readSwitch(const char* key) {
  const long value = getIniKeyInt(key, -1, layer_.tracingSection, nullptr);
  if (value >= 0) return static_cast<int>(value);
  setIniKeyInt(key, 0, layer_.tracingSection, nullptr);
  return 0;
}

void QzSettings::CheckVersion() {
  if (iniPath_[0] == '\0' || getIniKeyInt("Version", 0, nullptr, nullptr) >= layer_.version) return;
  if (emptyFile(iniPath_)) setIniKeyInt("Version", layer_.version, nullptr, nullptr);
}

int QzSettings::CheckFolderExistence(const char* path) {
  if (path == nullptr || path[0] == '\0') return 0;
  return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES || CreateDirectoryA(path, nullptr) ? 1 : 0;
}

const char* QzSettings::getIniKeyString(const char* key, char* buffer, unsigned long size, const char* defaultValue,
                                        const char* section, const char* iniFile) const {
  if (buffer == nullptr || size == 0) return nullptr;
  const char* file = iniFile != nullptr ? iniFile : iniPath_;
  if (file[0] == '\0') {
    // The system would read its own ini file instead; without one every key is missing.
    const auto copied = qz::viewOf(defaultValue).substr(0, size - 1);
    std::memcpy(buffer, copied.data(), copied.size());
    buffer[copied.size()] = '\0';
    return copied.empty() ? nullptr : buffer;
  }
  const DWORD copied = GetPrivateProfileStringA(section != nullptr ? section : layer_.commonSection, key,
                                                qz::orEmpty(defaultValue), buffer, size, file);
  return copied > 0 ? buffer : nullptr;
}

long QzSettings::getIniKeyInt(const char* key, long defaultValue, const char* section, const char* iniFile) const {
  std::array<char, 1024 + 1> text;
  if (getIniKeyString(key, text.data(), text.size(), "", section, iniFile) == nullptr) return defaultValue;
  return toLong(text.data());
}

void QzSettings::setIniKeyString(const char* key, const char* value, const char* section, const char* iniFile) {
  const char* file = iniFile != nullptr ? iniFile : iniPath_;
  // Without a key the system would remove the whole section.
  if (key == nullptr || file[0] == '\0') return;
  WritePrivateProfileStringA(section != nullptr ? section : layer_.commonSection, key, value, file);
}

void QzSettings::setIniKeyInt(const char* key, long value, const char* section, const char* iniFile) {
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), "%ld", value);
  setIniKeyString(key, text.data(), section, iniFile);
}

const char* QzSettings::buildRuntimePath(char* buffer, int size, const char* relative) {
  if (buffer == nullptr || size <= 0) return nullptr;
  const char* tail = qz::orEmpty(relative);
  const char* joint = tail[0] == '\\' ? "" : "\\";
  const int length = std::snprintf(buffer, static_cast<std::size_t>(size), "%s%s%s", renditionFolder_, joint, tail);
  if (length >= 0 && length < size) return buffer;
  buffer[0] = '\0';
  return nullptr;
}

void QzSettings::writeText(long level, const char* component, const char* sourceFile, long line, std::string_view text,
                           std::string_view operation) const {
  if (!isWritten(level)) return;
  qz::wire::PrefixBuffer prefix;
  const auto place = qz::log::placeOf(component, sourceFile, line);
  qz::log::appendLogLine(logFilePath_,
                         {layer_.textPrefix(prefix, place), operation, operation.empty() ? "" : ": ", text});
}

void QzSettings::writeTextV(long level, const char* component, const char* sourceFile, long line, const char* format,
                            std::va_list values) const {
  if (!isWritten(level)) return;
  qz::log::MessageBuffer message;
  writeText(level, component, sourceFile, line, qz::log::formatMessage(message, format, values));
}

void QzSettings::writeBytes(const char* component, const char* sourceFile, long line, const unsigned char* bytes,
                            long count) const {
  if (logBinary_ == 0) return;
  const long present = bytes == nullptr ? 0 : std::max(count, 0L);
  qz::wire::PrefixBuffer prefix;
  const auto place = qz::log::placeOf(component, sourceFile, line);
  const std::string_view dump(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(present));
  qz::log::appendLogLine(logFilePath_, {layer_.dumpPrefix(prefix, place, present), dump});
}
