#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "Tests/Support/Faces.h"

namespace qz::test {
namespace {

/// Counts its own deletions.
template <class Base>
struct Counted : Base {
  explicit Counted(int& deleted) : deleted_(deleted) {}
  ~Counted() override { ++deleted_; }
  int& deleted_;
};

template <class Face>
class CallTest : public FaceTest<Face> {
 protected:
  using Call = typename Face::Call;

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
  std::string fields(const Call& call) {
    auto& names = this->list();
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
TYPED_TEST_SUITE(CallTest, BothFaces);

TYPED_TEST(CallTest, TextSettersTellWhetherSomethingIsStored) {
  auto& call = this->call(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0);
  EXPECT_EQ(this->fields(call), " null null null null   null 0 0 0 0 0 1 0 ");
  using Call = typename TypeParam::Call;
  for (auto set : {&Call::setInterfaceName, &Call::setMethodName, &Call::setObjectHandle, &Call::setRelayHeader,
                   &Call::setPassportId}) {
    EXPECT_EQ((call.*set)("x"), 1);
    EXPECT_EQ((call.*set)(nullptr), 0);
  }
  EXPECT_EQ(call.setGatewayURL("url"), 1);
  EXPECT_EQ(call.setSoapAction("action"), 1);
  EXPECT_EQ(this->fields(call), " null null null action url  null 0 0 0 0 0 1 0 ");
  const auto log = TypeParam::watchLog();
  EXPECT_EQ(call.setGatewayURL(""), 1);
  EXPECT_EQ(call.setSoapAction(nullptr), 1);
  EXPECT_EQ(log.messages(), TypeParam::logged("setGatewayURL", "trying to set an empty URL") +
                                TypeParam::logged("setSoapAction", "trying to set an empty SOAP action"));
  EXPECT_EQ(this->fields(call), " null null null null   null 0 0 0 0 0 1 0 ");
}

TYPED_TEST(CallTest, ParametersKeepOrderTypeAndBytes) {
  auto& call = this->call();
  EXPECT_EQ(call.addParam(ITKBufferType::DT_BINARY, "a\0b", 3), 0);
  EXPECT_EQ(call.addParamText(""), 1);
  EXPECT_EQ(call.addParam(ITKBufferType::DT_LONG, nullptr, 0), 2);
  EXPECT_EQ(this->params(call), std::string("0:a\0b|1:\0|4:|", 13));
  EXPECT_STREQ(call.getParamText(1), "");
  EXPECT_EQ(call.getParamText(0), nullptr);
  EXPECT_EQ(call.setParam(2, ITKBufferType::DT_I1, call.getParamAt(0)->getBuffer(), 1), 1);
  EXPECT_EQ(call.setParam(0, ITKBufferType::DT_TEXT, call.getParamAt(0)->getBuffer(), 1), 1);
  EXPECT_EQ(call.removeParam(1), 1);

  const auto log = TypeParam::watchLog();
  EXPECT_EQ(call.getParamAt(-1), nullptr);
  EXPECT_EQ(call.getParamText(2), nullptr);
  EXPECT_EQ(call.setParam(2, ITKBufferType::DT_TEXT, "x", 1), 0);
  EXPECT_EQ(call.removeParam(-1), 0);
  EXPECT_EQ(log.messages(), TypeParam::logged("setAt", "index [2] out of range") +
                                TypeParam::logged("removeAt", "index [-1] out of range"));
  const std::pair<std::function<long()>, long> refused[] = {
      {[&] { return call.addParam(ITKBufferType::DT_TEXT, "x", -1); }, -1},
      {[&] { return call.addParam(ITKBufferType::DT_TEXT, nullptr, 1); }, -1},
      {[&] { return call.addParamText(nullptr); }, -1},
      {[&] { return call.setParam(0, ITKBufferType::DT_TEXT, nullptr, 1); }, 0}};
  for (const auto& [act, result] : refused) {
    const auto reasons = TypeParam::watchLog();
    EXPECT_EQ(act(), result);
    EXPECT_NE(reasons.messages(), "");
  }
  EXPECT_EQ(this->params(call), "1:a|2:a|");
}

TYPED_TEST(CallTest, TakesBuffersOverAndNestsLists) {
  auto& call = this->call();
  auto buffer = TypeParam::makeBuffer();
  buffer->write("x", true);
  EXPECT_EQ(call.addParam(buffer.get()), 0);
  EXPECT_EQ(call.getParamAt(0), buffer.release());
  EXPECT_EQ(call.addParam(buffer.get()), -1);
  EXPECT_EQ(call.addParam(call.getListParams()), 1);
  EXPECT_EQ(this->params(call), std::string("1:x|7:\7\1\1\1\0\0\0x|", 15));
}

TYPED_TEST(CallTest, ParametersComeBackFromTheirStreamAtEveryLevel) {
  auto& call = this->call();
  auto& back = this->call();
  auto& stream = this->buffer();
  call.addParamText(std::string(100'000, 'x').c_str());
  call.addParam(ITKBufferType::DT_LONG, "\1\0\0\0", 4);
  for (const int level : {0, 1, 6}) {
    call.setComressParams(level);
    ASSERT_EQ(call.parkParams(stream), 1);
    EXPECT_EQ(stream.getType(), level == 0 ? ITKBufferType::DT_LIST : ITKBufferType::DT_COMPRESSED);
    ASSERT_EQ(back.unparkParams(stream), 1);
    EXPECT_EQ(this->params(back), this->params(call));
  }
  stream.write("no list", true);
  const auto log = TypeParam::watchLog();
  EXPECT_EQ(back.unparkParams(stream), 0);
  EXPECT_EQ(back.getNumParams(), 0);
  EXPECT_TRUE(log.messages().ends_with(TypeParam::logged("unparkParams", "Failed to serialize in parameters")));
  call.setComressParams(42);
  EXPECT_EQ(call.parkParams(stream), 0);
  EXPECT_TRUE(log.messages().ends_with(TypeParam::logged("parkParams", "Failed to serialize out parameters")));
}

TYPED_TEST(CallTest, UserPreferences) {
  auto& call = this->call();
  EXPECT_EQ(call.setUserPreference("a", "1"), 1);
  EXPECT_EQ(call.setUserPreference("b", "2"), 1);
  const void* kept = call.getUserPreferenceVars().find("a");
  EXPECT_EQ(call.setUserPreference("a", "three"), 1);
  EXPECT_EQ(call.getUserPreferenceVars().find("a"), kept);
  EXPECT_EQ(call.setUserPreference("b", call.getUserPreference("b")), 1);
  EXPECT_EQ(call.setUserPreference("b", ""), 0);
  EXPECT_EQ(call.setUserPreference(nullptr, "x"), 0);
  EXPECT_EQ(call.getUserPreference(nullptr), nullptr);
  auto& names = this->list();
  EXPECT_EQ(call.getUserPreferenceNames(names), 1);
  EXPECT_TRUE(this->fields(call).ends_with(" a=three b=2 "));
  call.ClearUserPreferenceVars();
  EXPECT_EQ(call.getUserPreferenceNames(names), 0);
  EXPECT_EQ(names.getCount(), 0);
}

TYPED_TEST(CallTest, NumbersFromText) {
  auto& call = this->call();
  for (const auto& [text, value] : {std::pair{" -5x", -5L}, {"2147483647", 2147483647L}, {nullptr, 0L}}) {
    call.setKeepAlive(text);
    call.setNumParamsChecksum(text);
    EXPECT_EQ(call.getKeepAlive(), value);
    EXPECT_EQ(call.getNumParamsChecksum(), value);
  }
  call.setReturnCode("");
  EXPECT_EQ(call.hasError(), 0);
  call.setReturnCode("7");
  EXPECT_EQ(call.addErrorText("more"), 7);
  EXPECT_STREQ(call.getErrorText(), "\r\nmore\r\n");
}

TYPED_TEST(CallTest, CopyTakesAllButTheAnnouncedCount) {
  ITKRTT token;
  token.setURL("url");
  token.setPassportID("passport");
  auto& from = this->call("interface", "method", 3, nullptr, "header", &token, 7);
  from.setSoapAction("action");
  from.setAsyncMode(1);
  from.setTimeInterval(2);
  from.setNumParamsChecksum("5");
  from.setComressParams(6);
  from.setError(E_FAULT, "text");
  from.setUserPreference("new", "value");
  from.addParamText("x");
  for (const int withParams : {0, 1}) {
    auto& to = this->call("i", "m", 1, "handle", "r", nullptr, 1);
    to.setNumParamsChecksum("4");
    to.setUserPreference("old", "1");
    to.addParamText("old");
    ASSERT_EQ(to.copy(from, withParams), 1);
    EXPECT_EQ(this->params(to), withParams ? this->params(from) : "");
    EXPECT_EQ(this->fields(to), "interface method null header action url passport text 3 7 1 2 4 6 -1 new=value ");
  }
  const auto before = this->fields(from) + this->params(from);
  EXPECT_EQ(from.copy(from, 0), 1);
  EXPECT_EQ(this->fields(from) + this->params(from), before);
}

TEST(Soap, OwnsWhatItTakesOver) {
  int deleted = 0;
  {
    ITKSOAP call;
    for (long i = 0; i < 3; ++i) EXPECT_EQ(call.addParam(new Counted<ITKBuffer>(deleted)), i);
    EXPECT_EQ(call.setParam(0, ITKBufferType::DT_TEXT, "x", 1), 1);
    EXPECT_EQ(call.removeParam(1), 1);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(call.getUserPreferenceVars().set("p", new Counted<ITKBuffer>(deleted)), 1);
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

TEST(FlatSoap, TextsAreCopiedIntoArraysThatHoldThem) {
  const auto call = FlatFace::makeCall("", "", 0, "", "", nullptr, 0);
  call->addParamText("abc");
  call->addParam(CRpcSOAP::DT_BINARY, "x", 1);
  const std::string notText = "getParamText: Try to get a text string which is not a text\n";
  const std::string tooShort = "getParamText: Insufficient buffer size\n";
  const struct {
    long index, size;
    int result;
    const char *array, *log;
  } cases[] = {{0, 4, 1, "abc", ""},
               {0, 3, 0, "", tooShort.c_str()},
               {0, 0, 0, "before", tooShort.c_str()},
               {1, 4, 0, "before", notText.c_str()},
               {2, 4, 0, "before", notText.c_str()}};
  for (const auto& c : cases) {
    char array[] = "before";
    const auto log = FlatFace::watchLog();
    EXPECT_EQ(call->getParamText(c.index, array, c.size), c.result);
    EXPECT_STREQ(array, c.array);
    EXPECT_EQ(log.messages(), c.log);
  }
  EXPECT_EQ(call->getParamText(0, nullptr, 4), 0);
}

TEST(FlatSoap, HolderGivesBackWhatIsDetached) {
  CRpcSOAP00 holder("interface", "method", 1, "", "", nullptr, 0);
  CRpcSOAP* const first = holder.get();
  holder.attatchSOAP(first);
  EXPECT_STREQ(holder->getMethodName(), "method");
  EXPECT_EQ(holder.detatchSOAP(), first);
  EXPECT_EQ(holder.get(), nullptr);
  const CRpcSOAP00 other("", "other", 0, "", "", nullptr, 0);
  holder.attatchSOAP(first);
  EXPECT_EQ(holder->copy(*other, 1), 1);
  EXPECT_STREQ(first->getMethodName(), "other");
  holder.releaseSOAP();
  EXPECT_EQ(holder.get(), nullptr);
}

}  // namespace
}  // namespace qz::test
