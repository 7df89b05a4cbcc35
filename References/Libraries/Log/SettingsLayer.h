// What distinguishes the settings and the log of one face from those of the other.
#pragma once

#include <string_view>

#include "QzSettings.h"
#include "References/Libraries/Wire/LogLine.h"

/// One constant per face. All pointers are literals or functions.
struct QzSettingsLayer {
  /// Path of the ini file below the "\configuration" folder, with a leading backslash.
  const char* iniName;
  /// Whether the configuration folder is created when missing; where that fails, the ini file lies in the root.
  bool createsIniFolder;
  /// Section used when the caller names none.
  const char* commonSection;
  /// Section of the log switches.
  const char* tracingSection;
  /// An ini file of a lower version is emptied.
  long version;
  /// Key that names the log file, in the tracing section; null: the log is named after the day.
  const char* logFileKey;
  /// First part of the log file's name.
  const char* logName;
  /// First line of a new log file; empty for none.
  std::string_view heading;
  /// Prefix of a text line.
  std::string_view (*textPrefix)(qz::wire::PrefixBuffer&, const qz::wire::LogPlace&);
  /// Prefix of a byte dump.
  std::string_view (*dumpPrefix)(qz::wire::PrefixBuffer&, const qz::wire::LogPlace&, long count);
};
