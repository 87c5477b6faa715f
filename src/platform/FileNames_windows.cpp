#include "platform/FileNames.h"

#include <io.h>
#include <windows.h>

namespace kv {

const wchar_t* const kPathSeparators = L"\\/:";
const bool kFileNamesIgnoreCase = true;
const bool kNarrowNamesSpellAll = false;

std::filesystem::path NativePath(std::wstring_view path) { return path; }

std::wstring WidePath(const std::filesystem::path& path) { return path.native(); }

FilePtr OpenFile(std::wstring_view path, const char* mode) {
  const std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
  return FilePtr(_wfopen(std::wstring(path).c_str(), wideMode.c_str()));
}

bool SeekFile(std::FILE* file, std::uint64_t offset) {
  return _fseeki64(file, static_cast<long long>(offset), SEEK_SET) == 0;
}

bool FlushToDisk(std::FILE* file) { return _commit(_fileno(file)) == 0; }

bool RenameOver(const std::filesystem::path& replacement, const std::filesystem::path& file) {
  return ReplaceFileW(file.c_str(), replacement.c_str(), nullptr, 0, nullptr, nullptr) != 0;
}

}  // namespace kv
