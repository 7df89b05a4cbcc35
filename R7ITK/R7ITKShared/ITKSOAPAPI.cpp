#include "ITKSOAPAPI.h"

#include <source_location>
#include <string>

#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "ITKXmlDom.h"
#include "ITKes.h"
#include "ITKhttpClientHelper.h"
#include "QzTypes.h"
#include "R7ITK/R7ITKShared/Guard.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKSOAPAPI";

void log(const std::string& text, std::source_location at = std::source_location::current()) {
  getITKes().logText(ITKLog::Trace, kSource, static_cast<long>(at.line()), text);
}

}  // namespace

long ITKrpcSOAPInvoke(const ITKSOAP* in, ITKSOAP* out, const char* dumpFile) {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    log(std::string("URL=") + (in == nullptr ? "" : in->getGatewayURL()));
    ITKhttpClientHelper client(dumpFile, in == nullptr ? ITKRTT() : in->getRTT(), 0);
    const long result = client.invoke(in, out);
    log("Return code = " + std::to_string(result));
    return result;
  });
}

long ITKrpcSOAPGetRelayFaultError(const char* text) {
  return itk::guarded(kSource, static_cast<long>(E_FAULT), [&] {
    ITKXmlDom dom;
    ITKSOAPError error;
    dom.createFromText(text, error);
    return error.getErrorCode();
  });
}
