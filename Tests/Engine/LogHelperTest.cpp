// The error facility: its records, its texts, and where a report goes.
#include "References/Libraries/Log/logHelperImpl.h"

#include <gtest/gtest.h>
#include <winsock2.h>
//
#include <windows.h>
//
#include <comdef.h>

#include <algorithm>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>

#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Platform/Identity.h"
#include "References/Libraries/Platform/ModulePath.h"
#include "References/Libraries/Wire/ErrorText.h"
#include "RuntimeEngine/qzSOAP/Frame.h"
#include "Tests/Support/InstallTree.h"
#include "Tests/Support/ScarceMemory.h"

namespace {

/// The flat settings of this process in an installation of their own, for the time of one test.
class LogHelper : public testing::Test {
 protected:
  LogHelper() {
    tree_.configure("");
    qz::log::flatSettings().initialize(tree_.module());
  }
  ~LogHelper() override { qz::log::flatSettings().initialize(qz::platform::ownModule()); }

  void set(const char* key, long value) {
    qz::log::flatSettings().setIniKeyInt(key, value, "SOAP Internal Tracing", nullptr);
    qz::log::flatSettings().reInitialize();
  }
  std::string log() const { return tree_.flatLog(); }
  std::string csv() const { return tree_.read("Logs\\TesselErrorLog.csv"); }

 private:
  qz::test::InstallTree tree_;
};

TEST_F(LogHelper, ALevelOneReportGoesToBothLogs) {
  qz::reportError(1, "References/Common/BufferImpl", "Grow", 17, "no \"%s\", %d", "memory, at all", 3);
  EXPECT_TRUE(log().ends_with("[qzSOAP:References/Common/BufferImpl L17] Grow: no \"memory, at all\", 3\r\n")) << log();
  const auto lines = csv();
  EXPECT_TRUE(lines.starts_with(qz::wire::csvLine(qz::wire::kErrorLogTitles) +
                                "\"{00000000-0000-0000-0000-000000000000}\",\"not specified\",\""))
      << lines;
  EXPECT_NE(lines.find("\"References/Common/BufferImpl\",\"Grow\",\"17\",\"References/Common/BufferImpl\",\"0\","
                       "\"no \"\"memory, at all\"\", 3\",\""),
            std::string::npos)
      << lines;
  EXPECT_TRUE(lines.ends_with("\"" + std::to_string(GetCurrentProcessId()) + "\",\"" +
                              std::to_string(GetCurrentThreadId()) + "\"\r\n"))
      << lines;
  // A second report adds one line and no titles.
  qz::reportErr(1, qz::Err(-5, "text", "src", "op", 4));
  const auto second = csv().substr(lines.size());
  EXPECT_EQ(std::ranges::count(second, '\n'), 1) << second;
  EXPECT_NE(second.find("\"src\",\"op\",\"4\",\"src\",\"-5\",\"text\""), std::string::npos) << second;
}

TEST_F(LogHelper, OtherLevelsGoToTheTraceLogAsItsSwitchesAllow) {
  for (const long level : {2, 3, 4}) qz::reportError(level, "s", "op", level, "%s", "%n");
  EXPECT_TRUE(log().ends_with("[qzSOAP:s L3] op: %n\r\n"));
  EXPECT_EQ(std::ranges::count(log(), '\n'), 1);
  set("LogInfo", 1);
  set("LogTrace", 1);
  qz::reportText(2, "s", "op", 4, "information");
  EXPECT_TRUE(log().ends_with("[qzSOAP:s L4] op: information\r\n"));
  qz::reportText(4, "s", nullptr, 5, std::string(50000, 'y'));
  EXPECT_TRUE(log().ends_with("[qzSOAP:s L5] " + std::string(50000, 'y') + "\r\n"));
  EXPECT_EQ(csv(), "(missing)");
}

TEST_F(LogHelper, AReportArrivesWithoutMemory) {
  {
    const qz::test::ScarceMemory none(0);
    qz::reportText(1, "s", "op", 7, "Could not allocate %l bytes");
  }
  EXPECT_NE(log().find("[qzSOAP:s L7] op: Could not allocate %l bytes\r\n"), std::string::npos) << log();
  EXPECT_TRUE(log().ends_with("L7] Process exception\r\n")) << log();
}

/// The log component, and its own class factory.
class Component : public IDispatch, public IClassFactory {
 public:
  std::wstring messages;

  HRESULT __stdcall QueryInterface(REFIID id, void** out) override {
    *out = IsEqualIID(id, IID_IDispatch) ? static_cast<void*>(static_cast<IDispatch*>(this))
                                         : static_cast<void*>(static_cast<IClassFactory*>(this));
    return S_OK;
  }
  ULONG __stdcall AddRef() override { return 2; }
  ULONG __stdcall Release() override { return 1; }
  HRESULT __stdcall CreateInstance(IUnknown*, REFIID id, void** out) override { return QueryInterface(id, out); }
  HRESULT __stdcall LockServer(BOOL) override { return S_OK; }
  HRESULT __stdcall GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT __stdcall GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT __stdcall GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    *ids = 7;
    return std::wstring(*names) == L"LogMessage" ? S_OK : DISP_E_UNKNOWNNAME;
  }
  HRESULT __stdcall Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* given, VARIANT*, EXCEPINFO*, UINT*) override {
    if (id != 7 || given->cArgs != 1 || given->rgvarg->vt != VT_BSTR) return DISP_E_BADPARAMCOUNT;
    messages += given->rgvarg->bstrVal;
    return S_OK;
  }
};

TEST_F(LogHelper, TheLogComponentIsAskedOnlyWhenWantedAndNeverAReasonToFail) {
  set("LogTrace", 1);
  const auto failureOfComponent = [this] {
    qz::reportText(1, "s", "op", 1, "text & more");
    const auto at = log().find("Unexpected error from logger ");
    return at == std::string::npos ? "" : log().substr(at + 29, 8);
  };
  const char* key = "Quillview_83.ViewerHelper";
  const auto registerClass = [&](const std::string& id) {
    RegSetKeyValueA(HKEY_CLASSES_ROOT, (std::string(key) + "\\CLSID").c_str(), nullptr, REG_SZ, id.c_str(),
                    static_cast<DWORD>(id.size() + 1));
  };
  constexpr GUID kOwnClass = {0x8F1C3A52, 0x6E07, 0x4B1D, {0x9A, 0x44, 0x21, 0x5D, 0x0C, 0x7E, 0x3B, 0x90}};
  registerClass("{8F1C3A52-6E07-4B1D-9A44-215D0C7E3B90}");
  Component component;
  CoInitialize(nullptr);
  DWORD cookie = 0;
  ASSERT_EQ(CoRegisterClassObject(kOwnClass, static_cast<IClassFactory*>(&component), CLSCTX_INPROC_SERVER,
                                  REGCLS_MULTIPLEUSE, &cookie),
            S_OK);
  EXPECT_EQ(failureOfComponent(), "");
  EXPECT_EQ(component.messages, L"");
  set("UseLogComponent", 1);
  EXPECT_EQ(failureOfComponent(), "");
  EXPECT_TRUE(component.messages.starts_with(L"<errorInformation><applicationErrorSource>s:op:1</applicationError"));
  EXPECT_NE(component.messages.find(L"text &amp; more"), std::wstring::npos);
  CoRevokeClassObject(cookie);
  CoUninitialize();
  // Another object under the component's name does not know its method.
  registerClass("{2933BF90-7B36-11D2-B20E-00C04F983E60}");
  EXPECT_EQ(failureOfComponent(), "80020006");
  RegDeleteTreeA(HKEY_CLASSES_ROOT, key);
}

TEST_F(LogHelper, AFlatFunctionReportsWhatItCatchesAndStillExits) {
  set("LogTrace", 1);
  const auto failing = [](auto raise) {
    return qz::flat::framed("Runtime/x", "rpcSOAPTest", 7L, [&]() -> long { return raise(), 0; });
  };
  EXPECT_EQ(failing([] {}), 0);
  EXPECT_EQ(failing([] { throw qz::Err(3, "known", "src", "op", 8); }), 7);
  EXPECT_EQ(failing([] { throw std::runtime_error("odd"); }), 7);
  EXPECT_EQ(failing([] { throw 5; }), 7);
  std::string expected;
  for (const char* caught : {"", "[qzSOAP:src] op: known\r\n", "[qzSOAP:Runtime/x] rpcSOAPTest: odd\r\n",
                             "[qzSOAP:Runtime/x] rpcSOAPTest: general exception in try block\r\n"})
    expected +=
        std::string("[qzSOAP:Runtime/x] Enter rpcSOAPTest\r\n") + caught + "[qzSOAP:Runtime/x] Exit rpcSOAPTest\r\n";
  EXPECT_EQ(std::regex_replace(qz::test::masked(log()), std::regex("@\\[:\\](.*) L\\d+"), "$1"), expected);
  EXPECT_NE(csv().find("\"Runtime/x\",\"rpcSOAPTest\",\""), std::string::npos);
  EXPECT_NE(csv().find("\"std exception\",\"0\",\"odd\""), std::string::npos);
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
  const auto fields = [](const qz::Err& e) { return std::tie(e.number, e.description, e.source, e.procedure, e.line); };
  qz::Err err(1, "old", "old", "old", 1);
  err.assignFrom(std::runtime_error("what"), "op", 5);
  EXPECT_EQ(fields(err), fields({0, "what", "std exception", "op", 5}));
  const auto code = static_cast<HRESULT>(0x80070057);
  Described described;
  err.assignFrom(_com_error(code, &described), nullptr, 6);
  EXPECT_EQ(fields(err), fields({code, "D\xFCrftig", "Origin", "", 6}));
  err.assignFrom(_com_error(code), "op", 7);
  EXPECT_EQ(fields(err), fields({code, qz::describeHresult(code), "not specified", "op", 7}));
  // What cannot be taken over says so.
  const std::runtime_error odd("a text that needs an allocation");
  qz::Err unknown = err;
  {
    const qz::test::ScarceMemory none(0);
    err.assignFrom(odd, "op", 8);
    unknown.assignFrom(_com_error(code), "op", 8);
  }
  EXPECT_EQ(err.description, "failed to convert std exception to Err");
  EXPECT_EQ(unknown.description, "failed to convert _com_error to Err");
}

TEST(Err, TextsOfSystemErrors) {
  EXPECT_TRUE(qz::describeWin32(2).starts_with("System error [ 0x00000002, ")) << qz::describeWin32(2);
  EXPECT_EQ(qz::describeWin32(2).find_first_of("\r\n"), std::string::npos);
  EXPECT_EQ(qz::win32Message(0x20000001),
            "Unknown message 536870913 (0x20000001) [FormatMessage returned 317 (0x13d)]");
  EXPECT_EQ(qz::platform::fileVersion("C:\\nowhere.dll"), "0.0.0.0");
}

// The whole table against the numbers that the system's headers give the names.
TEST(Err, WinsockNamesMatchTheSystemsNumbers) {
#define QZ_NUMBERS_AND_NAMES(...)            \
  const std::set<long> numbers{__VA_ARGS__}; \
  const std::string names = #__VA_ARGS__
  QZ_NUMBERS_AND_NAMES(
      WSAEINTR, WSAEBADF, WSAEACCES, WSAEFAULT, WSAEINVAL, WSAEMFILE, WSAEWOULDBLOCK, WSAEINPROGRESS, WSAEALREADY,
      WSAENOTSOCK, WSAEDESTADDRREQ, WSAEMSGSIZE, WSAEPROTOTYPE, WSAENOPROTOOPT, WSAEPROTONOSUPPORT, WSAESOCKTNOSUPPORT,
      WSAEOPNOTSUPP, WSAEPFNOSUPPORT, WSAEAFNOSUPPORT, WSAEADDRINUSE, WSAEADDRNOTAVAIL, WSAENETDOWN, WSAENETUNREACH,
      WSAENETRESET, WSAECONNABORTED, WSAECONNRESET, WSAENOBUFS, WSAEISCONN, WSAENOTCONN, WSAESHUTDOWN, WSAETOOMANYREFS,
      WSAETIMEDOUT, WSAECONNREFUSED, WSAELOOP, WSAENAMETOOLONG, WSAEHOSTDOWN, WSAEHOSTUNREACH, WSAENOTEMPTY,
      WSAEPROCLIM, WSAEUSERS, WSAEDQUOT, WSAESTALE, WSAEREMOTE, WSASYSNOTREADY, WSAVERNOTSUPPORTED, WSANOTINITIALISED,
      WSAEDISCON, WSAENOMORE, WSAECANCELLED, WSAEINVALIDPROCTABLE, WSAEINVALIDPROVIDER, WSAEPROVIDERFAILEDINIT,
      WSASYSCALLFAILURE, WSASERVICE_NOT_FOUND, WSATYPE_NOT_FOUND, WSA_E_NO_MORE, WSA_E_CANCELLED, WSAEREFUSED,
      WSAHOST_NOT_FOUND, WSATRY_AGAIN, WSANO_RECOVERY, WSANO_DATA);
#undef QZ_NUMBERS_AND_NAMES
  std::string described;
  for (long code = 10000; code < 11100; ++code) {
    const auto name = qz::describeWinsock(code);
    if (numbers.contains(code)) {
      described += (described.empty() ? "" : ", ") + name;
    } else {
      EXPECT_EQ(name, "WINSOCK error " + std::to_string(code));
    }
  }
  EXPECT_EQ(described, names);
}

}  // namespace
