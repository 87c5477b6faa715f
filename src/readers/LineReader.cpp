#include "readers/LineReader.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

constexpr std::size_t kLongestLine = 256 * 1024;  // bytes

[[noreturn]] void FailReading(const std::filesystem::path& path, int reason) {
  ThrowIfInterrupted();
  throw Failure(fmt::format("{}: cannot be read: {}", Utf8(path), std::generic_category().message(reason)));
}

}  // namespace

std::string ReadBeginning(const std::filesystem::path& path, std::size_t length) {
  const FilePtr file = OpenNative(path, "rb");
  if (!file) FailReading(path, errno);
  std::setvbuf(file.get(), nullptr, _IONBF, 0);  // no more than was asked for is taken out of a pipe
  std::string content(length, '\0');
  content.resize(std::fread(content.data(), 1, length, file.get()));
  if (std::ferror(file.get())) FailReading(path, errno);
  return content;
}

void RefuseUnlessRegular(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_other(path, ignored)) throw Failure(Utf8(path) + ": is no regular file");
}

LineReader::LineReader(const std::filesystem::path& path, CtrlZ ctrlZ)
    : path_(path), stream_(OpenNative(path, "rb"), ctrlZ) {
  if (stream_.Error() != 0) FailReading(path, stream_.Error());
}

bool LineReader::Next(std::string_view& line) {
  while (stream_.ReadPiece(line, kLongestLine)) {
    if (stream_.BytesRead() != bytesChecked_) ThrowIfInterrupted();
    bytesChecked_ = stream_.BytesRead();
    if (std::exchange(isInLine_, !stream_.IsAtLineStart())) continue;
    line = line.substr(0, kLongestLine);
    return true;
  }
  if (stream_.Error() != 0) FailReading(path_, stream_.Error());
  return false;
}

}  // namespace kv::mission
