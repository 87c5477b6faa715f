#include <io.h>
#include <windows.h>

#include <csignal>
#include <cstdlib>
#include <ctime>

#include "platform/System.h"

namespace kv::mission {
namespace {

void (*onInterrupt)(int) = nullptr;

/// A handler serves one signal only and has to be installed again each time.
void HandleSignal(int number) {
  std::signal(number, HandleSignal);
  onInterrupt(number);
}

}  // namespace

std::wstring WidePath(const std::filesystem::path& path) { return path.native(); }

std::string Utf8(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  std::string narrow(static_cast<std::size_t>(length) * 3, '\0');  // no UTF-16 unit needs more than three bytes
  const int written = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(),
                                          static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(written));
  return narrow;
}

std::string Utf8(const std::filesystem::path& path) { return Utf8(path.native()); }

std::FILE* OpenBinary(const std::filesystem::path& path, const char* mode) {
  return _wfopen(path.c_str(), std::filesystem::path(mode).c_str());
}

wchar_t PhotoPathSeparator() { return L'\\'; }

bool LibraryMisreads(const std::filesystem::path&) { return false; }

/// The C library keeps the first three numbers for the standard streams, and there is no signal for a closed pipe.
void SecureStandardStreams() {}

bool StandardErrorIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

bool StandardOutputIsTerminal() { return _isatty(_fileno(stdout)) != 0; }

bool StandardInputIsTerminal() { return _isatty(_fileno(stdin)) != 0; }

bool FlushToDisk(std::FILE* file) { return std::fflush(file) == 0 && _commit(_fileno(file)) == 0; }

unsigned long ProcessId() { return GetCurrentProcessId(); }

void KeepFreedMemory() {}  // its heap does

void UseUtcCalendar() {
  _putenv_s("TZ", "UTC0");
  _tzset();
}

void InstallInterruptHandler(void (*handler)(int)) {
  onInterrupt = handler;
  for (const int number : {SIGINT, SIGTERM, SIGBREAK}) {
    if (std::signal(number, HandleSignal) == SIG_IGN) std::signal(number, SIG_IGN);
  }
}

/// A new file has the owner and the access list that its folder gives.
bool TakeOwner(const std::filesystem::path&, const std::filesystem::path&) { return true; }

}  // namespace kv::mission
