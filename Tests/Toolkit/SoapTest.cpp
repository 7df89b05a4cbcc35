#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "ITKSOAP.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ToolkitLog.h"

namespace {

using qz::test::contentOf;
using qz::test::ToolkitLogWatch;

/// Counts its own deletions.
template <class Base>
struct Counted : Base {
  explicit Counted(int& deleted) : deleted_(deleted) {}
  ~Counted() override { ++deleted_; }
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
    for (long i = 0; call.getParam(i, type, data, length) == 1; ++i)
      out += std::to_string(type) + ":" + std::string(data, data + length) + "|";
    return out;
  }

  /// Every other field.
  static std::string fields(const Call& call) {
    typename Face::OwnBufferList names;
    call.getUserPreferenceNames(names);
    std::string out;
    for (const char* text :
         {call.getInterfaceName(), call.getMethodName(), call.getObjectHandle(), call.getRelayHeader(),
          call.getSoapAction(), call.getGatewayURL(), call.getPassportId(), call.getErrorText()})
      out += text == nullptr ? "null " : std::string(text) + " ";
    for (const long number :
         {long{call.getKeepAlive()}, call.getTimeoutLimit(), call.getAsyncMode(), call.getTimeInterval(),
          call.getNumParamsChecksum(), long{call.getComressParams()}, call.getErrorCode()})
      out += std::to_string(number) + " ";
    for (long i = 0; i < names.getCount(); ++i)
      out += contentOf(*names.getAt(i)) + "=" + call.getUserPreference(names.getAt(i)->getStrBuffer()) + " ";
    return out;
  }
};
TYPED_TEST_SUITE(CallTest, testing::Types<qz::test::ToolkitFace>);

TYPED_TEST(CallTest, ConstructorTakesItsSevenArgumentsInOrder) {
  ITKRTT token;
  token.setURL("url");
  token.setPassportID("passport");
  const auto call = TypeParam::makeCall("interface", "method", 3, "handle", "header", &token, 7);
  EXPECT_EQ(this->fields(*call), "interface method handle header null url passport null 3 7 0 0 0 1 0 ");
  const auto empty = TypeParam::makeCall(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0);
  EXPECT_EQ(this->fields(*empty), " null null null null   null 0 0 0 0 0 1 0 ");
}

TYPED_TEST(CallTest, TextSettersTellWhetherSomethingIsStored) {
  const auto call = this->makeCall();
  using Call = typename TypeParam::Call;
  for (auto set : {&Call::setInterfaceName, &Call::setMethodName, &Call::setObjectHandle, &Call::setRelayHeader,
                   &Call::setPassportId}) {
    EXPECT_EQ((call.get()->*set)("x"), 1);
    EXPECT_EQ((call.get()->*set)(nullptr), 0);
  }
  EXPECT_EQ(call->setGatewayURL("url"), 1);
  EXPECT_EQ(call->setSoapAction("action"), 1);
  EXPECT_EQ(this->fields(*call), " null null null action url  null 0 0 0 0 0 1 0 ");
  const ToolkitLogWatch log;
  EXPECT_EQ(call->setGatewayURL(""), 1);
  EXPECT_EQ(call->setSoapAction(nullptr), 1);
  EXPECT_EQ(log.messages(), "trying to set an empty URL\ntrying to set an empty SOAP action\n");
  EXPECT_EQ(this->fields(*call), " null null null null   null 0 0 0 0 0 1 0 ");
}

TYPED_TEST(CallTest, ParametersKeepOrderTypeAndBytes) {
  const auto call = this->makeCall();
  EXPECT_EQ(call->addParam(ITKBufferType::DT_BINARY, "a\0b", 3), 0);
  EXPECT_EQ(call->addParamText(""), 1);
  EXPECT_EQ(call->addParam(ITKBufferType::DT_LONG, nullptr, 0), 2);
  EXPECT_EQ(this->params(*call), std::string("0:a\0b|1:\0|4:|", 13));
  EXPECT_STREQ(call->getParamText(1), "");
  EXPECT_EQ(call->getParamText(0), nullptr);
  EXPECT_EQ(call->setParam(2, ITKBufferType::DT_I1, call->getParamAt(0)->getBuffer(), 1), 1);
  EXPECT_EQ(call->setParam(0, ITKBufferType::DT_TEXT, call->getParamAt(0)->getBuffer(), 1), 1);
  EXPECT_EQ(call->removeParam(1), 1);

  const ToolkitLogWatch log;
  EXPECT_EQ(call->getParamAt(-1), nullptr);
  EXPECT_EQ(call->getParamText(2), nullptr);
  EXPECT_EQ(call->setParam(2, ITKBufferType::DT_TEXT, "x", 1), 0);
  EXPECT_EQ(call->removeParam(-1), 0);
  EXPECT_EQ(log.messages(), "index [2] out of range\nindex [-1] out of range\n");
  EXPECT_EQ(call->addParam(ITKBufferType::DT_TEXT, "x", -1), -1);
  EXPECT_EQ(call->addParamText(nullptr), -1);
  EXPECT_EQ(call->setParam(0, ITKBufferType::DT_TEXT, nullptr, 1), 0);
  EXPECT_EQ(this->params(*call), "1:a|2:a|");
}

TYPED_TEST(CallTest, ParametersComeBackFromTheirStreamAtEveryLevel) {
  const auto call = this->makeCall(), back = this->makeCall();
  typename TypeParam::OwnBuffer stream;
  call->addParamText(std::string(100'000, 'x').c_str());
  call->addParam(ITKBufferType::DT_LONG, "\1\0\0\0", 4);
  for (const int level : {0, 1, 6}) {
    call->setComressParams(level);
    ASSERT_EQ(call->parkParams(stream), 1);
    EXPECT_EQ(stream.getType(), level == 0 ? ITKBufferType::DT_LIST : ITKBufferType::DT_COMPRESSED);
    ASSERT_EQ(back->unparkParams(stream), 1);
    EXPECT_EQ(this->params(*back), this->params(*call));
  }
  stream.write("no list", true);
  const ToolkitLogWatch log;
  EXPECT_EQ(back->unparkParams(stream), 0);
  EXPECT_EQ(back->getNumParams(), 0);
  EXPECT_TRUE(log.messages().ends_with("Failed to serialize in parameters\n"));
  call->setComressParams(42);
  EXPECT_EQ(call->parkParams(stream), 0);
  EXPECT_TRUE(log.messages().ends_with("Failed to serialize out parameters\n"));
}

TYPED_TEST(CallTest, UserPreferences) {
  const auto call = this->makeCall();
  EXPECT_EQ(call->setUserPreference("a", "1"), 1);
  EXPECT_EQ(call->setUserPreference("b", "2"), 1);
  const void* kept = call->getUserPreferenceVars().find("a");
  EXPECT_EQ(call->setUserPreference("a", "three"), 1);
  EXPECT_EQ(call->getUserPreferenceVars().find("a"), kept);
  EXPECT_EQ(call->setUserPreference("b", call->getUserPreference("b")), 1);
  EXPECT_EQ(call->setUserPreference("b", ""), 0);
  EXPECT_EQ(call->setUserPreference(nullptr, "x"), 0);
  EXPECT_EQ(call->getUserPreference(nullptr), nullptr);
  typename TypeParam::OwnBufferList names;
  EXPECT_EQ(call->getUserPreferenceNames(names), 1);
  EXPECT_TRUE(this->fields(*call).ends_with(" a=three b=2 "));
  call->ClearUserPreferenceVars();
  EXPECT_EQ(call->getUserPreferenceNames(names), 0);
  EXPECT_EQ(names.getCount(), 0);
}

TYPED_TEST(CallTest, NumbersFromText) {
  const auto call = this->makeCall();
  for (const auto& [text, value] : {std::pair{" -5x", -5L}, {"2147483647", 2147483647L}, {nullptr, 0L}}) {
    call->setKeepAlive(text);
    call->setNumParamsChecksum(text);
    EXPECT_EQ(call->getKeepAlive(), value);
    EXPECT_EQ(call->getNumParamsChecksum(), value);
  }
  call->setReturnCode("");
  EXPECT_EQ(call->hasError(), 0);
  call->setReturnCode("7");
  EXPECT_EQ(call->addErrorText("more"), 7);
  EXPECT_STREQ(call->getErrorText(), "\r\nmore\r\n");
}

TYPED_TEST(CallTest, CopyTakesAllButTheAnnouncedCount) {
  ITKRTT token;
  token.setURL("url");
  token.setPassportID("passport");
  const auto from = TypeParam::makeCall("interface", "method", 3, nullptr, "header", &token, 7);
  from->setSoapAction("action");
  from->setAsyncMode(1);
  from->setTimeInterval(2);
  from->setNumParamsChecksum("5");
  from->setComressParams(6);
  from->setError(E_FAULT, "text");
  from->setUserPreference("new", "value");
  from->addParamText("x");
  for (const int withParams : {0, 1}) {
    const auto to = TypeParam::makeCall("i", "m", 1, "handle", "r", nullptr, 1);
    to->setNumParamsChecksum("4");
    to->setUserPreference("old", "1");
    to->addParamText("old");
    ASSERT_EQ(to->copy(*from, withParams), 1);
    EXPECT_EQ(this->params(*to), withParams ? this->params(*from) : "");
    EXPECT_EQ(this->fields(*to), "interface method null header action url passport text 3 7 1 2 4 6 -1 new=value ");
  }
  const auto before = this->fields(*from) + this->params(*from);
  EXPECT_EQ(from->copy(*from, 0), 1);
  EXPECT_EQ(this->fields(*from) + this->params(*from), before);
}

TEST(Soap, OwnsWhatItTakesOver) {
  int deleted = 0;
  {
    ITKSOAP call;
    for (long i = 0; i < 3; ++i) EXPECT_EQ(call.addParam(new Counted<ITKBuffer>(deleted)), i);
    EXPECT_EQ(call.addParam(static_cast<ITKBuffer*>(nullptr)), -1);
    EXPECT_EQ(call.setParam(0, ITKBufferType::DT_TEXT, "x", 1), 1);
    EXPECT_EQ(call.removeParam(1), 1);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(call.getUserPreferenceVars().set("p", new Counted<ITKBuffer>(deleted)), 1);
    EXPECT_EQ(call.addParam(call.getListParams()), 2);
    EXPECT_EQ(call.getParamAt(2)->getType(), ITKBufferType::DT_LIST);
  }
  EXPECT_EQ(deleted, 4);
}

TEST(Soap, HolderDeletesUnlessDetached) {
  int deleted = 0;
  {
    ITKSOAP00 holder("interface", "method", 1, "", "", nullptr, 0);
    EXPECT_STREQ(holder->getMethodName(), "method");
    holder.attatchSOAP(new Counted<ITKSOAP>(deleted));
    holder.attatchSOAP(holder.get());
    EXPECT_EQ(deleted, 0);
    holder.attatchSOAP(new Counted<ITKSOAP>(deleted));
    EXPECT_EQ(deleted, 1);
    const std::unique_ptr<ITKSOAP> detached(holder.detatchSOAP());
    holder.releaseSOAP();
    EXPECT_EQ(deleted, 1);
    holder.attatchSOAP(new Counted<ITKSOAP>(deleted));
  }
  EXPECT_EQ(deleted, 3);
}

}  // namespace
