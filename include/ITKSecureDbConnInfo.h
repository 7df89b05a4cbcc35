/// @file
/// The data-source connections that a content manager keeps.
#pragma once

#include "ITKRTT.h"
#include "ITKString.h"
#include "QzExport.h"

class ITKBuffer;
class ITKBufferList;

/// @addtogroup toolkit
/// @{

/// Asks the content manager behind a gateway for its data-source connections, with the session of a run-time token.
///
/// Each operation posts one query to the token's URL and waits for the answer, as ITKhttpClientHelper::InvokeCM() does.
/// Every failure is logged at level 1 with its reason: a request that fails, a fault of the content manager or its wish
/// for a logon, an answer that is none. Passwords come as they are kept, encrypted. They are not logged, but the trace
/// of the requests and the dump file hold the reply that carries them.
class QZSOAP_API ITKSecureDbConnInfo {
 public:
  /// @param token copied
  /// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
  ITKSecureDbConnInfo(const ITKRTT& token, const char* dumpFile) noexcept;

  /// Reads all connections that the session may see.
  /// @param records receives two texts per connection, its name and its connection string, in place of what it held;
  ///   empty after a failure
  /// @return true also when there are none
  bool getDbConnectionList(ITKBufferList& records) const noexcept;

  /// Reads one connection and its sign-on.
  /// @param name of the connection, in UTF-8; the first one that has it is taken. Null and "" fail.
  /// @param connection receives the connection string as DT_TEXT; empty when there is no such connection
  /// @param user receives the user name as DT_TEXT; empty when the connection has no sign-on, like `password`
  /// @param password receives the password as DT_TEXT
  /// @return false as well when the connection has no sign-on
  bool getDbConnection(const char* name, ITKBuffer& connection, ITKBuffer& user, ITKBuffer& password) const noexcept;

 private:
  ITKRTT token_;
  ITKString dumpFile_;
};

/// @}
