// The flat face's view of the data-source connections that a content manager keeps.
#pragma once

#include <string>

#include "CqzBuffer.h"
#include "CqzBufferList.h"
#include "ITKRTT.h"

/// What ITKSecureDbConnInfo is to the toolkit; a token without a URL means the endpoint of rpcSOAPSetCMInfo(). Failures
/// are reported under the operation's name.
class CSecureDbConnInfo {
 public:
  /// @param token copied
  /// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
  CSecureDbConnInfo(const ITKRTT& token, const char* dumpFile);

  /// As ITKSecureDbConnInfo::getDbConnectionList().
  bool getDbConnectionList(CqzBufferList& records) const noexcept;
  /// As ITKSecureDbConnInfo::getDbConnection().
  bool getDbConnection(const char* name, CqzBuffer& connection, CqzBuffer& user, CqzBuffer& password) const noexcept;

 private:
  ITKRTT token_;
  std::string dumpFile_;
};
