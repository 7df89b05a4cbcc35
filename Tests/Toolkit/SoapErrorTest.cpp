#include <gtest/gtest.h>

#include <string>

#include "ITKBufferList.h"
#include "ITKSOAPError.h"
#include "QzTypes.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ToolkitLog.h"

namespace qz::test {
namespace {

using namespace std::string_literals;

template <class Face>
class SoapErrorTest : public testing::Test {};
using Faces = testing::Types<ToolkitFace>;
TYPED_TEST_SUITE(SoapErrorTest, Faces);

TYPED_TEST(SoapErrorTest, CountsAsAnErrorByCodeOrByText) {
  typename TypeParam::OwnError error;
  EXPECT_EQ(error.isError(), 0);
  EXPECT_EQ(error.getErrorText(), nullptr);
  error.setError(0, "x");
  EXPECT_EQ(error.isError(), 0);
  EXPECT_EQ(error.getErrorText(), nullptr);
  error.setError(0, "xy");
  EXPECT_EQ(error.isError(), 1);
  EXPECT_STREQ(error.getErrorText(), "xy");
  error.setError(5, nullptr);
  EXPECT_STREQ(error.getErrorText(), "");
  error.clear();
  EXPECT_EQ(error.addError(""), 0);
  EXPECT_EQ(error.isError(), 1);
}

TYPED_TEST(SoapErrorTest, GathersLines) {
  typename TypeParam::OwnError error, other, none;
  error.addError("a");
  error.addError("a");
  EXPECT_EQ(error.getErrorCode(), 0);
  EXPECT_STREQ(error.getErrorText(), "a\r\na\r\n");
  EXPECT_EQ(error.addError(E_HTTP, "b"), E_HTTP);
  EXPECT_EQ(error.checkErrorCode(0, "not added"), 0);
  EXPECT_EQ(error.getErrorCode(), 0);
  EXPECT_EQ(error.checkErrorCode(7, "c"), 1);
  EXPECT_STREQ(error.getErrorText(), "a\r\na\r\nb\r\nc");
  other.setError(3, 404, "other");
  EXPECT_EQ(other.getErrorSubCode(), 404);
  EXPECT_EQ(error.addError(other, 8, "d:"), 8);
  EXPECT_STREQ(error.getErrorText(), "a\r\na\r\nb\r\ncd:other\r\n");
  EXPECT_EQ(error.addError(other, "e:"), 8);
  EXPECT_STREQ(error.getErrorText(), "e:other\r\n");
  none.setError(0, "x");
  EXPECT_EQ(error.addError(none, "f"), 8);
  EXPECT_STREQ(error.getErrorText(), "f\r\n");
  error.addError(static_cast<const char*>(nullptr));
  EXPECT_STREQ(error.getErrorText(), "f\r\n\r\n");
}

TYPED_TEST(SoapErrorTest, FormatsAndCutsLongTexts) {
  typename TypeParam::OwnError error, other;
  other.setErrorV(3, "%s-%d", "text", 9);
  EXPECT_STREQ(other.getErrorText(), "text-9");
  error.setErrorV(4, 500, "%d%%20", 1);
  EXPECT_EQ(error.getErrorSubCode(), 500);
  error.addErrorV("%s", "two");
  error.addErrorV(5, "%c", '3');
  error.addErrorV(other, 6, "%d+", 4);
  EXPECT_STREQ(error.getErrorText(), "1%20two\r\n3\r\n4+text-9\r\n");
  EXPECT_EQ(error.addErrorV(other, "%s", "5+"), 6);
  EXPECT_STREQ(error.getErrorText(), "5+text-9\r\n");
  error.setErrorV(1, "%s", std::string(9000, 'x').c_str());
  EXPECT_EQ(std::string(error.getErrorText()), std::string(8191, 'x'));
}

TYPED_TEST(SoapErrorTest, TakesItsOwnTextAsArgument) {
  typename TypeParam::OwnError error;
  error.setError(1, "text");
  error.addError(error.getErrorText());
  EXPECT_STREQ(error.getErrorText(), "texttext\r\n");
  error.setError(1, error.getErrorText() + 4);
  EXPECT_STREQ(error.getErrorText(), "text\r\n");
  error.addError(error, "again: ");
  EXPECT_STREQ(error.getErrorText(), "again: text\r\n\r\n");
}

TYPED_TEST(SoapErrorTest, TravelsAsAListOfTwo) {
  typename TypeParam::OwnError error, again;
  typename TypeParam::OwnBuffer plain, packed;
  error.setError(-2, 99, "text");
  EXPECT_EQ(error.serializeOut(plain, 0), 1);
  EXPECT_EQ(contentOf(plain), "\x07\x02\x00\x04\x00\x00\x00\xFE\xFF\xFF\xFF\x01\x04\x00\x00\x00text"s);
  EXPECT_EQ(error.serializeOut(packed, 6), 1);
  EXPECT_EQ(packed.getType(), ITKBufferType::DT_COMPRESSED);
  for (const auto* stream : {&plain, &packed}) {
    again.setError(0, 7, "old text");
    EXPECT_EQ(again.serializeIn(*stream), 1);
    EXPECT_EQ(again.getErrorCode(), -2);
    EXPECT_EQ(again.getErrorSubCode(), 7);
    EXPECT_STREQ(again.getErrorText(), "text");
  }
}

TYPED_TEST(SoapErrorTest, RefusesListsThatAreNoErrors) {
  typename TypeParam::OwnError error;
  error.setError(1, 2, "kept");
  for (const auto& stream : {"\x07\x01\x00\x04\x00\x00\x00\xFE\xFF\xFF\xFF"s,
                             "\x07\x02\x00\x03\x00\x00\x00\xFE\xFF\xFF\x01\x00\x00\x00\x00"s, ""s}) {
    ToolkitLogWatch log;
    const typename TypeParam::OwnBuffer in(stream.data(), static_cast<long>(stream.size()), ITKBufferType::DT_LIST);
    EXPECT_EQ(error.serializeIn(in), 0);
    EXPECT_TRUE(log.messages().ends_with("failed to serialize the incoming stream\n"));
    EXPECT_EQ(error.getErrorCode(), 1);
    EXPECT_EQ(error.getErrorSubCode(), 2);
    EXPECT_STREQ(error.getErrorText(), "kept");
  }
}

TEST(SoapError, CopiesAllFields) {
  ITKSOAPError error;
  error.setError(1, 2, "text");
  const ITKSOAPError copied(error);
  error.clear();
  EXPECT_EQ(error.getErrorSubCode(), 0);
  EXPECT_EQ(error.isError(), 0);
  error = copied;
  EXPECT_EQ(error.getErrorCode(), 1);
  EXPECT_EQ(error.getErrorSubCode(), 2);
  EXPECT_STREQ(error.getErrorText(), "text");
}

}  // namespace
}  // namespace qz::test
