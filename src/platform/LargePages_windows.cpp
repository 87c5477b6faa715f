#include "platform/LargePages.h"

namespace kv {

void PreferLargePages(void*, std::size_t) {}  // a privilege that programs seldom have

}  // namespace kv
