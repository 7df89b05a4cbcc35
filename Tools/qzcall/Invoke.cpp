#include "Tools/qzcall/Invoke.h"

#include <new>

#include "ITKSOAPAPI.h"

namespace qzcall {
namespace {

std::string stringOf(const char* text) { return text == nullptr ? "" : text; }

ITKRTT tokenOf(const InvokeOptions& options) {
  ITKRTT token;
  token.setURL(options.url.c_str());
  token.setPryContext(options.pryContext.c_str());
  for (const auto& [name, value] : options.cookies) token.setCookieValue(name.c_str(), value.c_str());
  if (!options.passport.empty()) token.setPassportID(options.passport.c_str());
  return token;
}

bool fill(ITKSOAP& request, InvokeOptions& options) {
  request.setSoapAction(options.action.c_str());
  request.setComressParams(options.compress ? 1 : 0);
  for (auto& argument : options.arguments)
    if (request.addParam(argument.release()) < 0) return false;
  return true;
}

Outcome::Pairs cookiesOf(const ITKRTT& token) {
  const ITKCookieArray& cookies = token.getCookies();
  Outcome::Pairs pairs;
  for (long i = 0; i < cookies.getCount(); ++i)
    pairs.emplace_back(cookies.getAt(i)->name.c_str(), cookies.getAt(i)->value.c_str());
  return pairs;
}

Outcome::Pairs preferencesOf(ITKSOAP& reply) {
  ITKBufferList names;
  reply.getUserPreferenceNames(names);
  Outcome::Pairs preferences;
  for (long i = 0; i < names.getCount(); ++i) {
    const char* const name = names.getAt(i)->getStrBuffer();
    preferences.emplace_back(name, stringOf(reply.getUserPreference(name)));
  }
  return preferences;
}

Outcome::Arguments argumentsOf(ITKSOAP& reply) {
  Outcome::Arguments arguments;
  for (long i = 0; i < reply.getNumParams(); ++i) arguments.push_back(reply.getParamAt(i));
  return arguments;
}

Outcome outcomeOf(long result, ITKSOAP& reply) {
  const ITKRTT& token = reply.getRTT();
  return {.result = result,
          .errorCode = reply.getErrorCode(),
          .errorSubCode = reply.getErrorSubCode(),
          .errorText = stringOf(reply.getErrorText()),
          .interfaceName = stringOf(reply.getInterfaceName()),
          .methodName = stringOf(reply.getMethodName()),
          .objectHandle = stringOf(reply.getObjectHandle()),
          .arguments = argumentsOf(reply),
          .passport = stringOf(token.getPassportID()),
          .pryContext = stringOf(token.getPryContext()),
          .cookies = cookiesOf(token),
          .userPreferences = preferencesOf(reply)};
}

}  // namespace

Outcome invoke(InvokeOptions& options, const std::string& dumpFile, ITKSOAP& reply) {
  const ITKRTT token = tokenOf(options);
  ITKSOAP request(options.interfaceName.c_str(), options.methodName.c_str(), options.keepAlive ? 1 : 0,
                  options.objectHandle.c_str(), nullptr, &token, options.timeout);
  if (!fill(request, options)) throw std::bad_alloc();
  const long result = ITKrpcSOAPInvoke(&request, &reply, dumpFile.empty() ? nullptr : dumpFile.c_str());
  return outcomeOf(result, reply);
}

}  // namespace qzcall
