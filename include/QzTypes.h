/// @file
/// Type codes, error codes and plain state shared by both faces of the library.
#pragma once

/// @defgroup shared What both faces share
/// Type codes, error codes, settings, and the run-time token.
/// @{

/// Type code of a buffer's bytes. Buffers carry, copy, compare and serialize the code; only #DT_TEXT changes behaviour.
struct ITKBufferType {
  /// Values as they stand in every stream, one unsigned byte each.
  enum Code : unsigned char {
    DT_BINARY = 0,      ///< raw bytes, the default
    DT_TEXT = 1,        ///< single-byte text, in memory always followed by a zero byte
    DT_I1 = 2,          ///< one-byte integer
    DT_I2 = 3,          ///< two-byte integer
    DT_LONG = 4,        ///< four-byte integer
    DT_FLOAT = 5,       ///< four-byte float
    DT_DOUBLE = 6,      ///< eight-byte float
    DT_LIST = 7,        ///< a serialized buffer list
    DT_COMPRESSED = 8,  ///< a compressed block
    DT_INVALID = 255    ///< no valid type
  };
};

/// Error codes of a call. Negative, so that a server's own positive numbers are never taken for them.
enum qzErrorCode : long {
  E_OK = 0,        ///< success
  E_FAULT = -1,    ///< the server answered with a fault, or with something that is no reply
  E_LOGON = -2,    ///< the server asks for a logon
  E_PROXY = -3,    ///< the request could not be packed or sent, or the reply not be read
  E_HTTP = -4,     ///< connection or HTTP status failure
  E_TIMEOUT = -5,  ///< the client-side time limit of a conversation has passed
  E_URL = -6       ///< the URL of a generic request or of a content-manager call cannot be taken apart
};

/// The four fields of a typed byte buffer. Owned and kept consistent by the buffer that holds it.
struct ByteBlock {
  long capacity = 0;              ///< usable bytes, hidden terminator bytes not counted
  long length = 0;                ///< bytes in use, 0 <= length <= capacity
  unsigned char type = 0;         ///< an ITKBufferType code
  unsigned char* data = nullptr;  ///< process-heap block, null when nothing was ever allocated
};

/// The fields of a buffer list. Slots from `count` to `capacity` - 1 are null; the list owns every element.
template <class Buffer>
struct BufferListState {
  long capacity = 0;         ///< pointer slots allocated
  long count = 0;            ///< elements in use
  Buffer** items = nullptr;  ///< `capacity` slots
};

/// The fields of an error object.
template <class Buffer>
struct SoapErrorState {
  Buffer text;            ///< DT_TEXT, grows line by line
  long errorCode = 0;     ///< 0 means no error
  long errorSubCode = 0;  ///< detail, for example an HTTP status; never serialized
};

/// @}
