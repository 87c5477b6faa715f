#pragma once

#include "platform/FileNames.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kv {

/// Reads a file line by line as Windows' text mode does: LF and CR LF end a line, Ctrl-Z (0x1A) ends the file, the last
/// line needs no line end. Bytes pass through unchanged, NUL included. A file that cannot be opened has no lines; a
/// read error ends the file.
class TextStream {
 public:
  explicit TextStream(std::wstring_view path);
  /// Reads a text in memory as if it were a file's; it must outlive the stream.
  explicit TextStream(std::string_view text);

  /// @param line     receives the next line without its end; valid until the next call
  /// @param longest  bytes that a line may have; a longer one ends the file, as it ends a stream that reads into a
  ///                 buffer of one character more
  /// @return         false at the end
  bool ReadLine(std::string_view& line, std::size_t longest = std::string_view::npos);

  /// Bytes behind the lines so far; 0 when the file's size is not known.
  std::uint64_t BytesLeft() const;

 private:
  bool TakeLine(std::string_view& line, std::size_t longest);
  bool Fill();

  FilePtr file_;
  std::vector<char> buffer_;     // grows only for a line longer than itself
  const char* bytes_ = nullptr;  // of the buffer, or of the text in memory
  std::size_t begin_ = 0;        // first byte not yet given out
  std::size_t end_ = 0;
  std::uint64_t bytesRead_ = 0;  // of the file; up to end_
  std::uint64_t fileBytes_ = 0;
  bool atEnd_ = false;
};

}  // namespace kv
