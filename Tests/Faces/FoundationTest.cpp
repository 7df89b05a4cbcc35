#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "ITKFile.h"
#include "ITKMapStringToPtr.h"
#include "ITKString.h"
#include "ITKTime.h"
#include "ITKVarArray.h"
#include "Tests/Support/OwnVariant.h"
#include "Tests/Support/ScratchFile.h"

namespace qz::test {
namespace {

using namespace std::string_literals;

TEST(String, SharesStorageOnlyByCopying) {
  const ITKString a("text"), b("text"), none, null(static_cast<const char*>(nullptr)), cut("text", 0);
  ITKString copied(a), assigned;
  assigned = a;
  EXPECT_TRUE(copied.shares(a) && assigned.shares(a) && none.shares(null) && none.shares(cut));
  assigned = assigned.c_str();
  EXPECT_STREQ(assigned, "text");
  EXPECT_FALSE(a.shares(b) || a.shares(assigned));
  assigned = "";
  EXPECT_TRUE(assigned.shares(none));
  for (const auto* sign : {"!", "?"}) {
    assigned = copied;
    copied += sign;
  }
  EXPECT_STREQ(a, "text");
  EXPECT_STREQ(assigned, "text!");
  EXPECT_STREQ(copied, "text!?");
}

TEST(String, TakesPartsOfItself) {
  ITKString text("0123456789");
  for (int i = 0; i < 5; ++i) text += text;
  text.append(text.c_str() + 315, 5);
  text = text.c_str() + 315;
  EXPECT_STREQ(text, "5678956789");
  EXPECT_EQ(text.replace(text.mid(0, 2), text.mid(4, 1)), 2);
  text = *&text;
  EXPECT_STREQ(text, "97899789");
}

TEST(String, FindsAndCuts) {
  const ITKString text("Set-Cookie: a; set-cookie: b");
  EXPECT_EQ(text.find("Cookie"), 4);
  EXPECT_EQ(text.findNoCase("COOKIE", 5), 19);
  for (const long start : {-1L, 13L, 29L}) EXPECT_EQ(text.find("a", start), -1);
  EXPECT_EQ(text.find(nullptr), -1);
  const struct {
    long start, count;
    const char* part;
  } cases[] = {{4, 6, "Cookie"}, {25, 100, ": b"}, {-2, 5, "Set"},
               {28, 1, ""},      {3, -1, ""},      {LONG_MIN, LONG_MIN + 5, ""}};
  for (const auto& c : cases) EXPECT_STREQ(text.mid(c.start, c.count), c.part) << c.start;
}

TEST(String, ReplacesAndEscapes) {
  ITKString text("a$$b$$");
  EXPECT_EQ(text.replace("$$", "<&>"), 2);
  EXPECT_EQ(text.replace(nullptr, "x"), 0);
  text.encodeXML();
  EXPECT_STREQ(text, "a&lt;&amp;&gt;b&lt;&amp;&gt;");
  text.decodeXML();
  EXPECT_EQ(text.replace("<&>", nullptr), 2);
  EXPECT_STREQ(text, "ab");
}

TEST(MapStringToPtr, KeepsOrderAndOwnsItsValues) {
  static int deleted;
  deleted = 0;
  {
    ITKMapStringToPtr map([](void* value) { ++deleted, delete static_cast<int*>(value); });
    for (int i = 0; i < 5; ++i) EXPECT_EQ(map.set(std::to_string(i).c_str(), new int(i)), 1);
    EXPECT_EQ(map.set("2", new int(22)), 1);
    EXPECT_EQ(map.set("2", map.find("2")), 1);
    EXPECT_EQ(map.remove("1"), 1);
    EXPECT_EQ(map.remove("1"), 0);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(map.set(nullptr, new int(9)), 1);
    std::string order;
    for (long i = 0; i < map.getCount(); ++i)
      order += map.getKeyAt(i) + "="s + std::to_string(*static_cast<int*>(map.getAt(i))) + " ";
    EXPECT_EQ(order, "0=0 2=22 3=3 4=4 =9 ");
    EXPECT_EQ(map.find("4"), map.getAt(3));
    EXPECT_EQ(map.getKeyAt(5), nullptr);
    EXPECT_EQ(map.getAt(-1), nullptr);
  }
  EXPECT_EQ(deleted, 7);
}

TEST(File, AppendsWhileOthersRead) {
  const ScratchFile scratch("old ");
  ITKFile file;
  ASSERT_TRUE(file.openAppend(scratch.path()));
  EXPECT_TRUE(file.write("new", 3));
  EXPECT_EQ(scratch.content(), "old new");
  ITKFile moved(std::move(file));
  EXPECT_FALSE(file.isOpen() || file.write("x", 1));
  EXPECT_EQ(file.getSize(), -1);
  ASSERT_TRUE(moved.openRead(scratch.path()));
  EXPECT_EQ(moved.getSize(), 7);
  char bytes[10];
  EXPECT_EQ(moved.read(bytes, 10), 7);
  EXPECT_EQ(moved.read(bytes, 10), 0);
  EXPECT_EQ(moved.read(nullptr, 1), -1);
  EXPECT_FALSE(moved.openRead(nullptr) || moved.isOpen());
}

TEST(Time, Passes) {
  const ITKTime time;
  Sleep(20);
  EXPECT_GE(time.getElapsedMilliseconds(), 10);
  EXPECT_GE(time.getYear(), 2020);
}

TEST(VarArray, OwnsCopies) {
  ITKVarArray array;
  OwnVariant text, all;
  text.vt = VT_BSTR, text.bstrVal = SysAllocString(L"text");
  EXPECT_EQ(array.add(text), 0);
  EXPECT_NE(array.getAt(0)->bstrVal, text.bstrVal);
  EXPECT_EQ(array.getAt(1), nullptr);
  EXPECT_FALSE(array.toVARIANT(text));
  EXPECT_TRUE(array.toVARIANT(all));
  array.removeAll();
  ASSERT_EQ(all.vt, VT_ARRAY | VT_VARIANT);
  EXPECT_EQ(std::wstring(static_cast<VARIANT*>(all.parray->pvData)[0].bstrVal), L"text");
}

}  // namespace
}  // namespace qz::test
