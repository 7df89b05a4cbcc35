#include "Tools/qzcall/Invoke.h"

#include <new>

#include "ITKSOAP.h"
#include "ITKSOAPAPI.h"
#include "ITKhttpClientHelper.h"
#include "Tools/qzcall/Progress.h"
#include "qzSOAP.h"

namespace qzcall {
namespace {

/// What differs between the faces: how objects are made and the call is started.
struct ToolkitFace {
  using Call = ITKSOAP;
  using Client = ITKhttpClientHelper;

  template <class... Arguments>
  static std::shared_ptr<Call> makeCall(Arguments... arguments) {
    return std::make_shared<Call>(arguments...);
  }
  static auto makeList() { return std::make_unique<ITKBufferList>(); }
  static auto makeBuffer() { return std::make_unique<ITKBuffer>(); }
  static constexpr auto invoke = ITKrpcSOAPInvoke;
  static long store(const Call& request, ITKBuffer& headers, ITKBuffer& body) {
    return ITKrpcSOAPLoadTestInvoke(&request, &headers, &body, nullptr);
  }
};

struct FlatFace {
  using Call = CRpcSOAP;
  using Client = CRpcHttpClient;

  template <class... Arguments>
  static std::shared_ptr<Call> makeCall(Arguments... arguments) {
    return {rpcSOAP_Create(arguments...), rpcSOAP_Release};
  }
  static CqzBufferList00 makeList() { return {}; }
  static CqzBuffer00 makeBuffer() { return {}; }
  static constexpr auto invoke = rpcSOAPInvoke;
  static long store(const Call& request, CqzBuffer& headers, CqzBuffer& body) {
    return rpcSOAPLoadTestInvoke(&request, &headers, &body);
  }
};

std::string stringOf(const char* text) { return text == nullptr ? "" : text; }

/// The time limit that goes to the server.
long limitOf(const CallOptions& options) {
  return options.timeout.value_or(options.conversation ? kLongestTimeout : 0);
}

template <class Face>
auto makeCall(const CallOptions& options) {
  auto call =
      Face::makeCall(options.interfaceName.c_str(), options.methodName.c_str(), options.keepAlive ? 1 : 0,
                     options.objectHandle.c_str(), static_cast<const char*>(nullptr), &options.token, limitOf(options));
  if (call == nullptr) throw std::bad_alloc();
  return call;
}

template <class Call>
void fill(Call& request, CallOptions& options) {
  request.setSoapAction(options.action.c_str());
  request.setComressParams(options.compress ? 1 : 0);
  request.setAsyncMode(options.conversation ? 1 : 0);
  // Each argument goes as soon as the request has its copy.
  for (WrittenArgument& written : options.arguments) {
    const WrittenArgument argument = std::move(written);
    if (request.addParam(argument.type, argument.bytes.data(), static_cast<long>(argument.bytes.size())) < 0)
      throw std::bad_alloc();
  }
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
  return {.result = result,
          .errorCode = reply->getErrorCode(),
          .errorSubCode = reply->getErrorSubCode(),
          .errorText = stringOf(reply->getErrorText()),
          .interfaceName = stringOf(reply->getInterfaceName()),
          .methodName = stringOf(reply->getMethodName()),
          .objectHandle = stringOf(reply->getObjectHandle()),
          .arguments = argumentsOf(*reply),
          .token = reply->getRTT(),
          .userPreferences = preferencesOf<Face>(*reply),
          .reply = reply};
}

/// The functions make one call and tell nothing before its end; a conversation has something to tell.
template <class Face>
long make(const typename Face::Call& request, typename Face::Call& reply, const char* dumpFile) {
  if (request.getAsyncMode() == 0) return Face::invoke(&request, &reply, dumpFile);
  ProgressLine line;
  typename Face::Client client(dumpFile, request.getRTT(), 0);
  client.setProgressHandler(ProgressLine::tell, &line);
  return client.invoke(&request, &reply);
}

template <class Face>
Outcome invokeThrough(CallOptions& options) {
  const auto request = makeCall<Face>(options);
  const auto reply = makeCall<Face>({});
  fill(*request, options);
  const long result = make<Face>(*request, *reply, options.dumpFile.c_str());
  return outcomeOf<Face>(result, reply);
}

/// What distinguishes the first request of a conversation.
template <class Call>
void beginConversation(Call& request, const CallOptions& options) {
  request.setSoapAction((options.action + ".session").c_str());
  request.setTimeInterval(limitOf(options) * 1000);
}

template <class Face>
std::optional<StoredRequest> storeThrough(CallOptions& options) {
  const auto request = makeCall<Face>(options);
  fill(*request, options);
  if (options.conversation) beginConversation(*request, options);
  const auto headers = Face::makeBuffer(), body = Face::makeBuffer();
  if (headers.get() == nullptr || body.get() == nullptr) throw std::bad_alloc();
  if (Face::store(*request, *headers, *body) != 0) return std::nullopt;
  return StoredRequest{headers->getStrBuffer(), {body->getBuffer(), body->getBuffer() + body->getLength()}};
}

}  // namespace

std::optional<StoredRequest> storeRequest(CallOptions& options) {
  return options.face == Face::flat ? storeThrough<FlatFace>(options) : storeThrough<ToolkitFace>(options);
}

Outcome invoke(CallOptions& options) {
  return options.face == Face::flat ? invokeThrough<FlatFace>(options) : invokeThrough<ToolkitFace>(options);
}

}  // namespace qzcall
