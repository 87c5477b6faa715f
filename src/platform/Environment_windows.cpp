#include <windows.h>

#include "platform/Environment.h"

namespace kv {
namespace {

constexpr DWORD kBufferLength = 260;

}  // namespace

std::wstring EnvironmentVariable(const wchar_t* name) {
  wchar_t buffer[kBufferLength];
  const DWORD length = GetEnvironmentVariableW(name, buffer, kBufferLength);
  return length < kBufferLength ? std::wstring(buffer, length) : std::wstring();
}

std::wstring ExpandEnvironment(std::wstring_view text) {
  wchar_t buffer[kBufferLength];
  const DWORD length = ExpandEnvironmentStringsW(std::wstring(text).c_str(), buffer, kBufferLength);
  return length > 0 && length <= kBufferLength ? std::wstring(buffer) : std::wstring();
}

}  // namespace kv
