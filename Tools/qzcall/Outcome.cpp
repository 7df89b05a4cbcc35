#include "Tools/qzcall/Outcome.h"

#include "ITKSOAPError.h"
#include "Tools/qzcall/Command.h"

namespace qzcall {

Outcome::Pairs cookiesOf(const ITKRTT& token) {
  const ITKCookieArray& cookies = token.getCookies();
  Outcome::Pairs pairs;
  for (long i = 0; i < cookies.getCount(); ++i)
    pairs.emplace_back(cookies.getAt(i)->name.c_str(), cookies.getAt(i)->value.c_str());
  return pairs;
}

Outcome timedOut(long seconds) {
  Outcome outcome;
  outcome.result = outcome.errorCode = E_TIMEOUT;
  outcome.errorText = "no reply within " + std::to_string(seconds) + (seconds == 1 ? " second" : " seconds");
  return outcome;
}

int exitCodeOf(long result) {
  switch (result) {
    case E_OK:
      return kSuccess;
    case E_LOGON:
      return kLogonRequired;
    case E_PROXY:
    case E_HTTP:
    case E_URL:
      return kTransport;
    case E_TIMEOUT:
      return kTimeOut;
    default:
      return kServerError;
  }
}

}  // namespace qzcall
