#include "References/Libraries/Log/ErrorLog.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <iterator>
#include <utility>
#include <vector>

#include "References/Common/Ascii.h"
#include "References/Common/Number.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Platform/AppendFile.h"
#include "References/Libraries/Platform/Clock.h"
#include "References/Libraries/Platform/Identity.h"
#include "References/Libraries/Platform/ModulePath.h"
#include "References/Libraries/Wire/ErrorText.h"

namespace qz::log {
namespace {

constexpr const char* kNoGuid = "{00000000-0000-0000-0000-000000000000}";

std::string logPath() {
  const std::string root = flatSettings().getRenditionFolder();
  if (root.empty()) return root;
  CreateDirectoryA((root + "\\Logs").c_str(), nullptr);
  return root + "\\Logs\\TesselErrorLog.csv";
}

std::string dateTime() {
  const auto t = platform::localTime();
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute,
                t.second);
  return text.data();
}

std::string orNotSpecified(std::string text) { return text.empty() ? kNotSpecified : text; }

std::string qualified(std::string domain, std::string name) {
  return orNotSpecified(std::move(domain)) + "\\" + orNotSpecified(std::move(name));
}

/// What stays the same in every line of a process. Asking for it takes the system longer than all the rest.
struct Constants {
  std::string module = [] {
    platform::PathBuffer path;
    return std::string(platform::modulePath(path, platform::ownModule()));
  }();
  std::string version = platform::fileVersion(module.c_str());
  std::string machine = qualified(platform::machineDomain(), platform::machineName());
};

std::string decimal(std::int64_t number) { return std::string(DecimalText(number).view()); }

std::string errorLine(const char* sourcePath, const Err& error) {
  static const Constants constants;
  const std::string fields[] = {
      kNoGuid,
      kNotSpecified,
      dateTime(),
      kComponent,
      constants.version,
      orNotSpecified(constants.module),
      orNotSpecified(orEmpty(sourcePath)),
      orNotSpecified(error.procedure),
      decimal(error.line),
      orNotSpecified(error.source),
      decimal(error.number),
      orNotSpecified(error.description),
      qualified(platform::userDomain(), platform::userName()),
      constants.machine,
      kNotSpecified,
      kNotSpecified,
      decimal(GetCurrentProcessId()),
      decimal(GetCurrentThreadId()),
  };
  static_assert(std::size(fields) == wire::kErrorLogTitles.size());
  return wire::csvLine(std::vector<std::string_view>(std::begin(fields), std::end(fields)));
}

}  // namespace

void appendErrorLog(const char* sourcePath, const Err& error) {
  const auto path = logPath();
  if (path.empty()) return;
  platform::AppendFile fresh(path.c_str(), platform::AppendFile::Existing::Refuse);
  if (fresh.isOpen()) fresh.write(wire::csvLine(wire::kErrorLogTitles));
  platform::AppendFile(path.c_str()).write(errorLine(sourcePath, error));
}

}  // namespace qz::log
