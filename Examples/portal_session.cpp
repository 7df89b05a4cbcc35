// Shows a session: log on at the gateway's portal, make two calls as that user, log off. The password is taken from the
// environment variable QZ_PASSWORD, because other users of a machine can read its command lines.
//
//   portal_session http://127.0.0.1:8080/gateway demo
#include <R7ITK.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Logon operations return true or false; why it was false is in the log.
int refused(const char* what) {
  std::fprintf(stderr, "portal_session: %s; see %s\n", what, getITKes().getLogFilePath());
  return 1;
}

// One call in the session of `token`, which then holds what the reply made of it.
bool addInSession(ITKRTT& token, long first, long second) {
  ITKSOAP request("Demo", "add", 0, "", "", &token, 0), reply;
  request.setSoapAction("urn:demo");
  if (request.addParam(ITKBufferType::DT_LONG, &first, sizeof first) < 0 ||
      request.addParam(ITKBufferType::DT_LONG, &second, sizeof second) < 0)
    return false;
  if (ITKrpcSOAPInvoke(&request, &reply, nullptr) != E_OK) return false;
  token = reply.getRTT();
  const ITKBuffer* sum = reply.getParamAt(0);
  if (sum == nullptr || sum->getType() != ITKBufferType::DT_LONG || sum->getLength() != sizeof(long)) return false;
  std::printf("  %ld + %ld = %ld\n", first, second, *reinterpret_cast<const long*>(sum->getBuffer()));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const char* password = std::getenv("QZ_PASSWORD");
  if (argc != 3 || password == nullptr)
    return std::fputs("usage: QZ_PASSWORD=... portal_session URL USER\n", stderr), 2;

  ITKRTT token;
  ITKBufferList ids, names;
  if (!ITKrpcSOAPGetNamespaces(argv[1], nullptr, ids, names, token)) return refused("the portal names no namespace");
  const char* directory = ids.getAt(0)->c_str();
  const char* shown = names.getCount() > 0 ? names.getAt(0)->c_str() : "";

  if (!ITKrpcSOAPSilentLogon(argv[1], argv[2], password, directory, shown, nullptr, "pc", token))
    return refused("the portal did not let the user in");
  std::printf("logged on as %s, namespace %s\n", argv[2], directory);

  const bool called = addInSession(token, 40, 2) && addInSession(token, 1, -1);
  // A session that is not logged off lives on at the gateway until it expires there.
  if (!ITKrpcSOAPSilentLogoff(argv[1], nullptr, token)) return refused("the portal did not log the user off");
  return called ? (std::puts("logged off"), 0) : refused("a call in the session failed");
}
