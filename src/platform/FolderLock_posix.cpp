#include "platform/FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kv {
namespace {

std::string Beginning(int file) {
  char content[32];
  const ssize_t length = pread(file, content, sizeof content, 0);
  return {content, length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// Whether the name still leads to the open file: whoever had the lock removes the file at the end.
bool IsStillThere(const std::filesystem::path& path, int file) {
  struct stat named {};
  struct stat open {};
  return stat(path.c_str(), &named) == 0 && fstat(file, &open) == 0 && named.st_ino == open.st_ino &&
         named.st_dev == open.st_dev;
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) : file_(folder / kName) {
  for (;;) {
    int file = open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (file < 0) file = open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);  // another user's
    if (file < 0) return;
    isSure_ = flock(file, LOCK_EX | LOCK_NB) == 0;
    if (!isSure_ && errno == EWOULDBLOCK) {
      holder_ = Beginning(file);
      isHeld_ = false;
      close(file);
      return;
    }
    if (IsStillThere(file_, file)) {
      handle_ = file;
      const std::string number = std::to_string(getpid());
      [[maybe_unused]] const bool isNamed =
          ftruncate(file, 0) == 0 && pwrite(file, number.data(), number.size(), 0) > 0;  // only for messages
      return;
    }
    close(file);
  }
}

bool FolderLock::MayBeOf(const std::filesystem::path& folder) {
  struct stat status {};
  return lstat((folder / kName).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

FolderLock::~FolderLock() {
  if (handle_ < 0) return;
  if (!isLeft_) unlink(file_.c_str());
  close(static_cast<int>(handle_));
}

}  // namespace kv
