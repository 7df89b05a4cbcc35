// What the gateway remembers between requests: bounded in number, and forgotten when nobody asks for it.
#pragma once

#include <algorithm>
#include <chrono>
#include <string>
#include <unordered_map>
#include <utility>

#include "Tools/qzgateway/GatewayTime.h"

namespace qzgateway {

/// Values by id. Whoever uses one from several threads locks.
template <class Value>
class ExpiringTable {
 public:
  /// @param limit how many values there may be; one more displaces the one that was not asked for for longest
  /// @param idle how long a value is kept that nobody asks for
  ExpiringTable(const GatewayTime& time, std::size_t limit, std::chrono::minutes idle)
      : time_(time), limit_(limit), idle_(idle) {}

  void put(const std::string& id, Value value) {
    entries_.erase(id);
    std::erase_if(entries_, [this](const auto& entry) { return isOver(entry.second); });
    if (entries_.size() >= limit_) entries_.erase(std::ranges::min_element(entries_, {}, lastUse));
    entries_.emplace(id, Entry{std::move(value), time_.now()});
  }

  /// Null when there is none, or no longer; otherwise good until the table is next changed.
  const Value* find(const std::string& id) {
    const auto at = entries_.find(id);
    if (at == entries_.end() || isOver(at->second)) return nullptr;
    at->second.lastUse = time_.now();
    return &at->second.value;
  }

  void erase(const std::string& id) { entries_.erase(id); }

 private:
  struct Entry {
    Value value;
    GatewayTime::Point lastUse;
  };

  static GatewayTime::Point lastUse(const std::pair<const std::string, Entry>& entry) { return entry.second.lastUse; }
  bool isOver(const Entry& entry) const { return time_.now() - entry.lastUse > idle_; }

  const GatewayTime& time_;
  std::size_t limit_;
  std::chrono::minutes idle_;
  std::unordered_map<std::string, Entry> entries_;
};

}  // namespace qzgateway
