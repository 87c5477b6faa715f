#include "export/BufferedFile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace kv {

std::unique_ptr<BufferedFile> BufferedFile::Open(std::wstring_view path, const char* mode) {
  auto opened = std::make_unique<BufferedFile>();
  opened->block_ = std::make_unique_for_overwrite<char[]>(kBlockBytes);
  opened->file_ = OpenFile(path, mode);
  if (!opened->file_) return nullptr;
  std::setvbuf(opened->file_.get(), nullptr, _IONBF, 0);  // the block is the only buffer
  opened->size_ = FileSize(path).value_or(0);             // a device has none
  return opened;
}

char* BufferedFile::Claim(std::size_t size) {
  const std::uint64_t begin = position_ - blockBegin_;  // huge if it lies before the block
  if (begin > blockUsed_ || size > kBlockBytes - begin) return nullptr;
  position_ += size;
  blockUsed_ = std::max<std::size_t>(blockUsed_, begin + size);
  size_ = std::max(size_, position_);
  return block_.get() + begin;
}

bool BufferedFile::Write(const char* data, std::size_t size) {
  char* const room = Claim(size);
  if (!room) return WriteAcrossBlocks(data, size);
  if (size > 0) std::memcpy(room, data, size);  // an index without entries comes as null
  return true;
}

bool BufferedFile::WriteAcrossBlocks(const char* data, std::size_t size) {
  const bool continuesBlock = position_ >= blockBegin_ && position_ <= blockBegin_ + blockUsed_;
  if (!continuesBlock) {
    if (!Flush()) return false;
    mustSeek_ = true;
    blockBegin_ = position_;
  }
  while (size > 0) {
    if (position_ == blockBegin_ + kBlockBytes && !Flush()) return false;
    const std::size_t bytes = std::min<std::size_t>(size, blockBegin_ + kBlockBytes - position_);
    std::memcpy(Claim(bytes), data, bytes);
    data += bytes;
    size -= bytes;
  }
  return true;
}

std::size_t BufferedFile::Read(char* data, std::size_t size) {
  if (!Flush() || !SeekFile(file_.get(), position_)) return 0;
  const std::size_t bytes = std::fread(data, 1, size, file_.get());
  position_ += bytes;
  mustSeek_ = true;  // a stream wants one between reading and writing, too
  return bytes;
}

bool BufferedFile::Flush() { return blockUsed_ == 0 || WriteThrough(block_.get(), std::exchange(blockUsed_, 0)); }

bool BufferedFile::Close() {
  const bool flushed = Flush();
  return std::fclose(file_.release()) == 0 && flushed;
}

bool BufferedFile::WriteThrough(const char* data, std::size_t size) {
  if (mustSeek_ && !SeekFile(file_.get(), blockBegin_)) return false;
  const std::size_t written = std::fwrite(data, 1, size, file_.get());
  blockBegin_ += written;
  mustSeek_ = written != size;
  return !mustSeek_;
}

}  // namespace kv
