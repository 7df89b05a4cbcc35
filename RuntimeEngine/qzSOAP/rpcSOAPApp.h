// What the library holds for the process as a whole.
#pragma once

#include <memory>

#include "ITKCredential.h"

/// The library application object.
class CDllApp {
 public:
  /// Keeps a copy of the user's credential, unless the process is declared a service.
  void setUserCredential(const ITKCredential& credential);
  /// The credential for requests whose token names no user; null when there is none, or in a service. Owned by this
  /// object, which overwrites it with the next one.
  const ITKCredential* getUserCredential() const;
  /// Gives up everything held.
  void release() noexcept;

 private:
  std::unique_ptr<ITKCredential> credential_;
};

/// The application object of this process.
CDllApp& getDllApp();
