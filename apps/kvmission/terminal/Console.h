#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

/// Terminal and process, one source per system.
namespace kv::command {

/// Makes reading and writing fail on a standard stream that was closed; otherwise the next file opened would take its
/// place. Writing also fails when the reader of standard output has gone.
void SecureStandardStreams();

/// The arguments after the program's name; on Windows as UTF-8, and with the files that match a pattern, which no shell
/// puts in its place there.
/// @param count, arguments  of `main`
std::vector<std::string> Arguments(int count, char** arguments);

/// Uses the geodetic data beside the program, unless the environment names others; only on Windows, where the libraries
/// look for them in a folder that the system's programs share.
void FindGeodeticData();

bool IsTerminal(std::FILE* stream);

/// Columns of the terminal on standard error; 80 if unknown.
std::size_t TerminalWidth();

/// Keeps freed memory for reuse: returning it to the system and fetching it again costs a good part of the time.
void KeepFreedMemory();

/// Calls `handler` for Ctrl-C and requests to terminate, except signals that the process was started to ignore, and
/// lets a blocked read return. Writing beyond the file size limit then fails instead of ending the process.
void InstallInterruptHandler(void (*handler)(int));

}  // namespace kv::command
