#include "Tools/qzcall/OwnerOnlyFile.h"

#include <windows.h>

#include <system_error>
#include <vector>

namespace qzcall {
namespace {

void require(BOOL done) {
  if (done == FALSE) throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

using Sid = std::vector<unsigned char>;

PSID pointerTo(const Sid& sid) { return const_cast<unsigned char*>(sid.data()); }

Sid userOfProcess() {
  HANDLE token = nullptr;
  require(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
  DWORD size = 0;
  GetTokenInformation(token, TokenUser, nullptr, 0, &size);
  std::vector<unsigned char> user(size);
  const BOOL read = GetTokenInformation(token, TokenUser, user.data(), size, &size);
  CloseHandle(token);
  require(read);
  PSID const sid = reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
  const auto* const bytes = static_cast<const unsigned char*>(sid);
  return {bytes, bytes + GetLengthSid(sid)};
}

Sid creatorOwner() {
  Sid sid(SECURITY_MAX_SID_SIZE);
  DWORD size = SECURITY_MAX_SID_SIZE;
  require(CreateWellKnownSid(WinCreatorOwnerSid, nullptr, sid.data(), &size));
  return sid;
}

/// Wine turns the descriptor into mode bits of Unix. An entry for a SID that the process holds gives its rights to the
/// file's group as well; only an entry for an owner that it does not hold is taken to mean the Unix user alone. Windows
/// refuses such an owner.
Sid ownerOfNewFile() {
  const bool isWine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
  return isWine ? creatorOwner() : userOfProcess();
}

/// Every access but execution for the owner and none for anybody else; nothing is inherited from the folder. The owner
/// is named, because an administrator's files would otherwise belong to all administrators.
class OwnerOnly {
 public:
  OwnerOnly() : owner_(ownerOfNewFile()), list_(sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + owner_.size()) {
    auto* const list = reinterpret_cast<ACL*>(list_.data());
    require(InitializeAcl(list, static_cast<DWORD>(list_.size()), ACL_REVISION));
    require(AddAccessAllowedAce(list, ACL_REVISION, FILE_ALL_ACCESS & ~FILE_EXECUTE, pointerTo(owner_)));
    require(InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION));
    require(SetSecurityDescriptorOwner(&descriptor_, pointerTo(owner_), FALSE));
    require(SetSecurityDescriptorDacl(&descriptor_, TRUE, list, FALSE));
    require(SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED));
  }

  SECURITY_ATTRIBUTES* attributes() { return &attributes_; }

 private:
  Sid owner_;
  std::vector<unsigned char> list_;
  SECURITY_DESCRIPTOR descriptor_{};
  SECURITY_ATTRIBUTES attributes_{sizeof attributes_, &descriptor_, FALSE};
};

}  // namespace

OwnerOnlyFile::OwnerOnlyFile(const std::wstring& target)
    : target_(target), path_(target + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp") {
  OwnerOnly access;
  // What a process of the same number may have left is not ours to share; the new file must be new.
  DeleteFileW(path_.c_str());
  file_ = CreateFileW(path_.c_str(), GENERIC_WRITE, 0, access.attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  require(file_ != INVALID_HANDLE_VALUE);
}

OwnerOnlyFile::~OwnerOnlyFile() {
  close();
  if (!path_.empty()) DeleteFileW(path_.c_str());
}

void OwnerOnlyFile::close() noexcept {
  if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
  file_ = INVALID_HANDLE_VALUE;
}

void OwnerOnlyFile::complete(std::string_view content) {
  DWORD written = 0;
  require(WriteFile(file_, content.data(), static_cast<DWORD>(content.size()), &written, nullptr));
  require(FlushFileBuffers(file_));
  close();
  require(MoveFileExW(path_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
  path_.clear();
}

}  // namespace qzcall
