#include "Tools/qzcall/Doctor.h"

#include <windows.h>
//
#include <objbase.h>
#include <wininet.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "ITKBufferList.h"
#include "ITKes.h"
#include "Tools/qzcall/Encoding.h"
#include "qzSOAP.h"

namespace qzcall {
namespace {

using State = Finding::State;

constexpr const char* kExpectedZlib = "1.2.3";

std::string systemText(DWORD error) { return "system error " + std::to_string(error); }

/// Paths of the settings are in the ANSI code page.
std::wstring wideOfAnsi(const std::string& text) {
  std::wstring wide(text.size(), L'\0');
  const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                         static_cast<int>(wide.size()));
  wide.resize(static_cast<std::size_t>(length));
  return wide;
}

std::string utf8OfAnsi(const std::string& text) { return utf8Of(wideOfAnsi(text)); }

std::wstring pathOf(HMODULE module) {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

std::wstring folderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\')); }

/// The four numbers of a file's version resource; empty when it has none.
std::string versionOf(const std::wstring& path) {
  DWORD ignored = 0;
  std::vector<char> resource(GetFileVersionInfoSizeW(path.c_str(), &ignored));
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT size = 0;
  if (resource.empty() || !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()) ||
      !VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&fixed), &size))
    return {};
  const auto part = [](DWORD both, int half) { return std::to_string(half == 0 ? HIWORD(both) : LOWORD(both)); };
  return part(fixed->dwFileVersionMS, 0) + "." + part(fixed->dwFileVersionMS, 1) + "." +
         part(fixed->dwFileVersionLS, 0) + "." + part(fixed->dwFileVersionLS, 1);
}

std::string described(HMODULE module) {
  const std::wstring path = pathOf(module);
  const std::string version = versionOf(path);
  return utf8Of(path) + (version.empty() ? ", without a version" : ", version " + version);
}

bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

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

/// One face as the doctor sees it.
struct FaceView {
  const char* name;
  QzSettings& settings;
  const char* iniName;
  const char* common;
  const char* tracing;
  std::vector<const char*> tracingKeys;
  std::vector<const char*> commonKeys;
  std::string logPath;  ///< in the ANSI code page
};

std::string keyOf(const QzSettings& settings, const char* section, const char* key) {
  std::array<char, 1024> value{};
  const char* const found = settings.getIniKeyString(key, value.data(), value.size(), "", section, nullptr);
  return found == nullptr ? "" : utf8OfAnsi(found);
}

FaceView toolkitView() {
  ITKes& settings = getITKes();
  return {"toolkit",
          settings,
          "\\R7ITK.ini",
          "R7ITK Common",
          "R7ITK Internal Tracing",
          {"LogBinary", "LogInfo", "LogTrace"},
          {"Version", "SchemaHost", "NoAutoCert", "NoCompression"},
          settings.getLogFilePath()};
}

FaceView flatView() {
  CqzES& settings = rpcSOAP_GetES();
  std::array<char, 1024> path{};
  settings.getIniKeyString("LogFilePath", path.data(), path.size(), "", "SOAP Internal Tracing", nullptr);
  const std::string usual = std::string(settings.getRenditionFolder()) + "\\Logs\\qzSOAP.log";
  return {"flat",
          settings,
          "\\qz.ini",
          "SOAP Common",
          "SOAP Internal Tracing",
          {"LogFilePath", "LogBinary", "LogInfo", "LogTrace", "UseLogComponent"},
          {"Version", "SchemaHost"},
          path[0] == '\0' ? usual : path.data()};
}

/// Collects what is found.
class Doctor {
 public:
  Examination examine() {
    lookAtProgram();
    lookAtLibrary();
    for (const FaceView& face : {toolkitView(), flatView()}) {
      lookAtSettings(face);
      lookAtLog(face);
    }
    lookAtZlib();
    lookAtCompression();
    lookAtXmlParser();
    lookAtInternet();
    return std::move(result_);
  }

 private:
  void sound(std::string subject, std::string text) { add(State::sound, std::move(subject), std::move(text), {}); }
  void notable(std::string subject, std::string text) { add(State::notable, std::move(subject), std::move(text), {}); }
  void fault(std::string subject, std::string text, std::string cure) {
    add(State::faulty, std::move(subject), std::move(text), std::move(cure));
  }
  void add(State state, std::string subject, std::string text, std::string cure) {
    result_.findings.push_back({state, std::move(subject), std::move(text), std::move(cure)});
  }

  void lookAtProgram() { sound("program", utf8Of(pathOf(nullptr)) + ", version " QZ_VERSION); }

  void lookAtLibrary() {
    library_ = GetModuleHandleW(L"qzSOAP.dll");
    const std::string version = versionOf(pathOf(library_));
    if (version == QZ_VERSION ".0") return sound("library", described(library_));
    fault("library", described(library_) + ", is not of the program's version " QZ_VERSION,
          "Install the library and its tools from one package.");
  }

  void lookAtSettings(const FaceView& face) {
    for (const char* const key : face.commonKeys) addSetting(face, face.common, key);
    for (const char* const key : face.tracingKeys) addSetting(face, face.tracing, key);
    lookAtIniFile(face);
    noteSwitch(face, "LogTrace", "every header line and cookie");
    noteSwitch(face, "LogBinary", "whole requests and replies, passwords of logons too");
  }

  void noteSwitch(const FaceView& face, const char* key, const char* content) {
    if (face.settings.getIniKeyInt(key, 0, face.tracing, nullptr) <= 0) return;
    notable("settings",
            std::string(key) + " of the " + face.name + " face is on: calls are slower, and the log gets " + content);
  }

  void addSetting(const FaceView& face, const char* section, const char* key) {
    std::string value = keyOf(face.settings, section, key);
    const bool isWritten = !value.empty();
    if (!isWritten) value = defaultOf(face, key);
    result_.settings.push_back({face.name, section, key, std::move(value), isWritten});
  }

  static std::string defaultOf(const FaceView& face, const std::string& key) {
    if (key == "LogFilePath") return utf8OfAnsi(face.logPath);
    return key == "SchemaHost" ? "" : "0";
  }

  void lookAtIniFile(const FaceView& face) {
    const std::wstring root = wideOfAnsi(face.settings.getRenditionFolder());
    const std::wstring name = wideOf(face.iniName);
    std::wstring path = root + L"\\configuration" + name;
    if (!exists(path) && exists(root + name)) path = root + name;
    const std::string shown = utf8Of(path) + " (" + face.name + " face)";
    if (exists(path)) return sound("settings", shown);
    if (exists(folderOf(path)) && isWritableFolder(folderOf(path)))
      return notable("settings", shown + " is not there: the defaults are in effect");
    fault("settings", shown + " is not there and cannot be made",
          "Make the folder '" + utf8Of(folderOf(path)) + "' and let this user write to it, or put the file there.");
  }

  void lookAtLog(const FaceView& face) {
    const std::wstring path = wideOfAnsi(face.logPath);
    const std::string shown = utf8Of(path) + " (" + face.name + " face)";
    const std::wstring folder = folderOf(path);
    if (exists(path) ? isAppendable(path) : exists(folder) && isWritableFolder(folder)) return sound("log", shown);
    const char* const elsewhere =
        face.name == std::string("flat") ? ", or name another file with LogFilePath in qz.ini" : "";
    if (!exists(folder))
      return fault("log", shown + " cannot be written: there is no such folder",
                   "Make the folder '" + utf8Of(folder) + "'" + elsewhere + ".");
    fault("log", shown + " cannot be written", "Let this user write to '" + utf8Of(folder) + "'" + elsewhere + ".");
  }

  void lookAtZlib() {
    const std::wstring path = folderOf(pathOf(library_)) + L"\\zlib1.dll";
    const char* const cure = "Put the zlib1.dll that comes with the library beside qzSOAP.dll.";
    const std::string shown = utf8Of(path);
    if (!exists(path)) return fault("zlib", shown + " is not there: the flat face cannot compress", cure);
    const HMODULE zlib = LoadLibraryW(path.c_str());
    if (zlib == nullptr) return fault("zlib", shown + " cannot be loaded, " + systemText(GetLastError()), cure);
    judgeZlib(zlib, shown, cure);
    FreeLibrary(zlib);
  }

  void judgeZlib(HMODULE zlib, const std::string& shown, const char* cure) {
    using VersionFunction = const char*(__cdecl*)();
    const auto version =
        reinterpret_cast<VersionFunction>(reinterpret_cast<void*>(GetProcAddress(zlib, "zlibVersion")));
    if (version == nullptr) return fault("zlib", shown + " has no function zlibVersion", cure);
    const std::string found = version();
    if (found != kExpectedZlib) return fault("zlib", shown + " is version " + found + ", not " + kExpectedZlib, cure);
    for (const char* const name : {"crc32", "compress2", "uncompress"})
      if (GetProcAddress(zlib, name) == nullptr) return fault("zlib", shown + " has no function " + name, cure);
    sound("zlib", shown + ", version " + found);
  }

  /// The proof of both: each face packs a list and gets it back.
  void lookAtCompression() {
    const char* const cure = "Look at what is said of zlib; the log of the face tells more.";
    CqzBufferList00 flat;
    CqzBuffer00 flatBlock;
    ITKBufferList toolkit;
    ITKBuffer toolkitBlock;
    const bool flatWorks = flat->add("packed") == 0 && flat->serializeTo(*flatBlock, 1) != 0 &&
                           flat->serializeFrom(*flatBlock) != 0 && flat->getCount() == 1;
    const bool toolkitWorks = toolkit.add("packed") == 0 && toolkit.serializeTo(toolkitBlock, 1) != 0 &&
                              toolkit.serializeFrom(toolkitBlock) != 0 && toolkit.getCount() == 1;
    if (flatWorks && toolkitWorks) return sound("compression", "works in both faces");
    fault("compression",
          std::string("fails in the ") +
              (toolkitWorks ? "flat"
               : flatWorks  ? "toolkit"
                            : "flat and the toolkit") +
              " face",
          cure);
  }

  void lookAtXmlParser() {
    constexpr CLSID kDocument30 = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
    const HRESULT entered = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    IUnknown* document = nullptr;
    const HRESULT made =
        CoCreateInstance(kDocument30, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, reinterpret_cast<void**>(&document));
    if (SUCCEEDED(made)) {
      sound("MSXML", described(GetModuleHandleW(L"msxml3.dll")));
      document->Release();
    } else {
      char code[16];
      std::snprintf(code, sizeof code, "0x%08lx", static_cast<unsigned long>(made));
      fault("MSXML", std::string("the parser of MSXML 3 cannot be made, ") + code,
            "Register the system's parser again as an administrator: regsvr32 msxml3.dll");
    }
    if (SUCCEEDED(entered)) CoUninitialize();
  }

  void lookAtInternet() {
    const HINTERNET session = InternetOpenA("qzcall", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    if (session == nullptr)
      return fault("WinINet", "no session can be opened, " + systemText(GetLastError()),
                   "Repair the system's Internet component (wininet.dll).");
    sound("WinINet", described(GetModuleHandleW(L"wininet.dll")));
    lookAtProxy(session);
    lookAtDecoding(session);
    InternetCloseHandle(session);
  }

  void lookAtProxy(HINTERNET session) {
    std::vector<char> room(65536);
    DWORD size = static_cast<DWORD>(room.size());
    if (!InternetQueryOptionA(session, INTERNET_OPTION_PROXY, room.data(), &size))
      return notable("proxy", "the system does not say, " + systemText(GetLastError()));
    const auto& proxy = *reinterpret_cast<const INTERNET_PROXY_INFO*>(room.data());
    const std::string script = scriptUrl();
    std::string text = "none: connections go straight to the server";
    if (proxy.dwAccessType == INTERNET_OPEN_TYPE_PROXY && proxy.lpszProxy != nullptr) {
      text = utf8OfAnsi(proxy.lpszProxy);
      if (proxy.lpszProxyBypass != nullptr) text += ", but not for " + utf8OfAnsi(proxy.lpszProxyBypass);
    }
    sound("proxy", text + (script.empty() ? "" : "; the script " + script + " may choose another"));
  }

  /// URL of the script that chooses the proxy; empty when there is none.
  static std::string scriptUrl() {
    INTERNET_PER_CONN_OPTIONA option{};
    option.dwOption = INTERNET_PER_CONN_AUTOCONFIG_URL;
    INTERNET_PER_CONN_OPTION_LISTA list{};
    list.dwSize = sizeof list;
    list.dwOptionCount = 1;
    list.pOptions = &option;
    DWORD size = sizeof list;
    if (!InternetQueryOptionA(nullptr, INTERNET_OPTION_PER_CONNECTION_OPTION, &list, &size)) return {};
    if (option.Value.pszValue == nullptr) return {};
    const std::string url = utf8OfAnsi(option.Value.pszValue);
    GlobalFree(option.Value.pszValue);
    return url;
  }

  void lookAtDecoding(HINTERNET session) {
    constexpr DWORD kDecodingOption = 65;
    BOOL wanted = TRUE;
    const bool isOffered = InternetSetOptionA(session, kDecodingOption, &wanted, sizeof wanted) != FALSE;
    sound("decoding", std::string("deflated and gzipped replies are restored by the library; WinINet ") +
                          (isOffered ? "could do it too, and is not asked to" : "cannot"));
  }

  HMODULE library_ = nullptr;
  Examination result_;
};

}  // namespace

bool Examination::isSound() const {
  return std::ranges::none_of(findings, [](const Finding& finding) { return finding.state == State::faulty; });
}

Examination examine() { return Doctor().examine(); }

}  // namespace qzcall
