// An installation of its own for one test.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qz::test {

/// A folder with the library and the start-up child in its "bin", and nothing else at first. Removed with the object.
class InstallTree {
 public:
  /// Makes a tree in a fresh temporary folder.
  InstallTree();
  /// Makes a tree in `root`, which must not exist.
  explicit InstallTree(std::string root);
  ~InstallTree();
  InstallTree(const InstallTree&) = delete;
  InstallTree& operator=(const InstallTree&) = delete;

  /// Root of the tree, without a backslash at its end.
  const std::string& root() const { return root_; }
  /// Full path of something in the tree.
  std::string path(const std::string& relative) const { return root_ + "\\" + relative; }

  /// Runs the child with `commands` from another current folder, and returns its output. A child that fails, fails the
  /// test.
  std::string run(const std::vector<std::string>& commands) const;

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
};

/// `log` with date, time, process and thread replaced by "@" in every line's prefix, whatever the layer.
std::string masked(std::string log);

/// Where the running test and the built library lie.
std::filesystem::path programFolder();

/// A fresh name for a folder below the temporary folder.
std::string freshFolder();

}  // namespace qz::test
