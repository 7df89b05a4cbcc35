// The steps of reading a reply as a face's client offers them: over its own buffer lists.
#pragma once

#include "References/Libraries/Rpc/ExchangePorts.h"
#include "References/Libraries/Rpc/InternetSource.h"
#include "References/Libraries/Wire/ResponseReader.h"

namespace qz::rpc {

/// Appends an envelope to a list of replies.
template <class BufferList, class Buffer>
bool addEnvelope(BufferList& list, std::string_view envelope) {
  Buffer buffer(static_cast<long>(envelope.size()) + 1, ITKBufferType::DT_TEXT);
  buffer.write(static_cast<const void*>(envelope.data()), static_cast<long>(envelope.size()));
  return list.add(buffer) >= 0;
}

/// Reads a reply without parts: its envelope becomes the last element of `list`.
template <class BufferList, class Buffer>
bool readResponse(XInternetFile& file, wire::ReplyListener& listener, BufferList& list) {
  InternetSource source(file, std::nullopt);
  const auto reply = wire::readPlainReply(source, listener);
  return reply && addEnvelope<BufferList, Buffer>(list, reply->envelope());
}

/// Reads a reply with parts: envelope and attachments become the last elements of `list`, which is empty after a
/// failure.
template <class BufferList, class Buffer>
bool readResponseMultiPart(XInternetFile& file, std::string_view boundary, wire::ReplyListener& listener,
                           BufferList& list) {
  InternetSource source(file, std::nullopt);
  BufferList attachments;
  ListSink<BufferList, Buffer> sink(attachments);
  const auto reply = wire::readMultipartReply(source, boundary, sink, listener);
  bool read = reply && addEnvelope<BufferList, Buffer>(list, reply->envelope());
  for (long i = 0; read && i < attachments.getCount(); ++i) read = list.add(*attachments.getAt(i)) >= 0;
  if (!read) list.removeAll();
  return read;
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
    journal.text(kError, "ProcessResponse", "Invalid internal condition");
    return false;
  }
  sink.setEnvelope(viewOf(list.getAt(0)->getStrBuffer()));
  if (attachment == nullptr || list.getCount() < 2) return true;
  attachment->write(static_cast<const void*>(list.getAt(1)->getBuffer()), list.getAt(1)->getLength());
  return true;
}

}  // namespace qz::rpc
