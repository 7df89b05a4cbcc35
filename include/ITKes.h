/// @file
/// Settings and trace log of the toolkit face: where the library is installed, what its ini file says, and one line per event.
#pragma once

#include <cstdarg>
#include <string_view>

#include "QzExport.h"
#include "QzSettingsState.h"

/// Levels of the toolkit's log lines. Any other value is written always, like #Error.
struct ITKLog {
  /// The three levels that the ini switches know.
  enum Level : long {
    Error = 1,        ///< always written
    Information = 2,  ///< written when "LogInfo" is not 0
    Trace = 4         ///< written when "LogTrace" is not 0
  };
};

/// Settings of the toolkit face, one object per process: getITKes().
///
/// The ini file is `<root>\configuration\R7ITK.ini`, where `<root>` is the folder above the one that holds the library.
/// The log is `<root>\Logs\R7ITK_<year>-<month>-<day>.log`, named on the day of the first initialisation. The object is not
/// synchronised: initialize it before other threads use it, and call reInitialize() while nothing is logged.
class QZSOAP_API ITKes {
 public:
  /// An empty object: no paths, all switches 0.
  constexpr ITKes() = default;
  ITKes(const ITKes&) = delete;
  ITKes& operator=(const ITKes&) = delete;
  /// Releases nothing: the object owns no resource.
  virtual ~ITKes();

  /// Finds the installation from the library's place and reads the ini file.
  /// @param module module handle of the library; null means the program itself
  /// @return what reInitialize() returns
  int initialize(void* module);
  /// Reads the ini file again and writes back what was missing or invalid. The log keeps its file.
  /// @return always 1; an unreadable ini file counts as empty
  int reInitialize();

  /// Reads a text from an ini file.
  /// @param key name of the key, compared without case
  /// @param buffer receives the text, cut to `size` - 1 characters
  /// @param size size of `buffer` in characters
  /// @param defaultValue copied when the key is missing; null means ""
  /// @param section null means the section "R7ITK Common"
  /// @param iniFile full path; null means the toolkit's own ini file
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

  /// The installation root without a trailing backslash; "" before initialisation. Lives as long as the object.
  const char* getRenditionFolder() const;
  /// Joins the installation root and a relative path with exactly one backslash, if `relative` has at most one in front.
  /// @param buffer receives the path
  /// @param size size of `buffer` in characters
  /// @param relative null means ""
  /// @return `buffer`; null when the path does not fit, which leaves `buffer` empty, or when there is no buffer
  const char* buildRuntimePath(char* buffer, int size, const char* relative);

  /// Tells the toolkit whether the process runs as a service (non-zero).
  void setIsService(int isService);
  /// The value of the last setIsService(), 0 before.
  int getIsService() const;

  /// Full path of the log file; "" before initialisation. Lives as long as the object.
  const char* getLogFilePath() const;
  /// The key "NoAutoCert" of the common section, read from the file at each call; 0 when missing.
  int getNoAutoCert() const;
  /// Writes the key "NoAutoCert".
  void setNoAutoCert(int noAutoCert);

  /// How much is logged: 1, plus 2 when "LogInfo" is on, plus 4 when "LogTrace" is on.
  int getTraceLevel() const;

  /// Appends one line to the log: time stamp, process and thread, source and line, text. Never fails: a log file that
  /// cannot be opened is skipped. Nothing is written when the level's switch is off.
  /// @param level an ITKLog::Level; any other value is always written
  /// @param sourceFile source path; the line shows its last component. Null means ""
  /// @param line source line
  /// @param text written as it is, never as a format; null means ""
  void logText(long level, const char* sourceFile, long line, const char* text);
  /// The same for a text of known length, which may contain zeros.
  void logText(long level, const char* sourceFile, long line, std::string_view text);
  /// Formats like `printf` and logs at most 32,000 characters of the result.
  void logTextV(long level, const char* sourceFile, long line, const char* format, ...) QZ_PRINTF(5, 6);
  /// Appends a line with the byte count and then the bytes as they are, when "LogBinary" is on.
  /// @param bytes may be null when `count` is 0
  /// @param count number of bytes; a negative one counts as 0
  void logByteStream(const char* sourceFile, long line, const unsigned char* bytes, long count);

  /// Writes one line to the debugger output: process, thread, source, line, text.
  void trace_(const char* sourceFile, long line, const char* text);
  /// Formats like `printf` and writes at most 32,000 characters to the debugger output.
  void traceV(const char* sourceFile, long line, const char* format, ...) QZ_PRINTF(4, 5);
  /// Shows a message box and waits for the user. Never called by the library itself, like the ones below.
  void debugMessageBox(const char* text);
  /// Formats like `printf` and shows the result.
  void debugMessageBoxV(const char* format, ...) QZ_PRINTF(2, 3);
  /// Shows a wide text.
  void debugMessageBoxW(const wchar_t* text);
  /// Formats like `wprintf` and shows the result.
  void debugMessageBoxVW(const wchar_t* format, ...);
  /// Formats like `printf`, shows process, thread and the result with the buttons Yes and No, and ignores the answer.
  void debugBreakMessageBoxV(const char* format, ...) QZ_PRINTF(2, 3);

 protected:
  /// 1 when `path` exists, be it a file, or could be created as a folder (one level only), else 0.
  int CheckFolderExistence(const char* path);
  /// Empties an ini file of an older version than the library's own and notes that version in it.
  void CheckVersion();
  /// Names today's log file, unless the log has a file already.
  void BuildLoggerFilePath();
  /// Writes the heading into the log file if that does not exist yet.
  void CreateHeaders();

 private:
  QzSettingsState state_;
};

/// The toolkit's settings of this process, initialised when the library is loaded.
QZSOAP_API ITKes& getITKes();
