#include "ITKCredential.h"

ITKCredential::ITKCredential() noexcept = default;
ITKCredential::ITKCredential(const ITKCredential& other) noexcept = default;
ITKCredential::~ITKCredential() = default;
ITKCredential& ITKCredential::operator=(const ITKCredential& other) noexcept = default;

ITKCredential& ITKCredential::operator=(const ITKCredential* other) noexcept {
  if (other != nullptr) return *this = *other;
  ITKCredential::empty();
  return *this;
}

const ITKString& ITKCredential::getUserName() const noexcept { return userName_; }
const ITKString& ITKCredential::getPassword() const noexcept { return password_; }
const ITKString& ITKCredential::getAuthType() const noexcept { return authType_; }

void ITKCredential::setUserName(const char* text) noexcept { userName_ = text; }
void ITKCredential::setUserName(const ITKString& text) noexcept { userName_ = text; }
void ITKCredential::setPassword(const char* text) noexcept { password_ = text; }
void ITKCredential::setPassword(const ITKString& text) noexcept { password_ = text; }
void ITKCredential::setAuthType(const char* text) noexcept { authType_ = text; }
void ITKCredential::setAuthType(const ITKString& text) noexcept { authType_ = text; }

void ITKCredential::empty() noexcept {
  userName_.empty();
  password_.empty();
  authType_.empty();
}

bool ITKCredential::isEmpty() const noexcept { return userName_.isEmpty() != 0; }

bool ITKCredential::operator==(const ITKCredential& other) const noexcept {
  return userName_.shares(other.userName_) && password_.shares(other.password_) && authType_.shares(other.authType_);
}

bool ITKCredential::operator==(const ITKCredential* other) const noexcept {
  return other == nullptr ? ITKCredential::isEmpty() : *this == *other;
}
