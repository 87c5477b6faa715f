#include "base/ScratchFolder.h"

#include <fmt/format.h>

#include <system_error>

#include "base/Failure.h"
#include "platform/FileNames.h"

namespace kv::mission {

ScratchFolder::ScratchFolder(const std::filesystem::path& parent) {
  std::error_code error;
  bool made = false;
  for (int attempt = 0; !made && !error; ++attempt) {
    path_ = parent / fmt::format(".kvmission-{}-{}", ProcessId(), attempt);
    made = std::filesystem::create_directory(path_, error);
  }
  if (error) throw Failure(fmt::format("{}: cannot be written: {}", Utf8(parent), error.message()));
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  if (!kept_) std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TemporaryFolder() {
  std::error_code error;
  auto folder = std::filesystem::temp_directory_path(error);
  if (error) throw Failure("no folder for temporary files: " + error.message());
  return folder;
}

}  // namespace kv::mission
