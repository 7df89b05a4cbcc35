#include "References/Libraries/Wire/ListStream.h"

#include "References/Common/Bytes.h"
#include "References/Common/LittleEndian.h"

namespace qz::wire {

std::uint64_t listStreamSize(std::span<const ElementView> elements) {
  std::uint64_t bytes = 0;
  for (const auto& element : elements) bytes += element.bytes.size();
  return listStreamSize(elements.size(), bytes);
}

ListStreamWriter::ListStreamWriter(std::byte* to, std::size_t count) : next_(to + kListHeadSize) {
  to[0] = std::byte{kListMark};
  to[1] = static_cast<std::byte>(count & 0xFF);
}

void ListStreamWriter::add(const ElementView& element) {
  next_[0] = std::byte{element.type};
  storeLittle32(next_ + 1, static_cast<std::uint32_t>(element.bytes.size()));
  copyBytes(next_ + kElementHeadSize, element.bytes);
  next_ += kElementHeadSize + element.bytes.size();
}

// Lengths are signed in the stream; a negative one read as unsigned is larger than any rest.
std::optional<ElementView> ListStreamView::takeElement(std::span<const std::byte>& rest) {
  if (rest.size() < kElementHeadSize) return std::nullopt;
  const std::size_t length = loadLittle32(rest.data() + 1);
  if (length > 0x7FFFFFFF || length > rest.size() - kElementHeadSize) return std::nullopt;
  const ElementView element{std::to_integer<unsigned char>(rest[0]), rest.subspan(kElementHeadSize, length)};
  rest = rest.subspan(kElementHeadSize + length);
  return element;
}

std::optional<ListStreamView> ListStreamView::open(std::span<const std::byte> stream) {
  if (stream.size() < kListHeadSize || stream[0] != std::byte{kListMark}) return std::nullopt;
  ListStreamView view;
  view.count_ = std::to_integer<std::size_t>(stream[1]);
  view.elements_ = stream.subspan(kListHeadSize);
  auto rest = view.elements_;
  for (std::size_t i = 0; i < view.count_; ++i)
    if (!takeElement(rest)) return std::nullopt;
  return view;
}

ElementView ListStreamView::at(std::size_t index) const {
  auto rest = elements_;
  for (; index > 0; --index) takeElement(rest);
  return takeElement(rest).value();  // NOLINT(bugprone-unchecked-optional-access): an index too high is raised
}

}  // namespace qz::wire
