#pragma once

#include <cstddef>

namespace kv {

/// Asks for large pages where much memory will be filled from its start to its end: the system then hands over 2 MiB at
/// a time instead of 4 KiB, which costs it a fraction. Nothing else changes, also where the system has none to give.
/// @param bytes  that are sure to be used; less than 32 MiB, which the heap may share out again, keep their pages
void PreferLargePages(void* memory, std::size_t bytes);

}  // namespace kv
