#include "References/Libraries/Rpc/InternetSource.h"

#include <algorithm>
#include <array>

#include "RuntimeEngine/qzSOAP/INET.h"

namespace qz::rpc {
namespace {

/// How much of what a gateway announced but nobody needs is waited for.
constexpr std::size_t kLongestEpilogue = 65536;

}  // namespace

bool InternetSource::readLine(std::string& line, std::size_t limit) {
  if (!file_.ReadString(line, limit)) return false;
  received_ += line.size();
  return true;
}

std::size_t InternetSource::read(std::span<std::byte> into) {
  constexpr std::size_t kMost = 0x7FFFFFFF;
  unsigned long got = 0;
  if (!file_.Read(into.data(), static_cast<unsigned long>(std::min(into.size(), kMost)), got)) return 0;
  received_ += got;
  return got;
}

bool InternetSource::complete() {
  std::array<std::byte, 4096> rest;
  for (std::size_t taken = 0, got = 0; announced_ && received_ < *announced_ && taken < kLongestEpilogue;
       taken += got) {
    got = read(rest);
    if (got == 0) return false;
  }
  return !file_.hasReadFailed();
}

std::optional<std::vector<std::byte>> InternetSource::readAll(std::size_t most) {
  constexpr std::size_t kStep = 65536;
  std::vector<std::byte> all;
  for (std::size_t got = 1; got > 0;) {
    const std::size_t size = all.size();
    if (size > most) return std::nullopt;
    all.resize(size + std::max(kStep, size / 2));
    got = read(std::span(all).subspan(size));
    all.resize(size + got);
  }
  return all;
}

}  // namespace qz::rpc
