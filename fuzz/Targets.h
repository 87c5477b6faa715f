#pragma once

#include <filesystem>
#include <span>
#include <string_view>

/// What reads bytes that anybody may have written. The fuzzer tries these; the tests replay what it found.
namespace fuzz {

/// The same bytes twice.
struct Input {
  std::string_view bytes;
  const std::filesystem::path& path;  ///< of a file that holds them
};

struct Target {
  const char* name;                  ///< and folder of its corpus
  void (*read)(const Input& input);  ///< catches what a caller must expect; whatever else leaves it is a fault
};

std::span<const Target> Targets();

}  // namespace fuzz
