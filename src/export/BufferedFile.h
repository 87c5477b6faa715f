#pragma once

#include "platform/FileNames.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace kv {

/// A file written in blocks of `kBlockBytes`. A piece may overwrite bytes that are still in memory, so a writer that
/// steps back a little costs no system call.
class BufferedFile {
 public:
  static constexpr std::size_t kBlockBytes = 256 * 1024;

  /// @param mode  as for fopen, binary
  /// @return      null when the file cannot be opened
  static std::unique_ptr<BufferedFile> Open(std::wstring_view path, const char* mode);

  /// @return false when bytes of this piece or of earlier ones could not be written
  bool Write(const char* data, std::size_t size);

  /// Room in the block for a piece to be filled at once, which counts as written.
  /// @return null when the block does not hold it: then `Write` it
  char* Claim(std::size_t size);

  /// @return bytes read; fewer than asked for at the end or on failure
  std::size_t Read(char* data, std::size_t size);

  void Seek(std::uint64_t offset) { position_ = offset; }
  std::uint64_t Tell() const { return position_; }

  /// Bytes that the file holds, with those not yet on the disk.
  std::uint64_t Size() const { return size_; }

  bool Flush();

  /// @return false when bytes did not reach the file
  bool Close();

 private:
  bool WriteAcrossBlocks(const char* data, std::size_t size);
  bool WriteThrough(const char* data, std::size_t size);

  FilePtr file_;
  std::unique_ptr<char[]> block_;
  std::uint64_t blockBegin_ = 0;  // offset in the file of the block's first byte
  std::size_t blockUsed_ = 0;
  std::uint64_t position_ = 0;  // where the next piece goes
  std::uint64_t size_ = 0;
  bool mustSeek_ = false;  // the file position is not blockBegin_
};

}  // namespace kv
