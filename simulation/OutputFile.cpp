#include "simulation/OutputFile.h"

#include <cerrno>
#include <string>
#include <system_error>

namespace kv::simulation {

OutputFile::OutputFile(std::filesystem::path path) : path_(std::move(path)), unfinished_(path_) {
  unfinished_ += ".unfinished";
  std::error_code notThere;
  std::filesystem::remove(unfinished_, notThere);  // not to write through a link
  file_.rdbuf()->pubsetbuf(nullptr, 0);            // buffer_ is the buffer
  errno = 0;
  file_.open(unfinished_, std::ios::binary | std::ios::trunc);
  if (!file_) Fail();
}

void OutputFile::Write(std::span<const unsigned char> bytes) {
  buffer_.append(bytes.data(), bytes.data() + bytes.size());
  if (buffer_.size() >= kBufferSize) Flush();
}

void OutputFile::Close() {
  Flush();
  file_.close();
  if (!file_) Fail();
  std::error_code error;
  std::filesystem::rename(unfinished_, path_, error);
  errno = error.value();
  if (error) Fail();
  unfinished_.clear();
}

OutputFile::~OutputFile() {
  std::error_code ignored;
  if (!unfinished_.empty()) std::filesystem::remove(unfinished_, ignored);
}

void OutputFile::Flush() {
  errno = 0;
  file_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  if (!file_) Fail();
  buffer_.clear();
}

void OutputFile::Fail() const {
  const std::error_code reason(errno ? errno : EIO, std::generic_category());
  const std::u8string name = path_.u8string();
  throw std::system_error(reason, "cannot write " + std::string(name.begin(), name.end()));
}

}  // namespace kv::simulation
