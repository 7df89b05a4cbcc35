#include "RuntimeEngine/qzSOAP/ZCompression.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"

namespace qz::test {
namespace {

TEST(ZCompression, TheCallersCapacityIsTheFirst) {
  const CZCompression compression;
  const std::string content(1000, 'c');
  const CqzBuffer00 source, expected, target;
  source->write(static_cast<const void*>(content.data()), 1000);
  ASSERT_EQ(compression.compress(*source, *expected, 1, 0), 1);
  for (const unsigned long capacity : {1UL, 1000UL, 100000UL}) {
    EXPECT_EQ(compression.compress(*source, *target, 1, capacity), 1) << capacity;
    EXPECT_EQ(*target == *expected, 1) << capacity;
  }
  // What no signed number can hold is no allocation that is tried.
  EXPECT_EQ(compression.compress(*source, *target, 1, 0xFFFFFFFF), 0);
  EXPECT_EQ(*target == *expected, 1);
}

TEST(ZCompression, ThreadsThatAskAtOnceGetTheSameObject) {
  for (int round = 0; round < 20; ++round) {
    getDllApp().deleteCompression();
    std::array<CZCompression*, 8> got{};
    {
      std::array<std::jthread, 8> threads;
      for (std::size_t i = 0; i < got.size(); ++i) threads[i] = std::jthread([&, i] { got[i] = &getZCompression(); });
    }
    for (const auto* object : got) EXPECT_EQ(object, getDllApp().getCompression());
  }
  getDllApp().release();
  EXPECT_EQ(getDllApp().getCompression(), nullptr);
}

}  // namespace
}  // namespace qz::test
