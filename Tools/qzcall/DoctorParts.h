// What the examinations of an installation have in common.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Tools/qzcall/Doctor.h"

namespace qzcall {

/// Where an examination writes down what it finds.
class Findings {
 public:
  explicit Findings(std::vector<Finding>& list) : list_(list) {}

  void sound(std::string subject, std::string text) { add(Finding::State::sound, std::move(subject), std::move(text)); }
  void notable(std::string subject, std::string text) {
    add(Finding::State::notable, std::move(subject), std::move(text));
  }
  void fault(std::string subject, std::string text, std::string cure) {
    add(Finding::State::faulty, std::move(subject), std::move(text), std::move(cure));
  }

 private:
  void add(Finding::State state, std::string subject, std::string text, std::string cure = {}) {
    list_.push_back({state, std::move(subject), std::move(text), std::move(cure)});
  }

  std::vector<Finding>& list_;
};

/// "system error 5".
std::string systemText(unsigned long error);

/// Path of a module's file; empty for null.
std::wstring fileOf(void* module);

/// The four numbers of a file's version resource; empty when it has none.
std::string versionOf(const std::wstring& path);

/// Path and version for a reader; says so when the path is empty.
std::string described(const std::wstring& path);

/// `path` without its last component.
std::wstring folderOf(const std::wstring& path);

/// Whether there is a file or folder of that name.
bool exists(const std::wstring& path);

/// Adds the settings of both faces, and what is found of their ini files and logs.
void examineSettings(Examination& examination);

/// Adds what is found of WinINet and of the proxy that it uses.
void examineInternet(Findings& findings);

}  // namespace qzcall
