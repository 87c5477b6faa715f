#pragma once

#include "platform/FileNames.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace kv {

/// How a Ctrl-Z (0x1A) is read: as the end of the text, as in Windows' text mode, or as a character.
enum class CtrlZ { EndsText, IsText };

/// Reads a file line by line as Windows' text mode does: LF and CR LF end a line, Ctrl-Z ends the file, the last line
/// needs no line end. Bytes pass through unchanged, NUL included. A file that cannot be opened has no lines; a read
/// error ends the file.
class TextStream {
 public:
  explicit TextStream(std::wstring_view path);
  /// @param file  just opened; when null, `errno` says why
  TextStream(FilePtr file, CtrlZ ctrlZ);

  /// @param line     receives the next line without its end; valid until the next call
  /// @param longest  most bytes of a line; a longer line ends the file, as it ends a stream that reads into a buffer
  ///                 with room for one character more
  /// @return         false at the end
  bool ReadLine(std::string_view& line, std::size_t longest = std::string_view::npos);

  /// Reads in bounded memory: a line longer than `longest` bytes may come in several pieces, the first of which is
  /// longer than `longest`.
  /// @return  false at the end
  bool ReadPiece(std::string_view& piece, std::size_t longest);
  /// Whether a line end followed what was read last. The last line of a file need not have one.
  bool IsAtLineStart() const { return begin_ > 0 && buffer_.get()[begin_ - 1] == '\n'; }

  /// Why the file could not be opened or read, a value of `errno`; 0 if neither failed.
  int Error() const { return error_; }

  /// Bytes after the lines read so far; 0 when the file's size is not known.
  std::uint64_t BytesLeft() const;
  std::uint64_t BytesRead() const { return bytesRead_; }  ///< blocks of the file
  std::uint64_t FileBytes() const { return fileBytes_; }  ///< 0 when the size is not known, as for a pipe

 private:
  struct Free {
    void operator()(char* bytes) const noexcept { std::free(bytes); }
  };

  std::size_t BlockBytes() const;
  bool Fill();
  void Grow(std::size_t bytes);

  FilePtr file_;
  std::unique_ptr<char, Free> buffer_;  // grows only for a line longer than itself
  std::size_t room_ = 0;                // bytes of it
  std::size_t begin_ = 0;               // first byte not yet returned
  std::size_t end_ = 0;
  std::uint64_t bytesRead_ = 0;  // of the file; up to end_
  std::uint64_t fileBytes_ = 0;
  bool atEnd_ = false;
  int error_ = 0;
  CtrlZ ctrlZ_ = CtrlZ::EndsText;
};

}  // namespace kv
