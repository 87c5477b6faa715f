#include "platform/Environment.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/FileNames.h"
#include "platform/LibraryFolder.h"

namespace kv {
namespace {

constexpr std::size_t kLongestText = 259;
// Levels from the library's folder up to the prefix, for at most "lib/<architecture>", or to the build tree's root.
constexpr int kHighestParent = 3;

std::wstring Bounded(std::wstring text) { return text.size() > kLongestText ? std::wstring() : text; }

std::filesystem::path InstalledDataFolder() {
  std::filesystem::path folder = LibraryFolder();
  for (int height = 0; !folder.empty() && height <= kHighestParent; ++height, folder = folder.parent_path()) {
    std::error_code missing;
    if (std::filesystem::is_directory(folder / "share" / "Norvane", missing)) return folder / "share";
  }
  return KVUTILITIES_DATA_FOLDER;
}

std::optional<std::wstring> Value(const std::string& name) {
  if (const char* value = std::getenv(name.c_str())) return WideFromUtf8(value);
  if (name == "CommonProgramFiles") return WidePath(InstalledDataFolder());
  return {};
}

}  // namespace

std::wstring EnvironmentVariable(const wchar_t* name) {
  const char* value = std::getenv(Utf8FromWide(name).c_str());
  return value ? Bounded(WideFromUtf8(value)) : std::wstring();
}

std::wstring ExpandEnvironment(std::wstring_view text) {
  std::wstring expanded;
  while (!text.empty()) {
    const std::size_t end = text.front() == L'%' ? text.find(L'%', 1) : std::wstring_view::npos;
    if (end != std::wstring_view::npos) {
      const std::wstring_view reference = text.substr(0, end + 1);
      expanded += Value(Utf8FromWide(text.substr(1, end - 1))).value_or(std::wstring(reference));
      text.remove_prefix(reference.size());
    } else {
      expanded += text.front();
      text.remove_prefix(1);
    }
  }
  return Bounded(std::move(expanded));
}

}  // namespace kv
