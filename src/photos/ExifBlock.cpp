#include "photos/ExifBlock.h"

#include <cstdlib>
#include <new>

namespace kv::mission {
namespace {

thread_local bool wasShort = false;  // of memory, since it was last reset

void* Noted(void* memory, ExifLong size) {
  wasShort = wasShort || (!memory && size > 0);
  return memory;
}

struct ReleaseMemory {
  void operator()(ExifMem* memory) const noexcept { exif_mem_unref(memory); }
};

}  // namespace

ExifPtr ReadExif(const std::vector<unsigned char>& exif) {
  if (exif.empty()) return nullptr;
  wasShort = false;
  const std::unique_ptr<ExifMem, ReleaseMemory> memory(
      exif_mem_new([](ExifLong size) { return Noted(std::calloc(size, 1), size); },
                   [](void* old, ExifLong size) { return Noted(std::realloc(old, size), size); },
                   [](void* old) { std::free(old); }));
  ExifPtr data(memory ? exif_data_new_mem(memory.get()) : nullptr);
  if (data) exif_data_load_data(data.get(), exif.data(), static_cast<unsigned>(exif.size()));
  if (!data || wasShort) throw std::bad_alloc();
  return data;
}

}  // namespace kv::mission
