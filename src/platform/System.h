#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

/// What the command asks of the operating system, one source per system.
namespace kv::mission {

/// The wide form in which the library takes paths. Outside Windows a byte of a name that is not UTF-8 is the character
/// U+DC00 + byte, which the library turns into that byte again.
std::wstring WidePath(const std::filesystem::path& path);

/// Valid UTF-8 for people and for JSON; what is no text becomes U+FFFD.
std::string Utf8(const std::wstring& text);
std::string Utf8(const std::filesystem::path& path);

/// @return null when the file cannot be opened; `errno` says why
std::FILE* OpenBinary(const std::filesystem::path& path, const char* mode);

/// The separator that the library puts between folder and photo is rewritten to this one, so that a GIS opens the
/// photo.
wchar_t PhotoPathSeparator();

/// Whether the library would look elsewhere for what is below this path: it takes a backslash for a separator.
bool LibraryMisreads(const std::filesystem::path& path);

/// Keeps files that are opened later from taking the place of a standard stream that was closed: reading and writing
/// there fail instead. A reader of standard output that has gone makes writing fail as well.
void SecureStandardStreams();

bool StandardErrorIsTerminal();
bool StandardOutputIsTerminal();
bool StandardInputIsTerminal();

/// Writes what is buffered down to the disk. @return false when that fails; `errno` says why
bool FlushToDisk(std::FILE* file);

/// Tells this process from others that run at the same time.
unsigned long ProcessId();

/// Memory that was freed serves the next piece of work. Giving it back to the system and fetching it anew for each would
/// take a good part of the time.
void KeepFreedMemory();

/// Heartbeats pass through the C library's local calendar; in UTC nothing in them can shift.
void UseUtcCalendar();

/// Calls `handler` for Ctrl-C and requests to terminate, but those that whoever started the process has it ignore, and
/// lets a blocked read return. A file that reaches the size limit of the process then fails to be written instead of
/// ending the process.
void InstallInterruptHandler(void (*handler)(int));

/// Gives a file the owner and group of another one. @return false when the system does not allow even the group
bool TakeOwner(const std::filesystem::path& file, const std::filesystem::path& from);

}  // namespace kv::mission
