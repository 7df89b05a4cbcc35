// The error facility: its records, its texts, and where a report goes.
#include "References/Libraries/Log/logHelperImpl.h"

#include <gtest/gtest.h>
#include <winsock2.h>
//
#include <windows.h>
//
#include <comdef.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Platform/Identity.h"
#include "RuntimeEngine/qzSOAP/Frame.h"

namespace {

namespace fs = std::filesystem;

/// The flat settings of this process in a folder of their own: found from a DLL that lies there.
class LogHelper : public testing::Test {
 protected:
  LogHelper() {
    std::array<char, MAX_PATH> program{};
    GetModuleFileNameA(nullptr, program.data(), program.size());
    fs::create_directories(root_ / "bin");
    fs::create_directories(root_ / "configuration");
    fs::copy_file(fs::path(program.data()).parent_path() / "zlib1.dll", library());
    module_ = LoadLibraryA(library().string().c_str());
    EXPECT_EQ(qz::log::flatSettings().initialize(module_), 1);
  }
  ~LogHelper() override {
    FreeLibrary(module_);
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }

  void set(const char* key, long value) {
    qz::log::flatSettings().setIniKeyInt(key, value, "SOAP Internal Tracing", nullptr);
    qz::log::flatSettings().reInitialize();
  }
  std::string read(const char* name) const {
    std::ifstream file(root_ / "Logs" / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string log() const { return read("qzSOAP.log"); }
  std::string csv() const { return read("TesselErrorLog.csv"); }

 private:
  fs::path library() const { return root_ / "bin" / "zlib1.dll"; }

  fs::path root_ = fs::temp_directory_path() / ("qzlog" + std::to_string(GetCurrentProcessId()));
  HMODULE module_ = nullptr;
};

TEST_F(LogHelper, ALevelOneReportGoesToBothLogs) {
  qz::reportError(1, "References/Common/BufferImpl", "Grow", 17, "no \"%s\", %d", "memory, at all", 3);
  EXPECT_TRUE(log().ends_with("[qzSOAP:References/Common/BufferImpl L17] Grow: no \"memory, at all\", 3\r\n")) << log();
  const auto lines = csv();
  EXPECT_TRUE(
      lines.starts_with("\"GUID\",\"Stack\",\"Date Time\",\"Component\",\"Version Information\",\"Module\",\"File\","
                        "\"Procedure\",\"Line Number\",\"Source\",\"Error Number\",\"Error Description\","
                        "\"User Domain\\User Name\",\"Machine Domain\\Machine Name\","
                        "\"Previous User Domain\\Previous User Name\","
                        "\"Previous Machine Domain\\Previous Machine Name\",\"Process Id\",\"Thread Id\"\r\n"
                        "\"{00000000-0000-0000-0000-000000000000}\",\"not specified\",\""));
  EXPECT_NE(lines.find("\"References/Common/BufferImpl\",\"Grow\",\"17\",\"qzSOAP\",\"0\","
                       "\"no \"\"memory, at all\"\", 3\",\""),
            std::string::npos)
      << lines;
  EXPECT_TRUE(lines.ends_with("\"" + std::to_string(GetCurrentProcessId()) + "\",\"" +
                              std::to_string(GetCurrentThreadId()) + "\"\r\n"))
      << lines;
  // A second report adds one line and no titles.
  qz::reportErr(1, qz::Err(-5, "text", "src", "op", 4));
  const auto second = csv().substr(lines.size());
  EXPECT_EQ(std::count(second.begin(), second.end(), '\n'), 1) << second;
  EXPECT_NE(second.find("\"src\",\"op\",\"4\",\"qzSOAP\",\"-5\",\"text\""), std::string::npos) << second;
}

TEST_F(LogHelper, OtherLevelsGoToTheTraceLogAsItsSwitchesAllow) {
  for (const long level : {2, 3, 4}) qz::reportError(level, "s", "op", level, "%s", "%n");
  EXPECT_TRUE(log().ends_with("[qzSOAP:s L3] op: %n\r\n"));
  EXPECT_EQ(log().find("\r\n") + 2, log().size());
  set("LogTrace", 1);
  qz::reportText(4, "s", "op", 5, std::string(50000, 'y'));
  EXPECT_EQ(std::ranges::count(log(), 'y'), 50000);
  EXPECT_EQ(csv(), "");
}

TEST_F(LogHelper, AMissingLogComponentIsTracedAndNoFailure) {
  set("LogTrace", 1);
  qz::reportText(1, "s", "op", 1, "off");
  EXPECT_EQ(log().find("logger"), std::string::npos);
  set("UseLogComponent", 1);
  qz::reportText(1, "s", "op", 1, "on");
  EXPECT_NE(log().find("Unexpected error from logger 8004"), std::string::npos) << log();
}

/// A stand-in for the log component, known to COM under its name as long as the object lives.
class Component : IDispatch, IClassFactory {
 public:
  Component() {
    CoInitialize(nullptr);
    EXPECT_EQ(CoRegisterClassObject(kId, static_cast<IClassFactory*>(this), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                    &registration_),
              S_OK);
    const std::wstring id = L"{3F2B7C52-6D0E-4F0B-9B52-0C1C7D7E0A11}";
    EXPECT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, (kName + L"\\CLSID").c_str(), nullptr, REG_SZ, id.c_str(),
                              static_cast<DWORD>((id.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
  }
  ~Component() {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, kName.c_str());
    CoRevokeClassObject(registration_);
    CoUninitialize();
  }
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;

  std::wstring received;

 private:
  static constexpr CLSID kId = {0x3F2B7C52, 0x6D0E, 0x4F0B, {0x9B, 0x52, 0x0C, 0x1C, 0x7D, 0x7E, 0x0A, 0x11}};
  const std::wstring kName = L"Quillview_83.ViewerHelper";

  HRESULT __stdcall QueryInterface(REFIID id, void** out) override {
    *out = nullptr;
    if (id == IID_IClassFactory || id == IID_IUnknown) *out = static_cast<IClassFactory*>(this);
    if (id == IID_IDispatch) *out = static_cast<IDispatch*>(this);
    return *out != nullptr ? S_OK : E_NOINTERFACE;
  }
  ULONG __stdcall AddRef() override { return 2; }
  ULONG __stdcall Release() override { return 1; }
  HRESULT __stdcall CreateInstance(IUnknown*, REFIID id, void** out) override { return QueryInterface(id, out); }
  HRESULT __stdcall LockServer(BOOL) override { return S_OK; }
  HRESULT __stdcall GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT __stdcall GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT __stdcall GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    *ids = 7;
    return std::wstring_view(*names) == L"LogMessage" ? S_OK : DISP_E_UNKNOWNNAME;
  }
  HRESULT __stdcall Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* values, VARIANT*, EXCEPINFO*, UINT*) override {
    if (id != 7 || values->cArgs != 1 || values->rgvarg[0].vt != VT_BSTR) return DISP_E_BADPARAMCOUNT;
    received = values->rgvarg[0].bstrVal;
    return S_OK;
  }

  DWORD registration_ = 0;
};

TEST_F(LogHelper, TheLogComponentReceivesTheXmlForm) {
  Component component;
  qz::reportText(1, "s", "op", 1, "off");
  EXPECT_EQ(component.received, L"");
  set("UseLogComponent", 1);
  qz::reportErr(1, qz::Err(-2, "a < b", "s", "op", 9));
  EXPECT_EQ(component.received,
            L"<errorInformation><applicationErrorSource>s:op:9</applicationErrorSource><applicationErrorParameters>"
            L"</applicationErrorParameters><componentErrorNumber>-2</componentErrorNumber>"
            L"<componentErrorText>a &lt; b</componentErrorText></errorInformation>");
}

TEST_F(LogHelper, AFlatFunctionReportsWhatItCatchesAndStillExits) {
  set("LogTrace", 1);
  const auto failing = [](auto raise) {
    return qz::flat::framed("s", "rpcSOAPTest", -1L, [&]() -> long {
      raise();
      return 0;
    });
  };
  EXPECT_EQ(failing([] { throw qz::Err(3, "known", "src", "op", 8); }), -1);
  EXPECT_EQ(failing([] { throw std::runtime_error("odd"); }), -1);
  EXPECT_EQ(failing([] { throw 7; }), -1);
  std::size_t at = 0;
  for (const char* text : {"Enter rpcSOAPTest", "[qzSOAP:src L8] op: known", "Exit rpcSOAPTest", "Enter rpcSOAPTest",
                           "[qzSOAP:std exception L", "rpcSOAPTest: odd", "Exit rpcSOAPTest", "Enter rpcSOAPTest",
                           "rpcSOAPTest: general exception in try block", "Exit rpcSOAPTest"}) {
    at = log().find(text, at);
    ASSERT_NE(at, std::string::npos) << text << "\n" << log();
  }
}

struct Described : IErrorInfo {
  HRESULT __stdcall QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG __stdcall AddRef() override { return 1; }
  ULONG __stdcall Release() override { return 1; }
  HRESULT __stdcall GetGUID(GUID*) override { return E_NOTIMPL; }
  HRESULT __stdcall GetSource(BSTR* out) override { return *out = SysAllocString(L"Origin"), S_OK; }
  HRESULT __stdcall GetDescription(BSTR* out) override { return *out = SysAllocString(L"D\u00fcrftig"), S_OK; }
  HRESULT __stdcall GetHelpFile(BSTR*) override { return E_NOTIMPL; }
  HRESULT __stdcall GetHelpContext(DWORD*) override { return E_NOTIMPL; }
};

TEST(Err, TakesOverForeignFailures) {
  qz::Err err(1, "old", "old", "old", 1);
  err.assignFrom(std::bad_alloc(), "op", 5);
  EXPECT_EQ(err.description, std::bad_alloc().what());
  EXPECT_EQ(err.source, "std exception");
  EXPECT_EQ(err.procedure, "op");
  EXPECT_EQ(err.line, 5);
  EXPECT_EQ(err.number, 0);
  Described described;
  err.assignFrom(_com_error(static_cast<HRESULT>(0x80070057), &described), nullptr, 6);
  EXPECT_EQ(err.description, "D\xFCrftig");
  EXPECT_EQ(err.source, "Origin");
  EXPECT_EQ(err.number, static_cast<long>(0x80070057));
  EXPECT_EQ(err.procedure, "");
  err.assignFrom(_com_error(static_cast<HRESULT>(0x80070057)), "op", 6);
  EXPECT_EQ(err.description, qz::describeHresult(static_cast<long>(0x80070057)));
}

TEST(Err, TextsOfSystemErrors) {
  EXPECT_TRUE(qz::describeWin32(2).starts_with("System error [ 0x00000002, ")) << qz::describeWin32(2);
  EXPECT_EQ(qz::describeWin32(2).find_first_of("\r\n"), std::string::npos);
  EXPECT_TRUE(qz::win32Message(0x20000001)
                  .starts_with("Unknown message 536870913 (0x20000001) [FormatMessage returned 317 (0x13d)]"));
  EXPECT_EQ(qz::describeHresult(0x20000001), "Failed HRESULT [0x20000001] :-- message description not found --");
  EXPECT_EQ(qz::platform::fileVersion("C:\\nowhere.dll"), "0.0.0.0");
}

// The names of the table against the numbers that the system's headers give them.
TEST(Err, WinsockNamesMatchTheSystemsNumbers) {
#define QZ_NAMED(name) \
  { name, #name }
  const std::pair<long, const char*> names[] = {QZ_NAMED(WSAEINTR),
                                                QZ_NAMED(WSAEBADF),
                                                QZ_NAMED(WSAEACCES),
                                                QZ_NAMED(WSAEFAULT),
                                                QZ_NAMED(WSAEINVAL),
                                                QZ_NAMED(WSAEMFILE),
                                                QZ_NAMED(WSAEWOULDBLOCK),
                                                QZ_NAMED(WSAEINPROGRESS),
                                                QZ_NAMED(WSAEALREADY),
                                                QZ_NAMED(WSAENOTSOCK),
                                                QZ_NAMED(WSAEDESTADDRREQ),
                                                QZ_NAMED(WSAEMSGSIZE),
                                                QZ_NAMED(WSAEPROTOTYPE),
                                                QZ_NAMED(WSAENOPROTOOPT),
                                                QZ_NAMED(WSAEPROTONOSUPPORT),
                                                QZ_NAMED(WSAESOCKTNOSUPPORT),
                                                QZ_NAMED(WSAEOPNOTSUPP),
                                                QZ_NAMED(WSAEPFNOSUPPORT),
                                                QZ_NAMED(WSAEAFNOSUPPORT),
                                                QZ_NAMED(WSAEADDRINUSE),
                                                QZ_NAMED(WSAEADDRNOTAVAIL),
                                                QZ_NAMED(WSAENETDOWN),
                                                QZ_NAMED(WSAENETUNREACH),
                                                QZ_NAMED(WSAENETRESET),
                                                QZ_NAMED(WSAECONNABORTED),
                                                QZ_NAMED(WSAECONNRESET),
                                                QZ_NAMED(WSAENOBUFS),
                                                QZ_NAMED(WSAEISCONN),
                                                QZ_NAMED(WSAENOTCONN),
                                                QZ_NAMED(WSAESHUTDOWN),
                                                QZ_NAMED(WSAETOOMANYREFS),
                                                QZ_NAMED(WSAETIMEDOUT),
                                                QZ_NAMED(WSAECONNREFUSED),
                                                QZ_NAMED(WSAELOOP),
                                                QZ_NAMED(WSAENAMETOOLONG),
                                                QZ_NAMED(WSAEHOSTDOWN),
                                                QZ_NAMED(WSAEHOSTUNREACH),
                                                QZ_NAMED(WSAENOTEMPTY),
                                                QZ_NAMED(WSAEPROCLIM),
                                                QZ_NAMED(WSAEUSERS),
                                                QZ_NAMED(WSAEDQUOT),
                                                QZ_NAMED(WSAESTALE),
                                                QZ_NAMED(WSAEREMOTE),
                                                QZ_NAMED(WSASYSNOTREADY),
                                                QZ_NAMED(WSAVERNOTSUPPORTED),
                                                QZ_NAMED(WSANOTINITIALISED),
                                                QZ_NAMED(WSAEDISCON),
                                                QZ_NAMED(WSAENOMORE),
                                                QZ_NAMED(WSAECANCELLED),
                                                QZ_NAMED(WSAEINVALIDPROCTABLE),
                                                QZ_NAMED(WSAEINVALIDPROVIDER),
                                                QZ_NAMED(WSAEPROVIDERFAILEDINIT),
                                                QZ_NAMED(WSASYSCALLFAILURE),
                                                QZ_NAMED(WSASERVICE_NOT_FOUND),
                                                QZ_NAMED(WSATYPE_NOT_FOUND),
                                                QZ_NAMED(WSA_E_NO_MORE),
                                                QZ_NAMED(WSA_E_CANCELLED),
                                                QZ_NAMED(WSAEREFUSED),
                                                QZ_NAMED(WSAHOST_NOT_FOUND),
                                                QZ_NAMED(WSATRY_AGAIN),
                                                QZ_NAMED(WSANO_RECOVERY),
                                                QZ_NAMED(WSANO_DATA)};
#undef QZ_NAMED
  for (const auto& [code, name] : names) EXPECT_EQ(qz::describeWinsock(code), name);
}

}  // namespace
