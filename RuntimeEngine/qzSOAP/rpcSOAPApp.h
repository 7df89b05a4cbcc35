// What the library holds for the process as a whole.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "ITKCredential.h"

class CZCompression;

/// The library application object.
class CDllApp {
 public:
  /// The compression object; null when there is none.
  CZCompression* getCompression() const noexcept { return compression_; }
  /// Keeps `made` unless another thread was faster; returns the object that is kept.
  CZCompression& keepCompression(std::unique_ptr<CZCompression> made) noexcept;
  /// Deletes the compression object if there is one.
  void deleteCompression() noexcept;

  /// Keeps a copy of the user's credential, unless the process is declared a service.
  void setUserCredential(const ITKCredential& credential);
  /// The credential for requests whose token names no user; null when there is none, or in a service. Owned by this
  /// object, which overwrites it with the next one.
  const ITKCredential* getUserCredential() const;

  /// Keeps the process's default endpoint of content-manager calls; null means "". Both texts stay when memory is short
  /// for the new ones.
  void setCMInfo(const char* url, const char* soapAction);
  /// URL of that endpoint; "" when none was set. Valid until the next setCMInfo().
  const char* getCMUrl() const noexcept { return cmUrl_.c_str(); }
  /// SOAP action of that endpoint; "" when none was set. Valid until the next setCMInfo().
  const char* getCMSoapAction() const noexcept { return cmSoapAction_.c_str(); }

  /// Gives up everything held.
  void release() noexcept;

 private:
  std::atomic<CZCompression*> compression_{nullptr};
  std::unique_ptr<ITKCredential> credential_;
  std::string cmUrl_;
  std::string cmSoapAction_;
};

/// The application object of this process.
CDllApp& getDllApp();
