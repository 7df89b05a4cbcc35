#include "ITKSecureDbConnInfo.h"

#include "ITKBufferList.h"
#include "ITKhttpClientHelper.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/RelayTraits.h"
#include "References/Libraries/Rpc/DataSources.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKSecureDbConnInfo";

using DataSources = qz::rpc::DataSources<itk::ToolkitRelay, ITKhttpClientHelper>;
using itk::guarded;

}  // namespace

ITKSecureDbConnInfo::ITKSecureDbConnInfo(const ITKRTT& token, const char* dumpFile) noexcept
    : token_(token), dumpFile_(dumpFile) {}

bool ITKSecureDbConnInfo::getDbConnectionList(ITKBufferList& records) const noexcept {
  return guarded(kSource, false,
                 [&] { return DataSources(token_, dumpFile_.c_str(), kSource).listConnections(records); });
}

bool ITKSecureDbConnInfo::getDbConnection(const char* name, ITKBuffer& connection, ITKBuffer& user,
                                          ITKBuffer& password) const noexcept {
  return guarded(kSource, false, [&] {
    return DataSources(token_, dumpFile_.c_str(), kSource).findConnection(name, connection, user, password);
  });
}
