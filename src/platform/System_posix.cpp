#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <limits>

#include "platform/System.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace kv::mission {
namespace {

constexpr char32_t kEscapedByte = 0xDC00;
constexpr char32_t kReplacement = 0xFFFD;

struct Lead {
  int tail;           // bytes that follow
  char32_t bits;      // of the character, from the first byte
  char32_t smallest;  // character that needs this many bytes
};

Lead LeadOf(unsigned char byte) {
  if (byte < 0x80) return {0, byte, 0};
  if (byte >= 0xC2 && byte < 0xE0) return {1, byte & 0x1Fu, 0x80};
  if (byte >= 0xE0 && byte < 0xF0) return {2, byte & 0x0Fu, 0x800};
  if (byte >= 0xF0 && byte < 0xF5) return {3, byte & 0x07u, 0x10000};
  return {-1, 0, 0};
}

/// Takes one character off the front of the text; a byte that begins none is escaped.
char32_t TakeCharacter(std::string_view& text) {
  const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char first = byteAt(0);
  const Lead lead = LeadOf(first);
  const auto length = static_cast<std::size_t>(lead.tail + 1);
  char32_t character = lead.bits;
  bool valid = lead.tail >= 0 && length <= text.size();
  for (std::size_t i = 1; valid && i < length; ++i) {
    valid = (byteAt(i) & 0xC0) == 0x80;
    character = (character << 6) | (byteAt(i) & 0x3Fu);
  }
  valid = valid && character >= lead.smallest && character <= 0x10FFFF && (character & 0x1FF800) != 0xD800;
  text.remove_prefix(valid ? length : 1);
  return valid ? character : kEscapedByte + first;
}

void AppendUtf8(char32_t character, std::string& text) {
  if ((character & 0x1FF800) == 0xD800 || character > 0x10FFFF) character = kReplacement;
  const auto append = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (character < 0x80) return append(character);
  if (character < 0x800) {
    append(0xC0 | (character >> 6));
  } else if (character < 0x10000) {
    append(0xE0 | (character >> 12));
    append(0x80 | ((character >> 6) & 0x3F));
  } else {
    append(0xF0 | (character >> 18));
    append(0x80 | ((character >> 12) & 0x3F));
    append(0x80 | ((character >> 6) & 0x3F));
  }
  append(0x80 | (character & 0x3F));
}

}  // namespace

std::wstring WidePath(const std::filesystem::path& path) {
  std::wstring wide;
  for (std::string_view text = path.native(); !text.empty();) wide += static_cast<wchar_t>(TakeCharacter(text));
  return wide;
}

std::string Utf8(const std::wstring& text) {
  std::string narrow;
  for (const wchar_t character : text) AppendUtf8(static_cast<char32_t>(character), narrow);
  return narrow;
}

std::string Utf8(const std::filesystem::path& path) { return Utf8(WidePath(path)); }

std::FILE* OpenBinary(const std::filesystem::path& path, const char* mode) { return std::fopen(path.c_str(), mode); }

wchar_t PhotoPathSeparator() { return L'/'; }

bool LibraryMisreads(const std::filesystem::path& path) { return path.native().find('\\') != std::string::npos; }

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

bool FlushToDisk(std::FILE* file) { return std::fflush(file) == 0 && ::fsync(::fileno(file)) == 0; }

unsigned long ProcessId() { return static_cast<unsigned long>(::getpid()); }

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

bool TakeOwner(const std::filesystem::path& file, const std::filesystem::path& from) {
  struct stat status {};
  if (::stat(from.c_str(), &status) != 0) return false;
  constexpr auto kSameUser = static_cast<uid_t>(-1);  // only the superuser gives files away
  return ::chown(file.c_str(), status.st_uid, status.st_gid) == 0 ||
         ::chown(file.c_str(), kSameUser, status.st_gid) == 0;
}

}  // namespace kv::mission
