#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"

#include <utility>

#include "References/Common/Ascii.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "RuntimeEngine/qzSOAP/ZCompression.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"

namespace {

CDllApp app;

bool isService() { return qz::log::flatSettings().getIsService() != 0; }

}  // namespace

CDllApp& getDllApp() { return app; }

CZCompression& CDllApp::keepCompression(std::unique_ptr<CZCompression> made) noexcept {
  CZCompression* existing = nullptr;
  return compression_.compare_exchange_strong(existing, made.get()) ? *made.release() : *existing;
}

void CDllApp::deleteCompression() noexcept { delete compression_.exchange(nullptr); }

void CDllApp::setUserCredential(const ITKCredential& credential) {
  if (isService()) return;
  if (credential_ == nullptr) credential_ = std::make_unique<ITKCredential>();
  *credential_ = credential;
  setFallbackCredentialSource([] { return getDllApp().getUserCredential(); });
}

const ITKCredential* CDllApp::getUserCredential() const { return isService() ? nullptr : credential_.get(); }

void CDllApp::setCMInfo(const char* url, const char* soapAction) {
  std::string newUrl(qz::viewOf(url)), newSoapAction(qz::viewOf(soapAction));
  cmUrl_.swap(newUrl);
  cmSoapAction_.swap(newSoapAction);
}

void CDllApp::release() noexcept {
  deleteCompression();
  credential_.reset();
  std::string().swap(cmUrl_);
  std::string().swap(cmSoapAction_);
}
