// What the library exports under plain names.
#pragma once

#include <windows.h>

#include <map>
#include <string>

namespace qz::test {

/// Names and addresses in the export directory of a loaded module, without the decorated names of C++.
inline std::map<std::string, const void*> exportedFunctions(HMODULE module) {
  const auto* const base = reinterpret_cast<const char*>(module);
  const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos.e_lfanew);
  const auto& place = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  const auto& directory = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
  const auto* const names = reinterpret_cast<const DWORD*>(base + directory.AddressOfNames);
  const auto* const places = reinterpret_cast<const WORD*>(base + directory.AddressOfNameOrdinals);
  const auto* const functions = reinterpret_cast<const DWORD*>(base + directory.AddressOfFunctions);
  std::map<std::string, const void*> exported;
  for (DWORD i = 0; i < directory.NumberOfNames; ++i) {
    const std::string name = base + names[i];
    if (!name.starts_with("_Z")) exported[name] = base + functions[places[i]];
  }
  return exported;
}

}  // namespace qz::test
