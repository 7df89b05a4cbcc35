// Files for nobody but their owner.
#pragma once

#include <string>
#include <string_view>

namespace qzcall {

/// A file that takes the place of another one when it is complete. Until then it lies beside it under a name of its own,
/// and is removed unless it was completed.
class OwnerOnlyFile {
 public:
  /// Makes the file. From the start nobody but the current user has any access to it.
  /// @param target path of the file to be replaced
  /// @throws std::system_error
  explicit OwnerOnlyFile(const std::wstring& target);
  ~OwnerOnlyFile();
  OwnerOnlyFile(const OwnerOnlyFile&) = delete;
  OwnerOnlyFile& operator=(const OwnerOnlyFile&) = delete;

  /// Writes the whole content and puts the file in the target's place.
  /// @throws std::system_error; the target is then unchanged
  void complete(std::string_view content);

 private:
  void close() noexcept;

  std::wstring target_;
  std::wstring path_;
  void* file_;
};

}  // namespace qzcall
