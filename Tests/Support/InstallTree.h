// An installation of its own for one test.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

#include "CqzES.h"
#include "ITKes.h"

namespace qz::test {

/// A folder with a small library in its "bin", and nothing else at first. Removed with the object.
class InstallTree {
 public:
  /// Makes a tree in `root`, which must not exist.
  explicit InstallTree(std::string root = freshFolder());
  ~InstallTree();
  InstallTree(const InstallTree&) = delete;
  InstallTree& operator=(const InstallTree&) = delete;

  /// A fresh name for a folder below the temporary folder.
  static std::string freshFolder();

  /// Root of the tree, without a backslash at its end.
  const std::string& root() const { return root_; }
  /// Full path of something in the tree.
  std::string path(const std::string& relative) const { return root_ + "\\" + relative; }
  /// The small library, from whose place settings find this tree.
  HMODULE module() const { return module_; }

  /// Copies a file from beside the running test into the tree's "bin", as `name` if that is not empty, in the place of
  /// what was there, and returns its full path.
  std::string install(const std::string& file, const std::string& name = {}) const;
  /// Runs `program` with `commands` beside a copy of the library, from another current folder, and returns its output.
  /// A child that fails, fails the test.
  std::string run(const std::vector<std::string>& commands, const std::string& program = "StartupChild.exe") const;

  /// Bytes of a file; "(missing)" when there is none.
  std::string read(const std::string& relative) const;
  /// Makes a file, and its folder if need be.
  void write(const std::string& relative, const std::string& content) const;
  /// Makes both ini files: `switches` in the sections that govern the logs, versions as given.
  void configure(const std::string& switches, const std::string& toolkitVersion = "8300",
                 const std::string& flatVersion = "8100") const;
  /// Value of an ini key in the tree's "configuration" folder; "(missing)" when there is none.
  std::string ini(const std::string& file, const std::string& section, const std::string& key) const;
  /// Path below the root of today's toolkit log, or of yesterday's if midnight passes during the test.
  std::string toolkitLogName() const;
  /// Bytes of the toolkit's log behind its heading; the heading itself is checked.
  std::string toolkitLog() const;
  /// Bytes of the flat log in its default place.
  std::string flatLog() const { return read("Logs\\qzSOAP.log"); }

 private:
  std::string root_;
  HMODULE module_;
};

/// The settings of both faces, in the order of the library's own start.
struct BothSettings {
  CqzES flat;
  ITKes toolkit;
  explicit BothSettings(const InstallTree& tree) { flat.initialize(tree.module()), toolkit.initialize(tree.module()); }
};

/// `log` with date, time, process and thread replaced by "@" in every line's prefix, whatever the layer.
std::string masked(std::string log);

}  // namespace qz::test
