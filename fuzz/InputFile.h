#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

/// Writes the fuzzer's bytes to a file, since readers take paths. One file per process.
inline const std::filesystem::path& InputFile(const std::uint8_t* data, std::size_t size) {
  static const std::filesystem::path path = [] {
    std::string name = (std::filesystem::temp_directory_path() / "kvutilities-fuzz-XXXXXX").string();
    std::fclose(fdopen(mkstemp(name.data()), "wb"));
    return name;
  }();
  std::FILE* file = std::fopen(path.c_str(), "wb");
  std::fwrite(data, 1, size, file);
  std::fclose(file);
  return path;
}
