#include "Tools/qzcall/Doctor.h"

#include <windows.h>
//
#include <objbase.h>

#include <algorithm>
#include <cstdio>

#include "ITKBufferList.h"
#include "Tools/qzcall/DoctorParts.h"
#include "Tools/qzcall/Encoding.h"
#include "qzSOAP.h"

namespace qzcall {
namespace {

constexpr const char* kExpectedZlib = "1.2.3";

/// The module that holds an address; null when none does.
HMODULE moduleHolding(const void* address) {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     static_cast<const wchar_t*>(address), &module);
  return module;
}

/// Collects what is found.
class Doctor {
 public:
  Examination examine() {
    lookAtProgram();
    lookAtLibrary();
    examineSettings(result_);
    lookAtZlib();
    lookAtCompression();
    lookAtXmlParser();
    examineInternet(findings_);
    return std::move(result_);
  }

 private:
  void lookAtProgram() {
    findings_.sound("program", utf8Of(fileOf(GetModuleHandleW(nullptr))) + ", version " QZ_VERSION);
  }

  void lookAtLibrary() {
    if (versionOf(library_) == QZ_VERSION ".0") return findings_.sound("library", described(library_));
    findings_.fault("library", described(library_) + ", is not of the program's version " QZ_VERSION,
                    "Install the library and its tools from one package.");
  }

  void lookAtZlib() {
    const std::wstring path = folderOf(library_) + L"\\zlib1.dll";
    const char* const cure = "Put the zlib1.dll that comes with the library beside qzSOAP.dll.";
    const std::string shown = utf8Of(path);
    if (!exists(path)) return findings_.fault("zlib", shown + " is not there: the flat face cannot compress", cure);
    const HMODULE zlib = LoadLibraryW(path.c_str());
    if (zlib == nullptr)
      return findings_.fault("zlib", shown + " cannot be loaded, " + systemText(GetLastError()), cure);
    judgeZlib(zlib, shown, cure);
    FreeLibrary(zlib);
  }

  void judgeZlib(HMODULE zlib, const std::string& shown, const char* cure) {
    using VersionFunction = const char*(__cdecl*)();
    const auto version =
        reinterpret_cast<VersionFunction>(reinterpret_cast<void*>(GetProcAddress(zlib, "zlibVersion")));
    if (version == nullptr) return findings_.fault("zlib", shown + " has no function zlibVersion", cure);
    const std::string found = version();
    if (found != kExpectedZlib)
      return findings_.fault("zlib", shown + " is version " + found + ", not " + kExpectedZlib, cure);
    for (const char* const name : {"crc32", "compress2", "uncompress"})
      if (GetProcAddress(zlib, name) == nullptr)
        return findings_.fault("zlib", shown + " has no function " + name, cure);
    findings_.sound("zlib", shown + ", version " + found);
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
    if (flatWorks && toolkitWorks) return findings_.sound("compression", "works in both faces");
    findings_.fault("compression",
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
      // Its table of functions lies in the file that it comes from.
      findings_.sound("MSXML", described(fileOf(moduleHolding(*reinterpret_cast<void**>(document)))));
      document->Release();
    } else {
      char code[16];
      std::snprintf(code, sizeof code, "0x%08lx", static_cast<unsigned long>(made));
      findings_.fault("MSXML", std::string("the parser of MSXML 3 cannot be made, ") + code,
                      "Register the system's parser again as an administrator: regsvr32 msxml3.dll");
    }
    if (SUCCEEDED(entered)) CoUninitialize();
  }

  std::wstring library_ = fileOf(GetModuleHandleW(L"qzSOAP.dll"));
  Examination result_;
  Findings findings_{result_.findings};
};

}  // namespace

bool Examination::isSound() const {
  return std::ranges::none_of(findings, [](const Finding& finding) { return finding.state == Finding::State::faulty; });
}

Examination examine() { return Doctor().examine(); }

}  // namespace qzcall
