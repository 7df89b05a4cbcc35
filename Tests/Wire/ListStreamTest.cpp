#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "References/Common/Bytes.h"
#include "References/Libraries/Wire/ListStream.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;

std::string written(const std::vector<ElementView>& elements) {
  std::string stream(static_cast<std::size_t>(listStreamSize(elements)), '?');
  auto* to = reinterpret_cast<std::byte*>(stream.data());
  ListStreamWriter writer(to, elements.size());
  for (const auto& element : elements) writer.add(element);
  EXPECT_EQ(writer.end(), to + stream.size());
  return stream;
}

TEST(ListStream, HasTheseBytes) {
  EXPECT_EQ(written({}), "\x07\x00"s);
  EXPECT_EQ(written({{1, bytesOf("hi")}, {0, {}}, {4, bytesOf("\x2A\x00\x00\x00"s)}}),
            "\x07\x03"
            "\x01\x02\x00\x00\x00hi"
            "\x00\x00\x00\x00\x00"
            "\x04\x04\x00\x00\x00\x2A\x00\x00\x00"s);
}

TEST(ListStream, ReadsBackWhatWasWritten) {
  const auto stream = written({{1, bytesOf("hi")}, {255, {}}, {7, bytesOf("\x07\x00"s)}}) + "trailing bytes";
  const auto view = ListStreamView::open(bytesOf(stream));
  ASSERT_TRUE(view);
  std::string seen;
  EXPECT_TRUE(view->visit([&](const ElementView& e) {
    seen += std::to_string(e.type) + ":" + std::to_string(e.bytes.size()) + " ";
    return true;
  }));
  EXPECT_EQ(seen, "1:2 255:0 7:2 ");
  EXPECT_EQ(textOf(view->at(2).bytes), "\x07\x00"s);
  EXPECT_FALSE(view->visit([](const ElementView& e) { return e.type == 1; }));
}

TEST(ListStream, RefusesEveryTruncation) {
  const auto stream = written({{1, bytesOf("hi")}, {0, {}}, {4, bytesOf("1234")}});
  for (std::size_t size = 0; size < stream.size(); ++size) {
    // A block of its own, so that reading behind it would be noticed.
    const std::vector<char> cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(ListStreamView::open(bytesOf({cut.data(), size}))) << size;
  }
  EXPECT_TRUE(ListStreamView::open(bytesOf(stream)));
}

TEST(ListStream, RefusesLengthsThatLie) {
  const std::string refused[] = {"\x08\x00"s,
                                 "NIRA"s,
                                 "\x07\x01\x00\x01\x00\x00\x00"s,
                                 "\x07\x01\x00\xFF\xFF\xFF\xFF"s,
                                 "\x07\x01\x00\x00\x00\x00\x80"s,
                                 "\x07\x01\x00\xFF\xFF\xFF\x7F"s,
                                 "\x07\x02\x00\x00\x00\x00\x00"s,
                                 "\x07\xFF\x00\x00\x00\x00\x00"s};
  for (const auto& stream : refused) EXPECT_FALSE(ListStreamView::open(bytesOf(stream))) << stream.size();
}

TEST(ListStream, CountsModulo256) {
  for (const std::size_t count : {255u, 256u, 257u}) {
    const auto stream = written(std::vector<ElementView>(count, ElementView{0, bytesOf("x")}));
    EXPECT_EQ(stream.size(), 2 + count * 6);
    EXPECT_EQ(ListStreamView::open(bytesOf(stream))->count(), count % 256);
  }
}

}  // namespace
}  // namespace qz::wire
