#include "ITKMapStringToPtr.h"

#include "R7ITK/R7ITKShared/Guard.h"
#include "References/Common/Ascii.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKMapStringToPtr";

}  // namespace

ITKMapStringToPtr::ITKMapStringToPtr(Deleter deleter) noexcept : deleter_(deleter) {}

ITKMapStringToPtr::~ITKMapStringToPtr() { removeAll(); }

void ITKMapStringToPtr::Discard(void* value) const noexcept {
  if (deleter_ != nullptr && value != nullptr) deleter_(value);
}

int ITKMapStringToPtr::set(const char* name, void* value) noexcept {
  return itk::guarded(kSource, 0, [&] {
    Entry entry{qz::orEmpty(name), value};
    // Nothing may fail any more once the name has its place.
    if (entries_.size() == entries_.capacity()) entries_.reserve(2 * entries_.size() + 1);
    const auto [place, isNew] = places_.try_emplace(entry.name, entries_.size());
    if (isNew) {
      entries_.push_back(std::move(entry));
      return 1;
    }
    auto& stored = entries_[place->second].value;
    if (stored != value) Discard(std::exchange(stored, value));
    return 1;
  });
}

void* ITKMapStringToPtr::find(const char* name) const noexcept {
  return itk::guarded(kSource, static_cast<void*>(nullptr), [&]() -> void* {
    const auto place = places_.find(qz::orEmpty(name));
    return place == places_.end() ? nullptr : entries_[place->second].value;
  });
}

int ITKMapStringToPtr::remove(const char* name) noexcept {
  return itk::guarded(kSource, 0, [&] {
    const auto place = places_.find(qz::orEmpty(name));
    if (place == places_.end()) return 0;
    const auto index = place->second;
    void* value = entries_[index].value;
    places_.erase(place);
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
    for (auto i = index; i < entries_.size(); ++i) places_.find(entries_[i].name)->second = i;
    Discard(value);
    return 1;
  });
}

void ITKMapStringToPtr::removeAll() noexcept {
  const auto entries = std::exchange(entries_, {});
  places_.clear();
  for (const auto& entry : entries) Discard(entry.value);
}

long ITKMapStringToPtr::getCount() const noexcept { return static_cast<long>(entries_.size()); }

const char* ITKMapStringToPtr::getKeyAt(long index) const noexcept {
  return index >= 0 && index < getCount() ? entries_[static_cast<std::size_t>(index)].name.c_str() : nullptr;
}

void* ITKMapStringToPtr::getAt(long index) const noexcept {
  return index >= 0 && index < getCount() ? entries_[static_cast<std::size_t>(index)].value : nullptr;
}
