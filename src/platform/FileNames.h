#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Wide paths of callers and the system's own file names. Outside Windows names are UTF-8, and "\" separates folders as
/// "/" does, so that a path stored with backslashes opens. A byte of a name that is not UTF-8 is kept as the character
/// U+DC00 + byte and becomes that byte again.
namespace kv {

std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

/// Text for people and for JSON: always valid UTF-8, with U+FFFD for what is not text.
std::string Utf8(const std::wstring& text);
std::string Utf8(const std::filesystem::path& path);

/// The path as the system's calls take it.
std::filesystem::path NativePath(std::wstring_view path);

/// Whether the narrow names of the C library spell every file name, so that other libraries can open files by name. The
/// name is then `NativePath(path).string()`.
extern const bool kNarrowNamesSpellAll;

/// The wide form of a name that the system gave.
std::wstring WidePath(const std::filesystem::path& path);

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

/// @param mode  as for fopen, binary ("rb", "wb+", ...)
/// @return      null when the file cannot be opened, or is a folder; `errno` then says why
FilePtr OpenFile(std::wstring_view path, const char* mode);

/// Like `OpenFile`, for a name of the system's own, in which a backslash may be part of a name.
FilePtr OpenNative(const std::filesystem::path& path, const char* mode);

/// Absolute position in a file, beyond 2 GiB too. @return false on failure
bool SeekFile(std::FILE* file, std::uint64_t offset);

/// The characters that end a folder in a path.
extern const wchar_t* const kPathSeparators;

/// Whether names that differ in letter case alone name the same file.
extern const bool kFileNamesIgnoreCase;

/// Whether the path names something, a file or a folder. An empty path names nothing.
bool PathExists(std::wstring_view path);

/// Size in bytes of an existing file; nothing for a path that names none.
std::optional<std::uint64_t> FileSize(std::wstring_view path);

/// Size in bytes of an open file; nothing for a pipe or a device.
std::optional<std::uint64_t> FileSize(std::FILE* file);

/// Whether both paths exist and name the same file, links followed.
bool IsSameFile(std::wstring_view a, std::wstring_view b);

/// @return false when there was nothing to remove or it could not be removed
bool RemoveFile(std::wstring_view path);

/// Replaces what a file holds in one step: the new content is written beside it, flushed to the disk and renamed over
/// it. Permissions stay, and the owner where the system allows it. A link stays, and the file that it names is
/// replaced.
/// @return false when the file is missing or write-protected, or its folder takes no new file; the file is as it was
///         then, and nothing is left beside it. A process that is killed may leave a ".kvutilities-<number>.tmp" in the
///         folder.
bool ReplaceFileContent(std::wstring_view path, std::span<const unsigned char> content);

/// Writes what is buffered down to the disk, where it outlives a power cut. @return false on failure; `errno` says why
bool FlushToDisk(std::FILE* file);

/// Gives a file the owner and group of another one. @return false when the system does not allow even the group
bool TakeOwner(const std::filesystem::path& file, const std::filesystem::path& from);

/// Gives a file the permissions, and if allowed the owner, of another one and renames it over that one.
bool RenameOver(const std::filesystem::path& replacement, const std::filesystem::path& file);

/// Distinguishes this process from others that run at the same time.
unsigned long ProcessId();

/// Replaces the strict class's "\" between folder and photo, so that a GIS on this system opens the photo.
wchar_t PhotoPathSeparator();

/// Whether the strict class would look elsewhere for a file below this path, because it takes "\" as a separator.
bool LibraryMisreads(const std::filesystem::path& path);

}  // namespace kv
