// Where messages divide: header lines, argument streams, the parts of a body.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Tools/qzcall/FileBytes.h"

namespace qzcall {

/// Whether a line that begins with white space goes on with the header above it. In front of the body of a request
/// there is no empty line, so that the body itself may begin like that.
enum class Folding { none, allowed };

/// Length of the line at the head of `text`, its end included; the last line of all needs none.
std::size_t lineLength(std::string_view text);

/// Length of the header at the head of `text`, its line end included; 0 when there is none.
std::size_t headerLength(std::string_view text, Folding folding);

/// Where those headers end which begin at `at`. The empty line behind them is none of them.
std::uint64_t endOfHeaders(FileBytes& bytes, std::uint64_t at, Folding folding);

/// The place behind the line break at `at`, or `at` when there is none.
std::uint64_t behindLineBreak(FileBytes& bytes, std::uint64_t at);
/// The place behind the line that begins at `at`, which ends with a line feed or all bytes; nothing when it is too long.
std::optional<std::uint64_t> behindLine(FileBytes& bytes, std::uint64_t at);

/// True for bytes that begin like an argument stream, compressed or not.
bool beginsStream(std::string_view text);
/// Where the argument stream at `at` ends as it announces, which may be behind the end of all bytes; nothing when there
/// is none, or one with a negative length.
std::optional<std::uint64_t> endOfStream(FileBytes& bytes, std::uint64_t at);

/// One part of a body.
struct BodyPart {
  enum class Length { missing, broken, announced };

  std::uint64_t begin = 0;          ///< of its header lines
  std::uint64_t headersEnd = 0;     ///< in front of the empty line behind them
  std::uint64_t content = 0;        ///< where its content begins
  std::uint64_t told = 0;           ///< how far its own lengths reach; what is behind was found by the next mark
  std::uint64_t end = 0;            ///< where its content ends
  std::uint64_t behind = 0;         ///< where that ends which stands between the content and the next mark
  Length length = Length::missing;  ///< in its headers
  std::string fault;                ///< why its end is not sure; empty when it is
  std::uint64_t faultAt = 0;
};

/// Goes through the parts of a body.
class BodyParts {
 public:
  /// What is done with an argument stream that is broken: the body is read no further, or the stream ends at the last
  /// mark of all.
  enum class BrokenStream { stops, endsAtLastMark };

  /// @param boundary as the headers name it; empty: that of the first mark
  BodyParts(Search& search, std::uint64_t begin, std::string_view boundary, BrokenStream brokenStream);

  /// The next part; nothing behind the last one, or when there is a fault.
  std::optional<BodyPart> next();

  /// Where the first mark begins, once the first part has been read.
  std::uint64_t firstMark() const { return firstMark_; }
  /// Where the body ends, or is read no further.
  std::uint64_t position() const { return at_; }
  /// Why it ends otherwise than with a closing mark; empty when it does not.
  const std::string& fault() const { return fault_; }
  bool isWhole() const { return isDone_ && fault_.empty() && !isBroken_; }
  /// True when a part goes on behind the end of all bytes.
  bool isCut() const { return isCut_; }

 private:
  bool findFirstMark();
  bool passLine();
  BodyPart readPart();
  void readLength(BodyPart& part);
  void findEnd(BodyPart& part);
  void findEndOfStream(BodyPart& part);
  void findEndByMark(BodyPart& part, std::optional<std::uint64_t> mark);
  bool passMark(BodyPart& part);
  bool stop(std::string fault);
  std::optional<std::uint64_t> lastMark(std::uint64_t from);
  std::uint64_t withoutLineBreak(std::uint64_t from, std::uint64_t end);
  std::string shownMark() const;

  Search& search_;
  FileBytes& bytes_;
  std::uint64_t at_;
  std::string mark_;  ///< with its two hyphens; empty until it is known
  BrokenStream brokenStream_;
  std::uint64_t firstMark_ = 0;
  std::size_t count_ = 0;
  bool isDone_ = false;
  bool isBroken_ = false;
  bool isCut_ = false;
  std::string fault_;
};

}  // namespace qzcall
