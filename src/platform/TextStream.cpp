#include "platform/TextStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace kv {
namespace {

constexpr std::size_t kBlockBytes = 256 * 1024;
constexpr char kEndOfFile = 0x1A;

}  // namespace

TextStream::TextStream(std::wstring_view path) : TextStream(OpenFile(path, "rb"), CtrlZ::EndsText) {}

TextStream::TextStream(FilePtr file, CtrlZ ctrlZ)
    : file_(std::move(file)), atEnd_(!file_), error_(file_ ? 0 : errno), ctrlZ_(ctrlZ) {
  if (!file_) return;
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);  // the blocks below are the only buffer
  fileBytes_ = FileSize(file_.get()).value_or(0);
}

bool TextStream::ReadLine(std::string_view& line, std::size_t longest) {
  if (!ReadPiece(line, longest)) return false;
  if (line.size() <= longest) return true;
  begin_ = end_;
  atEnd_ = true;
  return false;
}

bool TextStream::ReadPiece(std::string_view& line, std::size_t longest) {
  for (std::size_t searched = 0;;) {
    const char* begin = buffer_.get() + begin_;
    const std::size_t available = end_ - begin_;
    if (const void* found =
            available > searched ? std::memchr(begin + searched, '\n', available - searched) : nullptr) {
      line = {begin, static_cast<std::size_t>(static_cast<const char*>(found) - begin)};
      begin_ += line.size() + 1;
      if (line.ends_with('\r')) line.remove_suffix(1);
      return true;
    }
    searched = available;
    const bool mayFit = searched <= longest || searched - longest == 1;  // one more: the CR of a CR LF
    if (mayFit && Fill()) continue;
    line = {buffer_.get() + begin_, end_ - begin_};
    begin_ = end_;
    return !line.empty();
  }
}

/// A small file is read with one call into a buffer of its size: the call that comes back short has met the end.
std::size_t TextStream::BlockBytes() const {
  const std::uint64_t left = bytesRead_ < fileBytes_ ? fileBytes_ - bytesRead_ + 1 : kBlockBytes;
  return std::min<std::uint64_t>(left, kBlockBytes);
}

bool TextStream::Fill() {
  if (atEnd_) return false;
  const std::size_t kept = end_ - begin_;
  if (kept > 0 && begin_ > 0) std::memmove(buffer_.get(), buffer_.get() + begin_, kept);
  begin_ = 0;
  const std::size_t room = BlockBytes();
  if (room_ < kept + room) Grow(kept < room ? 2 * room : kept + kept / 4 + room);
  char* block = buffer_.get() + kept;
  std::size_t read = std::fread(block, 1, room, file_.get());
  atEnd_ = read < room;
  if (atEnd_ && std::ferror(file_.get())) error_ = errno != 0 ? errno : EIO;
  const bool mayEnd = ctrlZ_ == CtrlZ::EndsText && read > 0;
  if (const void* mark = mayEnd ? std::memchr(block, kEndOfFile, read) : nullptr) {
    read = static_cast<std::size_t>(static_cast<const char*>(mark) - block);
    atEnd_ = true;
  }
  end_ = kept + read;
  bytesRead_ += read;
  return read > 0;
}

// A vector would copy a line of a gigabyte again and again and fill what it has not read. Large blocks move by their pages.
void TextStream::Grow(std::size_t bytes) {
  char* const grown = static_cast<char*>(std::realloc(buffer_.get(), bytes));
  if (!grown) throw std::bad_alloc();
  static_cast<void>(buffer_.release());
  buffer_.reset(grown);
  room_ = bytes;
}

std::uint64_t TextStream::BytesLeft() const {
  const std::uint64_t given = bytesRead_ - (end_ - begin_);
  return fileBytes_ > given ? fileBytes_ - given : 0;
}

}  // namespace kv
