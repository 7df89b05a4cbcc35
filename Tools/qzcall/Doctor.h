// What there is to say of an installation.
#pragma once

#include <string>
#include <vector>

namespace qzcall {

/// One thing that was looked at.
struct Finding {
  /// How it is.
  enum class State {
    sound,
    notable,  ///< works, but somebody may want to know
    faulty
  };
  State state = State::sound;
  std::string subject;  ///< one word
  std::string text;     ///< what was found
  std::string cure;     ///< what to do about a fault; empty for anything else
};

/// One key of an ini file.
struct Setting {
  std::string face;  ///< "toolkit" or "flat"
  std::string section;
  std::string key;
  std::string value;    ///< what the library goes by
  std::string written;  ///< what the ini file says; empty: nothing, so that the value is the library's own

  bool isOverruled() const { return !written.empty() && written != value; }
};

/// The installation that this program runs in.
struct Examination {
  std::vector<Finding> findings;
  std::vector<Setting> settings;

  bool isSound() const;
};

/// Looks at program, library, settings, logs, zlib, the XML parser, WinINet and its proxy. It leaves no file behind but
/// those that the library makes when it is loaded, and log lines of what fails.
Examination examine();

}  // namespace qzcall
