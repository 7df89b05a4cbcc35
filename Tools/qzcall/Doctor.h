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
  std::string value;  ///< that is in effect
  bool isWritten;     ///< it stands in the ini file; otherwise the library's own
};

/// The installation that this program runs in.
struct Examination {
  std::vector<Finding> findings;
  std::vector<Setting> settings;

  bool isSound() const;
};

/// Looks at program, library, settings, logs, zlib, the XML parser, WinINet and its proxy. Writes nothing but files
/// that are gone again at once.
Examination examine();

}  // namespace qzcall
