// Compression of the flat face: zlib loaded at run time.
#pragma once

#include "CqzBuffer.h"
#include "References/Libraries/Platform/LoadedZlib.h"

/// zlib 1.2.3 from beside the library, and compressed blocks made and restored with it.
class CZCompression {
 public:
  /// Loads zlib, which stays loaded beyond the object, until the library is unloaded.
  /// @throws qz::Err when there is no zlib1.dll beside the library, or it is of another version or lacks a function
  CZCompression();
  CZCompression(const CZCompression&) = delete;
  CZCompression& operator=(const CZCompression&) = delete;

  /// Compresses the content of `source` into a block in `target`, which may be the same buffer and stays as it is until
  /// the block is there; 1 or 0. Reports the reason.
  /// @param level zlib's 0 to 9, or -1
  /// @param capacity bytes that the compressed data may take at first; 0: a tenth and 12 more than the content. Doubled
  ///   as long as that is too little
  long compress(const CqzBuffer& source, CqzBuffer& target, int level, unsigned long capacity) const noexcept;
  /// Restores the content of a compressed block into `target`, which may be the same buffer and keeps its type; 1 or 0.
  /// Reports the reason.
  long decompress(const CqzBuffer& source, CqzBuffer& target) const noexcept;

 private:
  qz::platform::LoadedZlib zlib_;
};

/// The compression object of this process, made on first use. Threads may ask for it at the same time; it goes with
/// rpcSOAPTerminate().
/// @throws qz::Err as the constructor
CZCompression& getZCompression();
