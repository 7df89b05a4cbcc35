// Plain requests: one body goes out under header lines, one text comes back.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "References/Libraries/Rpc/ExchangeTracer.h"
#include "References/Libraries/Rpc/HttpExchange.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Rpc/SessionToken.h"

namespace qz::rpc {

/// A request that the caller has put together.
struct PlainRequest {
  const char* url;         ///< null counts as ""
  const char* verb;        ///< "GET" or "POST"
  std::string headers;     ///< lines with their line ends
  const char* soapAction;  ///< that of the header lines; null: they are asked for it
  std::span<const std::byte> body;
};

/// Makes such requests for one client. Nothing is kept between them.
class GenericHttp {
 public:
  /// All arguments outlive the object.
  /// @param dump null: nothing is dumped
  GenericHttp(Journal& journal, WireDump* dump) : journal_(journal), dump_(dump) {}

  /// Posts an envelope and reads the reply's into `reply`, HTTP credentials into `token`, which keeps its cookies.
  /// Statuses from 200 to 206 and 500 are read; a reply without content leaves `reply` empty.
  /// @param url null counts as ""; one that cannot be taken apart fails with E_URL
  /// @param soapAction null counts as ""
  /// @return `error`'s code: what it was before when everything went well, otherwise the failure, never 0. A failed
  ///   request leaves `reply` empty.
  long send(const char* url, const char* soapAction, std::span<const std::byte> body, ReplySink& reply,
            SessionToken& token, ErrorChannel& error) noexcept;

  /// Makes a request as it is and reads the body of its reply into `reply`: the envelope of one that holds an envelope,
  /// otherwise all of it. Statuses as in send(); redirections are not followed.
  /// @param replyHeaders receives the raw headers of whatever reply came
  /// @param token its HTTP credentials are sent and taken back, its cookies are not sent; null: none
  long request(const PlainRequest& request, ReplySink& reply, std::string& replyHeaders, SessionToken* token,
               ErrorChannel& error) noexcept;

 private:
  Journal& journal_;
  WireDump* dump_;
};

}  // namespace qz::rpc
