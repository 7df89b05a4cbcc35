/// @file
/// HTTP credentials between a request and a run-time token.
#pragma once

#include <string>

#include "RuntimeEngine/qzSOAP/INET.h"

class ITKCredential;

/// User name and password of a request; empty when it has none.
struct XHttpCredentials {
  std::string user;
  std::string password;
};

/// Says who is the user of requests whose token names none: `source` is asked for each such request and may answer
/// null.
void setFallbackCredentialSource(const ITKCredential* (*source)());

/// Sets user name and password of a request. When `user` is null or empty, those of the fallback are taken, if there is
/// one. False when the system refuses.
bool setHTTPCredentials(XHttpFile& request, const char* user, const char* password);

/// Reads user name and password of a request.
XHttpCredentials getHTTPCredentials(const XHttpFile& request);

/// Sets the token's credentials on a request. A null token sets nothing.
template <class Token>
bool setHTTPCredentials(XHttpFile& request, const Token* token) {
  return token == nullptr || setHTTPCredentials(request, token->userName(), token->password());
}

/// Stores the credentials of a request in the token. A null token is skipped; an empty text leaves the token's own.
template <class Token>
void getHTTPCredentials(const XHttpFile& request, Token* token) {
  if (token == nullptr) return;
  const XHttpCredentials credentials = getHTTPCredentials(request);
  token->storeCredential(credentials.user, credentials.password);
}
