#include "RuntimeEngine/qzSOAP/SecureDbConnInfo.h"

#include "CRpcHttpClient.h"
#include "References/Libraries/Rpc/DataSources.h"
#include "RuntimeEngine/qzSOAP/BufferListImpl.h"
#include "RuntimeEngine/qzSOAP/FlatRelay.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"
#include "RuntimeEngine/qzSOAP/SOAPErrorImpl.h"

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/SecureDbConnInfo";

using DataSources = qz::rpc::DataSources<qz::flat::FlatRelay, CRpcHttpClient>;
using qz::flat::guarded;

}  // namespace

CSecureDbConnInfo::CSecureDbConnInfo(const ITKRTT& token, const char* dumpFile)
    : token_(token), dumpFile_(qz::orEmpty(dumpFile)) {}

bool CSecureDbConnInfo::getDbConnectionList(CqzBufferList& records) const noexcept {
  return guarded(kSource, "getDbConnectionList", false,
                 [&] { return DataSources(token_, dumpFile_.c_str(), kSource).listConnections(records); });
}

bool CSecureDbConnInfo::getDbConnection(const char* name, CqzBuffer& connection, CqzBuffer& user,
                                        CqzBuffer& password) const noexcept {
  return guarded(kSource, "getDbConnection", false, [&] {
    return DataSources(token_, dumpFile_.c_str(), kSource).findConnection(name, connection, user, password);
  });
}
