#include "Tools/qzcall/OwnerOnlyFile.h"

#include <windows.h>

#include <system_error>
#include <vector>

namespace qzcall {
namespace {

void require(BOOL done) {
  if (done == FALSE) throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

/// Full access for the user of this process and none for anybody else; nothing is inherited from the folder.
class OwnerOnly {
 public:
  OwnerOnly() : user_(readUser()) {
    PSID const owner = reinterpret_cast<const TOKEN_USER*>(user_.data())->User.Sid;
    acl_.resize(sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + GetLengthSid(owner));
    auto* const acl = reinterpret_cast<ACL*>(acl_.data());
    require(InitializeAcl(acl, static_cast<DWORD>(acl_.size()), ACL_REVISION));
    require(AddAccessAllowedAce(acl, ACL_REVISION, FILE_ALL_ACCESS, owner));
    require(InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION));
    // An administrator's files would otherwise belong to all administrators.
    require(SetSecurityDescriptorOwner(&descriptor_, owner, FALSE));
    require(SetSecurityDescriptorDacl(&descriptor_, TRUE, acl, FALSE));
    require(SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED));
  }

  SECURITY_ATTRIBUTES* attributes() { return &attributes_; }

 private:
  static std::vector<unsigned char> readUser() {
    HANDLE token = nullptr;
    require(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<unsigned char> user(size);
    const BOOL read = GetTokenInformation(token, TokenUser, user.data(), size, &size);
    CloseHandle(token);
    require(read);
    return user;
  }

  std::vector<unsigned char> user_;
  std::vector<unsigned char> acl_;
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
