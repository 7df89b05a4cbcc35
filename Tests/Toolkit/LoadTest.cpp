// The built DLL as a stranger's program finds it: by name, at run time.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

namespace {

/// A DLL for the length of a test.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const char* name) : handle_(LoadLibraryA(name)) {}
  ~LoadedLibrary() {
    if (handle_ != nullptr) FreeLibrary(handle_);
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  bool loaded() const { return handle_ != nullptr; }

  template <class Function>
  Function* find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(handle_, name)));
  }

 private:
  HMODULE handle_;
};

std::string folderOf(std::string path) { return path.substr(0, path.find_last_of('\\')); }

std::string programFolder() {
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  return folderOf(path);
}

TEST(LoadTest, FlatFunctionsAreExportedUndecoratedWithTheCConvention) {
  const LoadedLibrary library("qzSOAP.dll");
  ASSERT_TRUE(library.loaded()) << GetLastError();
  const auto get = library.find<int __cdecl()>("rpcSOAP_getIsService");
  const auto set = library.find<void __cdecl(int)>("rpcSOAP_setIsService");
  ASSERT_NE(get, nullptr);
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(get(), 0);
  set(7);
  EXPECT_EQ(get(), 7);
  set(0);
}

TEST(LoadTest, ZlibBesideTheLibraryIsVersion123) {
  const LoadedLibrary library((programFolder() + "\\zlib1.dll").c_str());
  ASSERT_TRUE(library.loaded()) << GetLastError();
  const auto version = library.find<const char* __cdecl()>("zlibVersion");
  ASSERT_NE(version, nullptr);
  EXPECT_STREQ(version(), "1.2.3");
  for (const char* name : {"compress2", "uncompress", "crc32"})
    EXPECT_NE(library.find<void __cdecl()>(name), nullptr) << name;
}

}  // namespace
