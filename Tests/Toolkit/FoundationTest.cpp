#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "ITKFile.h"
#include "ITKMapStringToPtr.h"
#include "ITKString.h"
#include "ITKTime.h"
#include "ITKVarArray.h"
#include "Tests/Support/ScratchFile.h"

namespace qz::test {
namespace {

using namespace std::string_literals;

TEST(String, SharesStorageOnlyByCopying) {
  const ITKString a("text"), b("text"), none, null(static_cast<const char*>(nullptr)), cut("text", 0);
  ITKString copied(a), assigned;
  assigned = a;
  EXPECT_TRUE(copied.shares(a));
  EXPECT_TRUE(assigned.shares(a));
  EXPECT_FALSE(a.shares(b));
  EXPECT_TRUE(none.shares(null));
  EXPECT_TRUE(none.shares(cut));
  assigned = assigned.c_str();
  EXPECT_STREQ(assigned, "text");
  EXPECT_FALSE(assigned.shares(a));
  assigned = "";
  EXPECT_TRUE(assigned.shares(none));
  copied += "!";
  EXPECT_STREQ(a, "text");
  EXPECT_STREQ(copied, "text!");
}

TEST(String, TakesPartsOfItself) {
  ITKString text("0123456789");
  for (int i = 0; i < 5; ++i) text += text;
  EXPECT_EQ(text.getLength(), 320);
  text.append(text.c_str() + 315, 5);
  text = text.c_str() + 315;
  EXPECT_STREQ(text, "5678956789");
  EXPECT_EQ(text.replace(text.mid(0, 2), text.mid(4, 1)), 2);
  EXPECT_STREQ(text, "97899789");
  text = *&text;
  EXPECT_STREQ(text, "97899789");
}

TEST(String, FindsAndCuts) {
  const ITKString text("Set-Cookie: a; set-cookie: b");
  EXPECT_EQ(text.find("Cookie"), 4);
  EXPECT_EQ(text.find("Cookie", 5), -1);
  EXPECT_EQ(text.findNoCase("COOKIE", 5), 19);
  EXPECT_EQ(text.find("", 28), 28);
  for (const long start : {-1L, 29L}) EXPECT_EQ(text.find("a", start), -1);
  EXPECT_EQ(text.find(nullptr), -1);
  EXPECT_STREQ(text.mid(4, 6), "Cookie");
  EXPECT_STREQ(text.mid(25, 100), ": b");
  EXPECT_STREQ(text.mid(-2, 5), "Set");
  EXPECT_STREQ(text.mid(28, 1), "");
  EXPECT_STREQ(text.mid(3, -1), "");
}

TEST(String, ReplacesAndEscapes) {
  ITKString text("a$$b$$");
  EXPECT_EQ(text.replace("$$", "<&>"), 2);
  EXPECT_EQ(text.replace("", "x"), 0);
  EXPECT_EQ(text.replace(nullptr, "x"), 0);
  text.encodeXML();
  EXPECT_STREQ(text, "a&lt;&amp;&gt;b&lt;&amp;&gt;");
  text.decodeXML();
  EXPECT_EQ(text.replace("<&>", nullptr), 2);
  EXPECT_STREQ(text, "ab");
}

TEST(String, CopiesLiveOnDifferentThreads) {
  const ITKString source("shared by all threads");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&source] {
      for (int round = 0; round < 20000; ++round) {
        ITKString copied(source);
        ITKString other = copied;
        if (round % 3 == 0) other += "!";
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_STREQ(source, "shared by all threads");
}

int deleted = 0;

void countDeletion(void* value) {
  ++deleted;
  delete static_cast<int*>(value);
}

TEST(MapStringToPtr, KeepsOrderAndOwnsItsValues) {
  deleted = 0;
  {
    ITKMapStringToPtr map(countDeletion);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(map.set(std::to_string(i).c_str(), new int(i)), 1);
    EXPECT_EQ(map.set("2", new int(22)), 1);
    EXPECT_EQ(map.set("2", map.find("2")), 1);
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(map.remove("1"), 1);
    EXPECT_EQ(map.remove("1"), 0);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(map.set(nullptr, new int(9)), 1);
    std::string order;
    for (long i = 0; i < map.getCount(); ++i)
      order += map.getKeyAt(i) + "="s + std::to_string(*static_cast<int*>(map.getAt(i))) + " ";
    EXPECT_EQ(order, "0=0 2=22 3=3 4=4 =9 ");
    EXPECT_EQ(map.find("4"), map.getAt(3));
    EXPECT_EQ(map.find("1"), nullptr);
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
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.write("x", 1));
  EXPECT_EQ(file.getSize(), -1);
  EXPECT_EQ(moved.getSize(), 7);
  ASSERT_TRUE(moved.openRead(scratch.path()));
  char bytes[10];
  EXPECT_EQ(moved.read(bytes, 10), 7);
  EXPECT_EQ(moved.read(bytes, 10), 0);
  EXPECT_EQ(moved.read(nullptr, 1), -1);
  EXPECT_FALSE(moved.openRead(nullptr));
  EXPECT_FALSE(moved.openRead("no such file"));
  EXPECT_EQ(moved.getHandle(), INVALID_HANDLE_VALUE);
}

TEST(Time, PassesMonotonically) {
  ITKTime time;
  EXPECT_GE(time.getYear(), 2020);
  Sleep(20);
  EXPECT_GE(time.getElapsedMilliseconds(), 10);
  time.restart();
  EXPECT_LT(time.getElapsedMilliseconds(), 10000);
}

TEST(VarArray, OwnsCopies) {
  ITKVarArray array;
  VARIANT value;
  VariantInit(&value);
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(L"text");
  EXPECT_EQ(array.add(value), 0);
  EXPECT_NE(array.getAt(0)->bstrVal, value.bstrVal);
  EXPECT_EQ(array.getAt(1), nullptr);
  EXPECT_FALSE(array.toVARIANT(value));
  VariantClear(&value);
  EXPECT_TRUE(array.toVARIANT(value));
  array.removeAll();
  EXPECT_EQ(value.vt, VT_ARRAY | VT_VARIANT);
  const auto* items = static_cast<VARIANT*>(value.parray->pvData);
  EXPECT_EQ(std::wstring(items[0].bstrVal), L"text");
  VariantClear(&value);
}

}  // namespace
}  // namespace qz::test
