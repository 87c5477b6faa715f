#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

#include "photos/Codecs.h"

namespace kv {
namespace {

[[noreturn]] void Fail() {
  const char* const reason = dlerror();
  throw std::runtime_error(reason ? reason : "libKVCodecs.so not found");
}

const PictureCodecs& Load() {
  static const char inLibrary = 0;
  Dl_info library;
  if (dladdr(&inLibrary, &library) == 0 || !library.dli_fname) Fail();
  const auto file = std::filesystem::path(library.dli_fname).parent_path() / "kvutilities" / "libKVCodecs.so";
  void* const loaded = dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);  // and stays
  void* const codecs = loaded ? dlsym(loaded, "KVPictureCodecs") : nullptr;
  if (!codecs) Fail();
  return *reinterpret_cast<decltype(&KVPictureCodecs)>(codecs)();
}

}  // namespace

const PictureCodecs& Codecs() {
  static const PictureCodecs& codecs = Load();
  return codecs;
}

}  // namespace kv
