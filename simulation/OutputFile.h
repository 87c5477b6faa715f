#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string_view>
#include <utility>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace kv::simulation {

/// A file written through a buffer. A failed operation throws std::system_error with the file's name and the system's
/// reason.
class OutputFile {
 public:
  explicit OutputFile(std::filesystem::path path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  template <typename... Values>
  void Print(fmt::format_string<Values...> format, Values&&... values) {
    fmt::format_to(std::back_inserter(buffer_), format, std::forward<Values>(values)...);
    if (buffer_.size() >= kBufferSize) Flush();
  }
  void Write(std::span<const unsigned char> bytes);

  /// Writes the rest of the buffer and gives the file its name, in place of an earlier file or link. Without this call
  /// there is no file.
  void Close();

 private:
  static constexpr std::size_t kBufferSize = 1 << 16;

  void Flush();
  [[noreturn]] void Fail() const;

  std::filesystem::path path_, unfinished_;
  std::ofstream file_;
  fmt::memory_buffer buffer_;
};

}  // namespace kv::simulation
