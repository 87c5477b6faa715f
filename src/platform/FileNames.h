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

/// Text for people and for JSON: always valid UTF-8; U+FFFD replaces what is not text.
std::string Utf8(const std::wstring& text);
std::string Utf8(const std::filesystem::path& path);

/// The path in the form that system calls expect.
std::filesystem::path NativePath(std::wstring_view path);

/// The path in the text of an argument or a file, and back: UTF-8 on Windows, elsewhere the bytes as they are. A text
/// that `std::filesystem` converted by itself would be in the code page of the process, or refused.
std::filesystem::path PathFromText(std::string_view text);
std::string TextFromPath(const std::filesystem::path& path);

/// The wide form of a name from the system.
std::wstring WidePath(const std::filesystem::path& path);

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

/// @param mode  as for fopen, binary ("rb", "wb+", ...)
/// @return      null when the file cannot be opened or is a folder; `errno` then says why
FilePtr OpenFile(std::wstring_view path, const char* mode);

/// Like `OpenFile`, for a path from the system, in which a backslash may be part of a name.
FilePtr OpenNative(const std::filesystem::path& path, const char* mode);

/// Moves to an absolute position, also beyond 2 GiB. @return false on failure
bool SeekFile(std::FILE* file, std::uint64_t offset);

/// The characters that end a folder in a path.
extern const wchar_t* const kPathSeparators;

/// Whether names that differ only in letter case name the same file.
extern const bool kFileNamesIgnoreCase;

/// Whether the path names an existing file or folder. An empty path does not.
bool PathExists(std::wstring_view path);

/// Size in bytes of a file; nothing if it does not exist.
std::optional<std::uint64_t> FileSize(std::wstring_view path);

/// Size in bytes of an open file; nothing for a pipe or a device.
std::optional<std::uint64_t> FileSize(std::FILE* file);

/// Whether both paths exist and name the same file. Links are followed.
bool IsSameFile(std::wstring_view a, std::wstring_view b);

/// @return false when there was nothing to remove or the removal failed
bool RemoveFile(std::wstring_view path);

/// Replaces a file's content in one step: writes the new content beside it, flushes it to disk and renames it over the
/// file. Keeps the permissions, and the owner where the system allows it. For a link the target is replaced.
/// @return false when the file is missing or write-protected, or no file can be created in its folder; the file is then
///         unchanged, and nothing is left beside it. A process that is killed may leave a ".kvutilities-<number>.tmp".
bool ReplaceFileContent(std::wstring_view path, std::span<const unsigned char> content);

/// Flushes to disk, so that the content survives a power cut. @return false on failure; `errno` says why
bool FlushToDisk(std::FILE* file);

/// Likewise for a closed file, or for the names in a folder, which systems other than Windows keep apart.
bool FlushToDisk(const std::filesystem::path& path);

/// Gives a file the owner and group of another. @return false when the system does not allow even the group
bool TakeOwner(const std::filesystem::path& file, const std::filesystem::path& from);

/// Gives `replacement` the permissions and, if allowed, the owner of `file`, and renames it over that file.
bool RenameOver(const std::filesystem::path& replacement, const std::filesystem::path& file);

/// Whether the last call failed because another program holds the file open: only Windows minds.
bool LastFileWasInUse();

/// Replaces the strict class's "\" between folder and photo, so that a GIS on this system opens the photo.
wchar_t PhotoPathSeparator();

/// Whether the strict class would look elsewhere for a file below this path because it reads "\" as a separator.
bool LibraryMisreads(const std::filesystem::path& path);

}  // namespace kv
