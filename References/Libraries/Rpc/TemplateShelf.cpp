#include "References/Libraries/Rpc/TemplateShelf.h"

#include <atomic>
#include <memory>
#include <utility>

namespace qz::rpc {
namespace {

struct Entry {
  explicit Entry(std::string_view host) : templates(host) {}

  const wire::EnvelopeTemplates templates;
  Entry* next = nullptr;
};

/// A list that only grows at its head, so that readers need no lock. It is as long as there are different hosts in the
/// settings: one, usually.
class Shelf {
 public:
  constexpr Shelf() = default;
  Shelf(const Shelf&) = delete;
  Shelf& operator=(const Shelf&) = delete;
  ~Shelf() {
    for (Entry* entry = head_.load(); entry != nullptr;) delete std::exchange(entry, entry->next);
  }

  const wire::EnvelopeTemplates& get(std::string_view host) {
    if (const Entry* known = find(head_.load(std::memory_order_acquire), host)) return known->templates;
    auto made = std::make_unique<Entry>(host);
    made->next = head_.load(std::memory_order_acquire);
    while (!head_.compare_exchange_weak(made->next, made.get(), std::memory_order_acq_rel)) {
    }
    return made.release()->templates;
  }

 private:
  static const Entry* find(const Entry* entry, std::string_view host) {
    while (entry != nullptr && entry->templates.host != host) entry = entry->next;
    return entry;
  }

  std::atomic<Entry*> head_{nullptr};
};

constinit Shelf shelf;

}  // namespace

const wire::EnvelopeTemplates& templatesFor(std::string_view schemaHost) { return shelf.get(schemaHost); }

}  // namespace qz::rpc
