#include "RuntimeEngine/qzSOAP/ZCompression.h"

#include <memory>

#include "References/Common/BufferImpl.h"
#include "References/Libraries/Platform/BlockCompression.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"

namespace {

namespace platform = qz::platform;
namespace wire = qz::wire;
using qz::contentOf;
using qz::flat::guarded;
using qz::flat::refuse;

constexpr const char* kSource = "RuntimeEngine/qzSOAP/ZCompression";
constexpr long kWarning = 3;

// One hidden byte as in the buffer that takes the block over. A block that cannot be had is told by zlib's own text.
struct ScratchRules {
  static constexpr long hiddenBytes = 1;
  static constexpr long growthOfZero = 0;
  static void noMemory(long /*bytes*/) {}
  static bool coAlloc_(void*& block, unsigned long size) { return qz::allocateZeroed(block, size); }
  static void coFree_(void* block) { qz::freeBlock(block); }
};

using Ops = qz::ByteBlockOps<ScratchRules>;

// The block on its way to the target.
struct Scratch {
  ByteBlock block;
  Scratch() = default;
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { Ops::destroy(block); }

  long moveTo(CqzBuffer& target) noexcept {
    if (target.attach(block.data, block.length, block.type) == 0) return 0;
    Ops::release(block);
    return 1;
  }
};

std::size_t doubled(std::size_t capacity) {
  constexpr auto highest = std::numeric_limits<std::size_t>::max();
  return capacity > highest / 2 ? highest : capacity * 2;
}

platform::LoadedZlib loadedZlib() {
  auto zlib = platform::loadZlib();
  if (zlib) return *zlib;
  auto& [text, systemError] = zlib.error();
  if (systemError != 0) text += ": " + qz::describeWin32(systemError);
  throw qz::Err(static_cast<long>(systemError), std::move(text), kSource, "CZCompression", __LINE__);
}

}  // namespace

CZCompression::CZCompression() : zlib_(loadedZlib()) {}

long CZCompression::compress(const CqzBuffer& source, CqzBuffer& target, int level,
                             unsigned long capacity) const noexcept {
  constexpr const char* kOperation = "compress";
  return guarded(kSource, kOperation, 0L, [&] {
    const auto content = contentOf(source);
    Scratch packed;
    for (auto room = capacity != 0 ? capacity : wire::compressedBound(content.size());; room = doubled(room)) {
      const auto made = platform::compressInto<ScratchRules>(packed.block, zlib_.functions, content, room, level);
      if (made) return packed.moveTo(target);
      const auto text = made.error().text();
      if (made.error().reason != wire::BlockFailure::Reason::kNoRoom)
        return refuse(kSource, kOperation, text.c_str(), 0L);
      qz::reportText(kWarning, kSource, kOperation, __LINE__, text);
    }
  });
}

long CZCompression::decompress(const CqzBuffer& source, CqzBuffer& target) const noexcept {
  constexpr const char* kOperation = "decompress";
  return guarded(kSource, kOperation, 0L, [&] {
    if (&source == &target) {
      CqzBufferImpl packed;
      return packed.copy(source) != 0 ? decompress(packed, target) : 0L;
    }
    const auto makeRoom = [&](long length) { return target.getBufferSetLen(length); };
    const auto restored = platform::decompressInto(makeRoom, zlib_.functions, contentOf(source));
    return restored ? 1L : refuse(kSource, kOperation, restored.error().text().c_str(), 0L);
  });
}

CZCompression& getZCompression() {
  auto& app = getDllApp();
  if (auto* existing = app.getCompression()) return *existing;
  return app.keepCompression(std::make_unique<CZCompression>());
}
