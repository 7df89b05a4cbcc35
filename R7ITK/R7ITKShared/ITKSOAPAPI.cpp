#include "ITKSOAPAPI.h"

#include "ITKSOAP.h"
#include "ITKhttpClientHelper.h"
#include "QzTypes.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/RelayTraits.h"
#include "R7ITK/R7ITKShared/ToolkitJournal.h"
#include "References/Libraries/Rpc/Invoke.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKSOAPAPI";

}  // namespace

long ITKrpcSOAPInvoke(const ITKSOAP* in, ITKSOAP* out, const char* dumpFile) {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    itk::ToolkitJournal journal(kSource);
    return qz::rpc::invokeOnce<ITKhttpClientHelper>(journal, in, out, dumpFile);
  });
}

long ITKrpcSOAPGetRelayFaultError(const char* text) {
  return itk::guarded(kSource, static_cast<long>(E_FAULT),
                      [&] { return itk::ToolkitDom::replyCode(qz::viewOf(text)); });
}
