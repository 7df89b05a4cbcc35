#include "Tools/qzcall/Invoke.h"

#include <algorithm>
#include <array>
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

/// A token names its cookies but does not list them: these are the ones that a gateway can give out, then the caller's
/// own.
Outcome::Pairs cookiesOf(const ITKRTT& token, const Outcome::Pairs& given) {
  constexpr std::array kSession = {"zot_passport", "pry", "vel-ssa",   "AS_TICKET",
                                   "pw_session",   "VTN", "SMSESSION", "usersessionid"};
  std::vector<std::string> names(kSession.begin(), kSession.end());
  for (const auto& [name, value] : given)
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  Outcome::Pairs cookies;
  for (const std::string& name : names) {
    std::string value = stringOf(token.getCookieValue(name.c_str()));
    if (!value.empty()) cookies.emplace_back(name, std::move(value));
  }
  return cookies;
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

std::vector<OutputArgument> argumentsOf(ITKSOAP& reply) {
  std::vector<OutputArgument> arguments;
  for (long i = 0; i < reply.getNumParams(); ++i) {
    const ITKBuffer& buffer = *reply.getParamAt(i);
    arguments.push_back({buffer.getType(), {buffer.getBuffer(), static_cast<std::size_t>(buffer.getLength())}});
  }
  return arguments;
}

Outcome outcomeOf(long result, ITKSOAP& reply, const Outcome::Pairs& givenCookies) {
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
          .cookies = cookiesOf(token, givenCookies),
          .userPreferences = preferencesOf(reply)};
}

}  // namespace

Outcome invoke(InvokeOptions& options, const std::string& dumpFile, ITKSOAP& reply) {
  const ITKRTT token = tokenOf(options);
  ITKSOAP request(options.interfaceName.c_str(), options.methodName.c_str(), options.keepAlive ? 1 : 0,
                  options.objectHandle.c_str(), nullptr, &token, options.timeout);
  if (!fill(request, options)) throw std::bad_alloc();
  const long result = ITKrpcSOAPInvoke(&request, &reply, dumpFile.empty() ? nullptr : dumpFile.c_str());
  return outcomeOf(result, reply, options.cookies);
}

}  // namespace qzcall
