// What messages and the questions to replies need to know of a face.
#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "References/Libraries/Rpc/BufferListOps.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Rpc/Layer.h"
#include "References/Libraries/Rpc/RelayDom.h"
#include "References/Libraries/Rpc/TemplateShelf.h"

namespace qz::rpc {

/// What a face provides beside its types.
template <class L>
concept RelayLayer = Layer<L> && requires(std::string_view text, Notes& notes, typename L::Text& out,
                                          typename L::Error& error, typename L::Buffer& buffer, int level) {
  /// Source paths of the face's codec class and of its XML class, which asks the questions to a reply.
  { L::kRelaySource } -> std::convertible_to<const char*>;
  { L::kDomSource } -> std::convertible_to<const char*>;
  /// Host of the schema namespaces from the settings; empty: the default.
  { L::schemaHost() } -> std::convertible_to<std::string_view>;
  /// Reads the inner body out of a message's body: one face scans the escaped text, the other parses it.
  { L::readFields(text, notes) } -> std::same_as<std::optional<RelayFields>>;
  /// Replaces what the codec hands out as text, and returns the new one; `text` may be part of the old.
  { L::assign(out, text) } -> std::same_as<const char*>;
  { L::viewOf(out) } -> std::same_as<std::string_view>;
  /// The error object's own stream form; 1 or 0.
  { L::writeError(error, buffer, level) } -> std::same_as<int>;
  { L::readError(error, buffer) } -> std::same_as<int>;
};

/// The templates with the schema host of the face's settings.
template <RelayLayer L>
const wire::EnvelopeTemplates& templatesOf() {
  const std::string_view host = L::schemaHost();
  if (host.empty()) return templatesFor(wire::SCHEMA_HOST);
  if (wire::isSchemaHost(host)) return templatesFor(host);
  L::report(kError, "GetDefaultRequestTemplate", L::kRelaySource,
            std::string("the setting SchemaHost is not the name of a host and is ignored: ").append(host),
            std::source_location::current());
  return templatesFor(wire::SCHEMA_HOST);
}

/// Runs `ask` with a place for notes, writes them into the face's log, those of level 3 only when that much is logged,
/// and returns the answer.
template <Layer L, class Ask>
auto withNotes(const char* operation, const char* source, Ask&& ask) {
  Notes notes;
  auto answer = ask(notes);
  for (const auto& note : notes)
    if (note.level != kGated || L::traceLevel() >= kGated) L::report(note.level, operation, source, note.text, note.at);
  return answer;
}

/// Copies a filled text straight into a buffer, which becomes DT_TEXT; false when memory is short.
template <class Buffer>
bool writeText(const wire::FilledText& text, Buffer& out) {
  const auto size = static_cast<long>(text.size());
  out.reset(size, ITKBufferType::DT_TEXT);
  if (size == 0) return true;
  auto* block = out.getBufferSetLen(size);
  if (block == nullptr) return false;
  text.copyTo(reinterpret_cast<char*>(block));
  return true;
}

}  // namespace qz::rpc
