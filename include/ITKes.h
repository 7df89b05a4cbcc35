/// @file
/// Settings and trace log of the toolkit face.
#pragma once

#include <string_view>

#include "QzExport.h"
#include "QzSettings.h"

/// @addtogroup toolkit
/// @{

/// Levels of the toolkit's log lines.
struct ITKLog : QzLog {};

/// Settings of the toolkit face, one object per process: getITKes().
///
/// The ini file is `<root>\configuration\R7ITK.ini`, where `<root>` is the folder above the one that holds the library;
/// its common section is "R7ITK Common". The log is `<root>\Logs\R7ITK_<year>-<month>-<day>.log`, named on the day of
/// the first initialisation; a later reInitialize() keeps that file.
class QZSOAP_API ITKes : public QzSettings {
 public:
  /// An empty object, as QzSettings describes it.
  ITKes();
  ~ITKes() override;

  /// Full path of the log file; "" before initialisation. Lives as long as the object.
  const char* getLogFilePath() const;
  /// The key "NoAutoCert" of the common section, read from the file at each call; 0 when missing.
  int getNoAutoCert() const;
  /// Writes the key "NoAutoCert".
  void setNoAutoCert(int noAutoCert);

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
  /// @param sourceFile as in logText()
  /// @param line source line
  /// @param bytes may be null when `count` is 0
  /// @param count number of bytes; a negative one counts as 0
  void logByteStream(const char* sourceFile, long line, const unsigned char* bytes, long count);

  /// Writes one line to the debugger output: process, thread, source, line, and at most 32,000 characters of the text.
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
};

/// The toolkit's settings of this process, initialised when the library is loaded.
QZSOAP_API ITKes& getITKes();

/// @}
