#include "platform/FolderLock.h"

#include <windows.h>

namespace kv {

FolderLock::FolderLock(const std::filesystem::path& folder) : file_(folder / kName) {
  // Others may read who holds the lock.
  const HANDLE file = CreateFileW(file_.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_HIDDEN, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    handle_ = reinterpret_cast<std::intptr_t>(file);
    const std::string number = std::to_string(GetCurrentProcessId());
    DWORD written = 0;
    WriteFile(file, number.data(), static_cast<DWORD>(number.size()), &written, nullptr);
    return;
  }
  isHeld_ = GetLastError() != ERROR_SHARING_VIOLATION;
  const HANDLE other = CreateFileW(file_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                   nullptr, OPEN_EXISTING, 0, nullptr);
  char content[32];
  DWORD length = 0;
  if (other == INVALID_HANDLE_VALUE) return;
  if (ReadFile(other, content, sizeof content, &length, nullptr)) holder_.assign(content, length);
  CloseHandle(other);
}

bool FolderLock::MayBeOf(const std::filesystem::path& folder) {
  const DWORD attributes = GetFileAttributesW((folder / kName).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0;
}

FolderLock::~FolderLock() {
  if (handle_ == -1) return;
  const HANDLE file = reinterpret_cast<HANDLE>(handle_);
  FILE_DISPOSITION_INFO goes{.DeleteFile = TRUE};  // with this handle, so that nobody gets it in between
  if (!isLeft_) SetFileInformationByHandle(file, FileDispositionInfo, &goes, sizeof goes);
  CloseHandle(file);
}

}  // namespace kv
