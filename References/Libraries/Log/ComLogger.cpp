#include "References/Libraries/Log/ComLogger.h"

#include <windows.h>

#include <oleauto.h>

#include <memory>

#include "References/Libraries/Platform/Bstr.h"

namespace qz::log {
namespace {

constexpr const wchar_t* kProgId = L"Quillview_83.ViewerHelper";
constexpr const wchar_t* kMethod = L"LogMessage";

// COM on this thread, as long as the component is in use.
class ComUse {
 public:
  ComUse() : started_(SUCCEEDED(CoInitialize(nullptr))) {}
  ComUse(const ComUse&) = delete;
  ComUse& operator=(const ComUse&) = delete;
  ~ComUse() {
    if (started_) CoUninitialize();
  }

 private:
  bool started_;
};

struct Release {
  void operator()(IUnknown* object) const { object->Release(); }
};
using Component = std::unique_ptr<IDispatch, Release>;

HRESULT create(Component& component) {
  CLSID classId;
  HRESULT result = CLSIDFromProgID(kProgId, &classId);
  if (FAILED(result)) return result;
  void* created = nullptr;
  result = CoCreateInstance(classId, nullptr, CLSCTX_ALL, IID_IDispatch, &created);
  component.reset(static_cast<IDispatch*>(created));
  return result;
}

HRESULT call(IDispatch& component, BSTR message) {
  DISPID method = 0;
  auto* name = const_cast<wchar_t*>(kMethod);
  const HRESULT found = component.GetIDsOfNames(IID_NULL, &name, 1, LOCALE_NEUTRAL, &method);
  if (FAILED(found)) return found;
  VARIANT argument{};
  argument.vt = VT_BSTR;
  argument.bstrVal = message;
  DISPPARAMS arguments{&argument, nullptr, 1, 0};
  return component.Invoke(method, IID_NULL, LOCALE_NEUTRAL, DISPATCH_METHOD, &arguments, nullptr, nullptr, nullptr);
}

}  // namespace

long sendToComLogger(const std::string& message) {
  const ComUse com;
  Component component;
  const HRESULT created = create(component);
  if (FAILED(created)) return created;
  return call(*component, platform::Bstr(message, platform::kAnsi).get());
}

}  // namespace qz::log
