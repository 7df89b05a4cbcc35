/// @file
/// The fields that the settings objects of both faces consist of.
#pragma once

/// Longest path that a settings object keeps, in characters without the terminating zero. A longer path leaves its field empty.
inline constexpr int QZ_PATH_LIMIT = 260;

/// What one settings object knows. All paths empty and all switches 0 until it is initialised.
struct QzSettingsState {
  void* module = nullptr;                         ///< the library's module, null before initialisation
  char iniPath[QZ_PATH_LIMIT + 1] = {};           ///< full path of the ini file
  char renditionFolder[QZ_PATH_LIMIT + 1] = {};   ///< installation root: the folder above the library's own
  char logFilePath[QZ_PATH_LIMIT + 1] = {};       ///< the trace log's file
  int logBinary = 0;                              ///< non-zero: byte dumps are written
  int logInfo = 0;                                ///< non-zero: information lines are written
  int logTrace = 0;                               ///< non-zero: trace lines are written
  int isService = 0;                              ///< set by the host: the process runs as a service
};
