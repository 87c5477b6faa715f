#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

#include "platform/FileNames.h"

namespace kv::mission {

/// The accepted lines of a log, on their way to the library.
class LineWriter {
 public:
  /// @throws Failure when the file cannot be made
  explicit LineWriter(const std::filesystem::path& path);

  /// Lines are appended here, each with its line end.
  std::string& Text() { return text_; }
  /// To be called after each line. @throws Failure when the file cannot be written
  void LineDone() {
    if (text_.size() >= kBufferSize) Flush();
  }
  /// Writes what is left. @throws Failure
  void Close();

 private:
  static constexpr std::size_t kBufferSize = 64 * 1024;

  void Flush();

  std::filesystem::path path_;
  FilePtr file_;
  std::string text_;
};

}  // namespace kv::mission
