#include "mission/inputs/LineWriter.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

#include "base/Failure.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

[[noreturn]] void FailWriting(const std::filesystem::path& path) {
  throw Failure(fmt::format("{}: cannot be written: {}", Utf8(path), std::generic_category().message(errno)));
}

}  // namespace

LineWriter::LineWriter(const std::filesystem::path& path) : path_(path), file_(OpenNative(path, "wb")) {
  if (!file_) FailWriting(path_);
}

void LineWriter::Flush() {
  if (std::fwrite(text_.data(), 1, text_.size(), file_.get()) != text_.size()) FailWriting(path_);
  text_.clear();
}

void LineWriter::Close() {
  Flush();
  if (std::fclose(file_.release()) != 0) FailWriting(path_);
}

}  // namespace kv::mission
