#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace kv::mission {

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

/// The first bytes of a file, as far as it has them.
/// @throws Failure with the file's name and the system's reason; a folder is refused
std::string ReadBeginning(const std::filesystem::path& path, std::size_t length);

/// @throws Failure for a pipe or a device, which cannot be read twice
void RefuseUnlessRegular(const std::filesystem::path& path);

/// The lines of a file in one pass and in fixed memory. LF and CR LF end a line; the last line needs no end. Of a line
/// longer than 256 KiB only the beginning is given: no field file has such lines.
class LineReader {
 public:
  /// @throws Failure when the file cannot be opened
  explicit LineReader(const std::filesystem::path& path);

  /// @param line  receives the next line without its end; valid until the next call
  /// @return      false at the end
  /// @throws      Failure when reading fails or the user interrupts
  bool Next(std::string_view& line);

  /// The same of a text file: a Ctrl-Z ends it, and what stands before that in its line counts.
  bool NextOfText(std::string_view& line);

  std::uint64_t BytesRead() const { return bytesRead_; }
  std::uint64_t FileSize() const { return fileSize_; }  ///< 0 when it is not known, as of a pipe

 private:
  static constexpr std::size_t kCapacity = 256 * 1024;

  void Fill();

  std::filesystem::path path_;
  FilePtr file_;
  std::unique_ptr<char[]> buffer_;
  std::size_t begin_ = 0;  // of what is not yet given out
  std::size_t end_ = 0;
  std::uint64_t bytesRead_ = 0;
  std::uint64_t fileSize_ = 0;
  bool atEnd_ = false;
  bool skipsRest_ = false;  // of a line that was too long
  bool textEnded_ = false;
};

}  // namespace kv::mission
