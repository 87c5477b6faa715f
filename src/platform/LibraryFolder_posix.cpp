#include "platform/LibraryFolder.h"

#include <dlfcn.h>

#include <system_error>

namespace kv {

std::filesystem::path LibraryFolder() {
  static const char inLibrary = 0;
  Dl_info library;
  if (dladdr(&inLibrary, &library) == 0 || !library.dli_fname) return {};
  std::error_code error;
  return std::filesystem::canonical(library.dli_fname, error).parent_path();
}

}  // namespace kv
