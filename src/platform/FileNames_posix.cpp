#include "platform/FileNames.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace kv {

const wchar_t* const kPathSeparators = L"\\/";
const bool kFileNamesIgnoreCase = false;

std::filesystem::path NativePath(std::wstring_view path) {
  std::string name = Utf8FromWide(path);
  std::replace(name.begin(), name.end(), '\\', '/');
  return name;
}

std::filesystem::path PathFromText(std::string_view text) { return text; }

std::string TextFromPath(const std::filesystem::path& path) { return path.native(); }

std::wstring WidePath(const std::filesystem::path& path) { return WideFromUtf8(path.native()); }

FilePtr OpenNative(const std::filesystem::path& path, const char* mode) {
  FilePtr file(std::fopen(path.c_str(), mode));
  struct stat status {};
  // fopen opens a folder for reading; only the first read would fail.
  if (file && fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) {
    file.reset();
    errno = EISDIR;
  }
  return file;
}

std::optional<std::uint64_t> FileSize(std::FILE* file) {
  struct stat status {};
  if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(status.st_size);
}

bool SeekFile(std::FILE* file, std::uint64_t offset) { return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0; }

bool FlushToDisk(std::FILE* file) { return std::fflush(file) == 0 && fsync(fileno(file)) == 0; }

bool FlushToDisk(const std::filesystem::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  std::error_code unknown;
  if (file < 0)
    return errno == EACCES && std::filesystem::is_directory(path, unknown);       // it may be written all the same
  const bool isOnDisk = fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP;  // some file systems know no flushing
  const int reason = errno;
  close(file);
  errno = reason;
  return isOnDisk;
}

bool TakeOwner(const std::filesystem::path& file, const std::filesystem::path& from) {
  struct stat status {
  }, own{};
  if (stat(from.c_str(), &status) != 0 || stat(file.c_str(), &own) != 0) return false;
  if (own.st_uid == status.st_uid && own.st_gid == status.st_gid) return true;
  constexpr auto kSameUser = static_cast<uid_t>(-1);  // only the superuser gives files away
  return chown(file.c_str(), status.st_uid, status.st_gid) == 0 || chown(file.c_str(), kSameUser, status.st_gid) == 0;
}

bool RenameOver(const std::filesystem::path& replacement, const std::filesystem::path& file) {
  struct stat old {};
  if (stat(file.c_str(), &old) != 0) return false;
  // Only the superuser gives files away; others keep what they write.
  [[maybe_unused]] const int ownerKept = chown(replacement.c_str(), old.st_uid, old.st_gid);
  return chmod(replacement.c_str(), old.st_mode & 07777) == 0 && std::rename(replacement.c_str(), file.c_str()) == 0;
}

bool LastFileWasInUse() { return false; }

wchar_t PhotoPathSeparator() { return L'/'; }

bool LibraryMisreads(const std::filesystem::path& path) { return path.native().find('\\') != std::string::npos; }

}  // namespace kv
