// The steps of reading a reply as a face's client offers them: over its own buffer lists.
#pragma once

#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/ExchangePorts.h"
#include "References/Libraries/Rpc/InternetSource.h"
#include "References/Libraries/Wire/ResponseReader.h"

namespace qz::rpc {

/// Reads a reply without parts into `list`, which then holds its envelope alone; empty after a failure.
template <class BufferList, class Buffer>
bool readResponse(XInternetFile& file, wire::ReplyListener& listener, BufferList& list) {
  InternetSource source(file, std::nullopt);
  list.removeAll();
  const auto reply = wire::readPlainReply(source, listener);
  if (!reply) return false;
  Buffer envelope;
  setText(envelope, reply->envelope());
  return list.add(envelope) >= 0;
}

/// Reads a reply with parts into `list`, which then holds its envelope and its attachments; empty after a failure.
template <class BufferList, class Buffer>
bool readResponseMultiPart(XInternetFile& file, std::string_view boundary, wire::ReplyListener& listener,
                           BufferList& list) try {
  InternetSource source(file, std::nullopt);
  list.removeAll();
  if (list.add(Buffer()) < 0) throw std::bad_alloc();
  ListSink<BufferList, Buffer> sink(list);
  const auto reply = wire::readMultipartReply(source, boundary, sink, listener);
  if (reply)
    setText(*list.getAt(0), reply->envelope());
  else
    list.removeAll();
  return reply.has_value();
} catch (...) {
  list.removeAll();
  throw;
}

/// Takes envelope and attachment out of a list of replies. False when the list is empty, or when it has several
/// attachments and `attachment` is not null.
template <class BufferList, class Buffer>
bool processResponse(const BufferList& list, Journal& journal, Buffer& response, Buffer* attachment) {
  BufferSink<Buffer> sink(response, attachment);
  sink.clear();
  if (list.getCount() == 0) {
    journal.text(kError, "ProcessResponse", "no reponse available");
    return false;
  }
  if (attachment != nullptr && list.getCount() > 2) {
    journal.text(kError, "ProcessResponse", kInvalidCondition);
    return false;
  }
  sink.setEnvelope(messageIn(*list.getAt(0)));
  if (attachment == nullptr || list.getCount() < 2) return true;
  setContent(*attachment, ITKBufferType::DT_BINARY, contentOf(*list.getAt(1)));
  return true;
}

}  // namespace qz::rpc
