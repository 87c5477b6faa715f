#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace kv::mission {

/// Lines of a file, counted from 1.
using LineNumbers = std::vector<std::size_t>;

/// "line 3, 7", or the first five and "..."
inline std::string Named(const LineNumbers& lines) {
  constexpr std::ptrdiff_t kNamed = 5;
  const auto end = lines.begin() + std::min(kNamed, std::ssize(lines));
  return fmt::format("line {}{}", fmt::join(lines.begin(), end, ", "), end == lines.end() ? "" : ", ...");
}

}  // namespace kv::mission
