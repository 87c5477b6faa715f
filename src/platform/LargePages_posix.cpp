#include "platform/LargePages.h"

#include <sys/mman.h>

#include <cstdint>

namespace kv {

#if defined(MADV_HUGEPAGE)

void PreferLargePages(void* memory, std::size_t bytes) {
  constexpr std::size_t kPage = 2 * 1024 * 1024, kLeast = 2 * kPage;
  if (bytes < kLeast) return;
  const std::size_t before = (kPage - reinterpret_cast<std::uintptr_t>(memory) % kPage) % kPage;
  // If refused, small pages remain.
  madvise(static_cast<std::byte*>(memory) + before, (bytes - before) / kPage * kPage, MADV_HUGEPAGE);
}

#else

void PreferLargePages(void*, std::size_t) {}

#endif

}  // namespace kv
