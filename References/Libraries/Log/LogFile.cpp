#include "References/Libraries/Log/LogFile.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>

#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/AppendFile.h"
#include "References/Libraries/Platform/Clock.h"

namespace qz::log {
namespace {

void writeTextMode(platform::AppendFile& file, std::initializer_list<std::string_view> parts) {
  wire::TextModeWriter writer([&file](std::span<const char> chunk) { file.write(chunk); });
  for (const auto part : parts) writer.put(part);
  writer.flush();
}

}  // namespace

std::string_view formatMessage(MessageBuffer& out, const char* format, std::va_list values) {
  out[0] = '\0';
  if (format == nullptr) return {};
  const int size = std::vsnprintf(out.data(), out.size(), format, values);
  return {out.data(), size < 0 ? 0 : std::min(static_cast<std::size_t>(size), wire::kMessageLimit)};
}

wire::LogPlace placeOf(const char* component, const char* sourceFile, long line) {
  return {platform::localTime(), GetCurrentProcessId(), GetCurrentThreadId(),
          viewOf(component),     viewOf(sourceFile),    line};
}

void appendLogLine(const char* path, std::string_view prefix, std::string_view text) {
  platform::AppendFile file(path);
  if (file.isOpen()) writeTextMode(file, {prefix, text, "\n"});
}

void beginLogFile(const char* path, std::string_view heading) {
  platform::AppendFile file(path, platform::AppendFile::Existing::Refuse);
  if (file.isOpen()) writeTextMode(file, {heading});
}

}  // namespace qz::log
