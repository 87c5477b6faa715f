#include "outputs/RelativePaths.h"

#include <system_error>

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

fs::path Canonical(const fs::path& path) {
  std::error_code error;
  const fs::path canonical = fs::weakly_canonical(path, error);
  return error ? path.lexically_normal() : canonical;
}

}  // namespace

RelativePaths::RelativePaths(const fs::path& folder) : folder_(Canonical(folder)) {}

fs::path RelativePaths::To(const fs::path& photo) {
  const auto [known, isNew] = known_.try_emplace(photo.parent_path());
  if (isNew) known->second = Canonical(known->first).lexically_relative(folder_);
  return known->second.empty() ? fs::path() : (known->second / photo.filename()).lexically_normal();
}

}  // namespace kv::mission
