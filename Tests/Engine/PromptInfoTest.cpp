// The parts of a logon that classes derived from the portal's clients use.
#include <gtest/gtest.h>

#include "ITKPromptInfo.h"
#include "RuntimeEngine/qzSOAP/PromptInfoA.h"
#include "Tests/Support/CallFaces.h"

namespace qz::test {
namespace {

struct Toolkit : ToolkitCalls {
  struct Prompt : ITKPromptInfo {
    Prompt() : ITKPromptInfo("http://none.example.org/gw", "pc", nullptr) {}
    using ITKPromptInfo::ExtractNamespaces, ITKPromptInfo::GetCookieValue, ITKPromptInfo::URLEncoding;
    bool take(const char* headers, ITKRTT& token) {
      return ExtractCookies("http://none.example.org/gw", headers, token);
    }
  };
};

struct Flat : FlatCalls {
  struct Prompt : CMPromptInfoA {
    Prompt() : CMPromptInfoA("http://none.example.org/gw", nullptr) {}
    using CMPromptInfoA::ExtractNamespaces, CMPromptInfoA::GetCookieValue, CMPromptInfoA::URLEncoding;
    bool take(const char* headers, ITKRTT& token) { return ExtractCookies(headers, *lines, token); }
    decltype(makeList()) lines = makeList();
  };
};

template <class Face>
class PromptInfo : public FaceTest<Face> {
 public:
  typename Face::Prompt prompt;
};

using Both = testing::Types<Toolkit, Flat>;
TYPED_TEST_SUITE(PromptInfo, Both);

TYPED_TEST(PromptInfo, ReadsAPageIntoLists) {
  auto &names = this->list(), &displayNames = this->list();
  names.add(R"(<input type="hidden" name="ZOTNamespace" value="LDAP">)");
  displayNames.add("kept");
  EXPECT_TRUE(this->prompt.ExtractNamespaces(names.getAt(0)->getStrBuffer(), names, displayNames));
  EXPECT_STREQ(names.getAt(0)->getStrBuffer(), "LDAP");
  EXPECT_EQ(names.getCount() + displayNames.getCount(), 2);
  EXPECT_FALSE(this->prompt.ExtractNamespaces(nullptr, names, displayNames));
  EXPECT_EQ(names.getCount(), 0);
}

TYPED_TEST(PromptInfo, FindsCookiesThatAreEnded) {
  auto& texts = this->list();
  for (const char* text : {"a=1", "b=2; a=", "xa=3; c=4"}) texts.add(text);
  auto& out = this->buffer("stale");
  EXPECT_STREQ(this->prompt.GetCookieValue("a", texts, out), "3") << "the first two have no end";
  EXPECT_EQ(contentOf(out), "3");
  EXPECT_EQ(this->prompt.GetCookieValue("c", texts, out), nullptr);
  EXPECT_EQ(contentOf(out), "3");
  ITKRTT token;
  EXPECT_TRUE(this->prompt.take("H\r\nSet-Cookie: a=1; path=/\r\n", token));
  EXPECT_STREQ(token.getURL(), "http://none.example.org/gw");
  EXPECT_FALSE(this->prompt.take("H\r\n", token));
}

TYPED_TEST(PromptInfo, EncodesForAForm) {
  const auto out = TypeParam::makeText();
  this->prompt.URLEncoding("a b&=\x80Z9_\x01", *out);
  EXPECT_EQ(TypeParam::textIn(*out), "a%20b%26%3D%80Z9%5F%01");
  this->prompt.URLEncoding(nullptr, *out);
  EXPECT_EQ(TypeParam::textIn(*out), "");
}

TEST(ToolkitPromptInfo, PutsAFormTogetherAndReadsItsPage) {
  struct : ITKPromptInfo {
    using ITKPromptInfo::AddURLToken, ITKPromptInfo::IsUserAlreadyAuthenticated, ITKPromptInfo::ITKPromptInfo;
  } prompt{nullptr, nullptr, nullptr};
  ITKString form;
  prompt.AddURLToken("a", "", form);
  prompt.AddURLToken("b", "1", form);
  prompt.AddURLToken("c", "2 3", form);
  EXPECT_STREQ(form.c_str(), "b=1&c=2%203");
  EXPECT_TRUE(prompt.IsUserAlreadyAuthenticated(ITKBuffer(R"(class="formText">x The user is already authenticated)")));
  EXPECT_FALSE(prompt.IsUserAlreadyAuthenticated(ITKBuffer("The user is already authenticated class=\"formText\">")));
}

}  // namespace
}  // namespace qz::test
