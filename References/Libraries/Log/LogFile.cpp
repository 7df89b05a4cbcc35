#include "References/Libraries/Log/LogFile.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>

#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/AppendFile.h"
#include "References/Libraries/Platform/Clock.h"

namespace qz::log {
namespace {

void writeTextMode(platform::AppendFile& file, std::initializer_list<std::string_view> parts,
                   std::string_view lineEnd) {
  if (!file.isOpen()) return;
  wire::TextModeWriter writer([&file](std::span<const char> chunk) { file.write(chunk); });
  for (const auto part : parts) writer.put(part);
  writer.put(lineEnd);
  writer.flush();
}

}  // namespace

std::string_view formatMessage(MessageBuffer& out, const char* format, std::va_list values) {
  out[0] = '\0';
  const int size = format == nullptr ? 0 : std::vsnprintf(out.data(), out.size(), format, values);
  return {out.data(), size < 0 ? 0 : std::min(static_cast<std::size_t>(size), wire::kMessageLimit)};
}

wire::LogPlace placeOf(const char* component, const char* sourceFile, long line) {
  return {platform::localTime(), GetCurrentProcessId(), GetCurrentThreadId(),
          viewOf(component),     viewOf(sourceFile),    line};
}

void appendLogLine(const char* path, std::initializer_list<std::string_view> parts) {
  platform::AppendFile file(path);
  writeTextMode(file, parts, "\n");
}

void beginLogFile(const char* path, std::string_view heading) {
  platform::AppendFile file(path, platform::AppendFile::Existing::Refuse);
  writeTextMode(file, {heading}, {});
}

}  // namespace qz::log
