// Style and script of the report's page.
#pragma once

#include <string_view>

namespace qzcall {

/// One of them, and by what the page's own rules know it.
struct Asset {
  std::string_view text;
  std::string_view hash;  ///< "sha256-" and the digest in Base64
};

extern const Asset kPageStyle;
extern const Asset kPageScript;

}  // namespace qzcall
