#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

/// A temporary folder for one test. The destructor removes it with its content.
class TempFolder {
 public:
  TempFolder() {
    std::random_device random;
    do path_ = std::filesystem::temp_directory_path() / ("kvutilities-" + std::to_string(random()));
    while (!std::filesystem::create_directory(path_));
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  /// A UTF-8 name as the system takes it.
  static std::filesystem::path Native(std::string_view name) { return std::u8string(name.begin(), name.end()); }
  /// The wide path of a UTF-8 name in the folder, or of the folder; `path::wstring` would use the process locale.
  std::wstring Wide(std::string_view name = {}) const {
#if defined(_WIN32)
    return name.empty() ? path_ : path_ / Native(name);
#else
    const std::u32string path = (name.empty() ? path_ : path_ / name).u32string();
    return {path.begin(), path.end()};
#endif
  }

  /// Makes a link, where the system lets everyone do so. @return false elsewhere
  bool Link(const std::filesystem::path& target, std::string_view name) const {
#if defined(_WIN32)
    static_cast<void>(target), static_cast<void>(name);
    return false;
#else
    std::filesystem::create_symlink(target, path_ / name);
    return true;
#endif
  }

  /// Writes a file byte for byte and returns its path.
  std::wstring Write(std::string_view name, std::string_view content) const {
    std::ofstream(path_ / Native(name), std::ios::binary) << content;
    return Wide(name);
  }
  std::string Read(std::string_view name) const {
    std::ifstream file(path_ / Native(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::filesystem::path path_;
};
