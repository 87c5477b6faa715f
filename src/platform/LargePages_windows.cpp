#include "platform/LargePages.h"

namespace kv {

void PreferLargePages(void*, std::size_t) {}  // needs a privilege that programs rarely have

}  // namespace kv
