// Settings, ini files and logs of an installation, as the library in this process sees them.
#include <windows.h>

#include <array>
#include <cwchar>
#include <vector>

#include "CqzES.h"
#include "ITKes.h"
#include "References/Libraries/Wire/Templates.h"
#include "Tools/qzcall/DoctorParts.h"
#include "Tools/qzcall/Encoding.h"

namespace qzcall {
namespace {

/// Paths of the settings are in the ANSI code page.
std::wstring wideOfAnsi(const std::string& text) {
  std::wstring wide(text.size(), L'\0');
  const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                         static_cast<int>(wide.size()));
  wide.resize(static_cast<std::size_t>(length));
  return wide;
}

std::string utf8OfAnsi(const std::string& text) { return utf8Of(wideOfAnsi(text)); }

bool isFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// What to do where a folder is needed.
std::string makeFolder(const std::wstring& folder) {
  return (exists(folder) ? "Put a folder in the place of the file '" : "Make the folder '") + utf8Of(folder) + "'";
}

/// Tries it with a file that the system removes again.
bool isWritableFolder(const std::wstring& folder) {
  const std::wstring path = folder + L"\\qzcall-doctor-" + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  return file != INVALID_HANDLE_VALUE && CloseHandle(file);
}

bool isAppendable(const std::wstring& path) {
  const HANDLE file =
      CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, 0, nullptr);
  return file != INVALID_HANDLE_VALUE && CloseHandle(file);
}

/// Whether a path means the same file whatever the current folder is.
bool isFullPath(const std::wstring& path) {
  const auto isSlash = [&path](std::size_t at) { return path[at] == L'\\' || path[at] == L'/'; };
  return path.size() > 2 && ((path[1] == L':' && isSlash(2)) || (isSlash(0) && isSlash(1)));
}

std::wstring fullPath(const std::wstring& path) {
  std::wstring full(32768, L'\0');
  full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  return full;
}

/// One key that a face reads.
struct Key {
  const char* section;
  const char* name;
};

/// One face as the doctor sees it.
struct FaceView {
  const char* name;
  const QzSettings& settings;
  const char* iniName;
  const char* tracing;
  std::vector<Key> keys;
  bool hasLogKey;  ///< the ini file can name another log
};

FaceView toolkitView() {
  constexpr const char* kCommon = "R7ITK Common";
  constexpr const char* kTracing = "R7ITK Internal Tracing";
  return {"toolkit",
          getITKes(),
          "R7ITK.ini",
          kTracing,
          {{kCommon, "Version"},
           {kCommon, "SchemaHost"},
           {kCommon, "NoAutoCert"},
           {kCommon, "NoCompression"},
           {kTracing, "LogBinary"},
           {kTracing, "LogInfo"},
           {kTracing, "LogTrace"}},
          false};
}

FaceView flatView() {
  constexpr const char* kCommon = "SOAP Common";
  constexpr const char* kTracing = "SOAP Internal Tracing";
  return {"flat",
          rpcSOAP_GetES(),
          "qz.ini",
          kTracing,
          {{kCommon, "Version"},
           {kCommon, "SchemaHost"},
           {kTracing, "LogFilePath"},
           {kTracing, "LogBinary"},
           {kTracing, "LogInfo"},
           {kTracing, "LogTrace"},
           {kTracing, "UseLogComponent"}},
          true};
}

/// What stands in the ini file; empty when nothing does.
std::string writtenValue(const FaceView& face, const Key& key) {
  std::array<char, 1024> value{};
  const char* const found =
      face.settings.getIniKeyString(key.name, value.data(), value.size(), "", key.section, nullptr);
  return found == nullptr ? "" : utf8OfAnsi(found);
}

/// What the library makes of it.
std::string valueInEffect(const FaceView& face, const Key& key) {
  const std::string_view name = key.name;
  if (name == "LogFilePath") return utf8OfAnsi(face.settings.logFilePath());
  if (name != "SchemaHost") return std::to_string(face.settings.getIniKeyInt(key.name, 0, key.section, nullptr));
  const std::string_view host = face.settings.getSchemaHost();
  return std::string(qz::wire::isSchemaHost(host) ? host : qz::wire::SCHEMA_HOST);
}

/// Examines one face.
class FaceDoctor {
 public:
  FaceDoctor(const FaceView& face, Examination& examination)
      : face_(face),
        behind_(std::string(" (") + face.name + " face)"),
        examination_(examination),
        findings_(examination.findings) {}

  void examine() {
    for (const Key& key : face_.keys) lookAtKey(key);
    lookAtIniFile();
    lookForStrayIniFile();
    noteSwitch("LogTrace", "every header line and cookie");
    noteSwitch("LogBinary", "whole requests and replies, passwords of logons too");
    lookAtLogPath();
  }

 private:
  void lookAtKey(const Key& key) {
    const Setting setting{face_.name, key.section, key.name, valueInEffect(face_, key), writtenValue(face_, key)};
    if (setting.isOverruled())
      findings_.notable("settings", setting.key + "=" + setting.written + " of the " + face_.name + " face counts as " +
                                        (setting.value.empty() ? "empty" : setting.value));
    examination_.settings.push_back(setting);
  }

  void noteSwitch(const char* key, const char* content) {
    if (face_.settings.getIniKeyInt(key, 0, face_.tracing, nullptr) <= 0) return;
    findings_.notable("settings", std::string(key) + " of the " + face_.name +
                                      " face is on: calls are slower, and the log gets " + content);
  }

  void lookAtIniFile() {
    const std::wstring path = wideOfAnsi(face_.settings.iniFilePath());
    if (path.empty())
      return findings_.fault("settings", std::string("the ") + face_.name + " face has no ini file: " + kTooLong,
                             "Move the installation to a shorter path.");
    const std::string shown = utf8Of(path) + behind_;
    if (exists(path)) return findings_.sound("settings", shown);
    const std::wstring folder = folderOf(path);
    if (isFolder(folder) && isWritableFolder(folder))
      return findings_.notable("settings", shown + " is not there: the defaults are in effect");
    findings_.fault("settings", shown + " is not there and cannot be made",
                    isFolder(folder) ? "Let this user write to '" + utf8Of(folder) + "', or put the file there."
                                     : makeFolder(folder) + " and let this user write to it.");
  }

  void lookForStrayIniFile() {
    const std::wstring stray = wideOfAnsi(face_.settings.getRenditionFolder()) + L"\\" + wideOf(face_.iniName);
    const std::wstring path = wideOfAnsi(face_.settings.iniFilePath());
    if (path.empty() || path == stray || !exists(stray)) return;
    findings_.notable("settings", utf8Of(stray) + " has no effect: the " + face_.name + " face reads " + utf8Of(path));
  }

  void lookAtLogPath() {
    const std::wstring path = wideOfAnsi(face_.settings.logFilePath());
    if (path.empty())
      return findings_.fault("log", std::string("the ") + face_.name + " face has no log: " + kTooLong,
                             "Move the installation to a shorter path" + orAnotherFile() + ".");
    if (!isFullPath(path))
      findings_.notable("log", "LogFilePath=" + utf8Of(path) +
                                   " is no full path: the log is wherever the current folder of a program is, here '" +
                                   utf8Of(fullPath(L".")) + "'");
    lookAtLog(fullPath(path));
  }

  void lookAtLog(const std::wstring& path) {
    const std::wstring folder = folderOf(path);
    const std::string shown = utf8Of(path) + behind_;
    if (isFolder(path))
      return findings_.fault("log", shown + " cannot be written: it is a folder",
                             "Remove that folder" + orAnotherFile() + ".");
    if (!isFolder(folder))
      return findings_.fault("log", shown + " cannot be written: there is no such folder",
                             makeFolder(folder) + orAnotherFile() + ".");
    if (exists(path) ? isAppendable(path) : isWritableFolder(folder)) return findings_.sound("log", shown);
    findings_.fault("log", shown + " cannot be written",
                    "Let this user write to '" + utf8Of(exists(path) ? path : folder) + "'" + orAnotherFile() + ".");
  }

  std::string orAnotherFile() const {
    return face_.hasLogKey ? ", or name another file with LogFilePath in " + std::string(face_.iniName) : "";
  }

  static constexpr const char* kTooLong = "its path would have more than 260 characters";

  const FaceView& face_;
  std::string behind_;
  Examination& examination_;
  Findings findings_;
};

}  // namespace

void examineSettings(Examination& examination) {
  for (const FaceView& face : {toolkitView(), flatView()}) FaceDoctor(face, examination).examine();
}

}  // namespace qzcall
