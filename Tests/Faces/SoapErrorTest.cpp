#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Tests/Support/Faces.h"

namespace qz::test {
namespace {

using namespace std::string_literals;

template <class Face>
class SoapErrorTest : public FaceTest<Face> {};
TYPED_TEST_SUITE(SoapErrorTest, BothFaces);

// Code, sub-code and text of an error object.
template <class Error>
std::string fieldsOf(const Error& error) {
  const char* text = error.getErrorText();
  EXPECT_EQ(error.isError(), text != nullptr);
  return std::to_string(error.getErrorCode()) + "/" + std::to_string(error.getErrorSubCode()) + "/" +
         (text == nullptr ? "no error" : text);
}

TYPED_TEST(SoapErrorTest, GathersCodesAndLines) {
  auto& e = this->error();
  auto& other = this->error();
  auto& none = this->error();
  other.setErrorV(3, 404, "%s-%d", "other", 9);
  none.setError(0, "x");
  const char* const null = nullptr;
  const std::string tooLong(9000, 'x');
  const struct {
    std::function<long()> act;
    long result;
    std::string fields;
  } steps[] = {{[&] { return e.isError(); }, 0, "0/0/no error"},
               {[&] { return e.setError(0, "x"); }, 0, "0/0/no error"},
               {[&] { return e.setError(0, "xy"); }, 0, "0/0/xy"},
               {[&] { return e.setError(5, 6, null); }, 5, "5/6/"},
               {[&] { return e.setErrorV(4, null); }, 4, "4/6/"},
               {[&] { return e.clear(); }, 0, "0/0/no error"},
               {[&] { return e.addError(""); }, 0, "0/0/\r\n"},
               {[&] { return e.setErrorV(0, 1, "%d%%20", 1); }, 0, "0/1/1%20"},
               {[&] { return e.addError("a"); }, 0, "0/1/1%20a\r\n"},
               {[&] { return e.addErrorV("%s", "b"); }, 0, "0/1/1%20a\r\nb\r\n"},
               {[&] { return e.setErrorV(4, "%c", 'c'); }, 4, "4/1/c"},
               {[&] { return e.addError(-4, "d"); }, -4, "-4/1/cd\r\n"},
               {[&] { return e.checkErrorCode(0, "not added"); }, 0, "0/1/cd\r\n"},
               {[&] { return e.checkErrorCode(7, "e"); }, 1, "7/1/cd\r\ne"},
               {[&] { return e.addErrorV(8, "%s", "f"); }, 8, "8/1/cd\r\nef\r\n"},
               {[&] { return e.addError(other, "g:"); }, 8, "8/1/g:other-9\r\n"},
               {[&] { return e.addError(other, 9, "h:"); }, 9, "9/1/g:other-9\r\nh:other-9\r\n"},
               {[&] { return e.addErrorV(other, "%s:", "i"); }, 9, "9/1/i:other-9\r\n"},
               {[&] { return e.addErrorV(none, 2, "%s", "j"); }, 2, "2/1/i:other-9\r\nj\r\n"},
               {[&] { return e.addError(none, "k"); }, 2, "2/1/k\r\n"},
               {[&] { return e.addError(null); }, 2, "2/1/k\r\n\r\n"},
               {[&] { return e.addError(e.getErrorText()); }, 2, "2/1/k\r\n\r\nk\r\n\r\n\r\n"},
               {[&] { return e.setError(2, e.getErrorText() + 5); }, 2, "2/1/k\r\n\r\n\r\n"},
               {[&] { return e.addError(e, e.getErrorText() + 3); }, 2, "2/1/\r\n\r\nk\r\n\r\n\r\n\r\n"},
               {[&] { return e.setErrorV(1, "%s", tooLong.c_str()); }, 1, "1/1/" + tooLong.substr(0, 8191)}};
  for (const auto& step : steps) {
    EXPECT_EQ(step.act(), step.result) << &step - steps;
    EXPECT_EQ(fieldsOf(e), step.fields) << &step - steps;
  }
}

TYPED_TEST(SoapErrorTest, TravelsAsAListOfTwo) {
  auto& error = this->error();
  auto& again = this->error();
  auto& plain = this->buffer();
  auto& packed = this->buffer();
  error.setError(-2, 99, "text");
  EXPECT_EQ(error.serializeOut(TypeParam::passed(plain), 0), 1);
  EXPECT_EQ(contentOf(plain), "\x07\x02\x00\x04\x00\x00\x00\xFE\xFF\xFF\xFF\x01\x04\x00\x00\x00text"s);
  EXPECT_EQ(error.serializeOut(TypeParam::passed(packed), 6), 1);
  EXPECT_EQ(packed.getType(), ITKBufferType::DT_COMPRESSED);
  for (auto* stream : {&plain, &packed}) {
    again.setError(0, 7, "old text");
    EXPECT_EQ(again.serializeIn(TypeParam::passed(*stream)), 1);
    EXPECT_EQ(fieldsOf(again), "-2/7/text");
  }
}

TYPED_TEST(SoapErrorTest, RefusesListsThatAreNoErrors) {
  auto& error = this->error();
  error.setError(1, 2, "kept");
  for (const auto& stream : {"\x07\x01\x00\x04\x00\x00\x00\xFE\xFF\xFF\xFF"s,
                             "\x07\x02\x00\x03\x00\x00\x00\xFE\xFF\xFF\x01\x00\x00\x00\x00"s, ""s}) {
    const auto log = TypeParam::watchLog();
    EXPECT_EQ(error.serializeIn(TypeParam::passed(this->buffer(stream))), 0);
    EXPECT_TRUE(log.messages().ends_with(TypeParam::logged("serializeIn", "failed to serialize the incoming stream")));
    EXPECT_EQ(fieldsOf(error), "1/2/kept");
  }
}

TYPED_TEST(SoapErrorTest, CopiesAllFields) {
  auto& error = this->error();
  auto& copied = this->error();
  auto& assigned = this->error();
  error.setError(1, 2, "text");
  copied.copy(error);
  error.clear();
  assigned = copied;
  EXPECT_EQ(fieldsOf(assigned), "1/2/text");
  assigned.copy(assigned);
  EXPECT_EQ(fieldsOf(assigned), "1/2/text");
}

TEST(FlatSoapError, NullStreamsAreRefused) {
  const auto error = FlatFace::makeError();
  EXPECT_EQ(error->getErrorCode(), CqzSOAPError::noError);
  error->setError(1, "kept");
  const auto log = FlatFace::watchLog();
  EXPECT_EQ(error->serializeOut(nullptr, 0), 0);
  EXPECT_EQ(error->serializeIn(nullptr), 0);
  EXPECT_EQ(log.messages(),
            "serializeOut: Object receiving the out put is a NULL pointer\nserializeIn: Input object is NULL\n");
  EXPECT_EQ(fieldsOf(*error), "1/0/kept");
}

TEST(FlatSoapError, EveryChangeOfTheCodeIsAnInformationLine) {
  const auto said = [] {
    const auto error = FlatFace::makeError(), other = FlatFace::makeError();
    const CqzBuffer00 stream;
    const auto log = FlatFace::watchLog();
    error->setErrorCode(0);
    error->setErrorV(2, "%s", "text");
    error->addError(*other, 2, "");
    error->serializeOut(stream, 0);
    error->checkErrorCode(3, "");
    error->serializeIn(stream);
    other->copy(*error);
    other->clear();
    return log.messages();
  };
  EXPECT_EQ(said(), "");
  std::string expected;
  for (const std::string codes : {"00", "02", "22", "23", "32", "02", "20"})
    expected +=
        FlatFace::logged("setErrorCode", "Error code " + codes.substr(0, 1) + " is replaced with " + codes.substr(1));
  const auto information = FlatFace::logMore("LogInfo");
  EXPECT_EQ(said(), expected);
}

}  // namespace
}  // namespace qz::test
