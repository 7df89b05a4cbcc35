/// @file
/// Settings and trace log of the flat face.
#pragma once

#include <string_view>

#include "QzExport.h"
#include "QzSettings.h"

/// @addtogroup flat
/// @{

/// Levels of the flat face's log lines.
struct CqzLog : QzLog {};

/// Settings of the flat face, one object per process: rpcSOAP_GetES().
///
/// The ini file is `<root>\configuration\qz.ini`, where `<root>` is the folder above the one that holds the library;
/// its common section is "SOAP Common" and its folder is not created. The log is what the key "LogFilePath" names, by
/// default `<root>\Logs\qzSOAP.log`.
class QZSOAP_API CqzES : public QzSettings {
 public:
  /// An empty object, as QzSettings describes it.
  CqzES();
  ~CqzES() override;

  /// Appends one line to the log: time stamp, process and thread, component, source and line, text. Never fails: a log
  /// file that cannot be opened is skipped. Nothing is written when the level's switch is off.
  /// @param level a CqzLog::Level; any other value is always written
  /// @param component word that names the component, such as "qzSOAP". Null means ""
  /// @param sourceFile source path, shown whole. Null means ""
  /// @param line source line
  /// @param text written as it is, never as a format; null means ""
  void logText(long level, const char* component, const char* sourceFile, long line, const char* text);
  /// The same for a text of known length, which may contain zeros.
  void logText(long level, const char* component, const char* sourceFile, long line, std::string_view text);
  /// The same with "<operation>: " in front of the text, unless `operation` is empty.
  void logText(long level, const char* component, const char* sourceFile, long line, std::string_view operation,
               std::string_view text);
  /// Formats like `printf` and logs at most 32,000 characters of the result.
  void logTextV(long level, const char* component, const char* sourceFile, long line, const char* format, ...)
      QZ_PRINTF(6, 7);
  /// Appends a line with the byte count and then the bytes as they are, when "LogBinary" is on.
  /// @param component as in logText()
  /// @param sourceFile as in logText()
  /// @param line source line
  /// @param bytes may be null when `count` is 0
  /// @param count number of bytes; a negative one counts as 0
  void logByteStream(const char* component, const char* sourceFile, long line, const unsigned char* bytes, long count);
};

/// The flat face's settings of this process, initialised when the library is loaded, or else by the first flat
/// function.
extern "C" QZSOAP_API CqzES& __cdecl rpcSOAP_GetES();

/// @}
