#include <dlfcn.h>

#include <string>

#include "photos/Codecs.h"
#include "platform/LibraryFolder.h"

namespace kv {
namespace {

const PictureCodecs& Load() {
  const auto file = LibraryFolder() / "kvutilities" / "libKVCodecs.so";
  void* const library = dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);  // and stays
  void* const codecs = library ? dlsym(library, "KVPictureCodecs") : nullptr;
  if (!codecs) {
    const char* const reason = dlerror();
    throw CodecsMissing("the library for pictures cannot be loaded: " + std::string(reason ? reason : "not found"));
  }
  return *reinterpret_cast<decltype(&KVPictureCodecs)>(codecs)();
}

}  // namespace

const PictureCodecs& Codecs() {
  static const PictureCodecs& codecs = Load();
  return codecs;
}

}  // namespace kv
