#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kv::mission {

/// Bytes that give way to others.
struct Change {
  std::size_t begin, end;
  std::string bytes;

  std::int64_t Growth() const { return std::ssize(bytes) - static_cast<std::int64_t>(end - begin); }
};

/// @param changes  do not overlap; of those that begin at the same place, insertions come first, in their order
inline std::string Changed(std::string_view text, std::vector<Change> changes) {
  std::stable_sort(changes.begin(), changes.end(), [](auto& a, auto& b) { return a.begin < b.begin; });
  std::string changed;
  std::int64_t size = std::ssize(text);
  for (const Change& change : changes) size += change.Growth();
  changed.reserve(static_cast<std::size_t>(size));
  std::size_t at = 0;
  for (const Change& change : changes) {
    changed.append(text.substr(at, change.begin - at)).append(change.bytes);
    at = change.end;
  }
  return changed.append(text.substr(at));
}

}  // namespace kv::mission
