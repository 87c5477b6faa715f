#include "base/Writing.h"

#include <KVMission.h>
#include <fmt/format.h>

#include <cstdio>

#include "platform/FileNames.h"

namespace kv::mission {

void FailWriting(const std::filesystem::path& path, const std::error_code& reason) {
  throw KVMission::Failure(fmt::format("{}: cannot be written: {}", Utf8(path), reason.message()));
}

void WriteFile(const std::filesystem::path& path, const std::string& content, bool onDisk,
               const std::filesystem::path& shown) {
  FilePtr file = OpenNative(path, "wb");
  if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);  // it is written in one go
  if (!file || std::fwrite(content.data(), 1, content.size(), file.get()) != content.size() ||
      (onDisk && !FlushToDisk(file.get())) || std::fclose(file.release()) != 0)
    FailWriting(shown.empty() ? path : shown);
}

ScratchFolder::ScratchFolder(const std::filesystem::path& parent) {
  std::error_code error;
  bool made = false;
  for (int attempt = 0; !made && !error; ++attempt) {
    path_ = parent / fmt::format(".kvmission-{}-{}", ProcessId(), attempt);
    made = std::filesystem::create_directory(path_, error);
  }
  if (error) FailWriting(parent, error);
}

bool ScratchFolder::Remove() {
  try {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
    kept_ = !error;
  } catch (const std::bad_alloc&) {
  }
  return kept_;
}

ScratchFolder::~ScratchFolder() {
  if (kept_) return;
  try {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  } catch (const std::bad_alloc&) {
    std::fputs("kvmission: warning: not enough memory to remove a folder .kvmission-...; delete it\n", stderr);
  }
}

}  // namespace kv::mission
