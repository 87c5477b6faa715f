#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <initializer_list>
#include <limits>

#include "terminal/Console.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace kv::command {

void SecureStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free number is given out. It is opened for what nobody does there.
    if (::fcntl(stream, F_GETFD) == -1) ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
  ::signal(SIGPIPE, SIG_IGN);
}

std::vector<std::string> Arguments(int count, char** arguments) {
  return {arguments + (count > 0 ? 1 : 0), arguments + count};
}

void FindGeodeticData() {}

bool IsTerminal(std::FILE* stream) { return ::isatty(::fileno(stream)) == 1; }

std::size_t TerminalWidth() {
  struct winsize size {};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

#if defined(__GLIBC__)

void KeepFreedMemory() {
  constexpr int kLargestOfHeap = 32 * 1024 * 1024;  // the most that the C library takes
  ::mallopt(M_MMAP_THRESHOLD, kLargestOfHeap);
  ::mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

#else

void KeepFreedMemory() {}

#endif

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

}  // namespace kv::command
