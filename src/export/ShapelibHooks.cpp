#include "export/ShapelibHooks.h"

#include <exception>

namespace kv {
namespace {

thread_local bool hookFailed = false;

bool Checked(bool success) {
  hookFailed = hookFailed || !success;
  return success;
}

BufferedFile& File(SAFile file) { return *reinterpret_cast<BufferedFile*>(file); }

/// shapelib's type for sizes has 32 bits on Windows; its files stay below 4 GiB.
SAOffset AsOffset(auto bytes) { return static_cast<SAOffset>(bytes); }

SAFile Open(const char* name, const char* mode) noexcept try {
  return reinterpret_cast<SAFile>(BufferedFile::Open(WideFromUtf8(name), mode).release());
} catch (const std::exception&) {
  return nullptr;  // out of memory: shapelib sees a file that cannot be opened
}

SAOffset Read(void* data, SAOffset size, SAOffset count, SAFile file) {
  const std::size_t bytes = File(file).Read(static_cast<char*>(data), size * count);
  Checked(bytes == size * count);
  return size == 0 ? 0 : AsOffset(bytes / size);
}

SAOffset Write(void* data, SAOffset size, SAOffset count, SAFile file) {
  return Checked(File(file).Write(static_cast<const char*>(data), size * count)) ? count : 0;
}

SAOffset Seek(SAFile file, SAOffset offset, int whence) {
  BufferedFile& target = File(file);
  const std::uint64_t origin = whence == SEEK_END ? target.Size() : whence == SEEK_CUR ? target.Tell() : 0;
  target.Seek(origin + offset);
  return 0;
}

SAOffset Tell(SAFile file) { return AsOffset(File(file).Tell()); }

int Flush(SAFile file) { return Checked(File(file).Flush()) ? 0 : EOF; }

int Close(SAFile file) {
  const std::unique_ptr<BufferedFile> closing(&File(file));
  return Checked(closing->Close()) ? 0 : EOF;
}

int Remove(const char* name) noexcept try {
  return RemoveFile(WideFromUtf8(name)) ? 0 : -1;
} catch (const std::exception&) {
  return -1;
}

void Complain(const char*) { Checked(false); }

}  // namespace

SAHooks BufferedHooks() {
  SAHooks hooks;
  SASetupDefaultHooks(&hooks);
  hooks.FOpen = Open;
  hooks.FRead = Read;
  hooks.FWrite = Write;
  hooks.FSeek = Seek;
  hooks.FTell = Tell;
  hooks.FFlush = Flush;
  hooks.FClose = Close;
  hooks.Remove = Remove;
  hooks.Error = Complain;
  return hooks;
}

BufferedFile& FileBehind(SAFile file) { return File(file); }

bool HasHookFailed() { return hookFailed; }

void ForgetHookFailure() { hookFailed = false; }

}  // namespace kv
