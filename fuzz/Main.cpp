// The program of libFuzzer: build/fuzz/fuzz/fuzz --target=NAME fuzz/corpus/NAME

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "Targets.h"

namespace {

const fuzz::Target* target;

/// A file without a disk: readers take paths, and a new file for each input takes longer than reading it.
class MemoryFile {
 public:
  const std::filesystem::path& Path() const { return path_; }
  void Hold(std::string_view bytes) {
    const auto size = static_cast<off_t>(bytes.size());
    if (pwrite(file_, bytes.data(), bytes.size(), 0) != size || ftruncate(file_, size) != 0) std::abort();
  }

 private:
  const int file_ = memfd_create("fuzz", MFD_CLOEXEC);
  const std::filesystem::path path_ = "/proc/self/fd/" + std::to_string(file_);
};

}  // namespace

/// Memory is used again soon and its stacks are not kept: a third more inputs in the same time. A run of one input can ask
/// for more with ASAN_OPTIONS.
extern "C" const char* __asan_default_options() { return "malloc_context_size=0:quarantine_size_mb=4"; }

/// libFuzzer ignores options with two dashes.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
  constexpr std::string_view kOption = "--target=";
  for (const std::string_view argument : std::span(*arguments, static_cast<std::size_t>(*count))) {
    if (!argument.starts_with(kOption)) continue;
    const auto found = std::ranges::find(fuzz::Targets(), argument.substr(kOption.size()), &fuzz::Target::name);
    if (found != fuzz::Targets().end()) target = &*found;
  }
  if (target) return 0;
  std::fputs("usage: fuzz --target=NAME [options and folders of libFuzzer]; targets:\n", stderr);
  for (const fuzz::Target& known : fuzz::Targets()) std::puts(known.name);
  std::exit(2);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MemoryFile file;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  file.Hold(bytes);
  target->read({bytes, file.Path()});
  return 0;
}
