#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <initializer_list>
#include <limits>

#include "platform/System.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace kv::mission {

void SecureStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free number is given out. It is opened for what nobody does there.
    if (::fcntl(stream, F_GETFD) == -1) ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
  ::signal(SIGPIPE, SIG_IGN);
}

bool StandardErrorIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

bool StandardOutputIsTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

bool StandardInputIsTerminal() { return ::isatty(STDIN_FILENO) == 1; }

#if defined(__GLIBC__)

void KeepFreedMemory() {
  constexpr int kLargestOfHeap = 32 * 1024 * 1024;  // the most that the C library takes
  ::mallopt(M_MMAP_THRESHOLD, kLargestOfHeap);
  ::mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

#else

void KeepFreedMemory() {}

#endif

void UseUtcCalendar() {
  ::setenv("TZ", "UTC0", 1);
  ::tzset();
}

void InstallInterruptHandler(void (*handler)(int)) {
  struct sigaction action {};
  struct sigaction earlier {};
  action.sa_handler = handler;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    ::sigaction(number, nullptr, &earlier);
    if (earlier.sa_handler != SIG_IGN) ::sigaction(number, &action, nullptr);
  }
  ::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace kv::mission
