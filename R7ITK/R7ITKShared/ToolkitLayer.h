// The toolkit face as the engine templates see it.
#pragma once

#include <source_location>
#include <string_view>

#include "ITKes.h"
#include "R7ITK/R7ITKShared/ToolkitBuffers.h"

class ITKBufferList;
class ITKSOAPError;
class ITKSOAP;

namespace itk {

struct ToolkitLayer : ToolkitBuffers {
  using Buffer = ITKBuffer;
  using OwnBuffer = ITKBuffer;
  using BufferList = ITKBufferList;
  using OwnBufferList = ITKBufferList;
  using Error = ITKSOAPError;
  using OwnError = ITKSOAPError;
  using Call = ITKSOAP;
  using OwnCall = ITKSOAP;

  static int traceLevel() { return getITKes().getTraceLevel(); }

  /// The toolkit log has no field for the operation's name.
  static void report(long level, const char* /*operation*/, const char* source, std::string_view message,
                     std::source_location at = std::source_location::current()) {
    getITKes().logText(level, source, static_cast<long>(at.line()), message);
  }
};

}  // namespace itk
