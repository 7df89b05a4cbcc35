#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"

#include "References/Libraries/Log/FlatSettings.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"

namespace {

CDllApp app;

bool isService() { return qz::log::flatSettings().getIsService() != 0; }

}  // namespace

CDllApp& getDllApp() { return app; }

void CDllApp::setUserCredential(const ITKCredential& credential) {
  if (isService()) return;
  if (credential_ == nullptr) credential_ = std::make_unique<ITKCredential>();
  *credential_ = credential;
  setFallbackCredentialSource([] { return getDllApp().getUserCredential(); });
}

const ITKCredential* CDllApp::getUserCredential() const { return isService() ? nullptr : credential_.get(); }

void CDllApp::release() noexcept { credential_.reset(); }
