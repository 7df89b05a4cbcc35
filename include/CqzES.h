/// @file
/// Settings and trace log of the flat face.
#pragma once

#include <cstdarg>
#include <string_view>

#include "QzExport.h"
#include "QzSettingsState.h"

/// Levels of the flat face's log lines. Any other value is written always, like #Error.
struct CqzLog {
  /// The three levels that the ini switches know.
  enum Level : long {
    Error = 1,        ///< always written
    Information = 2,  ///< written when "LogInfo" is not 0
    Trace = 4         ///< written when "LogTrace" is not 0
  };
};

/// Settings of the flat face, one object per process: rpcSOAP_GetES().
///
/// The ini file is `<root>\configuration\qz.ini`, where `<root>` is the folder above the one that holds the library; its
/// folder is not created. The log is what the key "LogFilePath" names, `<root>\Logs\qzSOAP.log` by default. The object is
/// not synchronised: initialize it before other threads use it, and call reInitialize() while nothing is logged.
class QZSOAP_API CqzES {
 public:
  /// An empty object: no paths, all switches 0.
  constexpr CqzES() = default;
  CqzES(const CqzES&) = delete;
  CqzES& operator=(const CqzES&) = delete;
  /// Releases nothing: the object owns no resource.
  virtual ~CqzES();

  /// Finds the installation from the library's place and reads the ini file.
  /// @param module module handle of the library; null means the program itself
  /// @return what reInitialize() returns
  int initialize(void* module);
  /// Reads the ini file again and writes back what was missing or invalid.
  /// @return always 1; an unreadable ini file counts as empty
  int reInitialize();

  /// Reads a text from an ini file.
  /// @param key name of the key, compared without case
  /// @param buffer receives the text, cut to `size` - 1 characters
  /// @param size size of `buffer` in characters
  /// @param defaultValue copied when the key is missing; null means ""
  /// @param section null means the section "SOAP Common"
  /// @param iniFile full path; null means the flat face's own ini file
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

  /// Tells the library whether the process runs as a service (non-zero).
  void setIsService(int isService);
  /// The value of the last setIsService(), 0 before.
  int getIsService() const;

  /// True once initialize() has been called.
  bool isInitialized() const { return state_.module != nullptr; }
  /// How much is logged: 1, plus 2 when "LogInfo" is on, plus 4 when "LogTrace" is on.
  int getTraceLevel() const;

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
  /// Formats like `printf` and logs at most 32,000 characters of the result.
  void logTextV(long level, const char* component, const char* sourceFile, long line, const char* format, ...)
      QZ_PRINTF(6, 7);
  /// Appends a line with the byte count and then the bytes as they are, when "LogBinary" is on.
  /// @param bytes may be null when `count` is 0
  /// @param count number of bytes; a negative one counts as 0
  void logByteStream(const char* component, const char* sourceFile, long line, const unsigned char* bytes, long count);

 protected:
  /// 1 when `path` exists, be it a file, or could be created as a folder (one level only), else 0.
  int CheckFolderExistence(const char* path);
  /// Empties an ini file of an older version than the library's own and notes that version in it.
  void CheckVersion();

 private:
  QzSettingsState state_;
};

/// The flat face's settings of this process, initialised when the library is loaded, or else by the first flat function.
extern "C" QZSOAP_API CqzES& __cdecl rpcSOAP_GetES();
