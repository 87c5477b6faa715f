#pragma once

#include <algorithm>
#include <string>

namespace kv::mission {

/// ASCII letters only: the names compared are ASCII, and the locale plays no part.
inline std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

}  // namespace kv::mission
