/// @file
/// Judges, reads and takes apart the reply to a request.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace qz::wire {

/// Text lines of one reply may not exceed this many bytes in total; attachments do not count.
inline constexpr std::size_t kMaxReplyText = std::size_t{64} << 20;

/// Where the bytes of a reply come from.
class ByteSource {
 public:
  virtual ~ByteSource() = default;

  /// Replaces `line` by the bytes up to and including the next line feed, or up to the end of the data, but by no more
  /// than `limit` of them; the rest of a longer line comes with the next call. False at the end of the data.
  virtual bool readLine(std::string& line, std::size_t limit) = 0;

  /// Reads at most `into.size()` bytes; 0 at the end of the data or on failure.
  virtual std::size_t read(std::span<std::byte> into) = 0;

  /// Whether the reply has arrived whole: no read failed, and as many bytes came as were announced. Called when the
  /// reader has found everything it needs; may take what is left of an announced body from the connection.
  virtual bool complete() = 0;
};

/// Hears what is read, for traces and logs.
class ReplyListener {
 public:
  virtual ~ReplyListener() = default;
  /// A line of text as it came.
  virtual void line(std::string_view raw) = 0;
  /// A piece of an attachment as it came.
  virtual void bytes(std::span<const std::byte> data) = 0;
  /// A message at information level from the operation of that name.
  virtual void information(const char* operation, std::string_view message) = 0;
  /// A message at error level from the operation of that name.
  virtual void error(const char* operation, std::string_view message) = 0;
};

/// Holds the binary parts of a reply.
class AttachmentSink {
 public:
  virtual ~AttachmentSink() = default;
  /// Makes attachment `index` (from 0, in order) `size` bytes long, keeps the bytes that it has, and returns all of it.
  /// An attachment grows in steps while its bytes arrive, so that an announced length alone costs no memory. An empty
  /// result means that this attachment is not wanted: its bytes are read and dropped.
  virtual std::span<std::byte> resize(std::size_t index, std::size_t size) = 0;
};

/// The text of a reply and where its envelope lies in it.
struct ReplyText {
  std::string text;               ///< all lines, trimmed and joined
  std::size_t envelopeBegin = 0;  ///< position of the envelope's start mark
  std::size_t envelopeSize = 0;   ///< from the start mark through the end mark
  std::size_t attachments = 0;    ///< attachments read

  std::string_view envelope() const { return std::string_view(text).substr(envelopeBegin, envelopeSize); }
};

/// Why a reply could not be read. The listener has heard of it.
struct ReadFailure {
  /// Text for the caller where the failure is more than an unreadable reply, for example an exhausted read budget; else
  /// empty.
  std::string raised;
};

/// Position and size of a SOAP envelope in a text.
struct EnvelopePosition {
  std::size_t begin = 0;
  std::size_t size = 0;
};

/// Finds the envelope in `text`, or says which of its marks is missing.
tl::expected<EnvelopePosition, const char*> findEnvelope(std::string_view text);

/// Reads a reply that is one text.
tl::expected<ReplyText, ReadFailure> readPlainReply(ByteSource& source, ReplyListener& listener);

/// Reads a reply whose parts are separated by `boundary`: the envelope, then attachments that announce their length.
/// The bytes of an attachment begin behind the line that announces its length, or, if the part has further headers or a
/// blank line there, behind those. All attachments together may have 2^31 - 1 bytes.
tl::expected<ReplyText, ReadFailure> readMultipartReply(ByteSource& source, std::string_view boundary,
                                                        AttachmentSink& sink, ReplyListener& listener);

/// Most reads that an attachment of `length` bytes may take.
constexpr long attachmentReadBudget(long length) { return length / 128 + 16; }

}  // namespace qz::wire
