/// @file
/// What the settings objects of both faces have in common: the place of the installation, the ini file, the log
/// switches.
#pragma once

#include <cstdarg>
#include <string_view>

#include "QzExport.h"

/// @addtogroup shared
/// @{

/// Longest path that a settings object keeps, in characters without the terminating zero. A longer one leaves its field
/// empty.
inline constexpr int QZ_PATH_LIMIT = 260;

/// Levels of log lines. Any other value is written always, like #Error.
struct QzLog {
  /// The three levels that the ini switches know.
  enum Level : long {
    Error = 1,        ///< always written
    Information = 2,  ///< written when "LogInfo" is not 0
    Trace = 4         ///< written when "LogTrace" is not 0
  };
};

/// What distinguishes the settings of one face from those of the other.
struct QzSettingsLayer;

/// Settings of one face. Not synchronised: initialize it before other threads use it, and call reInitialize() while
/// nothing is logged.
class QZSOAP_API QzSettings {
 public:
  QzSettings(const QzSettings&) = delete;
  QzSettings& operator=(const QzSettings&) = delete;
  /// Releases nothing: the object owns no resource.
  virtual ~QzSettings();

  /// Finds the installation from the library's place and reads the ini file.
  /// @param module module handle of the library; null means the program itself
  /// @return what reInitialize() returns
  int initialize(void* module);
  /// Reads the ini file again and writes back what was missing or invalid.
  /// @return always 1; an unreadable ini file counts as empty
  int reInitialize();
  /// True once initialize() has been called.
  bool isInitialized() const { return module_ != nullptr; }

  /// Reads a text from an ini file.
  /// @param key name of the key, compared without case
  /// @param buffer receives the text, cut to `size` - 1 characters
  /// @param size size of `buffer` in characters
  /// @param defaultValue copied when the key is missing; null means ""
  /// @param section null means the common section of the face
  /// @param iniFile full path; null means the ini file of the face
  /// @return `buffer` when at least one character was copied, be it of the default, else null
  const char* getIniKeyString(const char* key, char* buffer, unsigned long size, const char* defaultValue,
                              const char* section, const char* iniFile) const;
  /// Reads a decimal integer: an optional sign and digits, whatever follows is ignored, and a text without digits is 0.
  /// A number beyond 32 bits becomes the nearest one within. `section` and `iniFile` as in getIniKeyString().
  /// @return the number, or `defaultValue` when the key is missing or empty
  long getIniKeyInt(const char* key, long defaultValue, const char* section, const char* iniFile) const;
  /// Writes a text into an ini file, which is created if its folder exists. A null `value` removes the key. A failure
  /// is silent. `section` and `iniFile` as in getIniKeyString().
  void setIniKeyString(const char* key, const char* value, const char* section, const char* iniFile);
  /// Writes a number in decimal, otherwise like setIniKeyString().
  void setIniKeyInt(const char* key, long value, const char* section, const char* iniFile);

  /// The key "SchemaHost" of the common section as the last initialisation found it; "" when missing. Lives as long as
  /// the object.
  const char* getSchemaHost() const { return schemaHost_; }
  /// Whether the key "UseLogComponent" of the tracing section was not 0 at the last initialisation: reports of level 1
  /// then go to the COM logging component as well. Of use in the flat face only.
  bool isLogComponentWanted() const { return logComponent_; }

  /// The installation root without a trailing backslash; "" before initialisation. Lives as long as the object.
  const char* getRenditionFolder() const { return renditionFolder_; }
  /// Full path of the ini file; "" before initialisation, and when it would be too long. Lives as long as the object.
  const char* iniFilePath() const { return iniPath_; }
  /// Path of the log file as the last initialisation found it; "" before it, and when it would be too long. Lives as
  /// long as the object.
  const char* logFilePath() const { return logFilePath_; }
  /// Joins the installation root and a relative path with a backslash, unless the relative path begins with one.
  /// @param buffer receives the path
  /// @param size size of `buffer` in characters
  /// @param relative null means ""
  /// @return `buffer`; null when the path does not fit, which leaves `buffer` empty, or when there is no buffer
  const char* buildRuntimePath(char* buffer, int size, const char* relative);

  /// Declares whether the process runs as a service (non-zero).
  void setIsService(int isService) { isService_ = isService; }
  /// The value of the last setIsService(), 0 before.
  int getIsService() const { return isService_; }

  /// How much is logged: 1, plus 2 when "LogInfo" is on, plus 4 when "LogTrace" is on.
  int getTraceLevel() const { return 1 + (logInfo_ != 0 ? 2 : 0) + (logTrace_ != 0 ? 4 : 0); }
  /// True when a line of this level would be written now, so that a caller can spare itself the making of the text.
  bool isWritten(long level) const {
    const bool switched = level == QzLog::Information || level == QzLog::Trace;
    return !switched || (getTraceLevel() & level) != 0;
  }

 protected:
  /// An empty object: no paths, all switches 0. `layer` outlives it.
  explicit QzSettings(const QzSettingsLayer& layer) : layer_(layer) {}

  /// 1 when `path` exists, be it a file, or could be created as a folder (one level only), else 0.
  int CheckFolderExistence(const char* path);
  /// Empties an ini file of an older version than the library's own and notes that version in it.
  void CheckVersion();
  /// Names today's log file, unless the log has a file already.
  void BuildLoggerFilePath();
  /// Writes the heading into the log file if that does not exist yet.
  void CreateHeaders();
  /// Appends one line if the level's switch is on, with "<operation>: " in front of the text unless that is empty.
  void writeText(long level, const char* component, const char* sourceFile, long line, std::string_view text,
                 std::string_view operation = {}) const;
  /// Formats at most 32,000 characters and appends them as one line if the level's switch is on.
  void writeTextV(long level, const char* component, const char* sourceFile, long line, const char* format,
                  std::va_list values) const;
  /// Appends a line with the byte count, then the bytes, if dumps are on.
  void writeBytes(const char* component, const char* sourceFile, long line, const unsigned char* bytes,
                  long count) const;

 private:
  void locate();
  void locateIniFile();
  void locateLogFile();
  void readLogFilePath();
  int readSwitch(const char* key);

  const QzSettingsLayer& layer_;
  void* module_ = nullptr;
  char iniPath_[QZ_PATH_LIMIT + 1] = {};
  char renditionFolder_[QZ_PATH_LIMIT + 1] = {};
  char logFilePath_[QZ_PATH_LIMIT + 1] = {};
  int logBinary_ = 0;
  int logInfo_ = 0;
  int logTrace_ = 0;
  int isService_ = 0;
  bool logComponent_ = false;
  // One character more than a host's name may have, so that a longer one is not cut to a valid one.
  char schemaHost_[257] = {};
};

/// @}
