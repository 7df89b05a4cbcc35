#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "References/Common/Bytes.h"
#include "References/Libraries/Wire/ListStream.h"

namespace qz::wire {
namespace {

using namespace std::literals;

const std::string kStream =
    "\x07\x03"
    "\x01\x02\x00\x00\x00hi"
    "\xFF\x00\x00\x00\x00"
    "\x07\x02\x00\x00\x00\x07\x00"s;

TEST(ListStream, HasTheseBytesAndReadsBack) {
  const std::vector<ElementView> elements{{1, bytesOf("hi")}, {255, {}}, {7, bytesOf("\x07\x00"sv)}};
  std::string stream(static_cast<std::size_t>(listStreamSize(elements)), '?');
  auto* to = reinterpret_cast<std::byte*>(stream.data());
  ListStreamWriter writer(to, elements.size());
  for (const auto& element : elements) writer.add(element);
  EXPECT_EQ(writer.end(), to + stream.size());
  EXPECT_EQ(stream, kStream);

  stream += "trailing bytes";
  const auto view = ListStreamView::open(bytesOf(stream));
  ASSERT_TRUE(view);
  std::string seen;
  const auto note = [&](const ElementView& e) {
    seen += std::to_string(e.type) + ":" + std::to_string(e.bytes.size()) + " ";
    return e.type != 7;
  };
  EXPECT_FALSE(view->visit(note));
  EXPECT_EQ(seen, "1:2 255:0 7:2 ");
  EXPECT_EQ(textOf(view->at(2).bytes), "\x07\x00"s);
}

TEST(ListStream, RefusesEveryTruncationAndLengthsThatLie) {
  std::vector<std::string> refused = {"\x08\x00"s,
                                      "\x07\x01\x00\x01\x00\x00\x00"s,
                                      "\x07\x01\x00\xFF\xFF\xFF\xFF"s,
                                      "\x07\x01\x00\x00\x00\x00\x80"s,
                                      "\x07\x01\x00\xFF\xFF\xFF\x7F"s,
                                      "\x07\x02\x00\x00\x00\x00\x00"s,
                                      "\x07\xFF\x00\x00\x00\x00\x00"s};
  for (std::size_t size = 0; size < kStream.size(); ++size) refused.push_back(kStream.substr(0, size));
  for (const auto& stream : refused) {
    // A block of its own, so that reading behind it would be noticed.
    const std::vector<char> block(stream.begin(), stream.end());
    EXPECT_FALSE(ListStreamView::open(bytesOf({block.data(), block.size()}))) << testing::PrintToString(stream);
  }
}

}  // namespace
}  // namespace qz::wire
