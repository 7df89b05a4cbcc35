// The run-time token behind the transport's view of it.
#pragma once

#include "ITKRTT.h"
#include "References/Libraries/Rpc/SessionToken.h"

namespace qz::rpc {

/// Lets one exchange work on a token that outlives it.
class TokenPort final : public SessionToken {
 public:
  explicit TokenPort(ITKRTT& token) noexcept : token_(token) {}

  std::string cookieLine() const override;
  const char* userName() const override;
  const char* password() const override;
  void storeCredential(const std::string& user, const std::string& password) override;
  bool hasSiteMinderSession() const override;
  void takeReplyCookies(std::string_view rawHeaders) override;
  const char* passport() const override;
  const char* pryContext() const override;

 private:
  ITKRTT& token_;
};

}  // namespace qz::rpc
