/// @file
/// The toolkit face of the library: the `ITK...` classes and the functions named `ITKrpcSOAP...`.
///
/// Conventions of this face:
/// - Its classes are exported as C++ classes, for use by the compiler that built the library.
/// - No operation throws. A broken check is logged at level 1 with its text, any other exception as
///   "Exception catched"; the operation then returns its failure value: 0, false, -1 or null, as its comment says.
/// - Results are `int` 1/0 or `bool`, except where an operation returns an index (0 is the first element, -1 failure)
///   or an error code (0 is success, see qzErrorCode).
/// - The caller owns what it creates: calls, buffers, lists, tokens. A list owns its buffers, and a call owns its
///   parameters, preferences, token copy and error object.
/// - A getter of text returns "" when there is none, or null where its comment says so. The text lives until its object
///   changes or ends.
/// - Calls on different objects may run on different threads; one object belongs to one thread at a time.
#pragma once

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKCredential.h"
#include "ITKFile.h"
#include "ITKMapStringToPtr.h"
#include "ITKPromptInfo.h"
#include "ITKRTT.h"
#include "ITKRelayMessage.h"
#include "ITKSOAP.h"
#include "ITKSOAPAPI.h"
#include "ITKSOAPError.h"
#include "ITKSecureDbConnInfo.h"
#include "ITKString.h"
#include "ITKTime.h"
#include "ITKVarArray.h"
#include "ITKXmlDom.h"
#include "ITKes.h"
#include "ITKhttpClientHelper.h"
#include "QzExport.h"
#include "QzTypes.h"
#include "R7ITKException.h"

/// @defgroup toolkit Toolkit face
/// Classes named `ITK...` and the functions named `ITKrpcSOAP...`.
