#include <io.h>
#include <windows.h>

#include <csignal>
#include <cstdio>

#include "terminal/Console.h"

namespace kv::command {
namespace {

void (*onInterrupt)(int) = nullptr;

/// A handler serves one signal only and has to be installed again each time.
void HandleSignal(int number) {
  std::signal(number, HandleSignal);
  onInterrupt(number);
}

}  // namespace

/// The C library keeps the first three numbers for the standard streams, and there is no signal for a closed pipe.
void SecureStandardStreams() {}

bool IsTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

std::size_t TerminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &screen)) return 80;
  return static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left + 1);
}

void KeepFreedMemory() {}  // its heap does

void InstallInterruptHandler(void (*handler)(int)) {
  onInterrupt = handler;
  for (const int number : {SIGINT, SIGTERM, SIGBREAK}) {
    if (std::signal(number, HandleSignal) == SIG_IGN) std::signal(number, SIG_IGN);
  }
}

}  // namespace kv::command
