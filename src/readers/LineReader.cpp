#include "readers/LineReader.h"

#include <fmt/format.h>

#include <cstdio>
#include <system_error>
#include <utility>

#include "platform/FileNames.h"
#include "text/Blanks.h"

namespace kv::mission {
namespace {

constexpr std::size_t kLongestLine = 64 * 1024;  // bytes

}  // namespace

void FailReading(const std::filesystem::path& path, const std::error_code& reason) {
  throw Failure(fmt::format("{}: cannot be read: {}", Utf8(path), reason.message()));
}

std::string ReadBeginning(const std::filesystem::path& path, std::size_t length) {
  const FilePtr file = OpenNative(path, "rb");
  if (!file) FailReading(path);
  std::setvbuf(file.get(), nullptr, _IONBF, 0);  // no more than was asked for is taken out of a pipe
  std::string content(length, '\0');
  content.resize(std::fread(content.data(), 1, length, file.get()));
  if (std::ferror(file.get())) FailReading(path);
  return content;
}

std::string ReadSmallFile(const std::filesystem::path& path, std::size_t largest, const char* what,
                          Failure::Reason reason) {
  std::string content = ReadBeginning(path, largest + 1);
  if (content.size() > largest) throw Failure(fmt::format("{}: too large for {}", Utf8(path), what), reason);
  return content;
}

void RefuseUnlessRegular(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_other(path, ignored)) throw Failure(Utf8(path) + ": not a regular file");
}

LineReader::LineReader(const std::filesystem::path& path, CtrlZ ctrlZ, Job& job, const char* what)
    : path_(path), stream_(OpenNative(path, "rb"), ctrlZ), job_(job), meter_(job, what, "lines") {
  ThrowOnError();
}

bool LineReader::Next(std::string_view& line) {
  while (stream_.ReadPiece(line, kLongestLine)) {
    if (stream_.BytesRead() != bytesChecked_) [[unlikely]]
      CheckStop();
    if (std::exchange(isInLine_, !stream_.IsAtLineStart())) [[unlikely]]
      continue;
    ++number_;
    if (line.size() > kLongestLine) [[unlikely]]
      Cut(line);
    if (number_ == 1) [[unlikely]]
      line = WithoutByteOrderMark(line);
    meter_.Step(bytesChecked_, stream_.FileBytes());
    return true;
  }
  TellOfEnd();
  return false;
}

void LineReader::CheckStop() {
  job_.ThrowIfStopped();
  bytesChecked_ = stream_.BytesRead();
}

void LineReader::Cut(std::string_view& line) {
  cut_.push_back(number_);
  line = line.substr(0, kLongestLine);
}

void LineReader::TellOfEnd() {
  ThrowOnError();
  if (!cut_.empty())
    job_.Add(Found::LinesCut, {{"file", Utf8(path_)}, {"count", Count(cut_.size())}, {"lines", Named(cut_)}},
             {.file = path_, .line = cut_[0]});
  cut_.clear();
}

void LineReader::ThrowOnError() {
  if (stream_.Error() == 0) return;
  job_.ThrowIfStopped();  // an interrupt ends an opening or a read that waits
  FailReading(path_, {stream_.Error(), std::generic_category()});
}

}  // namespace kv::mission
