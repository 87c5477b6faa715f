#include "platform/FileNames.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace kv {

const wchar_t* const kPathSeparators = L"\\/";
const bool kFileNamesIgnoreCase = false;
const bool kNarrowNamesSpellAll = true;

std::filesystem::path NativePath(std::wstring_view path) {
  std::string name = Utf8FromWide(path);
  std::replace(name.begin(), name.end(), '\\', '/');
  return name;
}

std::wstring WidePath(const std::filesystem::path& path) { return WideFromUtf8(path.native()); }

FilePtr OpenFile(std::wstring_view path, const char* mode) {
  FilePtr file(std::fopen(NativePath(path).c_str(), mode));
  struct stat status {};
  // fopen opens a folder for reading; only the first read would fail.
  if (file && fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) return nullptr;
  return file;
}

bool SeekFile(std::FILE* file, std::uint64_t offset) { return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0; }

bool FlushToDisk(std::FILE* file) { return fsync(fileno(file)) == 0; }

bool RenameOver(const std::filesystem::path& replacement, const std::filesystem::path& file) {
  struct stat old {};
  if (stat(file.c_str(), &old) != 0) return false;
  // Only the superuser gives files away; others keep what they write.
  [[maybe_unused]] const int ownerKept = chown(replacement.c_str(), old.st_uid, old.st_gid);
  return chmod(replacement.c_str(), old.st_mode & 07777) == 0 && std::rename(replacement.c_str(), file.c_str()) == 0;
}

}  // namespace kv
