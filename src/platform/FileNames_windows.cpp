#include "platform/FileNames.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace kv {

const wchar_t* const kPathSeparators = L"\\/:";
const bool kFileNamesIgnoreCase = true;

std::filesystem::path NativePath(std::wstring_view path) { return path; }

std::filesystem::path PathFromText(std::string_view text) { return WideFromUtf8(text); }

std::string TextFromPath(const std::filesystem::path& path) { return Utf8FromWide(path.native()); }

std::wstring WidePath(const std::filesystem::path& path) { return path.native(); }

namespace {

/// The mode "x" of newer C libraries.
FilePtr OpenNew(const std::filesystem::path& path) {
  const int number = _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_RDWR | _O_BINARY, _S_IREAD | _S_IWRITE);
  return FilePtr(number < 0 ? nullptr : _fdopen(number, "wb"));
}

}  // namespace

FilePtr OpenNative(const std::filesystem::path& path, const char* mode) {
  if (std::strchr(mode, 'x')) return OpenNew(path);
  const std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
  FilePtr file(_wfopen(path.c_str(), wideMode.c_str()));
  if (file) return file;
  const int reason = errno;  // EACCES for a folder
  std::error_code ignored;
  errno = std::filesystem::is_directory(path, ignored) ? EISDIR : reason;
  return file;
}

std::optional<std::uint64_t> FileSize(std::FILE* file) {
  const long long size = GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)))) == FILE_TYPE_DISK
                             ? _filelengthi64(_fileno(file))
                             : -1;
  return size < 0 ? std::nullopt : std::optional(static_cast<std::uint64_t>(size));
}

bool SeekFile(std::FILE* file, std::uint64_t offset) {
  return _fseeki64(file, static_cast<long long>(offset), SEEK_SET) == 0;
}

bool FlushToDisk(std::FILE* file) { return std::fflush(file) == 0 && _commit(_fileno(file)) == 0; }

bool FlushToDisk(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) return true;
  const FilePtr file = OpenNative(path, "rb+");
  return file && FlushToDisk(file.get());
}

/// A new file has the owner and the access list that its folder gives.
bool TakeOwner(const std::filesystem::path&, const std::filesystem::path&) { return true; }

bool RenameOver(const std::filesystem::path& replacement, const std::filesystem::path& file) {
  return ReplaceFileW(file.c_str(), replacement.c_str(), nullptr, 0, nullptr, nullptr) != 0;
}

bool LastFileWasInUse() { return GetLastError() == ERROR_SHARING_VIOLATION; }

wchar_t PhotoPathSeparator() { return L'\\'; }

bool LibraryMisreads(const std::filesystem::path&) { return false; }

}  // namespace kv
