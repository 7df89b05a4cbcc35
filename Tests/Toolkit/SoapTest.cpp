#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ITKSOAP.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ToolkitLog.h"

namespace {

using qz::test::ToolkitLogWatch;

/// Counts its own deletions.
struct CountedBuffer : ITKBuffer {
  explicit CountedBuffer(int& deleted) : ITKBuffer("counted"), deleted_(deleted) {}
  ~CountedBuffer() override { ++deleted_; }
  int& deleted_;
};

struct CountedCall : ITKSOAP {
  explicit CountedCall(int& deleted) : deleted_(deleted) {}
  ~CountedCall() override { ++deleted_; }
  int& deleted_;
};

template <class Face>
class CallTest : public testing::Test {
 protected:
  using Call = typename Face::Call;

  static auto makeCall() { return Face::makeCall("", "", 0, "", "", nullptr, 0); }

  /// The parameters as "type:bytes|".
  static std::string params(const Call& call) {
    std::string out;
    unsigned char type = 0;
    unsigned char* data = nullptr;
    long length = 0;
    for (long i = 0; call.getParam(i, type, data, length) == 1; ++i) {
      out += std::to_string(type) + ":" + std::string(reinterpret_cast<char*>(data), static_cast<std::size_t>(length)) +
             "|";
    }
    return out;
  }
};
TYPED_TEST_SUITE(CallTest, testing::Types<qz::test::ToolkitFace>);

TYPED_TEST(CallTest, ConstructorTakesItsSevenArgumentsInOrder) {
  ITKRTT token;
  token.setURL("http://h/gw");
  const auto call = TypeParam::makeCall("interface", "method", 3, "handle", "header", &token, 7);
  EXPECT_STREQ(call->getInterfaceName(), "interface");
  EXPECT_STREQ(call->getMethodName(), "method");
  EXPECT_EQ(call->getKeepAlive(), 3);
  EXPECT_STREQ(call->getObjectHandle(), "handle");
  EXPECT_STREQ(call->getRelayHeader(), "header");
  EXPECT_TRUE(call->getRTT() == token);
  EXPECT_EQ(call->getTimeoutLimit(), 7);
  EXPECT_EQ(call->getAsyncMode() | call->getTimeInterval() | call->getNumParamsChecksum() | call->getErrorCode(), 0);
  EXPECT_EQ(call->getComressParams(), 1);

  const auto empty = TypeParam::makeCall(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0);
  EXPECT_STREQ(empty->getInterfaceName(), "");
  EXPECT_EQ(empty->getMethodName(), nullptr);
  EXPECT_EQ(empty->getObjectHandle(), nullptr);
  EXPECT_EQ(empty->getRelayHeader(), nullptr);
  EXPECT_EQ(empty->getSoapAction(), nullptr);
  EXPECT_EQ(empty->getErrorText(), nullptr);
}

TYPED_TEST(CallTest, TextSettersTellWhetherSomethingIsStored) {
  const auto call = this->makeCall();
  using Call = typename TypeParam::Call;
  for (auto set : {&Call::setInterfaceName, &Call::setMethodName, &Call::setObjectHandle, &Call::setRelayHeader,
                   &Call::setPassportId}) {
    EXPECT_EQ((call.get()->*set)("x"), 1);
    EXPECT_EQ((call.get()->*set)(""), 0);
    EXPECT_EQ((call.get()->*set)(nullptr), 0);
  }
}

TYPED_TEST(CallTest, EmptyUrlAndActionAreLoggedAndStored) {
  const auto call = this->makeCall();
  const ToolkitLogWatch log;
  EXPECT_EQ(call->setGatewayURL("http://h/gw"), 1);
  EXPECT_EQ(call->setSoapAction("action"), 1);
  EXPECT_EQ(log.messages(), "");
  EXPECT_STREQ(call->getRTT().getURL(), "http://h/gw");
  EXPECT_EQ(call->setGatewayURL(""), 1);
  EXPECT_EQ(call->setGatewayURL(nullptr), 1);
  EXPECT_EQ(call->setSoapAction(""), 1);
  EXPECT_EQ(log.messages(),
            "trying to set an empty URL\ntrying to set an empty URL\ntrying to set an empty SOAP action\n");
  EXPECT_STREQ(call->getGatewayURL(), "");
  EXPECT_EQ(call->getSoapAction(), nullptr);
}

TYPED_TEST(CallTest, ParametersKeepOrderTypeAndBytes) {
  const auto call = this->makeCall();
  EXPECT_EQ(call->addParam(ITKBufferType::DT_BINARY, "a\0b", 3), 0);
  EXPECT_EQ(call->addParamText(""), 1);
  EXPECT_EQ(call->addParam(ITKBufferType::DT_LONG, nullptr, 0), 2);
  EXPECT_EQ(this->params(*call), std::string("0:a\0b|1:\0|4:|", 13));
  EXPECT_STREQ(call->getParamText(1), "");
  EXPECT_EQ(call->getParamText(0), nullptr);
  EXPECT_EQ(call->getParamText(3), nullptr);

  EXPECT_EQ(call->setParam(2, ITKBufferType::DT_I1, call->getParamAt(0)->getBuffer(), 1), 1);
  EXPECT_EQ(call->setParam(0, ITKBufferType::DT_TEXT, call->getParamAt(0)->getBuffer(), 1), 1);
  EXPECT_EQ(call->removeParam(1), 1);
  EXPECT_EQ(this->params(*call), "1:a|2:a|");

  const ToolkitLogWatch log;
  EXPECT_EQ(call->getParamAt(-1), nullptr);
  EXPECT_EQ(call->getParamAt(2), nullptr);
  EXPECT_EQ(log.messages(), "");
  EXPECT_EQ(call->setParam(2, ITKBufferType::DT_TEXT, "x", 1), 0);
  EXPECT_EQ(call->removeParam(-1), 0);
  EXPECT_EQ(call->addParam(ITKBufferType::DT_TEXT, "x", -1), -1);
  EXPECT_EQ(call->addParam(ITKBufferType::DT_TEXT, nullptr, 1), -1);
  EXPECT_EQ(call->addParamText(nullptr), -1);
  EXPECT_EQ(log.messages(),
            "index [2] out of range\nindex [-1] out of range\nCheck failed\nNULL pointer\nNULL pointer\n");
  EXPECT_EQ(call->getNumParams(), 2);
}

TYPED_TEST(CallTest, ParkedParametersComeBackAtEveryLevel) {
  const std::string large(100'000, 'x');
  for (const int level : {0, 1, 6}) {
    const auto call = this->makeCall(), back = this->makeCall();
    call->setComressParams(level);
    call->addParamText(large.c_str());
    call->addParam(ITKBufferType::DT_LONG, "\1\0\0\0", 4);
    typename TypeParam::Buffer stream;
    ASSERT_EQ(call->parkParams(stream), 1);
    EXPECT_EQ(stream.getType(), level == 0 ? ITKBufferType::DT_LIST : ITKBufferType::DT_COMPRESSED);
    EXPECT_EQ(stream.getLength() > 100'000, level == 0);
    back->addParamText("old");
    ASSERT_EQ(back->unparkParams(stream), 1);
    EXPECT_EQ(this->params(*back), this->params(*call));
  }
}

TYPED_TEST(CallTest, ParkingThatFailsIsLogged) {
  const auto call = this->makeCall();
  typename TypeParam::Buffer stream;
  stream.write("no list", true);
  call->addParamText("old");
  const ToolkitLogWatch log;
  EXPECT_EQ(call->unparkParams(stream), 0);
  EXPECT_EQ(call->getNumParams(), 0);
  call->setComressParams(42);
  EXPECT_EQ(call->parkParams(stream), 0);
  const auto messages = log.messages();
  EXPECT_NE(messages.find("Failed to serialize in parameters\n"), std::string::npos) << messages;
  EXPECT_NE(messages.find("Failed to serialize out parameters\n"), std::string::npos) << messages;
}

TYPED_TEST(CallTest, UserPreferences) {
  const auto call = this->makeCall();
  typename TypeParam::BufferList names;
  names.add("old");
  EXPECT_EQ(call->getUserPreferenceNames(names), 0);
  EXPECT_EQ(names.getCount(), 0);
  EXPECT_EQ(call->setUserPreference("a", "1"), 1);
  EXPECT_EQ(call->setUserPreference("b", "2"), 1);
  const void* kept = call->getUserPreferenceVars().find("a");
  EXPECT_EQ(call->setUserPreference("a", "three"), 1);
  EXPECT_EQ(call->getUserPreferenceVars().find("a"), kept);
  EXPECT_EQ(call->setUserPreference("b", call->getUserPreference("b")), 1);
  for (const char* bad : {"", static_cast<const char*>(nullptr)}) EXPECT_EQ(call->setUserPreference("b", bad), 0);
  EXPECT_EQ(call->setUserPreference(nullptr, "x"), 0);
  EXPECT_STREQ(call->getUserPreference("a"), "three");
  EXPECT_STREQ(call->getUserPreference("b"), "2");
  EXPECT_EQ(call->getUserPreference("c"), nullptr);
  EXPECT_EQ(call->getUserPreference(nullptr), nullptr);
  EXPECT_EQ(call->getUserPreferenceNames(names), 1);
  EXPECT_EQ(names.getCount(), 2);
  EXPECT_EQ(names.getAt(0)->getType(), ITKBufferType::DT_TEXT);
  call->ClearUserPreferenceVars();
  EXPECT_EQ(call->getUserPreference("a"), nullptr);
}

TYPED_TEST(CallTest, NumbersFromText) {
  const auto call = this->makeCall();
  const struct {
    const char* text;
    long value;
  } cases[] = {{"12", 12}, {" -5x", -5}, {"", 0}, {nullptr, 0}, {"x", 0}, {"2147483647", 2147483647}};
  for (const auto& c : cases) {
    call->setKeepAlive(9);
    call->setKeepAlive(c.text);
    call->setNumParamsChecksum(c.text);
    EXPECT_EQ(call->getKeepAlive(), c.value);
    EXPECT_EQ(call->getNumParamsChecksum(), c.value);
  }
}

TYPED_TEST(CallTest, ReturnCodeAndErrorText) {
  const auto call = this->makeCall();
  call->setReturnCode("");
  EXPECT_EQ(call->hasError(), 0);
  call->setReturnCode("7");
  EXPECT_EQ(call->getReturnCode(), 7);
  EXPECT_STREQ(call->getErrorText(), "\r\n");
  EXPECT_EQ(call->setReturnCode(8L), 8);
  EXPECT_EQ(call->addErrorText("more"), 8);
  EXPECT_STREQ(call->getErrorText(), "\r\nmore\r\n");
  EXPECT_EQ(call->setError(E_PROXY, "fresh"), E_PROXY);
  EXPECT_STREQ(call->getErrorText(), "fresh");
  EXPECT_EQ(call->setErrorCode(E_OK), E_OK);
  EXPECT_EQ(call->hasError(), 1);
}

TYPED_TEST(CallTest, CopyMatrix) {
  ITKRTT token;
  token.setURL("http://h/gw");
  token.setPassportID("p");
  const auto from = TypeParam::makeCall("interface", "method", 3, nullptr, "header", &token, 7);
  from->setSoapAction("action");
  from->setAsyncMode(1);
  from->setTimeInterval(2);
  from->setNumParamsChecksum("5");
  from->setComressParams(0);
  from->setError(E_FAULT, "text");
  from->setUserPreference("new", "1");
  from->addParamText("x");
  for (const int withParams : {0, 1}) {
    const auto to = TypeParam::makeCall("i", "m", 1, "handle", "r", nullptr, 1);
    to->setNumParamsChecksum("4");
    to->setUserPreference("old", "1");
    to->addParamText("old");
    ASSERT_EQ(to->copy(*from, withParams), 1);
    EXPECT_EQ(this->params(*to), withParams ? this->params(*from) : "");
    EXPECT_STREQ(to->getInterfaceName(), "interface");
    EXPECT_STREQ(to->getMethodName(), "method");
    EXPECT_EQ(to->getObjectHandle(), nullptr);
    EXPECT_STREQ(to->getRelayHeader(), "header");
    EXPECT_STREQ(to->getSoapAction(), "action");
    EXPECT_TRUE(to->getRTT() == from->getRTT());
    EXPECT_EQ(to->getKeepAlive(), 3);
    EXPECT_EQ(to->getTimeoutLimit(), 7);
    EXPECT_EQ(to->getAsyncMode(), 1);
    EXPECT_EQ(to->getTimeInterval(), 2);
    EXPECT_EQ(to->getNumParamsChecksum(), 4);
    EXPECT_EQ(to->getComressParams(), 0);
    EXPECT_EQ(to->getErrorCode(), E_FAULT);
    EXPECT_STREQ(to->getErrorText(), "text");
    EXPECT_EQ(to->getUserPreference("old"), nullptr);
    EXPECT_STREQ(to->getUserPreference("new"), "1");
  }
  EXPECT_EQ(from->copy(*from, 0), 1);
  EXPECT_EQ(from->getNumParams(), 1);
  EXPECT_STREQ(from->getUserPreference("new"), "1");
}

TEST(Soap, OwnsWhatItTakesOver) {
  int deleted = 0;
  {
    ITKSOAP call;
    EXPECT_EQ(call.addParam(new CountedBuffer(deleted)), 0);
    EXPECT_EQ(call.addParam(new CountedBuffer(deleted)), 1);
    EXPECT_EQ(call.addParam(new CountedBuffer(deleted)), 2);
    EXPECT_EQ(call.addParam(static_cast<ITKBuffer*>(nullptr)), -1);
    EXPECT_EQ(call.setParam(0, ITKBufferType::DT_TEXT, "x", 1), 1);
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(call.removeParam(1), 1);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(call.getUserPreferenceVars().set("p", new CountedBuffer(deleted)), 1);
  }
  EXPECT_EQ(deleted, 4);
}

TEST(Soap, NestedListIsOneElement) {
  ITKBufferList inner;
  inner.add("a");
  inner.add("b");
  ITKSOAP call;
  EXPECT_EQ(call.addParam(inner), 0);
  EXPECT_EQ(call.getParamAt(0)->getType(), ITKBufferType::DT_LIST);
  ITKBufferList back;
  EXPECT_EQ(back.serializeFrom(*call.getParamAt(0)), 1);
  EXPECT_EQ(back.getCount(), 2);
}

TEST(Soap, HolderDeletesUnlessDetached) {
  int deleted = 0;
  {
    ITKSOAP00 holder("interface", "method", 1, "", "", nullptr, 0);
    EXPECT_STREQ(holder->getMethodName(), "method");
    holder.attatchSOAP(new CountedCall(deleted));
    holder.attatchSOAP(holder.get());
    EXPECT_EQ(deleted, 0);
    const std::unique_ptr<ITKSOAP> detached(holder.detatchSOAP());
    EXPECT_EQ(holder.get(), nullptr);
    holder.releaseSOAP();
    EXPECT_EQ(deleted, 0);
    holder.attatchSOAP(new CountedCall(deleted));
  }
  EXPECT_EQ(deleted, 2);
}

}  // namespace
