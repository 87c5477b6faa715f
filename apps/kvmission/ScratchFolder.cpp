#include "ScratchFolder.h"

#include <fmt/format.h>

#include <system_error>

#include "Failure.h"
#include "System.h"

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
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace kv::mission
