// The data-source connections that a content manager keeps: the queries for them and what their replies say.
#pragma once

#include <new>
#include <source_location>
#include <string>

#include "ITKRTT.h"
#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Rpc/RelayCodec.h"
#include "References/Libraries/Rpc/XmlDomOps.h"
#include "References/Libraries/Wire/DataSourceQuery.h"

namespace qz::rpc {

/// Asks one content manager, each time anew. The texts that come back are never logged from here.
/// @tparam Client the face's public client class
template <RelayLayer L, class Client>
class DataSources {
 public:
  using Buffer = typename L::Buffer;
  using BufferList = typename L::BufferList;

  /// All arguments outlive the object.
  /// @param source path under which the face's class logs
  DataSources(const ITKRTT& token, const char* dumpFile, const char* source)
      : token_(token), dumpFile_(dumpFile), source_(source) {}

  /// @throws std::bad_alloc, here and below
  bool listConnections(BufferList& records) const {
    records.removeAll();
    typename L::OwnBuffer reply;
    XmlDomState dom;
    return query("getDbConnectionList", wire::connectionsQuery(host()), reply) &&
           Dom::parseDSConnectionInfo(dom, messageIn(reply), {}, records);
  }

  bool findConnection(const char* name, Buffer& connection, Buffer& user, Buffer& password) const {
    constexpr const char* kOperation = "getDbConnection";
    if (name == nullptr) return refuse(kOperation, kNullArgument);
    const std::string wanted = name;  // may stand in a buffer that is emptied
    for (auto* out : {&connection, &user, &password}) setText(*out, "");
    if (wanted.empty()) return refuse(kOperation, "The name of the data source connection is empty");
    typename L::OwnBuffer reply;
    typename L::OwnBufferList found;
    XmlDomState dom;
    if (!query(kOperation, wire::connectionQuery(host(), wanted), reply) ||
        !Dom::parseDSConnectionInfo(dom, messageIn(reply), wanted, found))
      return false;
    if (found.getCount() == 0) return refuse(kOperation, "No data source connection has the name " + wanted);
    setText(connection, messageIn(*found.getAt(1)));
    return Dom::parseDSCredential(dom, messageIn(reply), user, password);
  }

 private:
  using Dom = XmlDomOps<L>;

  static const std::string& host() { return templatesOf<L>().host; }

  bool refuse(const char* operation, const std::string& reason,
              std::source_location at = std::source_location::current()) const {
    L::report(kError, operation, source_, reason, at);
    return false;
  }

  /// Posts a query and tells its answer from a fault.
  bool query(const char* operation, const std::string& body, typename L::OwnBuffer& reply) const {
    typename L::OwnBuffer request;
    typename L::OwnError error;
    if (RelayCodec<L>::buildGeneric(token_, body, request) == 0) throw std::bad_alloc();
    const auto action = wire::contentManagerNamespace(host());
    Client client(dumpFile_, token_, 0);
    if (client.InvokeCM(&request, &reply, nullptr, action.c_str(), token_, error) != E_OK) return false;
    XmlDomState dom;
    if (Dom::createFromText(dom, messageIn(reply), error)) return true;
    const bool logon = error.getErrorCode() == E_LOGON;
    return refuse(operation, std::string("The content manager ") +
                                 (logon ? "asks for a logon: " : "refuses the query: ") +
                                 orEmpty(error.getErrorText()));
  }

  const ITKRTT& token_;
  const char* dumpFile_;
  const char* source_;
};

}  // namespace qz::rpc
