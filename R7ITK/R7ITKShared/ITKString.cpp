#include "ITKString.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "R7ITK/R7ITKShared/Guard.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Wire/Replace.h"
#include "References/Libraries/Wire/XmlEscape.h"

/// Head of one storage; the text with its zero byte follows in the same allocation.
struct ITKString::Storage {
  std::atomic<long> owners;
  long length;
  long capacity;
  char text[1];

  static Storage empty;

  static Storage* make(std::size_t capacity);
  static Storage* make(std::string_view first, std::string_view second, std::size_t capacity);
  static void replace(Storage*& storage, std::string_view text);
  Storage* share();
  void release();
  std::string_view view() const { return {text, static_cast<std::size_t>(length)}; }
};

constinit ITKString::Storage ITKString::Storage::empty{1, 0, 0, ""};

ITKString::Storage* ITKString::Storage::make(std::size_t capacity) {
  if (capacity > static_cast<std::size_t>(std::numeric_limits<long>::max()) - sizeof(Storage)) throw std::bad_alloc();
  return new (::operator new(sizeof(Storage) + capacity)) Storage{1, 0, static_cast<long>(capacity), ""};
}

ITKString::Storage* ITKString::Storage::make(std::string_view first, std::string_view second, std::size_t capacity) {
  if (first.empty() && second.empty()) return &empty;
  auto* made = make(capacity);
  first.copy(made->text, first.size());
  second.copy(made->text + first.size(), second.size());
  made->length = static_cast<long>(first.size() + second.size());
  made->text[made->length] = '\0';
  return made;
}

// The new one is built before the old one, which may hold `text`, goes.
void ITKString::Storage::replace(Storage*& storage, std::string_view text) {
  std::exchange(storage, make(text, {}, text.size()))->release();
}

ITKString::Storage* ITKString::Storage::share() {
  if (this != &empty) owners.fetch_add(1, std::memory_order_relaxed);
  return this;
}

void ITKString::Storage::release() {
  if (this == &empty || owners.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
  this->~Storage();
  ::operator delete(this);
}

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKString";

std::string_view viewOf(const char* text, long length) {
  return text == nullptr || length < 1 ? std::string_view() : std::string_view(text, static_cast<std::size_t>(length));
}

long indexOf(std::size_t position) { return position == std::string_view::npos ? -1 : static_cast<long>(position); }

}  // namespace

ITKString::ITKString() noexcept : storage_(&Storage::empty) {}

ITKString::ITKString(const char* text) noexcept : ITKString() { *this = text; }

ITKString::ITKString(const char* text, long length) noexcept : ITKString() { append(text, length); }

ITKString::ITKString(const ITKString& other) noexcept : storage_(other.storage_->share()) {}

ITKString::ITKString(ITKString&& other) noexcept : storage_(std::exchange(other.storage_, &Storage::empty)) {}

ITKString::~ITKString() { storage_->release(); }

ITKString& ITKString::operator=(const ITKString& other) noexcept {
  std::exchange(storage_, other.storage_->share())->release();
  return *this;
}

ITKString& ITKString::operator=(ITKString&& other) noexcept {
  std::swap(storage_, other.storage_);
  if (this != &other) other.empty();
  return *this;
}

ITKString& ITKString::operator=(const char* text) noexcept {
  itk::guarded(kSource, [&] { Storage::replace(storage_, qz::viewOf(text)); });
  return *this;
}

ITKString::operator const char*() const noexcept { return storage_->text; }

const char* ITKString::c_str() const noexcept { return storage_->text; }

long ITKString::getLength() const noexcept { return storage_->length; }

int ITKString::isEmpty() const noexcept { return storage_->length == 0; }

void ITKString::empty() noexcept { std::exchange(storage_, &Storage::empty)->release(); }

// In place only when nobody else sees the storage; otherwise the new one is built before the old one, which may hold
// `text`, goes.
ITKString& ITKString::append(const char* text, long length) noexcept {
  itk::guarded(kSource, [&] {
    const auto added = viewOf(text, length);
    const auto old = storage_->view();
    const auto size = old.size() + added.size();
    const auto capacity = static_cast<std::size_t>(storage_->capacity);
    if (added.empty()) return;
    if (size <= capacity && storage_->owners.load(std::memory_order_acquire) == 1) {
      std::memmove(storage_->text + old.size(), added.data(), added.size());
      storage_->text[size] = '\0';
      storage_->length = static_cast<long>(size);
    } else {
      auto* made = Storage::make(old, added, old.empty() ? size : std::max(size, old.size() * 2));
      std::exchange(storage_, made)->release();
    }
  });
  return *this;
}

ITKString& ITKString::operator+=(const char* text) noexcept {
  return append(text, static_cast<long>(qz::viewOf(text).size()));
}

ITKString& ITKString::operator+=(const ITKString& text) noexcept { return append(text.c_str(), text.getLength()); }

long ITKString::find(const char* pattern, long start) const noexcept {
  if (pattern == nullptr || start < 0 || start > getLength()) return -1;
  return indexOf(storage_->view().find(pattern, static_cast<std::size_t>(start)));
}

long ITKString::findNoCase(const char* pattern, long start) const noexcept {
  if (pattern == nullptr || start < 0 || start > getLength()) return -1;
  return indexOf(qz::findIgnoringAsciiCase(storage_->view(), pattern, static_cast<std::size_t>(start)));
}

ITKString ITKString::mid(long start, long count) const noexcept {
  const long from = std::clamp(start, 0L, getLength());
  const auto end = std::clamp(static_cast<long long>(start) + count, 0LL, static_cast<long long>(getLength()));
  return {storage_->text + from, static_cast<long>(end) - from};
}

long ITKString::replace(const char* pattern, const char* value) noexcept {
  return itk::guarded(kSource, 0L, [&] {
    std::string text(storage_->view());
    const auto count = qz::wire::replaceAll(text, qz::viewOf(pattern), qz::viewOf(value));
    if (count > 0) Storage::replace(storage_, text);
    return static_cast<long>(count);
  });
}

void ITKString::encodeXML() noexcept {
  itk::guarded(kSource, [&] { Storage::replace(storage_, qz::wire::encodeXml(storage_->view())); });
}

void ITKString::decodeXML() noexcept {
  itk::guarded(kSource, [&] { Storage::replace(storage_, qz::wire::decodeXml(storage_->view())); });
}

bool ITKString::shares(const ITKString& other) const noexcept { return storage_ == other.storage_; }
