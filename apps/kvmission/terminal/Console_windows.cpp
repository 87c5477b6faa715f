#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <KVMission.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <system_error>

#include "terminal/Console.h"

namespace kv::command {
namespace {

void (*onInterrupt)(int) = nullptr;

/// A handler serves one signal only and has to be installed again each time.
void HandleSignal(int number) {
  std::signal(number, HandleSignal);
  onInterrupt(number);
}

/// The files that match a pattern in name order, or the text itself if there is none.
std::vector<std::filesystem::path> Matching(std::wstring_view text) {
  std::vector<std::filesystem::path> files;
  WIN32_FIND_DATAW found;
  const std::filesystem::path pattern(text);
  const bool isPattern = text.find_first_of(L"*?") != text.npos;
  const HANDLE search = isPattern ? FindFirstFileW(pattern.c_str(), &found) : INVALID_HANDLE_VALUE;
  if (search == INVALID_HANDLE_VALUE) return {pattern};
  do {
    const std::wstring_view name = found.cFileName;
    if (name != L"." && name != L"..") files.push_back(pattern.parent_path() / name);
  } while (FindNextFileW(search, &found));
  FindClose(search);
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

std::vector<std::string> Arguments(int, char**) {
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) {
    for (const auto& path : Matching(wide.get()[i])) arguments.push_back(KVMission::Utf8(path));
  }
  return arguments;
}

void FindGeodeticData() {
  constexpr const wchar_t* kVariable = L"MAPHUB_CONFIG_FILES_PATH";
  constexpr DWORD kLongestPath = 32'768;
  std::wstring program(kLongestPath, 0);
  program.resize(GetModuleFileNameW(nullptr, program.data(), kLongestPath));
  const std::filesystem::path share = std::filesystem::path(program).parent_path().parent_path() / L"share";
  std::error_code ignored;
  if (GetEnvironmentVariableW(kVariable, nullptr, 0) == 0 && std::filesystem::is_directory(share / L"Norvane", ignored))
    SetEnvironmentVariableW(kVariable, share.c_str());
}

/// The C library keeps the first three numbers for the standard streams, and there is no signal for a closed pipe. What
/// is written is the same as in a file, byte for byte, and an error is shown when it is written.
void SecureStandardStreams() {
  for (std::FILE* stream : {stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  std::setvbuf(stderr, nullptr, _IONBF, 0);
}

/// The null device is a character device as well, but has no mode of a console.
bool IsTerminal(std::FILE* stream) {
  DWORD mode = 0;
  return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))), &mode) != 0;
}

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
