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

bool StandardErrorIsTerminal();
bool StandardInputIsTerminal();

/// Writes what is buffered down to the disk. @return false when that fails; `errno` says why
bool FlushToDisk(std::FILE* file);

/// Tells this process from others that run at the same time.
unsigned long ProcessId();

/// Heartbeats pass through the C library's local calendar; in UTC nothing in them can shift.
void UseUtcCalendar();

/// Calls `handler` for Ctrl-C and requests to terminate, and lets a blocked read return. A file that reaches the size
/// limit of the process then fails to be written instead of ending the process.
void InstallInterruptHandler(void (*handler)(int));

}  // namespace kv::mission
