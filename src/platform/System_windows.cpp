#include <io.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <initializer_list>

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

/// The C library keeps the first three numbers for the standard streams, and there is no signal for a closed pipe.
void SecureStandardStreams() {}

bool StandardErrorIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

bool StandardOutputIsTerminal() { return _isatty(_fileno(stdout)) != 0; }

bool StandardInputIsTerminal() { return _isatty(_fileno(stdin)) != 0; }

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

}  // namespace kv::mission
