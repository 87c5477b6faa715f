#pragma once

/// What the command asks of the operating system: terminal, standard streams, signals, memory and calendar.
namespace kv::mission {

/// Keeps files that are opened later from taking the place of a standard stream that was closed: reading and writing
/// there fail instead. Writing to a pipe whose reader has gone fails, too, and does not end the process.
void SecureStandardStreams();

bool StandardErrorIsTerminal();
bool StandardOutputIsTerminal();
bool StandardInputIsTerminal();

/// Keeps freed memory for the next piece of work. Returning it to the system and fetching it anew would take a good
/// part of the time.
void KeepFreedMemory();

/// Sets the C library's local calendar, through which heartbeats pass, to UTC: nothing in them can shift.
void UseUtcCalendar();

/// Calls `handler` on Ctrl-C and on requests to terminate, except those that the process was started to ignore, and lets
/// a blocked read return. Writing beyond the process's limit on file sizes then fails and does not end the process.
void InstallInterruptHandler(void (*handler)(int));

}  // namespace kv::mission
