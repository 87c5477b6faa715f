#include "readers/LineReader.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "platform/System.h"

namespace kv::mission {
namespace {

constexpr char kEndOfText = '\x1A';  // Ctrl-Z

[[noreturn]] void FailReading(const std::filesystem::path& path, int reason) {
  ThrowIfInterrupted();
  throw Failure(fmt::format("{}: cannot be read: {}", Utf8(path), std::generic_category().message(reason)));
}

FilePtr OpenForReading(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) FailReading(path, EISDIR);
  FilePtr file(OpenBinary(path, "rb"));
  if (!file) FailReading(path, errno);
  std::setvbuf(file.get(), nullptr, _IONBF, 0);  // readers bring their own buffers
  return file;
}

}  // namespace

std::string ReadBeginning(const std::filesystem::path& path, std::size_t length) {
  const FilePtr file = OpenForReading(path);
  std::string content(length, '\0');
  content.resize(std::fread(content.data(), 1, length, file.get()));
  if (std::ferror(file.get())) FailReading(path, errno);
  return content;
}

void RefuseUnlessRegular(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_other(path, ignored)) throw Failure(Utf8(path) + ": is no regular file");
}

LineReader::LineReader(const std::filesystem::path& path)
    : path_(path), file_(OpenForReading(path)), buffer_(std::make_unique<char[]>(kCapacity)) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (!error) fileSize_ = size;
}

void LineReader::Fill() {
  ThrowIfInterrupted();
  std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  const std::size_t wanted = kCapacity - end_;
  const std::size_t got = std::fread(buffer_.get() + end_, 1, wanted, file_.get());
  if (got < wanted && std::ferror(file_.get())) FailReading(path_, errno);
  atEnd_ = got < wanted;
  end_ += got;
  bytesRead_ += got;
}

bool LineReader::Next(std::string_view& line) {
  for (;;) {
    const std::string_view rest(buffer_.get() + begin_, end_ - begin_);
    const std::size_t length = rest.find('\n');
    const bool ends = length != std::string_view::npos;
    if (!ends && !atEnd_ && rest.size() < kCapacity) {
      Fill();
      continue;
    }
    if (!ends && rest.empty()) return false;
    const bool skipped = std::exchange(skipsRest_, !ends && !atEnd_);
    line = rest.substr(0, length);
    begin_ += ends ? length + 1 : rest.size();
    if (skipped) continue;
    if (ends && line.ends_with('\r')) line.remove_suffix(1);
    return true;
  }
}

bool LineReader::NextOfText(std::string_view& line) {
  if (textEnded_ || !Next(line)) return false;
  const std::size_t end = line.find(kEndOfText);
  textEnded_ = end != std::string_view::npos;
  line = line.substr(0, end);
  return !textEnded_ || !line.empty();
}

}  // namespace kv::mission
