/// @file
/// The fields of a call object, the same for both faces.
#pragma once

#include "ITKMapStringToPtr.h"
#include "ITKRTT.h"
#include "ITKString.h"

/// @addtogroup shared
/// @{

/// One remote call and, after it, its outcome.
/// @tparam Buffer typed buffer of the face
/// @tparam BufferList list of such buffers, owning them
/// @tparam Error error object of the face
template <class Buffer, class BufferList, class Error>
struct CallState {
  ITKString interfaceName;     ///< remote class
  ITKString methodName;        ///< remote method
  ITKString objectHandle;      ///< object on the server, or ""
  ITKString relayHeader;       ///< header text to send, and the one received
  ITKRTT token;                ///< gateway URL, passport, cookies
  long keepAlive = 0;          ///< passed through to the server
  long timeoutLimit = 0;       ///< seconds that a conversation may take
  long asyncMode = 0;          ///< not 0: the call is a conversation
  long timeInterval = 0;       ///< passed through to the server
  long numParamsChecksum = 0;  ///< argument count that a reply announced
  BufferList params;           ///< arguments in order
  ITKMapStringToPtr userPreferences{[](void* value) { delete static_cast<Buffer*>(value); }};  ///< name to owned buffer
  ITKString soapAction;     ///< SOAP action of the HTTP request
  long compressParams = 1;  ///< level at which the arguments are compressed; 0: not at all
  Error error;              ///< code, detail code and text of the call
};

/// @}
