#include "Tools/qzcall/Invoke.h"

#include <new>

#include "ITKSOAP.h"
#include "ITKSOAPAPI.h"
#include "qzSOAP.h"

namespace qzcall {
namespace {

/// What differs between the faces: how objects are made and the call is started.
struct ToolkitFace {
  using Call = ITKSOAP;

  template <class... Arguments>
  static std::shared_ptr<Call> makeCall(Arguments... arguments) {
    return std::make_shared<Call>(arguments...);
  }
  static auto makeList() { return std::make_unique<ITKBufferList>(); }
  static constexpr auto invoke = ITKrpcSOAPInvoke;
};

struct FlatFace {
  using Call = CRpcSOAP;

  template <class... Arguments>
  static std::shared_ptr<Call> makeCall(Arguments... arguments) {
    return {rpcSOAP_Create(arguments...), rpcSOAP_Release};
  }
  static CqzBufferList00 makeList() { return {}; }
  static constexpr auto invoke = rpcSOAPInvoke;
};

std::string stringOf(const char* text) { return text == nullptr ? "" : text; }

ITKRTT tokenOf(const InvokeOptions& options) {
  ITKRTT token;
  token.setURL(options.url.c_str());
  token.setPryContext(options.pryContext.c_str());
  for (const auto& [name, value] : options.cookies) token.setCookieValue(name.c_str(), value.c_str());
  if (!options.passport.empty()) token.setPassportID(options.passport.c_str());
  return token;
}

template <class Face>
auto makeCall(const InvokeOptions& options, const ITKRTT* token) {
  auto call = Face::makeCall(options.interfaceName.c_str(), options.methodName.c_str(), options.keepAlive ? 1 : 0,
                             options.objectHandle.c_str(), static_cast<const char*>(nullptr), token, options.timeout);
  if (call == nullptr) throw std::bad_alloc();
  return call;
}

template <class Call>
void fill(Call& request, InvokeOptions& options) {
  request.setSoapAction(options.action.c_str());
  request.setComressParams(options.compress ? 1 : 0);
  // Each argument goes as soon as the request has its copy.
  for (WrittenArgument& written : options.arguments) {
    const WrittenArgument argument = std::move(written);
    if (request.addParam(argument.type, argument.bytes.data(), static_cast<long>(argument.bytes.size())) < 0)
      throw std::bad_alloc();
  }
}

Outcome::Pairs cookiesOf(const ITKRTT& token) {
  const ITKCookieArray& cookies = token.getCookies();
  Outcome::Pairs pairs;
  for (long i = 0; i < cookies.getCount(); ++i)
    pairs.emplace_back(cookies.getAt(i)->name.c_str(), cookies.getAt(i)->value.c_str());
  return pairs;
}

template <class Face>
Outcome::Pairs preferencesOf(const typename Face::Call& reply) {
  const auto names = Face::makeList();
  if (names.get() == nullptr) throw std::bad_alloc();
  reply.getUserPreferenceNames(*names);
  Outcome::Pairs preferences;
  for (long i = 0; i < names->getCount(); ++i) {
    const char* const name = names->getAt(i)->getStrBuffer();
    preferences.emplace_back(name, stringOf(reply.getUserPreference(name)));
  }
  return preferences;
}

template <class Call>
Outcome::Arguments argumentsOf(const Call& reply) {
  Outcome::Arguments arguments;
  for (long i = 0; i < reply.getNumParams(); ++i) arguments.push_back(argumentIn(*reply.getParamAt(i)));
  return arguments;
}

template <class Face>
Outcome outcomeOf(long result, const std::shared_ptr<typename Face::Call>& reply) {
  const ITKRTT& token = reply->getRTT();
  return {.result = result,
          .errorCode = reply->getErrorCode(),
          .errorSubCode = reply->getErrorSubCode(),
          .errorText = stringOf(reply->getErrorText()),
          .interfaceName = stringOf(reply->getInterfaceName()),
          .methodName = stringOf(reply->getMethodName()),
          .objectHandle = stringOf(reply->getObjectHandle()),
          .arguments = argumentsOf(*reply),
          .passport = stringOf(token.getPassportID()),
          .pryContext = stringOf(token.getPryContext()),
          .cookies = cookiesOf(token),
          .userPreferences = preferencesOf<Face>(*reply),
          .reply = reply};
}

template <class Face>
Outcome invokeThrough(InvokeOptions& options, const std::string& dumpFile) {
  const ITKRTT token = tokenOf(options);
  const auto request = makeCall<Face>(options, &token);
  const auto reply = makeCall<Face>(InvokeOptions(), nullptr);
  fill(*request, options);
  const long result = Face::invoke(request.get(), reply.get(), dumpFile.empty() ? nullptr : dumpFile.c_str());
  return outcomeOf<Face>(result, reply);
}

}  // namespace

Outcome invoke(InvokeOptions& options, const std::string& dumpFile) {
  return options.face == Face::flat ? invokeThrough<FlatFace>(options, dumpFile)
                                    : invokeThrough<ToolkitFace>(options, dumpFile);
}

}  // namespace qzcall
