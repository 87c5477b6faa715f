/// Holds a file open, as another program does, until standard input ends. Usage: hold FILE none|read
#include <windows.h>

#include <cstdio>
#include <string>

int wmain(int, wchar_t** arguments) {
  const DWORD shared = arguments[2] == std::wstring(L"none") ? 0 : FILE_SHARE_READ;
  const HANDLE file = CreateFileW(arguments[1], GENERIC_READ, shared, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 1;
  std::puts("held");
  std::fflush(stdout);
  while (std::getchar() != EOF) continue;
  CloseHandle(file);
  return 0;
}
