/// @file
/// Who is calling: user name, password and kind of authentication.
#pragma once

#include "ITKString.h"
#include "QzExport.h"

/// @addtogroup shared
/// @{

/// The credential of a user. The password stays in memory as plain text and is never logged.
///
/// Two credentials are equal when their texts share storage, as a copy does with its source; two that were filled
/// separately with the same texts are not equal. Empty texts are always equal.
class QZSOAP_API ITKCredential {
 public:
  /// All three texts empty.
  ITKCredential() noexcept;
  /// Shares the texts of `other`.
  ITKCredential(const ITKCredential& other) noexcept;
  virtual ~ITKCredential();

  /// Shares the texts of `other`.
  ITKCredential& operator=(const ITKCredential& other) noexcept;
  /// Shares the texts of `other`; null empties this object.
  ITKCredential& operator=(const ITKCredential* other) noexcept;

  /// Logon user name.
  const ITKString& getUserName() const noexcept;
  /// Logon password.
  const ITKString& getPassword() const noexcept;
  /// Word for the kind of authentication; stored and copied, never read by the library.
  const ITKString& getAuthType() const noexcept;

  /// Copies `text`; null means "".
  void setUserName(const char* text) noexcept;
  /// Shares `text`.
  void setUserName(const ITKString& text) noexcept;
  /// Copies `text`; null means "".
  void setPassword(const char* text) noexcept;
  /// Shares `text`.
  void setPassword(const ITKString& text) noexcept;
  /// Copies `text`; null means "".
  void setAuthType(const char* text) noexcept;
  /// Shares `text`.
  void setAuthType(const ITKString& text) noexcept;

  /// Clears all three texts.
  void empty() noexcept;
  /// True when the user name is empty.
  bool isEmpty() const noexcept;

  /// True when all three texts share storage with those of `other`.
  bool operator==(const ITKCredential& other) const noexcept;
  /// The same; null equals a credential without user name.
  bool operator==(const ITKCredential* other) const noexcept;

 private:
  ITKString userName_;
  ITKString password_;
  ITKString authType_;
};

/// @}
